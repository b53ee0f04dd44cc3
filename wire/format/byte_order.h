// Unaligned values of the wire, in the order that a unit's byte_swap flag asks for.
//
// Room: wire/format. May include runtime/ and libc. The only place that knows how a multi-byte
// value lies in a buffer. The quick path reads and writes by load() and store(), as memory is; the
// general codec asks a byte_order, whose answer depends on the flag.
#pragma once

#include "runtime/unit.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mesh_fib6::wire {

static_assert(std::endian::native == std::endian::little,
              "the wire is little-endian, so is the host");

// The common order: the wire's is the host's.
template <class Value>
[[gnu::always_inline]] inline Value load(const uint8_t *at) {
  Value value;
  memcpy(&value, at, sizeof value);
  return value;
}
template <class Value>
[[gnu::always_inline]] inline void store(uint8_t *at, Value value) {
  memcpy(at, &value, sizeof value);
}

// The unit's flag. It changes in a first binding, which clears it, and never again.
inline uint32_t byte_swap_of(const runtime::unit &unit) {
  return __atomic_load_n(&unit.byte_swap, __ATOMIC_RELAXED);
}

// Any order. Every value is reversed when the flag is not 0; the words of fixed arrays only when it
// is exactly 1. The two tests differ on purpose: peers rely on it.
class byte_order {
public:
  explicit byte_order(uint32_t flag) : reverses_(flag != 0), reverses_words_(flag == 1) {}

  bool reverses() const { return reverses_; }

  uint16_t half(const uint8_t *at) const {
    const auto value = load<uint16_t>(at);
    return reverses_ ? __builtin_bswap16(value) : value;
  }
  uint32_t word(const uint8_t *at) const {
    const auto value = load<uint32_t>(at);
    return reverses_ ? __builtin_bswap32(value) : value;
  }
  void put_half(uint8_t *at, uint16_t value) const {
    store(at, reverses_ ? __builtin_bswap16(value) : value);
  }
  void put_word(uint8_t *at, uint32_t value) const {
    store(at, reverses_ ? __builtin_bswap32(value) : value);
  }

  // For words of a fixed array, copied from the wire to a record or back.
  void reverse_words(uint8_t *words, size_t count) const {
    for (size_t i = 0; reverses_words_ && i < count; i++)
      store(words + 4 * i, __builtin_bswap32(load<uint32_t>(words + 4 * i)));
  }

private:
  bool reverses_;
  bool reverses_words_;
};

} // namespace mesh_fib6::wire
