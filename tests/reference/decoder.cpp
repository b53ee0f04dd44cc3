// The second decoder; see decoder.h.
//
// Room: reference.
#include "tests/reference/decoder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace reference {

const expectation &decoder::decode(const table_descriptor &root, root_form form,
                                   const received_message &received) {
  root_ = &root;
  received_ = received;
  const size_t bound = size_t{amplification(root)} * received.length;
  if (element_storage_.size() < bound)
    element_storage_.resize(bound);
  element_bytes_ = 0;
  expected_.request_count = 0;
  expected_.line = line::none;
  memset(expected_.elements, 0, sizeof expected_.elements);
  expected_.record.assign(root.record_size, 0);

  table_ref table{};
  const uint64_t root_at = structural(0, 4, role::root_offset);
  const bool header_first = form == root_form::header_first;
  if (!open_table(root_at, root.name, header_first ? "_unpack" : "_unpack_non_root", table)) {
    expected_.ending = header_first ? ending::refused : ending::failed;
  } else if (read_fields(root, table, expected_.record.data(), false)) {
    expected_.ending = ending::decoded;
  } else {
    expected_.ending = ending::failed;
    memset(expected_.elements, 0, sizeof expected_.elements);
  }
  return expected_;
}

void decoder::list_sites(const table_descriptor &root, const received_message &received,
                         site_list &sites) {
  sites.count = 0;
  sites_ = &sites;
  decode(root, root_form::header_first, received);
  sites_ = nullptr;
}

uint32_t decoder::number(uint64_t at, uint32_t width) const {
  uint32_t value = 0;
  for (uint32_t i = 0; i < width; i++) {
    const uint32_t position = received_.byte_swap != 0 ? width - 1 - i : i;
    value |= uint32_t{received_.bytes[at + i]} << (8 * position);
  }
  return value;
}

uint32_t decoder::structural(uint64_t at, uint32_t width, reference::role role) {
  if (sites_ != nullptr && sites_->count < std::size(sites_->of))
    sites_->of[sites_->count++] = {static_cast<uint32_t>(at), role};
  return number(at, width);
}

// Notes the line that the failure is logged with.
bool decoder::fail(reference::line line, const char *name, const char *suffix, uint64_t first,
                   uint64_t second) {
  expected_.line = line;
  expected_.line_name = name;
  expected_.line_suffix = suffix;
  expected_.line_first = static_cast<uint32_t>(first);
  expected_.line_second = static_cast<uint32_t>(second);
  return false;
}

bool decoder::open_table(uint64_t at, const char *name, const char *suffix, table_ref &table) {
  const uint32_t length = received_.length;
  if (at < 4 || !holds(at, 4))
    return fail(line::table_offset, name, suffix, at, length);
  // Either sign: the vtable may lie behind the table.
  const uint32_t vtable = static_cast<uint32_t>(at) - structural(at, 4, role::soffset);
  if (vtable < 4 || !holds(vtable, 4))
    return fail(line::vtable_offset, name, suffix, at, uint64_t{length} - 4);
  const uint32_t vtable_size = structural(vtable, 2, role::vtable_size);
  if (!holds(vtable, vtable_size))
    return fail(line::vtable_length, name, suffix, vtable_size, length - vtable);
  table = {at, vtable, vtable_size};
  return true;
}

bool decoder::read_fields(const table_descriptor &descriptor, const table_ref &table,
                          uint8_t *record, bool is_element) {
  for (const field_descriptor &field : descriptor.fields) {
    if (table.vtable_size < 4 + 2 * (field.slot + 1))
      return true; // written by an older peer
    const uint32_t entry =
        structural(table.vtable + 4 + 2 * uint64_t{field.slot}, 2, role::vtable_entry);
    if (entry != 0 && !read_field(descriptor, field, table.at + entry, record, is_element))
      return false;
  }
  return true;
}

bool decoder::read_field(const table_descriptor &owner, const field_descriptor &field, uint64_t at,
                         uint8_t *record, bool is_element) {
  switch (field.kind) {
  case kind::scalar:
    if (!holds(at, field.width))
      return false;
    field.set_number(record, number(at, field.width));
    return true;
  case kind::words:
  case kind::bytes:
    return read_array(field, at, record);
  case kind::table: {
    uint64_t target = 0;
    table_ref table{};
    return follow(at, target) && open_table(target, field.table->name, "_unpack_non_root", table) &&
           read_fields(*field.table, table, record + field.offset, is_element);
  }
  case kind::table_vector:
  case kind::byte_vector:
    if (is_element) {
      (void)fprintf(stderr, "%s: elements with vectors of their own are not foreseen here\n",
                    owner.name);
      abort();
    }
    return read_vector(owner, field, at, record);
  }
  return false;
}

bool decoder::follow(uint64_t at, uint64_t &target) {
  if (!holds(at, 4))
    return false;
  target = at + structural(at, 4, role::uoffset);
  return target <= UINT32_MAX; // what wraps is out of bounds, without a word
}

bool decoder::open_vector(uint64_t at, uint64_t width, uint64_t &items, uint32_t &count) {
  uint64_t vector = 0;
  if (!follow(at, vector) || !holds(vector, 4))
    return false;
  count = structural(vector, 4, role::count);
  items = vector + 4;
  return holds(items, width * count);
}

bool decoder::read_array(const field_descriptor &field, uint64_t at, uint8_t *record) {
  uint64_t items = 0;
  uint32_t count = 0;
  if (!open_vector(at, field.width, items, count) || count != field.length)
    return false;
  uint8_t *const values = record + field.offset;
  memcpy(values, received_.bytes + items, size_t{field.width} * count);
  if (field.kind == kind::words && received_.byte_swap == 1)
    for (uint32_t i = 0; i < count; i++)
      field.set_number(record, __builtin_bswap32(field.number(record, i)), i);
  return true;
}

bool decoder::read_vector(const table_descriptor &owner, const field_descriptor &field, uint64_t at,
                          uint8_t *record) {
  uint64_t items = 0;
  uint32_t count = 0;
  const bool of_tables = field.kind == kind::table_vector;
  if (!open_vector(at, of_tables ? 4 : 1, items, count))
    return false;
  field.set_vector(record, nullptr, count);
  if (count == 0)
    return true;

  const auto pointer_at = static_cast<uint32_t>(record + field.offset - expected_.record.data());
  const vector_list vectors = vectors_of(*root_);
  uint32_t vector = 0;
  while (vectors.of[vector].pointer_at != pointer_at)
    vector++;
  const uint32_t size = count * field.width;
  expected_.requests[expected_.request_count++] = {size, vector};
  if (expected_.request_count == received_.refused_request)
    return fail(line::no_memory, owner.name,
                vectors.of[vector].embedded ? "_unpack_non_root" : "_unpack", size, 0);

  uint8_t *const elements = element_storage_.data() + element_bytes_;
  element_bytes_ += size;
  expected_.elements[vector] = elements;
  if (of_tables)
    return read_elements(field, items, count, elements);
  memcpy(elements, received_.bytes + items, count);
  return true;
}

bool decoder::read_elements(const field_descriptor &field, uint64_t items, uint32_t count,
                            uint8_t *elements) {
  memset(elements, 0, size_t{field.width} * count);
  for (uint32_t i = 0; i < count; i++) {
    uint64_t target = 0;
    table_ref table{};
    if (!follow(items + uint64_t{4} * i, target) ||
        !open_table(target, field.table->name, "_unpack_non_root", table) ||
        !read_fields(*field.table, table, elements + size_t{field.width} * i, true))
      return false;
  }
  return true;
}

} // namespace reference
