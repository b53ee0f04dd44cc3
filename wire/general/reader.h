// Reads an untrusted buffer into a record, in any byte order.
//
// Room: wire/general. Checks narrow in stages: table position, vtable position, vtable length, then
// each field before it is read. The first three stages of a table tell the log what was wrong, as
// does a failed allocation; a field out of bounds fails without a word. Either arrangement of the
// format is accepted, and any other that obeys the FlatBuffers rules.
#pragma once

#include "wire/format/bounds.h"
#include "wire/general/handover.h"

namespace mesh_fib6::wire::general {

// A table whose vtable is inside the buffer. Passed by reference: by value, what was just stored in
// parts would be loaded as a whole, and the processor would wait for it.
struct table_ref {
  uint32_t at;
  uint32_t vtable;
  uint32_t vtable_size;
};

class reader {
public:
  reader(runtime::unit &unit, byte_order order, received in)
      : unit_(unit), order_(order), in_(in) {}

  uint32_t root() const { return order_.word(in_.bytes); }

  // Whether the table at `at` and its vtable are inside the buffer; logs under `function` what is
  // wrong if not.
  bool open_table(uint32_t at, const char *function, table_ref &table);

  // Fields of a table, from a slot on, into a record in which they are zero. `decoding` names the
  // function on whose behalf members are allocated. False when one of them is refused: what lies
  // before it in the record stays.
  bool read_fields(const table_ref &table, const table_info &info, void *record,
                   const char *decoding, uint32_t first_slot = 0);

  // Elements of a vector into records that it clears first. The offset words from `word` on are
  // inside the buffer.
  bool read_elements(uint32_t word, const table_info &info, uint8_t *records, uint32_t count);

private:
  bool find_table(uint32_t at, table_ref &table) const;
  void report_table(uint32_t at, const char *function);
  bool read_fields_in(byte_order order, const table_ref &table, const table_info &info,
                      void *record, const char *decoding, uint32_t first_slot);
  bool follow(uint32_t at, uint32_t &target) const;
  bool open_vector(uint32_t at, uint32_t width, uint32_t &items, uint32_t &count) const;
  static bool read_array(byte_order order, const received &body, uint32_t entry,
                         const field_info &field, uint8_t *values);
  bool read_linked(const field_info &field, uint32_t at, void *record, const char *decoding);
  bool read_embedded(const field_info &field, uint32_t at, void *record);
  bool read_vector(const field_info &field, uint32_t at, void *record, const char *decoding);

  runtime::unit &unit_;
  byte_order order_;
  received in_;
};

} // namespace mesh_fib6::wire::general
