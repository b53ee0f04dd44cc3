// The bytes that an execution is made from.
//
// Room: attacks. Libc only.
#pragma once

#include <cstdint>

namespace fuzz {

// Gives the input byte by byte; when it is used up, a pseudo-random sequence that follows from it.
// So a short input is a large choice, and every byte of a long one means something.
class input {
public:
  input(const uint8_t *bytes, uint32_t size) : at_(bytes), end_(bytes + size) {
    for (uint32_t i = 0; i < size; i++)
      sequence_ = (sequence_ ^ bytes[i]) * 0x100000001B3;
  }

  uint32_t left() const { return static_cast<uint32_t>(end_ - at_); }
  const uint8_t *rest() const { return at_; }

  uint8_t byte() { return at_ != end_ ? *at_++ : static_cast<uint8_t>(next()); }
  uint32_t number(uint32_t bytes) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < bytes; i++)
      value |= uint32_t{byte()} << (8 * i);
    return value;
  }
  uint64_t number64() {
    const uint64_t low = number(4);
    return low | uint64_t{number(4)} << 32;
  }

private:
  // splitmix64: https://prng.di.unimi.it/splitmix64.c
  uint64_t next() {
    uint64_t z = sequence_ += 0x9E3779B97F4A7C15;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }

  const uint8_t *at_;
  const uint8_t *end_;
  uint64_t sequence_ = 0xCBF29CE484222325;
};

// What the flag is when the lowest three bits of an input byte say so: mostly the common order.
inline uint32_t byte_swap_of(uint32_t bits) {
  constexpr uint32_t flags[8] = {0, 0, 0, 0, 0, 1, 2, 0xFFFFFFFF};
  return flags[bits & 7];
}

} // namespace fuzz
