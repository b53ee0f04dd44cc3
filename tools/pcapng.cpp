// Reads captures; see pcapng.h.
//
// Room: tools.
#include "tools/pcapng.h"

#include <cstring>

namespace mesh_fib6::tools {
namespace {

constexpr uint32_t section_block = 0x0A0D0D0A, interface_block = 1, packet_block = 6,
                   statistics_block = 5, old_packet_block = 2, simple_packet_block = 3;
constexpr uint32_t order_magic = 0x1A2B3C4D, order_magic_reversed = 0x4D3C2B1A;
constexpr uint32_t least_block = 12, largest_block = 64u << 20;
constexpr uint16_t option_end = 0, option_resolution = 9, option_dropped = 5;

constexpr size_t padded(size_t size) {
  return (size + 3) & ~size_t{3};
}

} // namespace

uint16_t pcapng_reader::half(size_t at) const {
  return static_cast<uint16_t>(is_big_ ? block_[at] << 8 | block_[at + 1]
                                       : block_[at] | block_[at + 1] << 8);
}

uint32_t pcapng_reader::word(size_t at) const {
  return is_big_ ? uint32_t{half(at)} << 16 | half(at + 2)
                 : half(at) | uint32_t{half(at + 2)} << 16;
}

uint64_t pcapng_reader::wide(size_t at) const {
  return is_big_ ? uint64_t{word(at)} << 32 | word(at + 4)
                 : word(at) | uint64_t{word(at + 4)} << 32;
}

bool pcapng_reader::fail(const std::string &what) {
  problem_ = "byte " + std::to_string(at_) + ": " + what;
  return false;
}

// The byte order is in the section's head, behind its length.
bool pcapng_reader::read_order() {
  is_big_ = false;
  const uint32_t magic = word(8);
  if (magic != order_magic && magic != order_magic_reversed)
    return fail("expected a section of a pcapng capture, found another byte-order magic");
  is_big_ = magic == order_magic_reversed;
  has_section_ = true;
  interfaces_.clear();
  return true;
}

// False at the end, and when something is wrong.
bool pcapng_reader::read_block(uint32_t &type) {
  at_ = source_.taken();
  constexpr size_t head = 12; // of which a section needs all, and others have no less
  block_ = source_.take_bytes(head);
  if (block_.empty() && has_section_)
    return false;
  if (block_.empty())
    return fail("expected a pcapng capture, found nothing");
  if (block_.size() < head)
    return fail("expected " + std::to_string(head) + " bytes of a block, found " +
                std::to_string(block_.size()));
  type = word(0);
  if (type == section_block ? !read_order() : !has_section_)
    return problem_.empty() ? fail("expected a pcapng capture, found something else") : false;
  type = word(0);
  const uint32_t size = word(4);
  if (size < least_block || size % 4 != 0 || size > largest_block)
    return fail("expected a block of 12 to " + std::to_string(largest_block) +
                " bytes and a multiple of four, found one of " + std::to_string(size));
  const std::vector<uint8_t> rest = source_.take_bytes(size - head);
  if (rest.size() < size - head)
    return fail("expected a block of " + std::to_string(size) + " bytes, found " +
                std::to_string(head + rest.size()));
  block_.insert(block_.end(), rest.begin(), rest.end());
  if (word(size - 4) != size)
    return fail("expected a block that ends with its size, " + std::to_string(size) + ", found " +
                std::to_string(word(size - 4)));
  block_.erase(block_.begin(), block_.begin() + 8);
  block_.resize(block_.size() - 4);
  return true;
}

template <class Take>
void pcapng_reader::read_options(size_t at, Take &&take) const {
  while (at + 4 <= block_.size()) {
    const uint16_t code = half(at), size = half(at + 2);
    at += 4;
    if (code == option_end || size > block_.size() - at)
      return;
    take(code, at, size);
    at += padded(size);
  }
}

void pcapng_reader::read_interface() {
  interface next {
    0, 1000000
  };
  if (block_.size() >= 8) {
    next.link_type = half(0);
    read_options(8, [&](uint16_t code, size_t at, uint16_t size) {
      if (code != option_resolution || size != 1)
        return;
      const uint32_t power = block_[at] & 0x7F;
      const bool is_binary = (block_[at] & 0x80) != 0;
      next.units = 1;
      for (uint32_t i = 0; i < power && next.units <= UINT64_MAX / 10; i++)
        next.units *= is_binary ? 2 : 10;
    });
  }
  interfaces_.push_back(next);
}

void pcapng_reader::read_statistics() {
  if (block_.size() >= 12)
    read_options(12, [&](uint16_t code, size_t at, uint16_t size) {
      if (code == option_dropped && size == 8)
        dropped_ += wide(at);
    });
}

// False for a packet that holds no message.
bool pcapng_reader::read_packet(captured_message &message) {
  constexpr size_t head = 20;
  number_++;
  if (block_.size() < head)
    return false;
  const uint32_t index = word(0), captured = word(12);
  if (index >= interfaces_.size() || interfaces_[index].link_type != MESH_FIB6_LINK_TYPE ||
      captured > block_.size() - head || captured < sizeof message.header)
    return false;
  const uint64_t time = uint64_t{word(4)} << 32 | word(8);
  const uint64_t units = interfaces_[index].units;
  message.number = number_;
  message.time =
      time / units * 1000000000 +
      static_cast<uint64_t>(static_cast<double>(time % units) * 1e9 / static_cast<double>(units));
  // Its header is in little-endian order, whatever the section's is.
  const uint8_t *const bytes = block_.data() + head;
  const auto number = [bytes](size_t at, uint32_t width) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < width; i++)
      value |= uint64_t{bytes[at + i]} << (8 * i);
    return value;
  };
  message.header = {bytes[0],
                    bytes[1],
                    static_cast<uint16_t>(number(2, 2)),
                    static_cast<uint32_t>(number(4, 4)),
                    number(8, 8),
                    static_cast<uint32_t>(number(16, 4)),
                    static_cast<uint32_t>(number(20, 4))};
  if (message.header.version != 1 || message.header.direction > mesh_fib6_received)
    return false;
  const size_t there = captured - sizeof message.header;
  message.bytes.assign(bytes + sizeof message.header,
                       bytes + sizeof message.header +
                           (there < message.header.length ? there : message.header.length));
  return true;
}

pcapng_reader::outcome pcapng_reader::next(captured_message &message) {
  if (!problem_.empty())
    return outcome::bad;
  uint32_t type = 0;
  while (read_block(type)) {
    if (type == interface_block)
      read_interface();
    else if (type == statistics_block)
      read_statistics();
    else if (type == packet_block && read_packet(message))
      return outcome::message;
    else if (type == packet_block || type == simple_packet_block || type == old_packet_block)
      passed_by_++;
  }
  return problem_.empty() ? outcome::end : outcome::bad;
}

} // namespace mesh_fib6::tools
