// Vectors of tables on the wire, laid out element by element: as the library's writer lays them, or
// with any one thing elsewhere. What an element holds is stated apart from where it lies, so a test
// can move a field and still expect the same record.
//
// Room: reference. Knows tables, vtables and offsets; takes from the descriptors where a member
// lies in its record.
#pragma once

#include "tests/reference/wire_builder.h"
#include "tools/descriptors.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace element_wire {

using bytes = std::vector<uint8_t>;

// A member of an element, in slot order. A scalar has no count.
struct member {
  uint32_t width, count;
  size_t offset;
  bool is_array() const { return count != 0; }
  uint32_t size() const { return width * (is_array() ? count : 1); }
};

class element_type {
public:
  element_type(const char *type_name, size_t record_size, const std::vector<member> &slot_members)
      : name(type_name), size(record_size), members(slot_members) {
    for (uint32_t slot = 0; slot < slots(); ++slot)
      (members[slot].is_array() ? arrays_ : scalars_).push_back(slot);
  }

  std::string name;
  size_t size; // of the record
  std::vector<member> members;

  uint32_t slots() const { return static_cast<uint32_t>(members.size()); }
  uint32_t vtable_size() const { return 4 + 2 * slots(); }
  const std::vector<uint32_t> &scalars() const { return scalars_; }
  const std::vector<uint32_t> &arrays() const { return arrays_; }

private:
  std::vector<uint32_t> scalars_, arrays_; // slots
};

// Of a record that holds scalars and arrays.
template <class E>
element_type type_of() {
  constexpr const auto &table = mesh_fib6::tools::described<E>::table;
  std::vector<member> members;
  for (const auto &field : table.fields)
    members.push_back({field.width, field.is_fixed_array() ? field.length : 0, field.offset});
  return {table.name, table.record_size, members};
}

// What an element holds: its record, in the byte order of the host, which is little-endian wherever
// this runs, and which of its slots are there. What is not reads as zero.
class fields {
public:
  explicit fields(const element_type &type) : type_(&type), record_(type.size) {}

  const bytes &record() const { return record_; }
  bool has(uint32_t slot) const { return (present_ >> slot & 1) != 0; }
  const uint8_t *at(uint32_t slot) const { return record_.data() + type_->members[slot].offset; }
  void set(uint32_t slot, const uint8_t *value) {
    const member &each = type_->members[slot];
    std::memcpy(record_.data() + each.offset, value, each.size());
    present_ |= 1U << slot;
  }
  void set_zero(uint32_t slot) {
    clear(slot);
    present_ |= 1U << slot;
  }
  void clear(uint32_t slot) {
    const member &each = type_->members[slot];
    std::memset(record_.data() + each.offset, 0, each.size());
    present_ &= ~(1U << slot);
  }

private:
  const element_type *type_;
  bytes record_;
  uint32_t present_ = 0;
};

constexpr uint32_t every_scalar = 0xFFFFFFFF, no_scalar = 0;

// Arrays, and the scalars whose number (not slot) is set in `mask`. No byte is zero, and elements
// and slots differ from their neighbours in each.
inline fields filled(const element_type &type, uint32_t element, uint32_t mask) {
  fields values(type);
  uint32_t scalar = 0;
  uint8_t value[256];
  for (uint32_t slot = 0; slot < type.slots(); ++slot) {
    const member &each = type.members[slot];
    if (!each.is_array() && (mask >> scalar++ & 1) == 0)
      continue;
    for (uint32_t i = 0; i < each.size(); ++i)
      value[i] = static_cast<uint8_t>(1 + (element * 53 + slot * 17 + i * 29) % 255);
    values.set(slot, value);
  }
  return values;
}

// ---- what goes where

enum class piece { scalar, word, body, gap };
struct item {
  piece kind;
  uint32_t slot; // of a gap: its length
};

enum class vtable_place {
  before,  // the element's table, as the writer does
  ahead,   // of all elements
  behind,  // the element's table
  borrowed // from another element
};

struct element {
  explicit element(const fields &held) : values(held) {}

  fields values;           // what a reader must find
  std::vector<item> items; // what the table holds behind its first word
  vtable_place place = vtable_place::before;
  uint32_t lender = 0;                      // whose vtable is borrowed
  uint32_t apart = 0;                       // bytes between the vtable and the table
  uint32_t more_slots = 0, less_slots = 0;  // of a newer, an older peer's vtable
  std::optional<uint32_t> stated_size = {}; // of the vtable
  std::optional<uint32_t> stated_table_size = {};
  std::optional<uint32_t> body_behind = {}; // the array slot whose body lies behind all elements
  std::optional<uint32_t> body_lent = {};   // the array slot whose body is the lender's
  struct shared_scalar {
    uint32_t slot, lender, lender_slot;
  };
  std::optional<shared_scalar> scalar_lent = {};
  std::optional<uint32_t> same_table_as = {};

  item &find(piece kind, uint32_t slot) {
    for (item &each : items)
      if (each.kind == kind && each.slot == slot)
        return each;
    throw std::runtime_error("no such item");
  }
  size_t index_of(piece kind, uint32_t slot) {
    return static_cast<size_t>(&find(kind, slot) - items.data());
  }
  void remove(piece kind, uint32_t slot) {
    items.erase(items.begin() + static_cast<ptrdiff_t>(index_of(kind, slot)));
  }
  void insert(size_t index, item what) {
    items.insert(items.begin() + static_cast<ptrdiff_t>(index), what);
  }
};

// An element as the writer lays it: scalars that are not zero, offset words, arrays.
inline element compact(const element_type &type, const fields &values) {
  element made(values);
  for (const uint32_t slot : type.scalars())
    if (values.has(slot))
      made.items.push_back({piece::scalar, slot});
  for (const piece kind : {piece::word, piece::body})
    for (const uint32_t slot : type.arrays())
      if (values.has(slot))
        made.items.push_back({kind, slot});
  return made;
}

struct vector {
  uint32_t slot; // of the root
  const element_type *type;
  std::vector<element> elements;
  std::vector<uint32_t> order = {}; // in which they lie; empty: their own
};

struct message {
  uint32_t root_slots;
  std::optional<uint32_t> f0; // where the root's first slot is a scalar
  std::vector<vector> vectors;
  uint32_t lead = 0;              // bytes before the first element
  uint32_t byte_swap = 0;         // 1: everything reversed; 2: all but the words of arrays
  std::vector<uint8_t> tail = {}; // behind everything
};

// Where everything lies.
struct laid_element {
  uint32_t word = 0; // its offset word in the vector
  uint32_t table = 0, vtable = 0;
  std::vector<uint32_t> field; // by slot: the scalar or the offset word; 0 when there is none
  std::vector<uint32_t> body;  // by slot: the length word
};

class laid_message : public wire_builder {
public:
  explicit laid_message(const message &from)
      : wire_builder(from.byte_swap != 0 ? order::big : order::little), from_(from) {
    lay();
  }
  laid_message(const laid_message &) = delete;
  laid_message &operator=(const laid_message &) = delete;

  const element_wire::bytes &wire = wire_builder::bytes();
  std::vector<std::vector<laid_element>> at; // by vector and element

  uint32_t size() const { return here(); }
  // The vtable entry of a slot of an element of the only vector.
  void set_entry(uint32_t element, uint32_t slot, uint32_t entry) {
    set_u16(at[0][element].vtable + 4 + 2 * slot, entry);
  }

  void restore_entry(uint32_t element, uint32_t slot) {
    const laid_element &it = at[0][element];
    set_entry(element, slot, it.field[slot] == 0 ? 0 : it.field[slot] - it.table);
  }

private:
  uint32_t put_value(const member &kind, const uint8_t *value) {
    // Words of arrays are reversed by a flag of exactly 1 only.
    const bool reversed = from_.byte_swap == 1 || (from_.byte_swap != 0 && !kind.is_array());
    return copy(value, kind.size(), reversed ? kind.width : 1);
  }

  void lay() {
    reserve(most);
    head();
    fill(from_.lead, 0xEE);
    each([this](const vector &in, const element &one, laid_element &place) {
      if (one.place == vtable_place::ahead)
        put_vtable(*in.type, one, place);
    });
    for (size_t v = 0; v < from_.vectors.size(); ++v) {
      const vector &in = from_.vectors[v];
      for (uint32_t i = 0; i < in.elements.size(); ++i) {
        const uint32_t k = in.order.empty() ? i : in.order.at(i);
        if (!in.elements[k].same_table_as)
          put_table(*in.type, in.elements[k], at[v][k]);
      }
    }
    each([this](const vector &in, const element &one, laid_element &place) {
      if (one.body_behind)
        body(*in.type, one, place, *one.body_behind);
    });
    copy(from_.tail.data(), static_cast<uint32_t>(from_.tail.size()));
    for (size_t v = 0; v < from_.vectors.size(); ++v)
      for (size_t k = 0; k < at[v].size(); ++k)
        connect(from_.vectors[v], from_.vectors[v].elements[k], at[v], at[v][k]);
  }

  void head() {
    const uint32_t root = 8 + 2 * from_.root_slots;
    u32(root);
    const uint32_t entries = u16(4 + 2 * from_.root_slots) + 4;
    fill(2 + 2 * from_.root_slots, 0);
    table(4);
    if (from_.f0) {
      set_u16(entries, 4);
      u32(*from_.f0);
    }
    std::vector<uint32_t> references;
    for (const vector &each : from_.vectors) {
      references.push_back(u32(0));
      set_u16(entries + 2 * each.slot, references.back() - root);
    }
    for (size_t v = 0; v < from_.vectors.size(); ++v) {
      const auto count = static_cast<uint32_t>(from_.vectors[v].elements.size());
      refer(references[v], u32(count));
      const uint32_t slots = from_.vectors[v].type->slots();
      at.emplace_back(count);
      for (laid_element &each : at.back()) {
        each.word = u32(0);
        each.field.resize(slots), each.body.resize(slots);
      }
    }
  }

  static uint32_t true_size(const element_type &type, const element &one) {
    return type.vtable_size() + 2 * one.more_slots - 2 * one.less_slots;
  }

  void put_vtable(const element_type &type, const element &one, laid_element &place) {
    place.vtable = fill(true_size(type, one), 0);
  }

  void body(const element_type &type, const element &one, laid_element &place, uint32_t slot) {
    place.body[slot] = u32(type.members[slot].count);
    put_value(type.members[slot], one.values.at(slot));
  }

  void put_table(const element_type &type, const element &one, laid_element &place) {
    if (one.place == vtable_place::before)
      put_vtable(type, one, place);
    fill(one.apart, 0xEE);
    place.table = u32(0);
    for (const item &each : one.items)
      switch (each.kind) {
      case piece::scalar:
        place.field[each.slot] = put_value(type.members[each.slot], one.values.at(each.slot));
        break;
      case piece::word:
        place.field[each.slot] = u32(0);
        break;
      case piece::body:
        body(type, one, place, each.slot);
        break;
      case piece::gap:
        fill(each.slot, 0xEE);
        break;
      }
    const uint32_t end = here();
    if (one.place == vtable_place::behind)
      put_vtable(type, one, place);
    if (one.place != vtable_place::borrowed)
      set_u16(place.vtable + 2, one.stated_table_size.value_or(end - place.table));
  }

  void connect(const vector &in, const element &one, const std::vector<laid_element> &all,
               laid_element &place) {
    if (one.same_table_as) {
      refer(place.word, all[*one.same_table_as].table);
      return;
    }
    refer(place.word, place.table);
    if (one.scalar_lent)
      place.field[one.scalar_lent->slot] =
          all[one.scalar_lent->lender].field[one.scalar_lent->lender_slot];
    if (one.place == vtable_place::borrowed) {
      set_u32(place.table, place.table - all[one.lender].vtable);
    } else {
      const uint32_t true_length = true_size(*in.type, one);
      set_u16(place.vtable, one.stated_size.value_or(true_length));
      for (uint32_t slot = 0; 4 + 2 * slot < true_length; ++slot) {
        // What a newer peer has there is of no concern to us, however wrong it looks.
        uint32_t entry = 0xFFFF;
        if (slot < in.type->slots())
          entry = place.field[slot] == 0 ? 0 : place.field[slot] - place.table;
        set_u16(place.vtable + 4 + 2 * slot, entry);
      }
      set_u32(place.table, place.table - place.vtable);
    }
    for (const uint32_t slot : in.type->arrays())
      if (place.field[slot] != 0)
        refer(place.field[slot],
              one.body_lent == slot ? all[one.lender].body[slot] : place.body[slot]);
  }

  template <class Visitor>
  void each(Visitor visit) {
    for (size_t v = 0; v < from_.vectors.size(); ++v)
      for (size_t k = 0; k < at[v].size(); ++k)
        visit(from_.vectors[v], from_.vectors[v].elements[k], at[v][k]);
  }

  // Room for forty of the largest elements; growing step by step is what took a test's time.
  static constexpr size_t most = 16384;

  const message &from_;
};

// ---- the elements of the messages

inline element_type route() {
  return type_of<feiBrokerFib6_ipv6Fwd>();
}
inline element_type route_key() {
  return type_of<feiBrokerFib6_ipv6FwdKey>();
}
inline element_type group_node() {
  return type_of<feiBrokerFib6_nhp6GroupNode>();
}
inline element_type group_key() {
  return type_of<feiBrokerFib6_nhp6GroupKey>();
}
inline element_type hop_std() {
  return type_of<feiBrokerFib6_nhp6Std>();
}
inline element_type hop_ext() {
  return type_of<feiBrokerFib6_nhp6Ext>();
}
inline element_type hop_vpn() {
  return type_of<feiBrokerFib6_nhp6Vpn>();
}
inline element_type hop_vxlan() {
  return type_of<feiBrokerFib6_nhp6Vxlan>();
}
inline element_type hop_vpn_sid() {
  return type_of<feiBrokerFib6_nhp6VpnSid>();
}
inline element_type hop_te() {
  return type_of<feiBrokerFib6_nhp6Pp6ExtSrv6Te>();
}
inline element_type segment_list() {
  return type_of<feiBrokerFib6_srv6SrList>();
}
inline element_type list_key() {
  return type_of<feiBrokerFib6_srv6SrListKey>();
}
inline element_type path_mtu() {
  return type_of<feiBrokerFib6_ipv6PathMtu>();
}
inline element_type path_mtu_key() {
  return type_of<feiBrokerFib6_ipv6PathMtuKey>();
}
inline element_type fib_item() {
  return type_of<fib6_cfg_query_fib6_item>();
}
inline element_type dfx_item() {
  return type_of<fib6_cfg_query_dfx_item>();
}

} // namespace element_wire
