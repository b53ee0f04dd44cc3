// The reader of records in golden files; see record_text.h.
//
// Room: tests.
#include "tests/support/record_text.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

namespace record_text {
namespace {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::kind;
using mesh_fib6::tools::table_descriptor;

constexpr uint32_t largest_count = 65535; // a larger one is a slip, not an intention

constexpr std::string_view count_word = " count ", equals = " = ";

bool is_array(const field_descriptor &field) {
  return field.is_fixed_array() || field.kind == kind::byte_vector;
}

std::optional<uint64_t> number_in(std::string_view digits, uint32_t base) {
  if (digits.empty() || digits.size() > 10)
    return std::nullopt;
  uint64_t value = 0;
  for (const char each : digits) {
    const auto lower = static_cast<char>(each | 0x20);
    const int digit = each >= '0' && each <= '9'     ? each - '0'
                      : lower >= 'a' && lower <= 'f' ? lower - 'a' + 10
                                                     : 99;
    if (digit >= static_cast<int>(base))
      return std::nullopt;
    value = value * base + static_cast<uint32_t>(digit);
  }
  return value;
}

// Where `word` begins in a line that is a member's path and `word` and something; npos in others.
size_t behind_path(std::string_view line, std::string_view word) {
  const size_t at = line.find(word);
  return at == line.find(' ') ? at : std::string_view::npos;
}

// A member of a path: its name and what stands in brackets behind it.
struct step {
  std::string_view text;     // all of it
  std::string_view name;     //
  std::string_view brackets; // what is between them
  bool has_brackets = false;
};

class reader {
public:
  reader(const table_descriptor &table, const std::string &path)
      : root_(table), path_(path), record_(table) {}

  void take(const annotated::text_line &line) {
    line_ = line.line;
    const std::string_view text = line.text;
    constexpr size_t none = std::string_view::npos;
    if (const size_t at = behind_path(text, equals); at != none)
      set_value(text.substr(0, at), text.substr(at + equals.size()));
    else if (const size_t before = behind_path(text, count_word); before != none)
      set_count(text.substr(0, before), text.substr(before + count_word.size()));
    else
      fail("expected \"MEMBER = VALUE\" or \"MEMBER count N\", found \"" + line.text + "\"");
  }

  random_record::owned_record finished() { return std::move(record_); }

private:
  // The last member of a path and the record that it is in.
  struct target {
    const field_descriptor *field;
    void *record;
    step last;
    std::string owner; // the path's members before the last, each with a dot
  };

  [[noreturn]] void fail(const std::string &what) const { annotated::complain(path_, line_, what); }

  step step_of(std::string_view text) const {
    const size_t bracket = text.find('[');
    if (bracket == std::string_view::npos)
      return {text, text, {}, false};
    if (text.back() != ']')
      fail("\"" + std::string(text) + "\" lacks its ']'");
    return {text, text.substr(0, bracket), text.substr(bracket + 1, text.size() - bracket - 2),
            true};
  }

  const field_descriptor &member(const table_descriptor &table, std::string_view name) const {
    for (const field_descriptor &field : table.fields)
      if (name == field.name)
        return field;
    fail(std::string(table.name) + " has no member \"" + std::string(name) + "\", it has " +
         table.fields.front().name + " to " + table.fields.back().name);
  }

  target find(std::string_view path) {
    const table_descriptor *table = &root_;
    void *record = record_.get();
    const std::string_view whole = path;
    for (;;) {
      const size_t dot = path.find('.');
      const bool has_range = path.find("..") == dot; // f1[0..3]: no member follows
      const step each = step_of(has_range ? path : path.substr(0, dot));
      const field_descriptor &field = member(*table, each.name);
      if (dot == std::string_view::npos || has_range)
        return {&field, record, each, std::string(whole.substr(0, whole.size() - path.size()))};
      if (field.table == nullptr)
        fail(std::string(each.name) + " has no members of its own");
      record = element(field, record, each);
      table = field.table;
      path.remove_prefix(dot + 1);
    }
  }

  // The record behind a sub-record's name or a vector's name and index.
  void *element(const field_descriptor &field, void *record, const step &step) const {
    const std::string name(step.name);
    if (!field.is_vector()) {
      if (step.has_brackets)
        fail(name + " is one record, no vector: expected no index");
      return field.member(record);
    }
    if (!step.has_brackets)
      fail(name + " is a vector: expected an index, as in " + name + "[0]");
    const auto index = number_in(step.brackets, 10);
    if (!index)
      fail("\"" + std::string(step.brackets) + "\" is no index");
    const uint32_t count = field.count(record);
    if (count == 0)
      fail(name + " has no elements: expected \"" + name + " count N\" in a line before");
    if (*index >= count)
      fail(std::string(step.text) + " is beyond its count, which is " + std::to_string(count));
    return field.element(record, static_cast<uint32_t>(*index));
  }

  // Each value of a record is given once.
  void note(const std::string &what) {
    const auto [at, is_new] = given_.emplace(what, line_);
    if (!is_new)
      fail("a second value of " + what + ", which line " + std::to_string(at->second) + " gives");
  }

  void set_count(std::string_view path, std::string_view text) {
    const target to = find(path);
    const field_descriptor &field = *to.field;
    const std::string name(path);
    if (to.last.has_brackets || field.kind == kind::scalar || field.kind == kind::table)
      fail(name + " is no vector: it has no count");
    const auto count = number_in(text, 10);
    if (!count || *count > largest_count)
      fail("\"" + std::string(text) + "\" is no count from 0 to " + std::to_string(largest_count));
    note(name + " count");
    if (field.is_fixed_array()) {
      if (*count != field.length)
        fail(name + " always has " + std::to_string(field.length) + " items, not " +
             std::string(text));
      return;
    }
    const auto elements = static_cast<uint32_t>(*count);
    if (elements != 0)
      field.set_vector(to.record, record_.add_block(size_t{elements} * field.width), elements);
  }

  void set_value(std::string_view path, std::string_view text) {
    const target to = find(path);
    const field_descriptor &field = *to.field;
    if (is_array(field))
      return set_items(to, text);
    if (field.kind != kind::scalar)
      fail(std::string(path) + " is no number: expected one of its members");
    if (to.last.has_brackets)
      fail(std::string(to.last.name) + " is one number: expected no index");
    const bool hexadecimal = text.starts_with("0x");
    const auto value = number_in(hexadecimal ? text.substr(2) : text, hexadecimal ? 16 : 10);
    if (!value)
      fail("\"" + std::string(text) + "\" is no number: expected decimal or 0x and hexadecimal");
    if (*value >> (8 * field.width) != 0)
      fail(std::string(text) + " does not fit the " + std::to_string(8 * field.width) +
           " bits of " + std::string(path));
    note(std::string(path));
    field.set_number(to.record, static_cast<uint32_t>(*value));
  }

  // The items that a line gives, as "name" or "name[first..last]".
  void set_items(const target &to, std::string_view text) {
    const field_descriptor &field = *to.field;
    const std::string name = to.owner + std::string(to.last.name);
    const uint32_t there = field.is_vector() ? field.count(to.record) : field.length;
    if (there == 0)
      fail(name + " has no items: expected \"" + name + " count N\" in a line before");
    uint64_t first = 0, last = there - 1;
    if (to.last.has_brackets) {
      const std::string_view range = to.last.brackets;
      const size_t dots = std::min(range.find(".."), range.size());
      const auto begin = number_in(range.substr(0, dots), 10);
      const auto end = number_in(dots < range.size() ? range.substr(dots + 2) : "", 10);
      if (!begin || !end || *begin > *end)
        fail("\"" + std::string(range) + "\" is no range: expected FIRST..LAST");
      if (*end >= there)
        fail(std::string(to.last.text) + " is beyond its count, which is " + std::to_string(there));
      first = *begin;
      last = *end;
    }
    uint64_t i = first;
    while (!text.empty()) {
      const size_t space = std::min(text.find(' '), text.size());
      if (i <= last)
        set_item(to, name, static_cast<uint32_t>(i), text.substr(0, space));
      ++i;
      text.remove_prefix(std::min(space + 1, text.size()));
    }
    if (i != last + 1)
      fail("expected " + std::to_string(last + 1 - first) + " items, found " +
           std::to_string(i - first));
  }

  void set_item(const target &to, const std::string &name, uint32_t i, std::string_view text) {
    const field_descriptor &field = *to.field;
    const auto value = number_in(text, 16);
    if (!value || (text != "0" && text.size() != 2 * size_t{field.width}))
      fail("\"" + std::string(text) + "\" is no item of " + name + ": expected 0 or " +
           std::to_string(2 * field.width) + " hexadecimal digits");
    note(name + "[" + std::to_string(i) + "]");
    field.set_number(to.record, static_cast<uint32_t>(*value), i);
  }

  const table_descriptor &root_;
  const std::string &path_;
  size_t line_ = 0;
  random_record::owned_record record_;
  std::map<std::string, size_t> given_; // values and counts, and the lines that give them
};

std::string hexadecimal(uint32_t value, uint32_t width, const char *digits) {
  std::string text;
  for (uint32_t shift = 8 * width; shift != 0; shift -= 4)
    text += digits[value >> (shift - 4) & 15];
  return text;
}

} // namespace

random_record::owned_record read(const table_descriptor &table, const std::string &path,
                                 const std::vector<annotated::text_line> &lines) {
  reader reader(table, path);
  for (const annotated::text_line &line : lines)
    reader.take(line);
  return reader.finished();
}

std::vector<annotated::text_line> values_in(const annotated::image &image) {
  std::vector<annotated::text_line> lines;
  for (const annotated::item &item : image.items)
    if (behind_path(item.meaning, equals) != std::string::npos ||
        behind_path(item.meaning, count_word) != std::string::npos)
      lines.push_back({item.line, item.meaning});
  return lines;
}

std::string scalar_text(uint32_t value, uint32_t width) {
  return value < 256 ? std::to_string(value) : "0x" + hexadecimal(value, width, "0123456789ABCDEF");
}

std::string item_text(uint32_t value, uint32_t width) {
  if (value == 0)
    return "0";
  // Bytes as in the column beside them.
  return hexadecimal(value, width, width == 1 ? "0123456789abcdef" : "0123456789ABCDEF");
}

} // namespace record_text
