// The messages as the send tests see them: sizes and images worked out by hand.
//
// Room: tests. Includes the modules' schemas, for the operations only.
#pragma once

#include "modules/fib6/schema.h"
#include "modules/fib6_cfg/schema.h"
#include "tests/support/guarded_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace messages {

using mesh_fib6::operations;

// A message whose record points to arrays. `root` is its encoded size without any element and with
// every scalar zero; an element of the vector used here takes 4 bytes of offset, `element_base`,
// and `element_scalars` more when all its scalars are non-zero. A written vector adds 8.
template <class Record, class Element, auto Count, auto Array, uint32_t Root, uint32_t ElementBase,
          uint32_t ElementScalars, auto... Words>
struct tree_layout {
  using element = Element;
  static constexpr auto count = Count;
  static constexpr auto array = Array;
  static constexpr uint32_t root = Root;
  static constexpr uint32_t element_base = ElementBase;
  static constexpr uint32_t element_scalars = ElementScalars;
  // Some of the element's u32 members: each adds 4 bytes when set.
  static constexpr uint32_t Element::*words[] = {Words...};
  static constexpr uint32_t word_count = sizeof...(Words);
};

template <class M>
struct tree;

template <>
struct tree<feiBrokerFib6_ipv6FwdUpdateMsg>
    : tree_layout<feiBrokerFib6_ipv6FwdUpdateMsg, feiBrokerFib6_ipv6Fwd,
                  &feiBrokerFib6_ipv6FwdUpdateMsg::f1_count, &feiBrokerFib6_ipv6FwdUpdateMsg::f1,
                  16, 60, 40, &feiBrokerFib6_ipv6Fwd::f0, &feiBrokerFib6_ipv6Fwd::f13> {};
template <>
struct tree<feiBrokerFib6_ipv6FwdDelMsg>
    : tree_layout<feiBrokerFib6_ipv6FwdDelMsg, feiBrokerFib6_ipv6FwdKey,
                  &feiBrokerFib6_ipv6FwdDelMsg::f1_count, &feiBrokerFib6_ipv6FwdDelMsg::f1, 16, 53,
                  9, &feiBrokerFib6_ipv6FwdKey::f0, &feiBrokerFib6_ipv6FwdKey::f1> {};
template <>
struct tree<feiBrokerFib6_nhp6GroupUpdateMsg>
    : tree_layout<feiBrokerFib6_nhp6GroupUpdateMsg, feiBrokerFib6_nhp6GroupNode,
                  &feiBrokerFib6_nhp6GroupUpdateMsg::f2_count,
                  &feiBrokerFib6_nhp6GroupUpdateMsg::f2, 22 + 18, 28, 40,
                  &feiBrokerFib6_nhp6GroupNode::f0, &feiBrokerFib6_nhp6GroupNode::f9> {};
template <>
struct tree<feiBrokerFib6_nhp6GroupDelMsg>
    : tree_layout<feiBrokerFib6_nhp6GroupDelMsg, feiBrokerFib6_nhp6GroupKey,
                  &feiBrokerFib6_nhp6GroupDelMsg::f1_count, &feiBrokerFib6_nhp6GroupDelMsg::f1, 16,
                  12, 8, &feiBrokerFib6_nhp6GroupKey::f0, &feiBrokerFib6_nhp6GroupKey::f1> {};
template <>
struct tree<feiBrokerFib6_nhp6UpdateMsg>
    : tree_layout<feiBrokerFib6_nhp6UpdateMsg, feiBrokerFib6_nhp6Ext,
                  &feiBrokerFib6_nhp6UpdateMsg::f3_count, &feiBrokerFib6_nhp6UpdateMsg::f3, 32 + 52,
                  35, 25, &feiBrokerFib6_nhp6Ext::f0, &feiBrokerFib6_nhp6Ext::f5> {};
template <>
struct tree<feiBrokerFib6_nhp6DelMsg>
    : tree_layout<feiBrokerFib6_nhp6DelMsg, feiBrokerFib6_nhp6Key,
                  &feiBrokerFib6_nhp6DelMsg::f1_count, &feiBrokerFib6_nhp6DelMsg::f1, 16, 10, 4,
                  &feiBrokerFib6_nhp6Key::f0> {};
template <>
struct tree<feiBrokerFib6_srv6SrListUpdateMsg>
    : tree_layout<feiBrokerFib6_srv6SrListUpdateMsg, feiBrokerFib6_srv6SrList,
                  &feiBrokerFib6_srv6SrListUpdateMsg::f1_count,
                  &feiBrokerFib6_srv6SrListUpdateMsg::f1, 16, 282, 21,
                  &feiBrokerFib6_srv6SrList::f0, &feiBrokerFib6_srv6SrList::f16> {};
template <>
struct tree<feiBrokerFib6_srv6SrListDelMsg>
    : tree_layout<feiBrokerFib6_srv6SrListDelMsg, feiBrokerFib6_srv6SrListKey,
                  &feiBrokerFib6_srv6SrListDelMsg::f1_count, &feiBrokerFib6_srv6SrListDelMsg::f1,
                  16, 16, 14, &feiBrokerFib6_srv6SrListKey::f0, &feiBrokerFib6_srv6SrListKey::f2> {
};
template <>
struct tree<feiBrokerFib6_ipv6PathMtuUpdateMsg>
    : tree_layout<feiBrokerFib6_ipv6PathMtuUpdateMsg, feiBrokerFib6_ipv6PathMtu,
                  &feiBrokerFib6_ipv6PathMtuUpdateMsg::f1_count,
                  &feiBrokerFib6_ipv6PathMtuUpdateMsg::f1, 16, 42, 16,
                  &feiBrokerFib6_ipv6PathMtu::f0, &feiBrokerFib6_ipv6PathMtu::f4> {};
template <>
struct tree<feiBrokerFib6_ipv6PathMtuDelMsg>
    : tree_layout<feiBrokerFib6_ipv6PathMtuDelMsg, feiBrokerFib6_ipv6PathMtuKey,
                  &feiBrokerFib6_ipv6PathMtuDelMsg::f1_count, &feiBrokerFib6_ipv6PathMtuDelMsg::f1,
                  16, 38, 8, &feiBrokerFib6_ipv6PathMtuKey::f0, &feiBrokerFib6_ipv6PathMtuKey::f1> {
};

// Records of a tree message with the arrays behind them and their encoded sizes.
template <class M>
class tree_records {
public:
  using layout = tree<M>;
  using element = typename layout::element;

  // A record of `empty` elements with nothing set, then `full` ones with everything set.
  void add(uint32_t f0, uint32_t empty, uint32_t full) {
    std::vector<element> array(empty + full);
    if (full > 0)
      memset(array.data() + empty, 0x3B, full * sizeof(element));
    const uint32_t vector_size =
        empty + full == 0 ? 0 : 8 + (empty + full) * element_size + full * layout::element_scalars;
    sizes_.push_back(layout::root + (f0 == 0 ? 0 : 4) + vector_size);
    arrays_.push_back(std::move(array));
    records_.push_back(pointing_to(f0, arrays_.back()));
  }

  // Sets `number` words that are zero so far, spread over the elements of the last record.
  void grow_last_by_words(uint32_t number) {
    std::vector<element> &array = arrays_.back();
    sizes_.back() += 4 * number;
    for (uint32_t i = 0; i < number; ++i)
      array.at(i / layout::word_count).*(layout::words[i % layout::word_count]) = 0xC0FFEE00 + i;
  }

  // Sets the root's scalar, which must be zero so far: 4 bytes more.
  void grow(size_t record) {
    records_.at(record).f0 = 0x01020304;
    sizes_.at(record) += 4;
  }

  const M *data() const { return records_.data(); }
  uint32_t count() const { return static_cast<uint32_t>(records_.size()); }
  uint32_t size(size_t record) const { return sizes_.at(record); }
  element &element_of(size_t record, size_t index) { return arrays_.at(record).at(index); }

  uint32_t total() const {
    uint32_t sum = 0;
    for (const uint32_t size : sizes_)
      sum += size;
    return sum;
  }

  // Every byte that the library may read and must not write.
  std::string snapshot() const {
    std::string bytes(reinterpret_cast<const char *>(records_.data()), records_.size() * sizeof(M));
    for (const std::vector<element> &array : arrays_)
      if (!array.empty())
        bytes.append(reinterpret_cast<const char *>(array.data()), array.size() * sizeof(element));
    return bytes;
  }

private:
  static constexpr uint32_t element_size = 4 + layout::element_base;

  static M pointing_to(uint32_t f0, std::vector<element> &array) {
    M record;
    memset(&record, 0, sizeof record);
    record.f0 = f0;
    record.*layout::count = static_cast<uint32_t>(array.size());
    record.*layout::array = array.empty() ? nullptr : array.data();
    return record;
  }

  std::vector<M> records_;
  std::vector<std::vector<element>> arrays_;
  std::vector<uint32_t> sizes_;
};

// Three records, no two of one size: bare, mixed, full.
template <class M>
tree_records<M> some_tree_records() {
  tree_records<M> records;
  records.add(0, 0, 0);
  records.add(7, 1, 2);
  records.add(0, 0, 4);
  return records;
}

inline constexpr uint32_t data_area = 65536;

// Two records that together encode to exactly the data area of a batch.
template <class M>
tree_records<M> exactly_full() {
  using layout = tree<M>;
  constexpr uint32_t element_size = 4 + layout::element_base;
  tree_records<M> records;
  records.add(0, 1, 0);
  const uint32_t space = data_area - records.total() - layout::root - 8;
  // As many elements as possible, the rest filled with words.
  uint32_t elements = space / element_size;
  while ((space - elements * element_size) % 4 != 0)
    --elements;
  records.add(0, elements, 0);
  records.grow_last_by_words((space - elements * element_size) / 4);
  return records;
}

// The compact bytes of a record, by M__pack into a buffer of exactly the expected size that ends at
// an inaccessible page.
template <class M>
std::vector<uint8_t> packed(const M &record, uint32_t size) {
  guarded_buffer buffer(size);
  uint32_t length = size;
  EXPECT_EQ(operations<M>::pack(&record, buffer.data(), &length), 0u);
  EXPECT_EQ(length, size);
  return buffer.bytes();
}

// A flat message: the length of its fixed image, and records beside their images.
template <class M>
struct flat_sample {
  M record;
  std::vector<uint8_t> image;
};
template <class M>
struct flat;

template <>
struct flat<feiBrokerFib6_pidStateMsg> {
  static constexpr uint32_t length = 56;
  static std::vector<flat_sample<feiBrokerFib6_pidStateMsg>> samples() {
    return {{{0x11223344, {0x55667788, 0, 0x99AABBCC}},
             {
                 0x04, 0x00, 0x00, 0x00,             //  0 root table at 4
                 0xD8, 0xFF, 0xFF, 0xFF,             //  4 its vtable 40 bytes on, at 44
                 0x44, 0x33, 0x22, 0x11,             //  8 f0
                 0x04, 0x00, 0x00, 0x00,             // 12 sub-table 4 bytes on, at 16
                 0xF0, 0xFF, 0xFF, 0xFF,             // 16 its vtable 16 bytes on, at 32
                 0x88, 0x77, 0x66, 0x55,             // 20 f1.f0
                 0x00, 0x00, 0x00, 0x00,             // 24 f1.f1, zero and written
                 0xCC, 0xBB, 0xAA, 0x99,             // 28 f1.f2
                 0x0A, 0x00, 0x10, 0x00,             // 32 sub-table: vtable of 10, table of 16
                 0x04, 0x00, 0x08, 0x00, 0x0C, 0x00, // 36 its slots
                 0x00, 0x00,                         // 42 gap
                 0x08, 0x00, 0x28, 0x00,             // 44 root: vtable of 8, table of 40
                 0x04, 0x00, 0x08, 0x00,             // 48 its slots
                 0x00, 0x00, 0x00, 0x00,             // 52 up to 56
             }},
            {{0, {0, 0, 0}},
             {
                 0x04, 0x00, 0x00, 0x00, 0xD8, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00,
                 0x00, 0x00, 0xF0, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                 0x00, 0x00, 0x00, 0x00, 0x0A, 0x00, 0x10, 0x00, 0x04, 0x00, 0x08, 0x00, 0x0C, 0x00,
                 0x00, 0x00, 0x08, 0x00, 0x28, 0x00, 0x04, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00,
             }}};
  }
};

template <>
struct flat<fib6_cfg_cfg_ipv6_ttl_expired_forward> {
  static constexpr uint32_t length = 64;
  static std::vector<flat_sample<fib6_cfg_cfg_ipv6_ttl_expired_forward>> samples() {
    return {{{1, 0, 64, 0, {0xB80D0120, 0, 0, 0x01000000}},
             {
                 0x04, 0x00, 0x00, 0x00,                         //  0 root table at 4
                 0xD4, 0xFF, 0xFF, 0xFF,                         //  4 its vtable 44 bytes on, at 48
                 0x01, 0x00, 0x00, 0x00,                         //  8 f0
                 0x00, 0x00, 0x00, 0x00,                         // 12 f1, zero and written
                 0x40, 0x00, 0x00, 0x00,                         // 16 f2
                 0x00, 0x00, 0x00, 0x00,                         // 20 f3, zero and written
                 0x04, 0x00, 0x00, 0x00,                         // 24 array 4 bytes on
                 0x04, 0x00, 0x00, 0x00,                         // 28 of four words
                 0x20, 0x01, 0x0D, 0xB8, 0x00, 0x00, 0x00, 0x00, // 32 f4: 2001:db8::1
                 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, //
                 0x0E, 0x00, 0x2C, 0x00,                         // 48 vtable of 14, table of 44
                 0x04, 0x00, 0x08, 0x00, 0x0C, 0x00,             // 52 slots
                 0x10, 0x00, 0x14, 0x00,                         //
                 0x00, 0x00,                                     // 62 up to 64
             }},
            {{0, 0, 0, 0, {0, 0, 0, 0}},
             {
                 0x04, 0x00, 0x00, 0x00, 0xD4, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x00,
                 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00,
                 0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0E, 0x00, 0x2C, 0x00,
                 0x04, 0x00, 0x08, 0x00, 0x0C, 0x00, 0x10, 0x00, 0x14, 0x00, 0x00, 0x00,
             }}};
  }
};

// Calls check.operator()<M>() for every tree message, or every flat one.
template <class Check>
void for_each_tree_message(Check check) {
  check.template operator()<feiBrokerFib6_ipv6FwdUpdateMsg>();
  check.template operator()<feiBrokerFib6_ipv6FwdDelMsg>();
  check.template operator()<feiBrokerFib6_nhp6GroupUpdateMsg>();
  check.template operator()<feiBrokerFib6_nhp6GroupDelMsg>();
  check.template operator()<feiBrokerFib6_nhp6UpdateMsg>();
  check.template operator()<feiBrokerFib6_nhp6DelMsg>();
  check.template operator()<feiBrokerFib6_srv6SrListUpdateMsg>();
  check.template operator()<feiBrokerFib6_srv6SrListDelMsg>();
  check.template operator()<feiBrokerFib6_ipv6PathMtuUpdateMsg>();
  check.template operator()<feiBrokerFib6_ipv6PathMtuDelMsg>();
}

template <class Check>
void for_each_flat_message(Check check) {
  check.template operator()<feiBrokerFib6_pidStateMsg>();
  check.template operator()<fib6_cfg_cfg_ipv6_ttl_expired_forward>();
}

} // namespace messages
