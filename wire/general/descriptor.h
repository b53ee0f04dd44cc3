// A record and its table as the general codec sees them: data, computed from the schema.
//
// Room: wire/general. May include wire/format/. One table_info per record type; nothing is written
// here that the schema does not say.
#pragma once

#include "wire/format/byte_order.h"
#include "wire/format/layout.h"
#include "wire/format/names.h"

namespace mesh_fib6::wire::general {

class table_info;

// What a description refers to outside itself: tables, and blocks that decoding allocates, which
// pointers in the record, embedded ones included, lead to.
union link_info {
  const table_info *table;
  struct {
    uint32_t offset;       // of the pointer
    const char *releasing; // the name under which the block is given back: <table>_free_unpacked
  } owned;

  constexpr link_info() : table(nullptr) {}
};

// A member and its slot. Positions count from the start of the record.
struct field_info {
  kind of;
  uint8_t width;   // bytes of a scalar
  uint16_t offset; // of the member; of the pointer, for a vector
  uint16_t number; // elements of a fixed array; of a vector, where its count member is
  uint16_t link;   // how far behind this lies the link to an embedded record's or element's table

  const table_info &table() const {
    const char *const at = reinterpret_cast<const char *>(this) + link;
    return *reinterpret_cast<const link_info *>(at)->table;
  }
};

// The head of a description, which holds the rest behind it. Reached by distances and not by
// pointers: each of those would be a relocation of 24 bytes for the loader.
class table_info {
public:
  constexpr table_info(uint32_t slots, size_t record_size, uint32_t owned, size_t non_root_at,
                       size_t owned_at)
      : slots_(static_cast<uint16_t>(slots)), record_size_(static_cast<uint16_t>(record_size)),
        non_root_at_(static_cast<uint16_t>(non_root_at)), owned_(static_cast<uint16_t>(owned)),
        owned_at_(static_cast<uint16_t>(owned_at)) {}

  uint32_t slots() const { return slots_; }
  uint32_t record_size() const { return record_size_; }
  const field_info &field(uint32_t slot) const {
    return behind<field_info>(sizeof(table_info))[slot];
  }
  // In the order in which they are given back, which is that of the members.
  uint32_t owned_count() const { return owned_; }
  const auto &owned(uint32_t i) const { return behind<link_info>(owned_at_)[i].owned; }
  // Under which allocations and log lines of a table that is not a message are filed.
  const char *non_root() const { return behind<char>(non_root_at_); }

private:
  template <class Value>
  const Value *behind(size_t distance) const {
    return reinterpret_cast<const Value *>(reinterpret_cast<const char *>(this) + distance);
  }

  uint16_t slots_;
  uint16_t record_size_;
  uint16_t non_root_at_;
  uint16_t owned_;
  uint16_t owned_at_;
};

template <class Record>
constexpr const table_info &info_of();

// How many tables lie one in the other at most, a root's elements and embedded records being the
// second. The general codec calls itself for each: this bounds its stack.
inline constexpr uint32_t max_nesting = 2;

template <class Record>
constexpr uint32_t nesting() {
  uint32_t below = 0;
  for_each_field<Record>([&below]<class Field>(Field) {
    if constexpr (Field::of == kind::table || Field::of == kind::table_vector)
      if (nesting<typename Field::value_type>() > below)
        below = nesting<typename Field::value_type>();
  });
  return 1 + below;
}

template <class Record>
constexpr uint32_t count_tables() {
  uint32_t count = 0;
  for_each_field<Record>([&count]<class Field>(Field) {
    count += Field::of == kind::table || Field::of == kind::table_vector ? 1 : 0;
  });
  return count;
}

template <class Record>
constexpr uint32_t count_owned() {
  uint32_t count = 0;
  for_each_field<Record>([&count]<class Field>(Field) {
    if constexpr (Field::is_vector)
      count++;
    else if constexpr (Field::of == kind::table)
      count += count_owned<typename Field::value_type>();
  });
  return count;
}

// Adds the tables that a record's fields refer to.
template <class Record>
constexpr link_info *add_tables(link_info *to) {
  for_each_field<Record>([&to]<class Field>(Field) {
    if constexpr (Field::of == kind::table || Field::of == kind::table_vector)
      (to++)->table = &info_of<typename Field::value_type>();
  });
  return to;
}

// Adds the blocks of a record that lies at `at` in its root's.
template <class Record>
constexpr link_info *add_owned(link_info *to, uint32_t at) {
  for_each_field<Record>([&to, at]<class Field>(Field) {
    constexpr auto offset = static_cast<uint32_t>(Field::offset);
    if constexpr (Field::is_vector)
      (to++)->owned = {at + offset, names<Record>::free_unpacked.text};
    else if constexpr (Field::of == kind::table)
      to = add_owned<typename Field::value_type>(to, at + offset);
  });
  return to;
}

template <class Record>
struct leaf_description {
  table_info info;
  field_info fields[table<Record>::slots];
  decltype(names<Record>::unpack_non_root) non_root;

  consteval leaf_description(size_t links_at)
      : info(table<Record>::slots, sizeof(Record), count_owned<Record>(),
             offsetof(leaf_description, non_root),
             links_at + count_tables<Record>() * sizeof(link_info)),
        fields{}, non_root(names<Record>::unpack_non_root) {
    static_assert(nesting<Record>() <= max_nesting, "tables nest deeper: see max_nesting");
    static_assert(offsetof(leaf_description, fields) == sizeof(table_info));
    static_assert(sizeof(Record) <= UINT16_MAX && sizeof(leaf_description) <= UINT16_MAX);
    size_t link = links_at;
    for_each_field<Record>([&]<class Field>(Field) {
      field_info &field = fields[Field::slot];
      field.of = Field::of;
      field.offset = static_cast<uint16_t>(Field::offset);
      if constexpr (Field::is_scalar)
        field.width = sizeof(typename Field::value_type);
      else if constexpr (Field::is_fixed_array)
        field.number = Field::length;
      else if constexpr (Field::is_vector)
        field.number = static_cast<uint16_t>(Field::count_offset);
      if constexpr (Field::of == kind::table || Field::of == kind::table_vector) {
        field.link = static_cast<uint16_t>(link - sizeof(table_info) - sizeof field * Field::slot);
        link += sizeof(link_info);
      }
    });
  }
};

// Everything that the general codec knows of a record.
template <class Record, uint32_t Links = count_tables<Record>() + count_owned<Record>()>
struct description {
  leaf_description<Record> leaf;
  link_info links[Links];

  consteval description() : leaf(offsetof(description, links)), links{} {
    add_owned<Record>(add_tables<Record>(links), 0);
  }
};

template <class Record>
struct description<Record, 0> {
  leaf_description<Record> leaf;

  consteval description() : leaf(0) {}
};

template <class Record>
struct described {
  static constexpr description<Record> value{};
};

template <class Record>
constexpr const table_info &info_of() {
  return described<Record>::value.leaf.info;
}

// A member of the record at `record`.
inline const uint8_t *member(const field_info &field, const void *record) {
  return static_cast<const uint8_t *>(record) + field.offset;
}
inline uint8_t *member(const field_info &field, void *record) {
  return static_cast<uint8_t *>(record) + field.offset;
}

// Count and pointer of a vector.
inline uint32_t count_of(const field_info &field, const void *record) {
  return load<uint32_t>(static_cast<const uint8_t *>(record) + field.number);
}
inline void set_count(const field_info &field, void *record, uint32_t count) {
  store(static_cast<uint8_t *>(record) + field.number, count);
}
inline uint8_t *pointer_of(const field_info &field, const void *record) {
  return load<uint8_t *>(member(field, record));
}
inline void set_pointer(const field_info &field, void *record, uint8_t *block) {
  store(member(field, record), block);
}

} // namespace mesh_fib6::wire::general
