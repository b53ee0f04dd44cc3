// One decode of a message under observation.
//
// Room: tests.
#pragma once

#include "tests/support/decode_run.h"
#include "tests/wire/operations.h"

#include <string>
#include <vector>

template <class M>
class decoding : public decode_run {
public:
  using op = operations<M>;

  explicit decoding(const std::vector<uint8_t> &wire, const conditions &given = {})
      : decode_run(functions(), units_of<M>().recv, wire, given) {}
  decoding(const uint8_t *buffer, uint32_t length, const conditions &given = {})
      : decode_run(functions(), units_of<M>().recv, buffer, length, given) {}

  M &record = *static_cast<M *>(memory());

private:
  static decode_functions functions() {
    return {sizeof(M),
            [](const uint8_t *buffer, uint32_t length, void *into) {
              return op::unpack(buffer, length, static_cast<M *>(into));
            },
            [](void *decoded) { op::release(static_cast<M *>(decoded)); }};
  }
};

// The calls of a decode, as short texts: "alloc 56", "free 56". Module and tag of each must be the
// required ones of message M.
template <class M>
std::vector<std::string> call_texts(const std::vector<fake_osal::call> &calls) {
  const std::string message = operations<M>::name;
  std::vector<std::string> texts;
  for (const fake_osal::call &call : calls) {
    const bool freed = call.kind == fake_osal::call_kind::free;
    EXPECT_TRUE(freed || call.kind == fake_osal::call_kind::cache_alloc) << call;
    EXPECT_EQ(call.module, 12U);
    EXPECT_EQ(call.caller, message + (freed ? "_free_unpacked" : "_unpack"));
    texts.push_back((freed ? "free " : "alloc ") + std::to_string(call.size));
  }
  return texts;
}
