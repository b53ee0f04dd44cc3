// Vectors of tables on the wire, laid out element by element: as the library's writer lays them, or
// with any one thing elsewhere. What an element holds is stated apart from where it lies, so a test
// can move a field and still expect the same record.
//
// Room: tests. Knows tables, vtables and offsets; takes from the public headers where a member lies
// in its record, and nothing from the library.
#pragma once

#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
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

template <class E, class... F>
element_type type_of(const char *name, F E::*...members) {
  static const E sample{};
  const auto describe = []<class G>(G E::*each) {
    const auto *at = reinterpret_cast<const char *>(&(sample.*each));
    return member{sizeof(std::remove_all_extents_t<G>), static_cast<uint32_t>(std::extent_v<G>),
                  static_cast<size_t>(at - reinterpret_cast<const char *>(&sample))};
  };
  return {name, sizeof(E), {describe(members)...}};
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

class laid_message {
public:
  explicit laid_message(const message &from) : from_(from) { lay(); }

  bytes wire;
  std::vector<std::vector<laid_element>> at; // by vector and element

  uint32_t size() const { return static_cast<uint32_t>(wire.size()); }
  void set(uint32_t position, uint32_t value, uint32_t width) {
    if (position + width > size())
      throw std::out_of_range("beyond the message");
    if (from_.byte_swap != 0)
      value = __builtin_bswap32(value) >> 8 * (4 - width);
    std::memcpy(wire.data() + position, &value, width);
  }
  void set_u16(uint32_t position, uint32_t value) { set(position, value, 2); }
  void set_u32(uint32_t position, uint32_t value) { set(position, value, 4); }
  void refer(uint32_t position, uint32_t target) { set_u32(position, target - position); }
  // The vtable entry of a slot of an element of the only vector.
  void set_entry(uint32_t element, uint32_t slot, uint32_t entry) {
    set_u16(at[0][element].vtable + 4 + 2 * slot, entry);
  }

  void restore_entry(uint32_t element, uint32_t slot) {
    const laid_element &it = at[0][element];
    set_entry(element, slot, it.field[slot] == 0 ? 0 : it.field[slot] - it.table);
  }

private:
  uint32_t put(uint32_t value, uint32_t width) {
    const uint32_t position = fill(width, 0);
    set(position, value, width);
    return position;
  }
  uint32_t fill(uint32_t count, uint8_t value) {
    const uint32_t position = end_;
    std::memset(wire.data() + position, value, count);
    end_ += count;
    return position;
  }
  uint32_t put_value(const member &kind, const uint8_t *value) {
    const uint32_t position = fill(kind.size(), 0);
    uint8_t *const to = wire.data() + position;
    std::memcpy(to, value, kind.size());
    if (from_.byte_swap == 1 || (from_.byte_swap != 0 && !kind.is_array()))
      for (uint32_t i = 0; i < kind.size(); i += kind.width)
        std::reverse(to + i, to + i + kind.width);
    return position;
  }

  void lay() {
    wire.resize(most);
    head();
    fill(from_.lead, 0xEE);
    each([this](const vector &in, const element &one, laid_element &place) {
      if (one.place == vtable_place::ahead)
        vtable(*in.type, one, place);
    });
    for (size_t v = 0; v < from_.vectors.size(); ++v) {
      const vector &in = from_.vectors[v];
      for (uint32_t i = 0; i < in.elements.size(); ++i) {
        const uint32_t k = in.order.empty() ? i : in.order.at(i);
        if (!in.elements[k].same_table_as)
          table(*in.type, in.elements[k], at[v][k]);
      }
    }
    each([this](const vector &in, const element &one, laid_element &place) {
      if (one.body_behind)
        body(*in.type, one, place, *one.body_behind);
    });
    std::copy(from_.tail.begin(), from_.tail.end(), wire.begin() + end_);
    end_ += static_cast<uint32_t>(from_.tail.size());
    for (size_t v = 0; v < from_.vectors.size(); ++v)
      for (size_t k = 0; k < at[v].size(); ++k)
        connect(from_.vectors[v], from_.vectors[v].elements[k], at[v], at[v][k]);
    wire.resize(end_);
  }

  void head() {
    const uint32_t root = 8 + 2 * from_.root_slots;
    put(root, 4);
    const uint32_t entries = put(4 + 2 * from_.root_slots, 2) + 4;
    fill(2 + 2 * from_.root_slots, 0);
    put(root - 4, 4);
    if (from_.f0) {
      set_u16(entries, 4);
      put(*from_.f0, 4);
    }
    std::vector<uint32_t> references;
    for (const vector &each : from_.vectors) {
      references.push_back(put(0, 4));
      set_u16(entries + 2 * each.slot, references.back() - root);
    }
    for (size_t v = 0; v < from_.vectors.size(); ++v) {
      const auto count = static_cast<uint32_t>(from_.vectors[v].elements.size());
      refer(references[v], put(count, 4));
      const uint32_t slots = from_.vectors[v].type->slots();
      at.emplace_back(count);
      for (laid_element &each : at.back()) {
        each.word = put(0, 4);
        each.field.resize(slots), each.body.resize(slots);
      }
    }
  }

  static uint32_t true_size(const element_type &type, const element &one) {
    return type.vtable_size() + 2 * one.more_slots - 2 * one.less_slots;
  }

  void vtable(const element_type &type, const element &one, laid_element &place) {
    place.vtable = fill(true_size(type, one), 0);
  }

  void body(const element_type &type, const element &one, laid_element &place, uint32_t slot) {
    place.body[slot] = put(type.members[slot].count, 4);
    put_value(type.members[slot], one.values.at(slot));
  }

  void table(const element_type &type, const element &one, laid_element &place) {
    if (one.place == vtable_place::before)
      vtable(type, one, place);
    fill(one.apart, 0xEE);
    place.table = put(0, 4);
    for (const item &each : one.items)
      switch (each.kind) {
      case piece::scalar:
        place.field[each.slot] = put_value(type.members[each.slot], one.values.at(each.slot));
        break;
      case piece::word:
        place.field[each.slot] = put(0, 4);
        break;
      case piece::body:
        body(type, one, place, each.slot);
        break;
      case piece::gap:
        fill(each.slot, 0xEE);
        break;
      }
    const uint32_t end = end_;
    if (one.place == vtable_place::behind)
      vtable(type, one, place);
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
  uint32_t end_ = 0; // while it is being laid
};

// ---- the elements of the messages, slot by slot

inline element_type route() {
  using e = feiBrokerFib6_ipv6Fwd;
  return type_of("feiBrokerFib6_ipv6Fwd", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7, &e::f8, &e::f9, &e::f10, &e::f11, &e::f12, &e::f13);
}
inline element_type route_key() {
  using e = feiBrokerFib6_ipv6FwdKey;
  return type_of("feiBrokerFib6_ipv6FwdKey", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4);
}
inline element_type group_node() {
  using e = feiBrokerFib6_nhp6GroupNode;
  return type_of("feiBrokerFib6_nhp6GroupNode", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5,
                 &e::f6, &e::f7, &e::f8, &e::f9);
}
inline element_type group_key() {
  using e = feiBrokerFib6_nhp6GroupKey;
  return type_of("feiBrokerFib6_nhp6GroupKey", &e::f0, &e::f1);
}
inline element_type hop_std() {
  using e = feiBrokerFib6_nhp6Std;
  return type_of("feiBrokerFib6_nhp6Std", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7, &e::f8);
}
inline element_type hop_ext() {
  using e = feiBrokerFib6_nhp6Ext;
  return type_of("feiBrokerFib6_nhp6Ext", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7);
}
inline element_type hop_vpn() {
  using e = feiBrokerFib6_nhp6Vpn;
  return type_of("feiBrokerFib6_nhp6Vpn", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4);
}
inline element_type hop_vxlan() {
  using e = feiBrokerFib6_nhp6Vxlan;
  return type_of("feiBrokerFib6_nhp6Vxlan", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7, &e::f8, &e::f9, &e::f10, &e::f11, &e::f12);
}
inline element_type hop_vpn_sid() {
  using e = feiBrokerFib6_nhp6VpnSid;
  return type_of("feiBrokerFib6_nhp6VpnSid", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7, &e::f8, &e::f9, &e::f10, &e::f11);
}
inline element_type hop_te() {
  using e = feiBrokerFib6_nhp6Pp6ExtSrv6Te;
  return type_of("feiBrokerFib6_nhp6Pp6ExtSrv6Te", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5,
                 &e::f6, &e::f7, &e::f8);
}
inline element_type segment_list() {
  using e = feiBrokerFib6_srv6SrList;
  return type_of("feiBrokerFib6_srv6SrList", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7, &e::f8, &e::f9, &e::f10, &e::f11, &e::f12, &e::f13, &e::f14, &e::f15,
                 &e::f16);
}
inline element_type list_key() {
  using e = feiBrokerFib6_srv6SrListKey;
  return type_of("feiBrokerFib6_srv6SrListKey", &e::f0, &e::f1, &e::f2, &e::f3);
}
inline element_type path_mtu() {
  using e = feiBrokerFib6_ipv6PathMtu;
  return type_of("feiBrokerFib6_ipv6PathMtu", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4);
}
inline element_type path_mtu_key() {
  using e = feiBrokerFib6_ipv6PathMtuKey;
  return type_of("feiBrokerFib6_ipv6PathMtuKey", &e::f0, &e::f1, &e::f2);
}
inline element_type fib_item() {
  using e = fib6_cfg_query_fib6_item;
  return type_of("fib6_cfg_query_fib6_item", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6,
                 &e::f7, &e::f8, &e::f9, &e::f10, &e::f11, &e::f12, &e::f13, &e::f14, &e::f15,
                 &e::f16, &e::f17, &e::f18, &e::f19, &e::f20);
}
inline element_type dfx_item() {
  using e = fib6_cfg_query_dfx_item;
  return type_of("fib6_cfg_query_dfx_item", &e::f0, &e::f1, &e::f2, &e::f3, &e::f4, &e::f5, &e::f6);
}

} // namespace element_wire
