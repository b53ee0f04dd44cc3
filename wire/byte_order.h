// Unaligned values of the wire, in the order that a unit's byte_swap flag asks for.
//
// Room: wire. May include runtime/ and libc. The only place that knows how a multi-byte value lies
// in the buffer. Two instances of every codec are compiled: one for flag 0, where all of this is
// plain loads and stores, and one for the two other cases, which nobody is in a hurry with.
#pragma once

#include "runtime/unit.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mesh_fib6::wire {

static_assert(std::endian::native == std::endian::little,
              "the wire is little-endian, so is the host");

constexpr uint8_t reversed(uint8_t value) {
  return value;
}
constexpr uint16_t reversed(uint16_t value) {
  return __builtin_bswap16(value);
}
constexpr uint32_t reversed(uint32_t value) {
  return __builtin_bswap32(value);
}

struct native_order {
  static constexpr bool is_common = true;

  template <class Value>
  static Value load(const uint8_t *at) {
    Value value;
    memcpy(&value, at, sizeof value);
    return value;
  }
  template <class Value>
  static void store(uint8_t *at, Value value) {
    memcpy(at, &value, sizeof value);
  }
  static void load_words(uint32_t *words, const uint8_t *at, uint32_t count) {
    memcpy(words, at, size_t{4} * count);
  }
  static void store_words(uint8_t *at, const uint32_t *words, uint32_t count) {
    memcpy(at, words, size_t{4} * count);
  }
};

// Every value is reversed; the words of fixed arrays only when the flag is exactly 1. The two tests
// differ on purpose: peers rely on it.
struct reversed_order {
  static constexpr bool is_common = false;
  bool reverses_words;

  template <class Value>
  static Value load(const uint8_t *at) {
    return reversed(native_order::load<Value>(at));
  }
  template <class Value>
  static void store(uint8_t *at, Value value) {
    native_order::store(at, reversed(value));
  }
  void load_words(uint32_t *words, const uint8_t *at, uint32_t count) const {
    native_order::load_words(words, at, count);
    for (uint32_t i = 0; reverses_words && i < count; i++)
      words[i] = reversed(words[i]);
  }
  void store_words(uint8_t *at, const uint32_t *words, uint32_t count) const {
    for (uint32_t i = 0; i < count; i++)
      native_order::store(at + size_t{4} * i, reverses_words ? reversed(words[i]) : words[i]);
  }
};

// The unit's flag. Read once per call, but for a first binding, which clears it: see unpack().
inline uint32_t byte_swap_of(const runtime::unit &unit) {
  return __atomic_load_n(&unit.byte_swap, __ATOMIC_RELAXED);
}

} // namespace mesh_fib6::wire
