// Target: a sound message is spoiled where its structure is, then decoded.
//
// Room: attacks. Input: message, circumstances, arrangement, four bytes that the record is made
// from, then the mutations.
//   bytes 0-3  the message's identifier (message_of in messages.h)
//   byte 4     as in decode.cpp bits 0-3; bits 4-6 which request for memory is refused (0: none);
//              bit 7 the fixed arrangement, where the message has one
//   bytes 5-8  what the record is made from
//   then       up to 8 mutations of 4 bytes: what, where (one byte), with which value (two bytes)
#include "fuzz/decode_check.h"
#include "fuzz/finding.h"
#include "fuzz/input.h"
#include "fuzz/record_maker.h"
#include "fuzz/target.h"
#include "tests/reference/decoder.h"
#include "tests/reference/encoder.h"

#include <cstring>

namespace fuzz {
namespace {

using reference::role;
using reference::site;

constexpr uint32_t record_bytes_at = identifier_size + 1;
constexpr uint32_t head_size = record_bytes_at + 4;
constexpr uint32_t mutation_size = 4;
constexpr uint32_t max_mutations = 8;
constexpr uint32_t max_message = reference::max_encoded + max_mutations * 256;

reference::encoder encoder;
reference::decoder reader;
reference::decoder::site_list sites;

class spoiled_message {
public:
  spoiled_message(const reference::encoder::encoded &sound, uint32_t byte_swap)
      : size_(sound.size), byte_swap_(byte_swap) {
    memcpy(bytes_, sound.bytes, sound.written);
    memset(bytes_ + sound.written, 0, sound.size - sound.written);
  }

  const uint8_t *bytes() const { return bytes_; }
  uint32_t size() const { return size_; }

  void mutate(input &mutations) {
    const uint32_t what = mutations.byte();
    const uint32_t which = mutations.byte();
    const uint32_t value = mutations.number(2);
    switch (what % 8) {
    case 0: // some byte
      if (size_ != 0)
        bytes_[(which << 8 | value >> 8) % size_] ^= static_cast<uint8_t>(value);
      return;
    case 1: // the end is missing
      size_ -= (which << 8 | value) % (size_ + 1);
      return;
    case 2: // something follows
      memset(bytes_ + size_, static_cast<int>(value & 0xFF), which);
      size_ += which;
      return;
    case 3: // a structural word refers to something beside what it should
      return change(which, [value](uint32_t old) { return old + value - 0x8000; });
    case 4: // or is at an edge of some kind
      return change(which, [value](uint32_t) { return extreme(value); });
    case 5: // or lets its target end just before, at or behind the end
      return change_at(which, [this, value](const site &at) { return near_the_end(at, value); });
    case 6: // or is a copy of another one
      return change_at(which, [this, value](const site &) { return get(of(value)); });
    case 7: // or leads to where another one leads
      return change_at(which, [this, value](const site &at) { return alias(at, of(value)); });
    }
  }

private:
  static uint32_t width_of(const site &at) {
    return at.role == role::vtable_size || at.role == role::vtable_entry ? 2 : 4;
  }

  static uint32_t extreme(uint32_t choice) {
    constexpr uint32_t values[16] = {
        0,      1,          2,          3,          4,          5,          6,          0x7FFF,
        0xFFFF, 0x3FFFFFFF, 0x40000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFE, 0xFFFFFFFF};
    return values[choice & 15] + ((choice >> 4) & 3);
  }

  // A word whose target, or as many items as it counts, ends at most 8 bytes beside the end.
  uint32_t near_the_end(const site &at, uint32_t choice) const {
    const uint32_t beside = (choice & 15) - 8;
    const uint32_t rest = size_ - at.at + beside;
    if (at.role == role::soffset)
      return 0 - rest;
    if (at.role == role::count)
      return (choice & 16) != 0 ? (rest - 4) / 4 : rest - 4;
    return rest;
  }

  // What the word must hold to lead where the other one leads.
  uint32_t alias(const site &at, const site &other) const {
    const uint32_t target = other.role == role::soffset   ? other.at - get(other)
                            : other.role == role::uoffset ? other.at + get(other)
                                                          : other.at;
    return at.role == role::soffset ? at.at - target : target - at.at;
  }

  const site &of(uint32_t which) const { return sites.of[which % sites.count]; }

  template <class Change>
  void change_at(uint32_t which, Change change) {
    if (sites.count == 0)
      return;
    const site &at = of(which);
    if (at.at + width_of(at) <= size_)
      put(at, change(at));
  }
  template <class Change>
  void change(uint32_t which, Change change) {
    change_at(which, [&](const site &at) { return change(get(at)); });
  }

  uint32_t get(const site &at) const {
    uint32_t value = 0;
    for (uint32_t i = 0; i < width_of(at); i++)
      value |= uint32_t{bytes_[at.at + i]} << shift(at, i);
    return value;
  }
  void put(const site &at, uint32_t value) {
    for (uint32_t i = 0; i < width_of(at); i++)
      bytes_[at.at + i] = static_cast<uint8_t>(value >> shift(at, i));
  }
  uint32_t shift(const site &at, uint32_t i) const {
    return 8 * (byte_swap_ != 0 ? width_of(at) - 1 - i : i);
  }

  static uint8_t bytes_[max_message];
  uint32_t size_;
  uint32_t byte_swap_;
};

uint8_t spoiled_message::bytes_[max_message];

} // namespace

const material made_of = material::choices;

const char *execute(const uint8_t *data, size_t size) {
  if (size < head_size)
    return nullptr;
  forget_findings();
  const message &message = message_of(data);
  const uint32_t bits = data[identifier_size];
  circumstances around{};
  around.odd_address = (bits & 1) != 0;
  around.byte_swap = byte_swap_of(bits >> 1);
  around.refused_request = (bits >> 4) & 7;
  const bool fixed = !message.is_tree() && (bits & 0x80) != 0;

  input record_bytes(data + record_bytes_at, head_size - record_bytes_at);
  const made_records made(message, 1, record_bytes);
  const auto sound = fixed ? encoder.fixed(*message.table, made.at(0), around.byte_swap)
                           : encoder.compact(*message.table, made.at(0), around.byte_swap);
  spoiled_message spoiled(sound, around.byte_swap);
  reader.list_sites(*message.table, {spoiled.bytes(), spoiled.size(), around.byte_swap, 0}, sites);

  input mutations(data + head_size, static_cast<uint32_t>(size) - head_size);
  for (uint32_t i = 0; i < max_mutations && mutations.left() >= mutation_size; i++)
    spoiled.mutate(mutations);
  check_decode(message, spoiled.bytes(), spoiled.size(), around);
  return finding();
}

} // namespace fuzz
