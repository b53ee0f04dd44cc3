// What the schema says of every message, as values that a program can walk at run time: for tools,
// tests and documents, which meet a message by its name and not by its type.
//
// Room: tools. May include wire/format/schema.h and layout.h, transport/message.h and the modules'
// schemas; nothing else of the library. Nothing is written here that the schema says already.
//
// Everything is constexpr. A program that uses only tables needs no library; one that touches
// `modules` refers to the operations and links it.
#pragma once

#include "modules/fib6/schema.h"
#include "modules/fib6_cfg/schema.h"
#include "modules/fib6_sync/schema.h"
#include "transport/message.h"
#include "wire/format/layout.h"
#include "wire/format/schema.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace mesh_fib6::tools {

using wire::kind;

struct table_descriptor;

// A member of a record (of a vector both members) and the vtable slot it feeds.
struct field_descriptor {
  const char *name; // of the member; of the pointer, for a vector
  wire::kind kind;
  uint32_t slot;
  uint32_t offset;               // in the record; of the pointer, for a vector
  uint32_t width;                // bytes of the scalar, the sub-record or one element
  uint32_t length;               // elements of a fixed array, otherwise 1
  uint32_t count_offset;         // of a vector's count member, otherwise 0
  const table_descriptor *table; // of a sub-record or a vector's element, otherwise null

  constexpr bool is_fixed_array() const { return kind == kind::words || kind == kind::bytes; }
  constexpr bool is_vector() const {
    return kind == kind::table_vector || kind == kind::byte_vector;
  }

  // The member in the record at `record`.
  const void *member(const void *record) const {
    return static_cast<const char *>(record) + offset;
  }
  void *member(void *record) const { return static_cast<char *>(record) + offset; }

  // Element i of a fixed array or of the array behind a vector's pointer; a scalar or a sub-record
  // is its own element 0.
  const void *element(const void *record, uint32_t i) const {
    const auto *const first =
        static_cast<const char *>(is_vector() ? pointer(record) : member(record));
    return &first[size_t{i} * width];
  }
  void *element(void *record, uint32_t i) const {
    auto *const first = static_cast<char *>(is_vector() ? pointer(record) : member(record));
    return &first[size_t{i} * width];
  }

  // A vector's count and pointer.
  uint32_t count(const void *record) const {
    uint32_t value;
    memcpy(&value, static_cast<const char *>(record) + count_offset, sizeof value);
    return value;
  }
  void *pointer(const void *record) const {
    void *value;
    memcpy(&value, member(record), sizeof value);
    return value;
  }
  void set_vector(void *record, void *array, uint32_t count) const {
    memcpy(static_cast<char *>(record) + count_offset, &count, sizeof count);
    memcpy(member(record), &array, sizeof array);
  }

  // A scalar, or an element of an array of scalars, as a number.
  uint32_t number(const void *record, uint32_t i = 0) const {
    const void *const at = element(record, i);
    return width == 1 ? load<uint8_t>(at) : width == 2 ? load<uint16_t>(at) : load<uint32_t>(at);
  }
  void set_number(void *record, uint32_t value, uint32_t i = 0) const {
    void *const at = element(record, i);
    if (width == 1)
      store(at, static_cast<uint8_t>(value));
    else if (width == 2)
      store(at, static_cast<uint16_t>(value));
    else
      store(at, value);
  }

private:
  template <class Value>
  static Value load(const void *at) {
    Value value;
    memcpy(&value, at, sizeof value);
    return value;
  }
  template <class Value>
  static void store(void *at, Value value) {
    memcpy(at, &value, sizeof value);
  }
};

// A record and its table.
struct table_descriptor {
  const char *name; // of the record type: <namespace>_<table>
  uint32_t record_size;
  uint32_t base_size; // compact: every scalar zero, every vector empty, sub-tables not counted
  std::span<const field_descriptor> fields; // in slot order
};

namespace detail {

constexpr std::array<char, 4> member_name(uint32_t slot) {
  const char tens = static_cast<char>('0' + slot / 10), ones = static_cast<char>('0' + slot % 10);
  if (slot < 10)
    return {'f', ones};
  return {'f', tens, ones};
}

template <uint32_t Slot>
inline constexpr std::array<char, 4> member_name_of = member_name(Slot);

} // namespace detail

template <class Record>
struct described;

namespace detail {

template <class Field>
constexpr field_descriptor describe(Field) {
  using value_type = typename Field::value_type;
  field_descriptor result = {
      .name = member_name_of<Field::slot>.data(),
      .kind = Field::of,
      .slot = Field::slot,
      .offset = static_cast<uint32_t>(Field::offset),
      .width = static_cast<uint32_t>(sizeof(value_type)),
      .length = Field::length,
      .count_offset = static_cast<uint32_t>(Field::count_offset),
      .table = nullptr,
  };
  if constexpr (Field::of == kind::table || Field::of == kind::table_vector)
    result.table = &described<value_type>::table;
  return result;
}

template <class... Fields>
constexpr std::array<field_descriptor, sizeof...(Fields)> describe(wire::type_list<Fields...>) {
  return {describe(Fields{})...};
}

} // namespace detail

// The descriptors of one record.
template <class Record>
struct described {
  static constexpr auto fields = detail::describe(typename wire::table<Record>::fields{});
  static constexpr table_descriptor table = {
      .name = wire::schema<Record>::name,
      .record_size = sizeof(Record),
      .base_size = wire::compact_base_size<Record>(),
      .fields = fields,
  };
};

// Which arrangement the send operations use.
enum class shape : uint8_t {
  tree, // the record holds pointers: compact
  flat, // fixed image
};

// A message type. The operations are those of modules/message_api.h with records untyped.
struct message_descriptor {
  const char *name;           // of the record type: <namespace>_<message>
  const char *wire_namespace; // what the identifier is hashed from
  const char *message;        // name without the namespace
  const char *module;
  uint32_t id;
  tools::shape shape;
  uint32_t record_size;
  uint32_t fixed_image_size; // 0 for a tree
  uint32_t base_size;        // compact: root offset and the root table's base size
  const table_descriptor *table;

  uint32_t (*pack)(const void *record, uint8_t *buffer, uint32_t *length);
  uint32_t (*unpack)(const uint8_t *buffer, uint32_t length, void *record);
  void (*free_unpacked)(void *record);
  uint32_t (*sendsingle)(uint32_t destination, const void *record, uint32_t ignored,
                         uint64_t target);
  uint32_t (*sendbatch)(uint32_t destination, const void *records, uint32_t count, uint64_t target);
  uint32_t (*sendmsg)(uint32_t destination, const void *records, uint32_t count);
  uint32_t (*sendtomsg)(uint32_t destination, const void *records, uint32_t count, uint64_t target);
};

// A module's messages in the order in which they are registered.
struct module_descriptor {
  const char *name;
  const char *wire_namespace;
  std::span<const message_descriptor> messages;
};

namespace detail {

// What the schema headers say of a module, as a type.
struct fib6_module {
  static constexpr const char *name = "fib6";
  static constexpr const char *wire_namespace = fib6::wire_namespace;
  using messages = fib6::messages;
};
struct fib6_cfg_module {
  static constexpr const char *name = "fib6_cfg";
  static constexpr const char *wire_namespace = fib6_cfg::wire_namespace;
  using messages = fib6_cfg::messages;
};
struct fib6_sync_module {
  static constexpr const char *name = "fib6_sync";
  static constexpr const char *wire_namespace = fib6_sync::wire_namespace;
  using messages = fib6_sync::messages;
};

template <class M>
constexpr uint32_t fixed_image_size_of() {
  if constexpr (wire::is_tree<M>())
    return 0;
  else
    return wire::fixed_image_size<M>;
}

// The operations of a message on records without a type. Functions of a class, not lambdas: of
// those a compiler would make four hundred classes in each source that includes this.
template <class M>
struct untyped {
  using op = operations<M>;

  static uint32_t pack(const void *record, uint8_t *buffer, uint32_t *length) {
    return op::pack(static_cast<const M *>(record), buffer, length);
  }
  static uint32_t unpack(const uint8_t *buffer, uint32_t length, void *record) {
    return op::unpack(buffer, length, static_cast<M *>(record));
  }
  static void free_unpacked(void *record) { op::release(static_cast<M *>(record)); }
  static uint32_t sendsingle(uint32_t destination, const void *record, uint32_t ignored,
                             uint64_t target) {
    return op::sendsingle(destination, static_cast<const M *>(record), ignored, target);
  }
  static uint32_t sendbatch(uint32_t destination, const void *records, uint32_t count,
                            uint64_t target) {
    return op::sendbatch(destination, static_cast<const M *>(records), count, target);
  }
  static uint32_t sendmsg(uint32_t destination, const void *records, uint32_t count) {
    return op::sendmsg(destination, static_cast<const M *>(records), count);
  }
  static uint32_t sendtomsg(uint32_t destination, const void *records, uint32_t count,
                            uint64_t target) {
    return op::sendtomsg(destination, static_cast<const M *>(records), count, target);
  }
};

template <class Module, class M>
constexpr message_descriptor describe_message() {
  using op = untyped<M>;
  return {
      .name = wire::schema<M>::name,
      .wire_namespace = Module::wire_namespace,
      .message = wire::schema<M>::name + std::string_view(Module::wire_namespace).size() + 1,
      .module = Module::name,
      .id = transport::message_id<M>(Module::wire_namespace),
      .shape = wire::is_tree<M>() ? shape::tree : shape::flat,
      .record_size = sizeof(M),
      .fixed_image_size = fixed_image_size_of<M>(),
      .base_size = wire::root_offset_size + wire::compact_base_size<M>(),
      .table = &described<M>::table,
      .pack = op::pack,
      .unpack = op::unpack,
      .free_unpacked = op::free_unpacked,
      .sendsingle = op::sendsingle,
      .sendbatch = op::sendbatch,
      .sendmsg = op::sendmsg,
      .sendtomsg = op::sendtomsg,
  };
}

template <class Module, class... Messages>
constexpr std::array<message_descriptor, sizeof...(Messages)>
describe_messages(wire::type_list<Messages...>) {
  return {describe_message<Module, Messages>()...};
}

template <class Module>
inline constexpr auto messages_of = describe_messages<Module>(typename Module::messages{});

template <class Module>
inline constexpr module_descriptor module_of = {Module::name, Module::wire_namespace,
                                                messages_of<Module>};

} // namespace detail

inline constexpr module_descriptor modules[] = {
    detail::module_of<detail::fib6_module>,
    detail::module_of<detail::fib6_cfg_module>,
    detail::module_of<detail::fib6_sync_module>,
};

// Calls visit(message) for every message of every module.
template <class Visit>
constexpr void for_each_message(Visit &&visit) {
  for (const module_descriptor &module : modules)
    for (const message_descriptor &message : module.messages)
      visit(message);
}

// How many messages there are of which holds(message).
template <class Condition>
consteval uint32_t count_messages(Condition holds) {
  uint32_t count = 0;
  for_each_message([&](const message_descriptor &message) { count += holds(message) ? 1 : 0; });
  return count;
}

inline constexpr uint32_t message_count = count_messages([](auto &) { return true; });

} // namespace mesh_fib6::tools
