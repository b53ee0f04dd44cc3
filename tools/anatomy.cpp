// Takes buffers apart; see anatomy.h.
//
// Room: tools.
#include "tools/anatomy.h"

#include "tools/words.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace mesh_fib6::tools {
namespace {

constexpr uint32_t offset_size = 4, count_size = 4, vtable_head = 4, entry_size = 2;

std::string hexadecimal(uint32_t value, uint32_t digits, bool capital) {
  std::string text(digits, '0');
  for (uint32_t i = digits; i > 0; i--, value >>= 4)
    text[i - 1] = (capital ? "0123456789ABCDEF" : "0123456789abcdef")[value & 15];
  return text;
}

constexpr uint32_t rounded_up(uint32_t value, uint32_t unit) {
  return (value + unit - 1) / unit * unit;
}

} // namespace

const char *name_of(rule rule) {
  constexpr std::array names = {"length",  "table-offset", "vtable-offset", "vtable-size", "entry",
                                "uoffset", "item-count",   "array-count",   "block-size"};
  static_assert(names.size() == static_cast<size_t>(rule::block_size) + 1);
  return names[static_cast<size_t>(rule)];
}

const char *name_of(role role) {
  constexpr std::array names = {"root-offset", "soffset",     "vtable-size", "table-size",
                                "entry",       "spare-entry", "vtable-rest", "uoffset",
                                "scalar",      "count",       "items"};
  static_assert(names.size() == static_cast<size_t>(role::items) + 1);
  return names[static_cast<size_t>(role)];
}

const char *name_of(standing standing) {
  constexpr std::array names = {"used", "shared", "overlapping", "unreferenced", "unreached"};
  static_assert(names.size() == static_cast<size_t>(standing::unreached) + 1);
  return names[static_cast<size_t>(standing)];
}

namespace {

// ---- the walk, in the order in which the library reads ----

uint32_t load(std::span<const uint8_t> bytes, uint32_t at, uint32_t width, bool reversed) {
  uint32_t value = 0;
  for (uint32_t i = 0; i < width; i++)
    value |= uint32_t{bytes[at + i]} << (8 * (reversed ? width - 1 - i : i));
  return value;
}

// Remembers nothing; see the anatomy's notes for what is remembered otherwise.
struct no_notes {
  static constexpr bool wants_all = false;

  static uint32_t add(const node &) { return 0; }
  void add(const part &) {}
  void set_at(uint32_t, uint32_t) {}
  void set_number(uint32_t, uint32_t) {}
  void refuse(rule, uint32_t, uint32_t, uint32_t, auto &&) {}
  static size_t mark() { return 0; }
  void forget_beyond(size_t) {}
};

template <class Notes>
class walk {
public:
  walk(Notes &notes, std::span<const uint8_t> bytes, uint32_t byte_swap)
      : notes_(notes), bytes_(bytes), size_(static_cast<uint32_t>(bytes.size())),
        is_reversed_(byte_swap != 0) {}

  // Whether the library takes the bytes.
  bool read_root(const table_descriptor &table) {
    if (bytes_.size() < offset_size)
      return refuse(rule::length, 0, 0, size_, [&] {
        return std::pair("at least " + plural(offset_size, "byte"), plural(bytes_.size(), "byte"));
      });
    if (bytes_.size() > longest_message)
      return refuse(rule::length, 0, 0, offset_size, [&] {
        return std::pair("at most " + plural(longest_message, "byte"),
                         plural(bytes_.size(), "byte"));
      });
    const uint32_t at = number(0, offset_size);
    const uint32_t root = notes_.add(node{nullptr, &table, 0, node::no_element, at, 0});
    notes_.add(part{0, offset_size, role::root_offset, root, 0});
    return read_table(table, root, 0, at);
  }

private:
  struct table_ref {
    uint32_t at, vtable, vtable_size;
  };

  bool holds(uint32_t at, uint64_t size) const { return at + size <= size_; }

  uint32_t number(uint32_t at, uint32_t width) const {
    return load(bytes_, at, width, is_reversed_);
  }

  // `texts` gives what was expected and what was found.
  bool refuse(rule rule, uint32_t node, uint32_t at, uint32_t size, auto &&texts) {
    notes_.refuse(rule, node, at, size, texts);
    return false;
  }

  // `word` is the offset that led to the table at `at`.
  bool read_table(const table_descriptor &descriptor, uint32_t node, uint32_t word, uint32_t at) {
    table_ref table{};
    return open_table(descriptor, node, word, at, table) && read_fields(descriptor, node, table);
  }

  bool open_table(const table_descriptor &descriptor, uint32_t node, uint32_t word, uint32_t at,
                  table_ref &table) {
    const auto within = [&](const char *what) {
      return what + (" at 4 to " + std::to_string(size_ - 4));
    };
    if (at < offset_size || !holds(at, offset_size))
      return refuse(rule::table_offset, node, word, offset_size, [&] {
        return std::pair(within("a table"), "a table at " + std::to_string(at));
      });
    const uint32_t vtable = at - number(at, offset_size);
    notes_.add(part{at, offset_size, role::soffset, node, 0});
    if (vtable < offset_size || !holds(vtable, vtable_head))
      return refuse(rule::vtable_offset, node, at, offset_size, [&] {
        return std::pair(within("a vtable"), "a vtable at " + std::to_string(vtable));
      });
    const uint32_t vtable_size = number(vtable, 2);
    notes_.add(part{vtable, 2, role::vtable_size, node, 0});
    if (!holds(vtable, vtable_size))
      return refuse(rule::vtable_size, node, vtable, 2, [&] {
        return std::pair("a vtable of at most " + plural(size_ - vtable, "byte"),
                         "one of " + plural(vtable_size, "byte"));
      });
    notes_.add(part{vtable + 2, 2, role::table_size, node, 0});
    if constexpr (Notes::wants_all)
      add_entries(descriptor, node, vtable, vtable_size);
    table = {at, vtable, vtable_size};
    return true;
  }

  void add_entries(const table_descriptor &descriptor, uint32_t node, uint32_t vtable,
                   uint32_t vtable_size) {
    const uint32_t slots = vtable_size < vtable_head ? 0 : (vtable_size - vtable_head) / entry_size;
    for (uint32_t slot = 0; slot < slots; slot++)
      notes_.add(part{vtable + vtable_head + entry_size * slot, entry_size,
                      slot < descriptor.fields.size() ? role::entry : role::spare_entry, node,
                      slot});
    if (vtable_size > vtable_head && vtable_size % 2 != 0)
      notes_.add(part{vtable + vtable_size - 1, 1, role::vtable_rest, node, 0});
  }

  bool read_fields(const table_descriptor &descriptor, uint32_t node, const table_ref &table) {
    for (const field_descriptor &field : descriptor.fields) {
      const uint32_t end = vtable_head + entry_size * (field.slot + 1);
      if (table.vtable_size < end)
        return true; // written by an older peer
      const uint32_t entry = table.vtable + end - entry_size;
      const uint32_t distance = number(entry, entry_size);
      if (distance != 0 && !read_field(field, node, entry, table.at + distance))
        return false;
    }
    return true;
  }

  bool read_field(const field_descriptor &field, uint32_t parent, uint32_t entry, uint32_t at) {
    const bool is_scalar = field.kind == kind::scalar;
    const uint32_t width = is_scalar ? field.width : offset_size;
    const uint32_t node =
        notes_.add(tools::node{&field, field.kind == kind::table ? field.table : nullptr, parent,
                               node::no_element, at, 0});
    if (!holds(at, width))
      return refuse(rule::entry, node, entry, entry_size, [&] {
        return std::pair(plural(width, "byte") + " at most at " +
                             std::to_string(int64_t{size_} - width),
                         plural(width, "byte") + " at " + std::to_string(at));
      });
    if (is_scalar) {
      notes_.add(part{at, width, role::scalar, node, 0});
      notes_.set_number(node, number(at, width));
      return true;
    }
    uint32_t target = 0;
    if (!follow(node, at, target))
      return false;
    if (field.kind == kind::table)
      return read_table(*field.table, node, at, target);
    if (!holds(target, count_size))
      return refuse(rule::uoffset, node, at, offset_size, [&] {
        return std::pair("a count at most at " + std::to_string(size_ - count_size),
                         "one at " + std::to_string(target));
      });
    const uint32_t count = number(target, count_size);
    notes_.set_number(node, count);
    notes_.add(part{target, count_size, role::count, node, 0});
    return field.is_vector() ? read_vector(field, node, target, count)
                             : read_array(field, node, target, count);
  }

  // An offset word, and what it leads to.
  bool follow(uint32_t node, uint32_t at, uint32_t &target) {
    const uint32_t offset = number(at, offset_size);
    target = at + offset;
    notes_.add(part{at, offset_size, role::uoffset, node, 0});
    notes_.set_at(node, target);
    if (target >= at)
      return true;
    return refuse(rule::uoffset, node, at, offset_size, [&] {
      return std::pair("an offset of at most " + std::to_string(size_ - at - offset_size),
                       "one of " + std::to_string(offset));
    });
  }

  bool read_array(const field_descriptor &field, uint32_t node, uint32_t vector, uint32_t count) {
    const uint32_t items = vector + count_size;
    if (count != field.length)
      return refuse(rule::array_count, node, vector, count_size,
                    [&] { return std::pair(plural(field.length, "item"), plural(count, "item")); });
    const uint32_t size = count * field.width;
    if (!holds(items, size))
      return refuse(rule::item_count, node, vector, count_size, [&] {
        return std::pair(plural(size, "byte") + " behind the count", plural(size_ - items, "byte"));
      });
    notes_.add(part{items, size, role::items, node, 0});
    return true;
  }

  bool read_vector(const field_descriptor &field, uint32_t node, uint32_t vector, uint32_t count) {
    const uint32_t items = vector + count_size;
    const bool is_bytes = field.kind == kind::byte_vector;
    const uint32_t width = is_bytes ? 1 : offset_size;
    if (!holds(items, uint64_t{count} * width))
      return refuse(rule::item_count, node, vector, count_size, [&] {
        return std::pair("at most " + plural((size_ - items) / width, "item"),
                         plural(count, "item"));
      });
    constexpr uint32_t largest_block = std::numeric_limits<uint32_t>::max();
    if (uint64_t{count} * field.width > largest_block)
      return refuse(rule::block_size, node, vector, count_size, [&] {
        return std::pair("at most " + plural(largest_block / field.width, "item"),
                         plural(count, "item"));
      });
    if (is_bytes) {
      if (count != 0)
        notes_.add(part{items, count, role::items, node, 0});
      return true;
    }
    for (uint32_t i = 0; i < count; i++) {
      const auto known = notes_.mark();
      const uint32_t word = items + offset_size * i;
      const uint32_t element = notes_.add(tools::node{nullptr, field.table, node, i, 0, 0});
      uint32_t target = 0;
      if (!follow(element, word, target) || !read_table(*field.table, element, word, target))
        return false;
      notes_.forget_beyond(known);
    }
    return true;
  }

  Notes &notes_;
  std::span<const uint8_t> bytes_;
  uint32_t size_;
  bool is_reversed_;
};

} // namespace

// What the walk remembers for an anatomy.
struct anatomy::notes {
  static constexpr bool wants_all = true;

  anatomy &of;

  uint32_t add(const tools::node &node) {
    of.nodes_.push_back(node);
    return static_cast<uint32_t>(of.nodes_.size() - 1);
  }
  void add(const tools::part &part) { of.parts_.push_back(part); }
  void set_at(uint32_t node, uint32_t at) { of.nodes_[node].at = at; }
  void set_number(uint32_t node, uint32_t number) { of.nodes_[node].number = number; }
  void refuse(tools::rule rule, uint32_t node, uint32_t at, uint32_t size, auto &&texts) {
    auto [expected, found] = texts();
    of.refusal_ = tools::refusal{rule, node, at, size, std::move(expected), std::move(found)};
  }

  // What was remembered after a mark, of a vector's element, goes when it is too much.
  std::pair<size_t, size_t> mark() const { return {of.nodes_.size(), of.parts_.size()}; }
  void forget_beyond(const std::pair<size_t, size_t> &mark) {
    if (of.nodes_.size() <= of.most_nodes_)
      return;
    of.is_cut_ = true;
    of.nodes_.resize(mark.first);
    of.parts_.resize(mark.second);
  }
};

bool is_sound(const message_descriptor &message, std::span<const uint8_t> bytes,
              uint32_t byte_swap) {
  no_notes none;
  return walk(none, bytes, byte_swap).read_root(*message.table);
}

anatomy::anatomy(const message_descriptor &message, std::span<const uint8_t> bytes,
                 uint32_t byte_swap, size_t most_nodes)
    : message_(message), bytes_(bytes), byte_swap_(byte_swap), most_nodes_(most_nodes) {
  notes all{*this};
  walk(all, bytes_, byte_swap_).read_root(*message_.table);
}

uint32_t anatomy::number(const tools::part &part) const {
  return load(bytes_, part.at, part.size, byte_swap_ != 0);
}

// ---- words ----

std::string anatomy::path_of(uint32_t node) const {
  if (node >= nodes_.size() || (nodes_[node].field == nullptr && !nodes_[node].is_element()))
    return "root";
  std::string path;
  for (uint32_t at = node; nodes_[at].parent != at; at = nodes_[at].parent) {
    const bool is_followed_by_a_name = !path.empty() && path.front() != '[';
    if (is_followed_by_a_name)
      path.insert(0, ".");
    path.insert(0, nodes_[at].is_element() ? "[" + std::to_string(nodes_[at].element) + "]"
                                           : nodes_[at].field->name);
  }
  return path;
}

std::string anatomy::number_text(uint32_t value, uint32_t width) {
  return value < 256 ? std::to_string(value) : "0x" + hexadecimal(value, 2 * width, true);
}

uint32_t anatomy::item_width(const tools::part &part) const {
  return nodes_[part.node].field->kind == kind::words ? 4 : 1;
}

uint32_t anatomy::item(const tools::part &part, uint32_t index) const {
  const uint32_t width = item_width(part);
  // Words of arrays are reversed by a flag of exactly 1 only.
  return load(bytes_, part.at + index * width, width, byte_swap_ == 1);
}

std::string anatomy::items_text(const tools::part &part, uint32_t first, uint32_t last) const {
  const uint32_t width = item_width(part);
  std::string text = path_of(part.node);
  if (first != 0 || (last + 1) * width != part.size)
    text += "[" + std::to_string(first) + ".." + std::to_string(last) + "]";
  text += " =";
  for (uint32_t i = first; i <= last; i++) {
    const uint32_t value = item(part, i);
    text += " " + (value == 0 ? "0" : hexadecimal(value, 2 * width, width > 1));
  }
  return text;
}

std::string anatomy::meaning_of(const tools::part &part) const {
  const tools::node &node = nodes_[part.node];
  const std::string path = path_of(part.node);
  const auto text = [](auto value) { return std::to_string(value); };
  switch (part.role) {
  case role::root_offset:
    return "root offset " + text(node.at);
  case role::soffset: {
    const auto soffset = static_cast<int32_t>(number(part));
    return path + " table, soffset " + text(soffset) + ": vtable at " + text(part.at) +
           (soffset < 0 ? " + " : " - ") + text(soffset < 0 ? -int64_t{soffset} : soffset) + " = " +
           text(part.at - static_cast<uint32_t>(soffset));
  }
  case role::vtable_size: {
    const uint32_t size = number(part);
    return path + " vtable size " + text(size) + ": " +
           plural(size < vtable_head ? 0 : (size - vtable_head) / entry_size, "slot");
  }
  case role::table_size:
    return "table size " + text(number(part));
  case role::entry:
  case role::spare_entry: {
    const uint32_t entry = number(part);
    return "slot " + text(part.slot) + (entry == 0 ? " absent" : " at table + " + text(entry)) +
           (part.role == role::spare_entry ? ", unknown here" : "");
  }
  case role::vtable_rest:
    return "half an entry";
  case role::uoffset:
    return "uoffset " + text(number(part)) + ": " + path + " at " + text(node.at);
  case role::scalar:
    return path + " = " + number_text(node.number, part.size);
  case role::count:
    return path + " count " + text(node.number);
  case role::items:
    return items_text(part, 0, part.size / item_width(part) - 1);
  }
  return {};
}

// ---- every byte once ----

namespace {

// Where a part begins or ends, as a number: position, whether it begins there, the part. Their
// order is that of the numbers, ends before beginnings.
class edge {
public:
  edge(uint32_t at, bool begins, uint32_t part)
      : key_(uint64_t{at} << 32 | uint64_t{begins} << 31 | part) {}

  uint32_t at() const { return static_cast<uint32_t>(key_ >> 32); }
  bool begins() const { return (key_ >> 31 & 1) != 0; }
  uint32_t part() const { return static_cast<uint32_t>(key_ & 0x7FFFFFFF); }
  auto operator<=>(const edge &) const = default;

private:
  uint64_t key_;
};

// What parts have to share to be of one mind.
using likeness = std::tuple<uint32_t, uint32_t, tools::role>;

likeness likeness_of(const tools::part &part) {
  return {part.at, part.size, part.role == role::spare_entry ? role::entry : part.role};
}

} // namespace

std::vector<stretch> anatomy::stretches() const {
  std::vector<edge> edges;
  edges.reserve(2 * parts_.size());
  for (uint32_t i = 0; i < parts_.size(); i++) {
    edges.emplace_back(parts_[i].at, true, i);
    edges.emplace_back(parts_[i].at + parts_[i].size, false, i);
  }
  std::sort(edges.begin(), edges.end());

  std::vector<stretch> result;
  std::set<uint32_t> open;            // parts
  std::map<likeness, uint32_t> kinds; // of them
  const standing nobody = refusal_ ? standing::unreached : standing::unreferenced;
  const auto size = static_cast<uint32_t>(bytes_.size());
  uint32_t at = 0;
  const auto close = [&](uint32_t end) {
    if (end == at)
      return;
    stretch next{at, end - at, nobody, {}, open.size(), {}};
    if (!open.empty()) {
      next.standing = kinds.size() > 1  ? standing::overlapping
                      : open.size() > 1 ? standing::shared
                                        : standing::used;
      for (auto part = open.begin(); part != open.end() && next.parts.size() < stretch::most_named;
           ++part)
        next.parts.push_back(*part);
    }
    result.push_back(std::move(next));
    at = end;
  };
  for (const edge &edge : edges) {
    close(edge.at());
    const likeness kind = likeness_of(parts_[edge.part()]);
    if (edge.begins()) {
      open.insert(edge.part());
      ++kinds[kind];
    } else {
      open.erase(edge.part());
      if (--kinds[kind] == 0)
        kinds.erase(kind);
    }
  }
  close(size);
  explain_padding(result);
  return result;
}

// Splits what is unreferenced into the zeros that the fixed arrangement puts between and behind
// tables, and the rest.
// The gaps that the fixed arrangement leaves.
class anatomy::gaps {
public:
  explicit gaps(const anatomy &of) : of_(of) {
    std::map<uint32_t, uint32_t> words; // offset words by the node they lead to
    for (const tools::part &part : of.parts_)
      if (part.role == role::uoffset)
        words.emplace(part.node, part.at);
    for (const tools::part &part : of.parts_) {
      if (part.role != role::vtable_size || part.at < of.nodes_[part.node].at)
        continue;
      tables_.emplace(part.at, of.nodes_[part.node].at);
      if (part.node == 0)
        is_root_behind_ = true;
      else
        shares_.emplace(part.at + of.number(part), share{words[part.node], part.node});
    }
  }

  bool are_none() const { return tables_.empty(); }

  // Where the gap ends that begins at `at`, and why it is there; 0 where none does. What leads
  // nowhere goes on to `end`.
  std::pair<uint32_t, std::string> from(uint32_t at, uint32_t end) const {
    if (const auto found = shares_.find(at); found != shares_.end()) {
      const uint32_t word = found->second.word, taken = rounded_up(at - word, 8);
      if (taken != at - word)
        return {word + taken, "rest of the " + std::to_string(taken) + " bytes that " +
                                  of_.path_of(found->second.node) + " takes from " +
                                  std::to_string(word) + " on"};
    }
    if (end == of_.bytes_.size())
      return is_root_behind_ && rounded_up(at, 8) == end
                 ? std::pair(end, "tail up to " + std::to_string(end) + ", the next multiple of 8")
                 : std::pair(0U, std::string());
    const auto vtable = tables_.find(end);
    if (vtable == tables_.end() || vtable->second > at ||
        vtable->second + rounded_up(at - vtable->second, 4) != end)
      return {0, {}};
    return {end, "gap up to " + std::to_string(end) + ", a multiple of 4 behind the table at " +
                     std::to_string(vtable->second)};
  }

private:
  struct share { // of its parent's bytes that an embedded record takes, from its offset word on
    uint32_t word, node;
  };

  const anatomy &of_;
  std::map<uint32_t, uint32_t> tables_; // by their vtables, of vtables that lie behind
  std::map<uint32_t, share> shares_;    // by where the embedded record's vtable ends
  bool is_root_behind_ = false;
};

void anatomy::explain_padding(std::vector<stretch> &stretches) const {
  const gaps known(*this);
  if (known.are_none())
    return;
  std::vector<stretch> result;
  for (stretch &each : stretches) {
    const uint32_t end = each.at + each.size;
    while (each.standing == standing::unreferenced && each.at < end) {
      auto [next, text] = known.from(each.at, end);
      const uint8_t *const bytes = bytes_.data();
      if (next <= each.at || next > end ||
          !std::all_of(bytes + each.at, bytes + next, [](uint8_t byte) { return byte == 0; }))
        break;
      result.push_back({each.at, next - each.at, standing::unreferenced, {}, 0, std::move(text)});
      each.at = next;
      each.size = end - next;
    }
    if (each.size != 0)
      result.push_back(std::move(each));
  }
  stretches = std::move(result);
}

} // namespace mesh_fib6::tools
