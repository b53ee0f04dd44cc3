// Reads an untrusted buffer into a record, in any byte order.
//
// Room: wire/general.
#include "wire/general/reader.h"

#include "platform/memory.h"

namespace mesh_fib6::wire::general {

using runtime::log_category;

// Says in the log what find_table() found wrong with the table at `at`.
[[gnu::cold]] void reader::report_table(uint32_t at, const char *function) {
  if (at < root_offset_size || !in_.holds(at, soffset_size)) {
    runtime::write_log(unit_, log_category::validation, __LINE__, function,
                       "[VARKO]:Table offset(%u) is out of range(4 - %u)", at, in_.size);
    return;
  }
  const uint32_t vtable = at - order_.word(in_.bytes + at);
  if (vtable < root_offset_size || !in_.holds(vtable, 4)) {
    runtime::write_log(unit_, log_category::validation, __LINE__, function,
                       "[VARKO]:Vtable offset(%u) is out of range(4 - %u)", at, in_.size - 4);
    return;
  }
  const uint32_t vtable_size = order_.half(in_.bytes + vtable);
  runtime::write_log(unit_, log_category::validation, __LINE__, function,
                     "[VARKO]:Vtable Len(%u) is out of range(0 - %u)", vtable_size,
                     in_.size - vtable);
}

[[gnu::always_inline]] inline bool reader::find_table(uint32_t at, table_ref &table) const {
  if (at < root_offset_size || !in_.holds(at, soffset_size))
    return false;
  const uint32_t vtable = at - order_.word(in_.bytes + at);
  if (vtable < root_offset_size || !in_.holds(vtable, 4))
    return false;
  table = {at, vtable, order_.half(in_.bytes + vtable)};
  return in_.holds(vtable, table.vtable_size);
}

bool reader::open_table(uint32_t at, const char *function, table_ref &table) {
  if (__builtin_expect(find_table(at, table), true))
    return true;
  report_table(at, function);
  return false;
}

// Follows the uoffset at `at`.
[[gnu::always_inline]] inline bool reader::follow(uint32_t at, uint32_t &target) const {
  if (!in_.holds(at, uoffset_size))
    return false;
  target = at + order_.word(in_.bytes + at);
  return target >= at;
}

// A vector of `width`-byte items: where the first one lies and how many there are.
[[gnu::always_inline]] inline bool reader::open_vector(uint32_t at, uint32_t width, uint32_t &items,
                                                       uint32_t &count) const {
  uint32_t vector = 0;
  if (!follow(at, vector) || !in_.holds(vector, vector_length_size))
    return false;
  count = order_.word(in_.bytes + vector);
  items = vector + vector_length_size;
  return (width == 1 || count <= max_word_count) && in_.holds(items, width * count);
}

// A fixed array, whose length has to be the schema's.
[[gnu::always_inline]] inline bool reader::read_array(byte_order order, const received &body,
                                                      uint32_t entry, const field_info &field,
                                                      uint8_t *values) {
  constexpr uint32_t address_size = 16;
  const bool is_words = field.of == kind::words;
  const uint32_t size = uint32_t{field.number} * (is_words ? 4 : 1);
  if (!body.holds(entry, uoffset_size))
    return false;
  const uint32_t vector = entry + order.word(body.bytes + entry);
  if (vector < entry || !body.holds(vector, vector_length_size + size) ||
      order.word(body.bytes + vector) != field.number)
    return false;
  const uint8_t *const items = body.bytes + vector + vector_length_size;
  if (size == address_size) // most are, and need no call
    memcpy(values, items, address_size);
  else
    memcpy(values, items, size);
  if (is_words)
    order.reverse_words(values, field.number);
  return true;
}

// The width says first whether it is a scalar, of which most fields are.
[[gnu::always_inline]] inline bool
reader::read_fields_in(const byte_order order, const table_ref &table, const table_info &info,
                       void *record, const char *decoding, uint32_t first_slot) {
  const received body = in_.from(table.at);
  const uint8_t *const entries = in_.bytes + table.vtable + vtable_size_of(0);
  const uint32_t found = table.vtable_size < 4 ? 0 : (table.vtable_size - 4) / 2;
  const uint32_t slots = found < info.slots() ? found : info.slots();
  const field_info *const fields = &info.field(0);
  for (uint32_t slot = first_slot; slot < slots; slot++) {
    const uint32_t entry = order.half(entries + size_t{2} * slot);
    if (entry == 0)
      continue;
    const field_info &field = fields[slot];
    uint8_t *const value = member(field, record);
    if (field.width == 4) {
      if (!body.holds(entry, 4))
        return false;
      store(value, order.word(body.bytes + entry));
    } else if (field.width == 2) {
      if (!body.holds(entry, 2))
        return false;
      store(value, order.half(body.bytes + entry));
    } else if (field.width == 1) {
      if (!body.holds(entry, 1))
        return false;
      *value = body.bytes[entry];
    } else if (is_array(field.of)) {
      if (!read_array(order, body, entry, field, value))
        return false;
    } else if (!read_linked(field, table.at + entry, record, decoding)) {
      return false;
    }
  }
  return true;
}

// A vtable shorter than the schema comes from an older peer: what it lacks is absent, as is what it
// says is not there. The loop is there twice, so that in the common order it asks nothing about
// orders.
bool reader::read_fields(const table_ref &table, const table_info &info, void *record,
                         const char *decoding, uint32_t first_slot) {
  if (__builtin_expect(order_.reverses(), false))
    return read_fields_in(order_, table, info, record, decoding, first_slot);
  return read_fields_in(byte_order(0), table, info, record, decoding, first_slot);
}

// What an offset word refers to that is no array.
bool reader::read_linked(const field_info &field, uint32_t at, void *record, const char *decoding) {
  return field.of == kind::table ? read_embedded(field, at, record)
                                 : read_vector(field, at, record, decoding);
}

bool reader::read_embedded(const field_info &field, uint32_t at, void *record) {
  const table_info &info = field.table();
  uint32_t target = 0;
  table_ref table{};
  if (!follow(at, target))
    return false;
  if (!__builtin_expect(find_table(target, table), true)) {
    report_table(target, info.non_root());
    return false;
  }
  return read_fields(table, info, member(field, record), info.non_root());
}

bool reader::read_vector(const field_info &field, uint32_t at, void *record, const char *decoding) {
  const bool is_bytes = field.of == kind::byte_vector;
  uint32_t items = 0, count = 0;
  if (!open_vector(at, is_bytes ? 1 : uoffset_size, items, count))
    return false;
  set_count(field, record, count);
  if (count == 0)
    return true;
  // The block's size is 32-bit arithmetic by contract. A product that wraps would give a block too
  // small for its elements, so it counts as an allocation that failed.
  uint32_t size = 0;
  if (__builtin_mul_overflow(count, is_bytes ? 1 : field.table().record_size(), &size)) {
    report_no_memory(unit_, size, decoding);
    return false;
  }
  uint8_t *const block = allocate(unit_, size, decoding);
  if (block == nullptr)
    return false;
  set_pointer(field, record, block);
  if (!is_bytes)
    return read_elements(items, field.table(), block, count);
  copy_memory(block, in_.bytes + items, count);
  return true;
}

bool reader::read_elements(uint32_t word, const table_info &info, uint8_t *records,
                           uint32_t count) {
  for (uint32_t i = 0; i < count; i++, word += uoffset_size, records += info.record_size()) {
    clear_memory(records, info.record_size());
    const uint32_t at = word + order_.word(in_.bytes + word);
    table_ref table{};
    if (at < word)
      return false;
    if (!__builtin_expect(find_table(at, table), true)) {
      report_table(at, info.non_root());
      return false;
    }
    if (!read_fields(table, info, records, info.non_root()))
      return false;
  }
  return true;
}

bool finish_table(runtime::unit &unit, received in, uint32_t table, const table_info &info,
                  void *record, const char *decoding, uint32_t slot) {
  const uint32_t vtable = table - load<uint32_t>(in.bytes + table);
  const table_ref found{table, vtable, load<uint16_t>(in.bytes + vtable)};
  return reader(unit, byte_order(0), in).read_fields(found, info, record, decoding, slot);
}

bool finish_elements(runtime::unit &unit, received in, uint32_t word, const table_info &info,
                     void *records, uint32_t count) {
  return reader(unit, byte_order(0), in)
      .read_elements(word, info, static_cast<uint8_t *>(records), count);
}

void report_no_memory(runtime::unit &unit, uint32_t size, const char *function) {
  runtime::write_log(unit, log_category::allocation, __LINE__, function,
                     "[VARKO]:Malloc unpack data unsuccess, size(%u)", size);
}

uint8_t *allocate(runtime::unit &unit, uint32_t size, const char *decoding) {
  void *const block = unit.runtime.cache_alloc(size, runtime::cache_module_id, decoding);
  if (block == nullptr)
    report_no_memory(unit, size, decoding);
  return static_cast<uint8_t *>(block);
}

void release_blocks(runtime::unit &unit, const table_info &info, void *record) {
  for (uint32_t i = 0; i < info.owned_count(); i++) {
    const auto &owned = info.owned(i);
    uint8_t *const pointer = static_cast<uint8_t *>(record) + owned.offset;
    if (void *const block = load<void *>(pointer)) {
      unit.runtime.cache_free(block, runtime::cache_module_id, owned.releasing);
      store<void *>(pointer, nullptr);
    }
  }
}

} // namespace mesh_fib6::wire::general
