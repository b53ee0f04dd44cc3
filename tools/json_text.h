// JSON, as the tools write it: RapidJSON's writer, with what they write most.
//
// Room: tools. For sources only: RapidJSON stays inside them.
#pragma once

#include <cstdint>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <string_view>

namespace mesh_fib6::tools {

using json_text = rapidjson::Writer<rapidjson::StringBuffer>;

inline void put(json_text &to, std::string_view text) {
  to.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
inline void put(json_text &to, const char *key, std::string_view value) {
  to.Key(key);
  put(to, value);
}
inline void put(json_text &to, const char *key, uint64_t value) {
  to.Key(key);
  to.Uint64(value);
}

} // namespace mesh_fib6::tools
