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

// The slow half of in_unit_order, kept out of the way of the straight one.
template <class Work>
[[gnu::cold, gnu::noinline]] auto in_reversed_order(uint32_t flag, Work &work) {
  return work(reversed_order{flag == 1});
}

// Calls work(order) with the order that the unit's flag asks for. The flag is read once, so one
// call never mixes orders.
template <class Work>
auto in_unit_order(const runtime::unit &unit, Work &&work) {
  const uint32_t flag = __atomic_load_n(&unit.byte_swap, __ATOMIC_RELAXED);
  if (__builtin_expect(flag != 0, false))
    return in_reversed_order(flag, work);
  return work(native_order{});
}

} // namespace mesh_fib6::wire
