// Records of any message; see records.h.
//
// Room: tests.
#include "tests/catalogue/records.h"

#include "tests/reference/navigation.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace catalogue {
namespace {

using mesh_fib6::tools::kind;

constexpr random_record::density full = {.zero_percent = 0, .max_elements = 3, .max_bytes = 9};

bool has_everything(const table_descriptor &table, const void *record) {
  return std::all_of(table.fields.begin(), table.fields.end(), [record](const auto &field) {
    if (field.kind == kind::table)
      return has_everything(*field.table, field.member(record));
    return !field.is_vector() || field.count(record) != 0;
  });
}

// Reverses an image in place, table by table.
class reversal {
public:
  reversal(const bytes &image, bool words_too)
      : sound_(image), bytes_(image), words_too_(words_too) {}

  bytes of(const table_descriptor &root) {
    word(0);
    table(root, image::root_of(sound_));
    return bytes_;
  }

private:
  // Positions are read from the sound image: in the other one they are reversed by and by.
  void word(uint32_t at) { flip(at, 4); }
  void flip(uint32_t at, uint32_t width) {
    std::reverse(bytes_.begin() + at, bytes_.begin() + at + width);
  }

  void table(const table_descriptor &descriptor, uint32_t at) {
    const uint32_t vtable = image::vtable_of(sound_, at);
    word(at);
    for (uint32_t i = 0; i < image::vtable_length(sound_, at); i += 2)
      flip(vtable + i, 2);
    for (const field_descriptor &field : descriptor.fields)
      if (image::entry_at(sound_, at, field.slot) != 0)
        member(field, image::field_of(sound_, at, field.slot));
  }

  void member(const field_descriptor &field, uint32_t at) {
    if (field.kind == kind::scalar)
      return flip(at, field.width);
    const uint32_t target = image::target_of(sound_, at);
    word(at);
    if (field.kind == kind::table)
      return table(*field.table, target);
    const uint32_t count = sound_.u32_at(target);
    word(target);
    for (uint32_t i = 0; i < count; i++)
      element(field, image::element_word(target, i));
  }

  void element(const field_descriptor &field, uint32_t at) {
    if (field.kind == kind::table_vector) {
      table(*field.table, image::target_of(sound_, at));
      word(at);
    } else if (field.kind == kind::words && words_too_) {
      word(at);
    }
  }

  wire_builder sound_;
  bytes bytes_;
  bool words_too_;
};

} // namespace

const message_descriptor &descriptor_of(const message &message) {
  for (const auto &module : mesh_fib6::tools::modules)
    for (const message_descriptor &descriptor : module.messages)
      if (std::strcmp(descriptor.name, message.name) == 0)
        return descriptor;
  throw std::runtime_error(std::string(message.name) + " is not in the schema");
}

const table_descriptor &table_of(const message &message) {
  return *descriptor_of(message).table;
}

owned_record full_record(const message &message) {
  const table_descriptor &table = table_of(message);
  for (uint64_t seed = message.id;; ++seed) {
    random_record::generator random(seed);
    owned_record record = random_record::make(table, random, full);
    if (has_everything(table, record.get()))
      return record;
  }
}

owned_record some_record(const message &message, uint32_t round) {
  constexpr uint32_t zero_percents[] = {0, 30, 60, 95};
  random_record::generator random(uint64_t{message.id} << 32 | round);
  return random_record::make(table_of(message), random,
                             {.zero_percent = zero_percents[round % 4],
                              .max_elements = round % 8 == 7 ? 40U : 4U,
                              .max_bytes = round % 8 == 7 ? 1000U : 40U,
                              .pointers_to_empty = round % 2 == 1});
}

std::vector<bytes> full_layouts(const message &message) {
  const owned_record record = full_record(message);
  std::vector<bytes> layouts = {packed(message, record.get())};
  if (!message.is_tree())
    layouts.push_back(sent(message, record.get()));
  return layouts;
}

void clear_member(const table_descriptor &table, void *record, uint32_t slot) {
  const field_descriptor &field = table.fields[slot];
  if (field.is_vector())
    field.set_vector(record, nullptr, 0);
  else
    std::memset(field.member(record), 0, size_t{field.width} * field.length);
}

void clear_from(const table_descriptor &table, void *record, uint32_t slot) {
  for (uint32_t i = slot; i < table.fields.size(); i++)
    clear_member(table, record, i);
}

void clear_vectors(const table_descriptor &table, void *record) {
  for (const field_descriptor &field : table.fields)
    if (field.is_vector())
      field.set_vector(record, nullptr, 0);
    else if (field.kind == kind::table)
      clear_vectors(*field.table, field.member(record));
}

bool has_array(const table_descriptor &table, const void *record) {
  return std::any_of(table.fields.begin(), table.fields.end(), [record](const auto &field) {
    if (field.kind == kind::table)
      return has_array(*field.table, field.member(record));
    return field.is_vector() && field.pointer(record) != nullptr;
  });
}

std::string difference(const message &message, const void *expected, const void *actual) {
  return random_record::difference(table_of(message), expected, actual);
}

std::vector<visited_table> tables_in(const message &message, owned_record &record,
                                     const wire_builder &wire) {
  const table_descriptor &descriptor = table_of(message);
  const uint32_t root = image::root_of(wire);
  std::vector<visited_table> found = {{&descriptor, record.get(), root, 0, true}};
  for (const field_descriptor &field : descriptor.fields) {
    if (field.table == nullptr)
      continue;
    uint32_t at = image::target_of(wire, image::field_of(wire, root, field.slot));
    if (field.is_vector())
      at = image::target_of(wire, image::element_word(at, 0));
    found.push_back({field.table, field.element(record.get(), 0), at, field.slot, false});
  }
  return found;
}

owned_record stopped_record(const message &message, const wire_builder &wire, size_t table,
                            uint32_t slot) {
  owned_record record = full_record(message);
  const table_descriptor &root = table_of(message);
  const visited_table stopped = tables_in(message, record, wire).at(table);
  clear_from(*stopped.descriptor, stopped.record, slot);
  if (!stopped.is_root)
    clear_from(root, record.get(), stopped.slot + 1);
  clear_vectors(root, record.get());
  return record;
}

void expect_stopped(const message &message, decoding &decoded, const owned_record &expected) {
  EXPECT_FALSE(has_array(table_of(message), decoded.record()));
  clear_vectors(table_of(message), decoded.record());
  EXPECT_EQ(difference(message, expected.get(), decoded.record()), "");
  ptrdiff_t blocks_held = 0;
  for (const fake_osal::call &call : decoded.calls)
    if (call.block != nullptr)
      blocks_held += call.kind == fake_osal::call_kind::free ? -1 : 1;
  EXPECT_EQ(blocks_held, 0);
}

bytes reversed(const message &message, const bytes &image, bool words_too) {
  return reversal(image, words_too).of(table_of(message));
}

} // namespace catalogue
