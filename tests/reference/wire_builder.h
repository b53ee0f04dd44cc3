// Wire bytes from readable values, sound or hostile: every word can be what a peer may not send.
//
// Room: reference. Knows tables, vtables and offsets; knows no message and nothing of the library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <utility>
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
  // These bytes, in groups of `width` that are reversed when the builder's order is.
  uint32_t copy(const uint8_t *from, uint32_t size, uint32_t width = 1) {
    const uint32_t at = here();
    bytes_.insert(bytes_.end(), from, from + size);
    if (order_ == order::big && width != 1)
      for (uint32_t i = 0; i < size; i += width)
        std::reverse(bytes_.begin() + at + i, bytes_.begin() + at + i + width);
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

protected:
  // Growing step by step is what takes a test's time.
  void reserve(size_t size) { bytes_.reserve(size); }

private:
  // Bytes in memory are those of the host, which is little-endian wherever this runs.
  void require(uint32_t at, uint32_t width) const {
    if (uint64_t{at} + width > bytes_.size())
      throw std::out_of_range("wire_builder: beyond the end");
  }
  uint32_t turned(uint32_t value, uint32_t width) const {
    return order_ == order::little ? value : __builtin_bswap32(value) >> 8 * (4 - width);
  }
  uint32_t load(uint32_t at, uint32_t width) const {
    require(at, width);
    uint32_t value = 0;
    std::memcpy(&value, bytes_.data() + at, width);
    return turned(value, width);
  }
  uint32_t append(uint32_t value, uint32_t width) {
    const uint32_t at = here();
    bytes_.resize(bytes_.size() + width);
    store(at, value, width);
    return at;
  }
  wire_builder &store(uint32_t at, uint32_t value, uint32_t width) {
    require(at, width);
    value = turned(value, width);
    std::memcpy(bytes_.data() + at, &value, width);
    return *this;
  }

  order order_ = order::little;
  std::vector<uint8_t> bytes_;
};
