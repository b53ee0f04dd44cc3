// The vocabulary in which a message is described: one list of members per record, from which every
// slot, offset, width and kind follows at compile time.
//
// Room: wire/format. May include runtime/ and libc; knows no particular message and nothing of the
// mesh.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace mesh_fib6::wire {

// How a member travels. It follows from the member's C type alone.
enum class kind : uint8_t {
  scalar,       // uint8_t, uint16_t, uint32_t
  words,        // uint32_t[N]: vector of N 32-bit words
  bytes,        // uint8_t[N]: vector of N bytes
  table,        // a record with a schema, held inline
  table_vector, // count and pointer to records with a schema
  byte_vector,  // length and pointer to bytes
};

constexpr bool is_array(kind of) {
  return of == kind::words || of == kind::bytes;
}

template <class... Types>
struct type_list {
  static constexpr uint32_t size = sizeof...(Types);
};

// One vtable slot of a table and the record member (or pair of members) that feeds it.
//   Value     the scalar, the sub-table's record or the vector's element; the element of an array
//   Slot      index in the vtable
//   Offset    of the member in the record; of the pointer, for a vector
//   Length    elements of a fixed array, otherwise 1
//   CountAt   of the count member, for a vector
template <kind Kind, class Value, uint32_t Slot, size_t Offset, uint32_t Length = 1,
          size_t CountAt = 0>
struct field {
  using value_type = Value;
  static constexpr kind of = Kind;
  static constexpr uint32_t slot = Slot;
  static constexpr size_t offset = Offset;
  static constexpr uint32_t length = Length;
  static constexpr size_t count_offset = CountAt;

  static constexpr bool is_scalar = Kind == kind::scalar;
  static constexpr bool is_fixed_array = is_array(Kind);
  static constexpr bool is_vector = Kind == kind::table_vector || Kind == kind::byte_vector;

  template <class Record>
  static const Value &value(const Record &record) {
    return *reinterpret_cast<const Value *>(reinterpret_cast<const char *>(&record) + Offset);
  }
  template <class Record>
  static Value &value(Record &record) {
    return *reinterpret_cast<Value *>(reinterpret_cast<char *>(&record) + Offset);
  }
  template <class Record>
  static Value *const &pointer(const Record &record) {
    return *reinterpret_cast<Value *const *>(reinterpret_cast<const char *>(&record) + Offset);
  }
  template <class Record>
  static Value *&pointer(Record &record) {
    return *reinterpret_cast<Value **>(reinterpret_cast<char *>(&record) + Offset);
  }
  template <class Record>
  static uint32_t count(const Record &record) {
    return *reinterpret_cast<const uint32_t *>(reinterpret_cast<const char *>(&record) + CountAt);
  }
  template <class Record>
  static uint32_t &count(Record &record) {
    return *reinterpret_cast<uint32_t *>(reinterpret_cast<char *>(&record) + CountAt);
  }
};

// The list of a record's members; MESH_FIB6_TABLE specialises it.
template <class Record>
struct schema;

template <class... Members>
constexpr type_list<Members...> types_of(const Members &...) {
  return {};
}

// Describes a record: what its size is, what its table takes in the compact arrangement when every
// scalar is zero and every vector empty (sub-tables not counted), and its members in declaration
// order, which is slot order; of a vector both the count and the pointer. The sizes are contracts
// with peers, stated by hand for the compiler to compare. The structured binding makes it refuse a
// list that leaves a member out, and table<> checks that the names are those of the slots.
#define MESH_FIB6_TABLE(record, record_size, table_size, ...)                                      \
  template <>                                                                                      \
  struct mesh_fib6::wire::schema<record> {                                                         \
    static constexpr char name[] = #record;                                                        \
    static constexpr char listed[] = #__VA_ARGS__;                                                 \
    static constexpr uint32_t stated_size = table_size;                                            \
    static_assert(sizeof(record) == record_size, #record " has another size than is stated");      \
    static constexpr auto members(const record &r) {                                               \
      const auto &[__VA_ARGS__] = r;                                                               \
      return ::mesh_fib6::wire::types_of(__VA_ARGS__);                                             \
    }                                                                                              \
  }

constexpr size_t align_up(size_t at, size_t alignment) {
  return (at + alignment - 1) / alignment * alignment;
}

namespace detail {

template <class Member, uint32_t Slot, size_t Offset>
struct field_of {
  static constexpr kind of = std::is_integral_v<Member> ? kind::scalar : kind::table;
  using type = field<of, Member, Slot, Offset>;
};
template <uint32_t Length, uint32_t Slot, size_t Offset>
struct field_of<uint32_t[Length], Slot, Offset> {
  using type = field<kind::words, uint32_t, Slot, Offset, Length>;
};
template <uint32_t Length, uint32_t Slot, size_t Offset>
struct field_of<uint8_t[Length], Slot, Offset> {
  using type = field<kind::bytes, uint8_t, Slot, Offset, Length>;
};

// Walks the members: End is the first free byte of the record, Fields what was found so far.
template <size_t End, class Fields, class... Members>
struct walk {
  using fields = Fields;
  static constexpr size_t end = End;
};
template <size_t End, class... Fields, class Member, class... Rest>
struct walk<End, type_list<Fields...>, Member, Rest...> {
  static constexpr size_t offset = align_up(End, alignof(Member));
  using next =
      walk<offset + sizeof(Member),
           type_list<Fields..., typename field_of<Member, sizeof...(Fields), offset>::type>,
           Rest...>;
  using fields = typename next::fields;
  static constexpr size_t end = next::end;
};
template <size_t End, class... Fields, class Element, class... Rest>
struct walk<End, type_list<Fields...>, uint32_t, Element *, Rest...> {
  static constexpr size_t count_at = align_up(End, alignof(uint32_t));
  static constexpr size_t offset = align_up(count_at + sizeof(uint32_t), alignof(Element *));
  static constexpr kind of =
      std::is_same_v<Element, uint8_t> ? kind::byte_vector : kind::table_vector;
  using next =
      walk<offset + sizeof(Element *),
           type_list<Fields..., field<of, Element, sizeof...(Fields), offset, 1, count_at>>,
           Rest...>;
  using fields = typename next::fields;
  static constexpr size_t end = next::end;
};

// Whether `text` goes on with "f<slot><suffix>"; moves past it and a following ", ".
constexpr bool eat_name(const char *&text, uint32_t slot, const char *suffix) {
  char name[16] = {'f'};
  size_t length = 1;
  if (slot >= 10)
    name[length++] = static_cast<char>('0' + slot / 10);
  name[length++] = static_cast<char>('0' + slot % 10);
  for (; *suffix != 0; suffix++)
    name[length++] = *suffix;
  for (size_t i = 0; i < length; i++, text++)
    if (*text != name[i])
      return false;
  if (*text == ',')
    text += 2;
  else if (*text != 0)
    return false;
  return true;
}

template <class... Fields>
constexpr bool names_match(const char *listed, type_list<Fields...>) {
  return (((!Fields::is_vector || eat_name(listed, Fields::slot, "_count")) &&
           eat_name(listed, Fields::slot, "")) &&
          ...);
}

// Named, where a lambda would do: clangd 14 does not survive one in the type of a class template's
// member.
template <class... Members>
constexpr walk<0, type_list<>, Members...> walk_all(type_list<Members...>) {
  return {};
}

} // namespace detail

// Everything about a record's table that does not depend on values.
template <class Record>
struct table {
  using walked =
      decltype(detail::walk_all(schema<Record>::members(*static_cast<const Record *>(nullptr))));
  using fields = typename walked::fields;

  static constexpr uint32_t slots = fields::size;
  static constexpr uint32_t vtable_size = 4 + 2 * slots;

  static_assert(std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>);
  static_assert(sizeof(Record) == align_up(walked::end, alignof(Record)),
                "the record does not have its members at their natural offsets");
  static_assert(detail::names_match(schema<Record>::listed, fields{}),
                "members are named f<slot>, the count of a vector f<slot>_count");
};

// Calls visit(field) for each field of a record's table, in slot order.
template <class Record, class Visit>
[[gnu::always_inline]] constexpr void for_each_field(Visit &&visit) {
  [&]<class... Fields>(type_list<Fields...>) __attribute__((always_inline)) {
    (visit(Fields{}), ...);
  }
  (typename table<Record>::fields{});
}

// Calls it until visit(field) is false; whether all were true.
template <class Record, class Visit>
[[gnu::always_inline]] constexpr bool all_fields(Visit &&visit) {
  return [&]<class... Fields>(type_list<Fields...>) __attribute__((always_inline)) {
    return (visit(Fields{}) && ...);
  }
  (typename table<Record>::fields{});
}

// A tree record holds pointers, directly or in an embedded record; a flat record holds none.
template <class Record>
constexpr bool is_tree() {
  return !all_fields<Record>([]<class Field>(Field) {
    if constexpr (Field::of == kind::table)
      return !is_tree<typename Field::value_type>();
    return !Field::is_vector;
  });
}

} // namespace mesh_fib6::wire
