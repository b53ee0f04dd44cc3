// JSON, as the tools read and write it: RapidJSON's reader and writers with memory that may end,
// and what the tools write most.
//
// Room: tools. For sources only: RapidJSON stays inside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <string_view>

namespace mesh_fib6::tools {

// RapidJSON uses what an allocator gives it without a look, and its own gives null.
struct throwing_allocator {
  static constexpr bool kNeedFree = true; // the name that RapidJSON knows

  void *Malloc(size_t size) { return Realloc(nullptr, 0, size); }
  void *Realloc(void *block, size_t, size_t size) {
    if (size == 0) {
      Free(block);
      return nullptr;
    }
    void *const given = std::realloc(block, size);
    if (given == nullptr)
      throw std::bad_alloc();
    return given;
  }
  static void Free(void *block) { std::free(block); }
};

using utf8 = rapidjson::UTF8<>;
using json_buffer = rapidjson::GenericStringBuffer<utf8, throwing_allocator>;
using json_text = rapidjson::Writer<json_buffer, utf8, utf8, throwing_allocator>;
using pretty_json_text = rapidjson::PrettyWriter<json_buffer, utf8, utf8, throwing_allocator>;
using json_reader = rapidjson::GenericReader<utf8, utf8, throwing_allocator>;

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
