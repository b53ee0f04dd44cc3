// Wire bytes from readable values, sound or hostile: every word can be what a peer may not send.
//
// Room: tests. Knows tables, vtables and offsets; knows no message and nothing of the library.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

class wire_builder {
public:
  // Big-endian words are what a peer with reversed byte order sends.
  enum class order { little, big };
  explicit wire_builder(order byte_order = order::little) : order_(byte_order) {}
  // Goes on from existing bytes.
  explicit wire_builder(std::vector<uint8_t> bytes, order byte_order = order::little)
      : order_(byte_order), bytes_(std::move(bytes)) {}

  uint32_t here() const { return static_cast<uint32_t>(bytes_.size()); }
  const std::vector<uint8_t> &bytes() const { return bytes_; }

  // Each appends and returns the position of what it appended.
  uint32_t u8(uint32_t value) { return append(value, 1); }
  uint32_t u16(uint32_t value) { return append(value, 2); }
  uint32_t u32(uint32_t value) { return append(value, 4); }
  uint32_t fill(uint32_t count, uint8_t value = 0) {
    const uint32_t at = here();
    bytes_.insert(bytes_.end(), count, value);
    return at;
  }

  // A vtable of these slot entries; its stated size can be made to lie with set_u16.
  uint32_t vtable(std::initializer_list<uint16_t> slots, uint16_t table_size = 0) {
    const uint32_t at = u16(4 + 2 * static_cast<uint32_t>(slots.size()));
    u16(table_size);
    for (uint16_t slot : slots)
      u16(slot);
    return at;
  }

  // The first word of a table whose vtable lies (or is claimed to lie) at `vtable_at`.
  uint32_t table(uint32_t vtable_at) { return u32(here() - vtable_at); }

  // Overwrites a value at a position.
  wire_builder &set_u8(uint32_t at, uint32_t value) { return store(at, value, 1); }
  wire_builder &set_u16(uint32_t at, uint32_t value) { return store(at, value, 2); }
  wire_builder &set_u32(uint32_t at, uint32_t value) { return store(at, value, 4); }

  // Makes the offset word at `at` refer to `target`.
  wire_builder &refer(uint32_t at, uint32_t target) { return set_u32(at, target - at); }

  // Cuts the end off, or adds zeros.
  wire_builder &resize(uint32_t size) {
    bytes_.resize(size);
    return *this;
  }

  uint32_t u16_at(uint32_t at) const { return load(at, 2); }
  uint32_t u32_at(uint32_t at) const { return load(at, 4); }

private:
  uint32_t shift(uint32_t index, uint32_t width) const {
    return 8 * (order_ == order::little ? index : width - 1 - index);
  }
  uint32_t load(uint32_t at, uint32_t width) const {
    uint32_t value = 0;
    for (uint32_t i = 0; i < width; ++i)
      value |= uint32_t{bytes_.at(at + i)} << shift(i, width);
    return value;
  }
  uint32_t append(uint32_t value, uint32_t width) {
    const uint32_t at = here();
    bytes_.resize(bytes_.size() + width);
    store(at, value, width);
    return at;
  }
  wire_builder &store(uint32_t at, uint32_t value, uint32_t width) {
    for (uint32_t i = 0; i < width; ++i)
      bytes_.at(at + i) = static_cast<uint8_t>(value >> shift(i, width));
    return *this;
  }

  order order_ = order::little;
  std::vector<uint8_t> bytes_;
};
