// Records from bytes; see record_maker.h.
//
// Room: attacks.
#include "fuzz/record_maker.h"

#include <cstdlib>
#include <cstring>

namespace fuzz {

made_records::made_records(const message &message, uint32_t count, input &input)
    : message_(message), input_(input),
      records_(static_cast<uint8_t *>(add_block(size_t{message.record_size} * count))) {
  for (uint32_t i = 0; i < count; i++)
    fill(*message.table, records_ + size_t{message.record_size} * i);
}

made_records::~made_records() {
  for (uint32_t i = 0; i < block_count_; i++)
    free(blocks_[i]);
}

void *made_records::add_block(size_t size) {
  return blocks_[block_count_++] = calloc(1, size);
}

void made_records::fill(const table_descriptor &table, void *record) {
  for (const field_descriptor &field : table.fields) {
    if (field.kind == kind::table)
      fill(*field.table, field.member(record));
    else if (field.is_vector())
      fill_vector(field, record);
    else
      for (uint32_t i = 0; i < field.length; i++)
        field.set_number(record, some_number(field.width), i);
  }
}

void made_records::fill_vector(const field_descriptor &field, void *record) {
  // Few and short ones are frequent, so that an execution stays cheap.
  constexpr uint8_t counts_of_tables[16] = {0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 2, 2, 3, 3, 5, 8};
  constexpr uint8_t counts_of_bytes[16] = {0, 0, 0, 0, 1, 1, 2, 3, 4, 5, 7, 8, 15, 16, 33, 200};
  const uint8_t choice = input_.byte();
  const bool of_tables = field.kind == kind::table_vector;
  const uint32_t count = of_tables ? counts_of_tables[choice & 15] : counts_of_bytes[choice & 15];
  if (count == 0) {
    // Some empty vectors have a pointer nevertheless: to one byte that nobody may read.
    if ((choice & 0x30) == 0x30)
      field.set_vector(record, add_block(1), 0);
    return;
  }
  field.set_vector(record, add_block(size_t{count} * field.width), count);
  for (uint32_t i = 0; i < count; i++)
    if (of_tables)
      fill(*field.table, field.element(record, i));
    else
      field.set_number(record, input_.byte(), i);
}

// Zero is what the compact arrangement leaves out, so it is frequent; so are the edges.
uint32_t made_records::some_number(uint32_t width) {
  const uint32_t choice = input_.byte();
  const uint32_t largest = UINT32_MAX >> (32 - 8 * width);
  if (choice < 64)
    return 0;
  if (choice < 128)
    return (choice & 63) + 1;
  if (choice < 160)
    return largest - (choice & 31);
  if (choice < 176)
    return (largest >> 1) + (choice & 1);
  return input_.number(width);
}

} // namespace fuzz
