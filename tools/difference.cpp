// Tells messages apart; see difference.h.
//
// Room: tools.
#include "tools/difference.h"

#include "tools/hex_text.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

namespace mesh_fib6::tools {
namespace {

// A list that counts what is too much for it.
class limited_list {
public:
  explicit limited_list(size_t most) : most_(most) {}

  void add(const std::string &line) {
    if (lines_.size() < most_)
      lines_.push_back(line);
    else
      more_++;
  }
  std::vector<std::string> lines() && {
    if (more_ != 0)
      lines_.push_back("and " + std::to_string(more_) + " more");
    return std::move(lines_);
  }

private:
  size_t most_, more_ = 0;
  std::vector<std::string> lines_;
};

class comparison {
public:
  explicit comparison(limited_list &found) : found_(found) {}

  void compare(const table_descriptor &table, const std::string &prefix, const void *one,
               const void *other) {
    for (const field_descriptor &field : table.fields)
      compare(field, prefix + field.name, one, other);
  }

private:
  void compare(const field_descriptor &field, const std::string &path, const void *one,
               const void *other) {
    switch (field.kind) {
    case kind::scalar:
      if (field.number(one) != field.number(other))
        found_.add(path + ": " + anatomy::number_text(field.number(one), field.width) + " and " +
                   anatomy::number_text(field.number(other), field.width));
      return;
    case kind::words:
    case kind::bytes:
      compare_items(field, path, one, field.length, other, field.length);
      return;
    case kind::byte_vector:
      compare_items(field, path, one, field.count(one), other, field.count(other));
      return;
    case kind::table:
      compare(*field.table, path + ".", field.member(one), field.member(other));
      return;
    case kind::table_vector:
      compare_elements(field, path, one, other);
      return;
    }
  }

  static std::string bytes_of(const field_descriptor &field, const void *record, uint32_t count) {
    constexpr uint32_t most_bytes = 64;
    const uint32_t size = count * field.width;
    if (size == 0)
      return "nothing";
    const auto *const bytes = static_cast<const uint8_t *>(field.element(record, 0));
    return hex_of(bytes, std::min(size, most_bytes)) + (size > most_bytes ? " ..." : "");
  }

  void compare_items(const field_descriptor &field, const std::string &path, const void *one,
                     uint32_t one_count, const void *other, uint32_t other_count) {
    if (one_count != other_count)
      found_.add(path + ": " + std::to_string(one_count) + " and " + std::to_string(other_count) +
                 " bytes");
    else if (one_count != 0 && std::memcmp(field.element(one, 0), field.element(other, 0),
                                           size_t{one_count} * field.width) != 0)
      found_.add(path + ": bytes " + bytes_of(field, one, one_count) + " and " +
                 bytes_of(field, other, other_count));
  }

  void compare_elements(const field_descriptor &field, const std::string &path, const void *one,
                        const void *other) {
    const uint32_t one_count = field.count(one), other_count = field.count(other);
    if (one_count != other_count)
      found_.add(path + ": " + std::to_string(one_count) + " and " + std::to_string(other_count) +
                 " elements");
    for (uint32_t i = 0; i < std::min(one_count, other_count); i++)
      compare(*field.table, path + "[" + std::to_string(i) + "].", field.element(one, i),
              field.element(other, i));
  }

  limited_list &found_;
};

// What a part is, wherever it lies.
std::string name_of(const anatomy &of, const part &part) {
  const bool is_numbered = part.role == role::entry || part.role == role::spare_entry;
  return of.path_of(part.node) + " " + name_of(part.role) +
         (is_numbered ? " " + std::to_string(part.slot) : "");
}

std::string place_of(const part &part) {
  return std::to_string(part.at) + (part.size > 1 ? "+" + std::to_string(part.size) : "");
}

} // namespace

std::vector<std::string> value_differences(const table_descriptor &table, const void *one,
                                           const void *other, size_t most) {
  limited_list found(most);
  comparison(found).compare(table, "", one, other);
  return std::move(found).lines();
}

std::vector<std::string> layout_differences(const anatomy &one, const anatomy &other, size_t most) {
  std::map<std::string, const part *> of_other;
  for (const part &part : other.parts())
    of_other.emplace(name_of(other, part), &part);
  limited_list found(most);
  for (const part &part : one.parts()) {
    const std::string name = name_of(one, part);
    const auto there = of_other.find(name);
    if (there == of_other.end()) {
      found.add(name + ": at " + place_of(part) + " in the first only");
      continue;
    }
    if (there->second->at != part.at || there->second->size != part.size)
      found.add(name + ": at " + place_of(part) + " and " + place_of(*there->second));
    of_other.erase(there);
  }
  for (const part &part : other.parts())
    if (of_other.contains(name_of(other, part)))
      found.add(name_of(other, part) + ": at " + place_of(part) + " in the second only");
  return std::move(found).lines();
}

} // namespace mesh_fib6::tools
