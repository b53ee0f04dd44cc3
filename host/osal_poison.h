// Blocks whose bytes give mistakes away.
//
// Room: host. Standard library only.
//
// A new block is full of 0xA5, so that bytes nobody has written show; a released one of 0xDD, so
// that who reads it afterwards finds no data. Behind the last byte lie sixteen of this library's:
// B0 to BF, each another, so that no row of equal bytes passes for them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace osal_host {

inline constexpr int fresh_byte = 0xA5;
inline constexpr int released_byte = 0xDD;
inline constexpr std::array<uint8_t, 16> guard{0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7,
                                               0xB8, 0xB9, 0xBA, 0xBB, 0xBC, 0xBD, 0xBE, 0xBF};

// `block` has room for `size` bytes and the guard.
inline void poison_fresh(void *block, size_t size) {
  memset(block, fresh_byte, size);
  memcpy(static_cast<uint8_t *>(block) + size, guard.data(), guard.size());
}

// How many bytes behind the end the first lies that was written, from 1; 0 when none was.
inline size_t overrun_of(const void *block, size_t size) {
  const uint8_t *const behind = static_cast<const uint8_t *>(block) + size;
  for (size_t i = 0; i < guard.size(); i++)
    if (behind[i] != guard[i])
      return i + 1;
  return 0;
}

inline void poison_released(void *block, size_t size) {
  memset(block, released_byte, size + guard.size());
  // Nothing reads it before it goes back, so the compiler must be told that it matters.
  asm volatile("" : : "r"(block) : "memory");
}

} // namespace osal_host
