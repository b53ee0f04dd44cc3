// What is stated by hand about messages and tables, for static_asserts to compare with what the
// schema gives. These numbers are contracts with peers: a change of one is a change of the wire.
//
// Room: modules.
#pragma once

#include "transport/message.h"
#include "wire/layout.h"

namespace mesh_fib6 {

// Identifier, record size and, for a tree record, the compact size of an empty message without
// embedded tables; for a flat record, the length of the fixed image.
template <class Record>
consteval bool pinned(uint32_t id, size_t record_size, uint32_t wire_size) {
  if (transport::exported<Record>::id != id || sizeof(Record) != record_size)
    return false;
  if constexpr (wire::is_tree<Record>())
    return wire::root_offset_size + wire::compact_base_size<Record>() == wire_size;
  else
    return wire::fixed_image_size<Record> == wire_size;
}

// Compact size of a sub-table whose scalars are all zero.
template <class Record>
consteval bool pinned_table(size_t record_size, uint32_t base_size) {
  return sizeof(Record) == record_size && wire::compact_base_size<Record>() == base_size;
}

} // namespace mesh_fib6
