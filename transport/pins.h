// What is stated by hand about tables and messages, compared with what follows from the schema.
// These numbers are contracts with peers: a change of one is a change of the wire.
//
// Room: transport. May include wire/; knows no particular message.
#pragma once

#include "wire/format/layout.h"

namespace mesh_fib6::transport {

// Size of a table in the compact arrangement, its embedded tables included, when all is zero.
template <class Record>
consteval uint32_t compact_size_of_zeros() {
  uint32_t size = wire::compact_base_size<Record>();
  wire::for_each_field<Record>([&size]<class Field>(Field) {
    if constexpr (Field::of == wire::kind::table)
      size += compact_size_of_zeros<typename Field::value_type>();
  });
  return size;
}

// Size of a message of zeros as it is sent: of a tree record in the compact arrangement with its
// embedded tables, of a flat record the fixed image.
template <class Record>
consteval uint32_t size_of_zeros() {
  if constexpr (wire::is_tree<Record>())
    return wire::root_offset_size + compact_size_of_zeros<Record>();
  else
    return wire::fixed_image_size<Record>;
}

// Of the record's table and all that it leads to.
template <class Record>
consteval bool tables_take_what_is_stated() {
  static_assert(wire::compact_base_size<Record>() == wire::schema<Record>::stated_size,
                "the table takes another number of bytes than MESH_FIB6_TABLE states");
  return wire::all_fields<Record>([]<class Field>(Field) {
    if constexpr (Field::of == wire::kind::table || Field::of == wire::kind::table_vector)
      return tables_take_what_is_stated<typename Field::value_type>();
    return true;
  });
}

} // namespace mesh_fib6::transport
