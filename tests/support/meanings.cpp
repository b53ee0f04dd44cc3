// The walk through an image; see meanings.h.
//
// Room: tests.
#include "tests/support/meanings.h"

#include "tests/support/record_text.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>

namespace meanings {
namespace {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::kind;
using mesh_fib6::tools::table_descriptor;

std::string plural(uint32_t count, const std::string &word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

// What an image is made of: the one account of its bytes that the items must agree with.
class walk {
public:
  // Bytes that belong together and what an item of them says.
  struct piece {
    uint32_t size;
    std::string meaning;
    // Of the items of an array, which may be spread over lines: their path, width and count.
    std::string array = {};
    uint32_t width = 1, count = 0;
  };

  // A defect of the bytes and where it is.
  struct defect : std::runtime_error {
    defect(uint32_t position, const std::string &what)
        : std::runtime_error(std::to_string(position) + " " + what), at(position) {}
    uint32_t at;
  };

  walk(const table_descriptor &root, const annotated::image &image)
      : bytes_(image.bytes), naming_(annotated::naming_of(image.name)) {
    const uint32_t table = number(0, 4);
    add(0, 4, "root offset " + std::to_string(table));
    open_table(root, "root", "", 0, table);
  }

  // The piece that covers a position, and where it begins.
  std::optional<std::pair<uint32_t, piece>> piece_at(uint32_t at) const {
    auto next = pieces_.upper_bound(at);
    if (next == pieces_.begin())
      return std::nullopt;
    --next;
    if (at >= next->first + next->second.size)
      return std::nullopt;
    return *next;
  }

  // Zeros that nothing refers to, by the rules of the fixed arrangement.
  std::optional<piece> padding_at(uint32_t at) const {
    if (const auto found = shares_.find(at); found != shares_.end()) {
      const uint32_t word = found->second.word, taken = rounded_up(at - word, 8);
      if (taken != at - word)
        return piece{word + taken - at, "rest of the " + std::to_string(taken) + " bytes that " +
                                            found->second.path + " takes from " +
                                            std::to_string(word) + " on"};
    }
    const auto next = pieces_.upper_bound(at);
    if (next == pieces_.end()) {
      const uint32_t end = rounded_up(at, 8);
      if (!root_vtable_behind_ || end == at)
        return std::nullopt;
      return piece{end - at, "tail up to " + std::to_string(end) + ", the next multiple of 8"};
    }
    const auto vtable = vtables_.find(next->first);
    if (vtable == vtables_.end() || vtable->second > at)
      return std::nullopt;
    const uint32_t table = vtable->second, end = table + rounded_up(at - table, 4);
    if (end != vtable->first)
      return std::nullopt;
    return piece{end - at, "gap up to " + std::to_string(end) +
                               ", a multiple of 4 behind the table at " + std::to_string(table)};
  }

  // The items `first` to `last` of a piece that is an array.
  std::string items(const piece &array, uint32_t start, uint32_t first, uint32_t last) const {
    std::string text = array.array;
    if (first != 0 || last + 1 != array.count)
      text += "[" + std::to_string(first) + ".." + std::to_string(last) + "]";
    text += " =";
    // Words of arrays are reversed by a flag of exactly 1 only.
    const bool reversed = naming_.byte_swap == 1;
    for (uint32_t i = first; i <= last; ++i)
      text += " " + record_text::item_text(value(start + i * array.width, array.width, reversed),
                                           array.width);
    return text;
  }

private:
  // A sub-table in the fixed arrangement and the offset word that leads to it, from which on it
  // takes a multiple of 8 bytes of its parent.
  struct share {
    std::string path;
    uint32_t word;
  };

  static uint32_t rounded_up(uint32_t value, uint32_t unit) {
    return (value + unit - 1) / unit * unit;
  }

  uint32_t value(uint32_t at, uint32_t width, bool reversed) const {
    uint32_t value = 0;
    for (uint32_t i = 0; i < width; ++i)
      value |= uint32_t{bytes_.at(at + i)} << 8 * (reversed ? width - 1 - i : i);
    return value;
  }

  uint32_t number(uint32_t at, uint32_t width) const {
    require(at, at, width);
    return value(at, width, naming_.byte_swap != 0);
  }

  // That `size` bytes at `at` are in the image; `from` is what leads there.
  void require(uint32_t from, uint64_t at, uint64_t size) const {
    if (at + size > bytes_.size())
      throw defect(from, "leads to " + plural(static_cast<uint32_t>(size), "byte") + " at " +
                             std::to_string(at) + ", the image has " +
                             std::to_string(bytes_.size()));
  }

  void add(uint32_t at, uint32_t size, const std::string &meaning) {
    add(at, piece{size, meaning});
  }
  void add(uint32_t at, const piece &part) {
    require(at, at, part.size);
    for (uint32_t i = 0; i < part.size; ++i)
      if (const auto other = piece_at(at + i))
        throw defect(at + i, "is \"" + part.meaning + part.array + "\" and \"" +
                                 other->second.meaning + other->second.array + "\" at once");
    pieces_.emplace(at, part);
  }

  // The root table is named "root", its members by themselves; other tables by their paths.
  void open_table(const table_descriptor &table, const std::string &name, const std::string &prefix,
                  uint32_t word, uint32_t at) {
    require(word, at, 4);
    const auto soffset = static_cast<int32_t>(number(at, 4));
    const int64_t vtable_at = int64_t{at} - soffset;
    if (vtable_at < 0)
      throw defect(at, "leads to a vtable in front of the image");
    const auto vtable = static_cast<uint32_t>(vtable_at);
    const std::string from = std::to_string(at), to = std::to_string(vtable);
    add(at, 4,
        name + " table, soffset " + std::to_string(soffset) + ": vtable at " + from +
            (soffset < 0 ? " + " : " - ") +
            std::to_string(soffset < 0 ? -int64_t{soffset} : soffset) + " = " + to);

    require(at, vtable, 4);
    const uint32_t size = number(vtable, 2);
    const auto members = static_cast<uint32_t>(table.fields.size());
    if (size != 4 + 2 * members)
      throw defect(vtable, "is a vtable size of " + std::to_string(size) + "; " + table.name +
                               " has " + plural(members, "member") + ": expected " +
                               std::to_string(4 + 2 * members));
    require(at, vtable, size);
    add(vtable, 2, name + " vtable size " + std::to_string(size) + ": " + plural(members, "slot"));
    add(vtable + 2, 2, "table size " + std::to_string(number(vtable + 2, 2)));
    vtables_.emplace(vtable, at);

    for (uint32_t slot = 0; slot < members; ++slot) {
      const uint32_t entry = number(vtable + 4 + 2 * slot, 2);
      add(vtable + 4 + 2 * slot, 2,
          "slot " + std::to_string(slot) +
              (entry == 0 ? " absent" : " at table + " + std::to_string(entry)));
    }
    for (const field_descriptor &field : table.fields)
      if (const uint32_t entry = number(vtable + 4 + 2 * field.slot, 2); entry != 0) {
        require(vtable + 4 + 2 * field.slot, uint64_t{at} + entry,
                field.kind == kind::scalar ? field.width : 4);
        open_field(field, prefix + field.name, at + entry);
      }
    if (word == 0)
      root_vtable_behind_ = vtable > at;
    else if (vtable > at)
      shares_.emplace(vtable + size, share{name, word});
  }

  void open_field(const field_descriptor &field, const std::string &path, uint32_t at) {
    if (field.kind == kind::scalar)
      return add(at, field.width,
                 path + " = " + record_text::scalar_text(number(at, field.width), field.width));
    const uint32_t target = follow(at, path);
    if (field.kind == kind::table)
      return open_table(*field.table, path, path + ".", at, target);

    const uint32_t count = number(target, 4);
    add(target, 4, path + " count " + std::to_string(count));
    const uint32_t first = target + 4, width = field.kind == kind::table_vector ? 4 : field.width;
    require(target, first, uint64_t{count} * width);
    if (field.kind == kind::table_vector)
      return open_elements(field, path, first, count);
    if (count != 0)
      add(first, piece{count * width, {}, path, width, count});
  }

  void open_elements(const field_descriptor &field, const std::string &path, uint32_t first,
                     uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      const std::string element = path + "[" + std::to_string(i) + "]";
      open_table(*field.table, element, element + ".", first + 4 * i,
                 follow(first + 4 * i, element));
    }
  }

  // Where the offset word at a position leads.
  uint32_t follow(uint32_t at, const std::string &path) {
    const uint32_t offset = number(at, 4);
    require(at, uint64_t{at} + offset, 4);
    add(at, 4,
        "uoffset " + std::to_string(offset) + ": " + path + " at " + std::to_string(at + offset));
    return at + offset;
  }

  const std::vector<uint8_t> &bytes_;
  annotated::naming naming_;
  std::map<uint32_t, piece> pieces_;
  std::map<uint32_t, uint32_t> vtables_; // and the table that each is of
  std::map<uint32_t, share> shares_;     // by where the sub-table's vtable ends
  bool root_vtable_behind_ = false;
};

// What an item should be: its size and its meaning.
walk::piece expected_of(const walk &walk, const annotated::item &item) {
  const auto at = static_cast<uint32_t>(item.at), size = static_cast<uint32_t>(item.size);
  const auto found = walk.piece_at(at);
  if (!found) {
    if (const auto padding = walk.padding_at(at))
      return *padding;
    throw walk::defect(at, "is a byte that nothing refers to");
  }
  const auto &[start, piece] = *found;
  if (piece.array.empty()) {
    if (at != start)
      throw walk::defect(at, "is in the middle of \"" + piece.meaning + "\"");
    return piece;
  }
  if ((at - start) % piece.width != 0)
    throw walk::defect(at, "is in the middle of an item of " + piece.array);
  const uint32_t first = (at - start) / piece.width;
  const uint32_t last = std::min(first + std::max(size / piece.width, 1U), piece.count) - 1;
  return {(last + 1 - first) * piece.width, walk.items(piece, start, first, last)};
}

// What is wrong with an item; nothing when all is well.
std::string complaint(const walk &walk, const annotated::image &image,
                      const annotated::item &item) {
  const walk::piece expected = expected_of(walk, item);
  if (item.size != expected.size)
    return "an item of " + plural(static_cast<uint32_t>(item.size), "byte") + "; \"" +
           expected.meaning + "\" is one of " + std::to_string(expected.size);
  if (item.meaning != expected.meaning)
    return "says \"" + item.meaning + "\", but the bytes are \"" + expected.meaning + "\"";
  if (!walk.piece_at(static_cast<uint32_t>(item.at)))
    for (size_t i = 0; i < item.size; ++i)
      if (image.bytes[item.at + i] != 0)
        return "byte " + std::to_string(item.at + i) + " is not zero, and nothing refers to it";
  return "";
}

size_t line_of(const annotated::image &image, uint32_t at) {
  for (const annotated::item &item : image.items)
    if (at < item.at + item.size)
      return item.line;
  return image.items.back().line;
}

} // namespace

std::vector<std::string> complaints(const table_descriptor &root, const std::string &path,
                                    const annotated::image &image) {
  std::vector<std::string> result;
  const auto complain = [&](size_t line, const std::string &what) {
    result.push_back(path + ":" + std::to_string(line) + ": " + what);
  };
  try {
    const walk walk(root, image);
    for (const annotated::item &item : image.items)
      try {
        if (const std::string what = complaint(walk, image, item); !what.empty())
          complain(item.line, what);
      } catch (const walk::defect &defect) {
        complain(item.line, defect.what());
      }
  } catch (const walk::defect &defect) {
    complain(line_of(image, defect.at), defect.what());
  }
  return result;
}

} // namespace meanings
