// What the quick path asks of the general codec: all that it knows of it.
//
// Room: wire/general.
#pragma once

#include "wire/format/bounds.h"
#include "wire/general/descriptor.h"

namespace mesh_fib6::wire::general {

// More elements than this could not have their offset words inside any buffer.
inline constexpr uint32_t max_word_count = 0x3FFFFFFF;

// What the quick path leaves to the general codec, in the common byte order: a table's fields from
// a slot on, and a vector's elements from the one on whose offset word is at `word`. What they are
// told is passed by value, so that the quick path can keep it in registers.
bool finish_table(runtime::unit &unit, received in, uint32_t table, const table_info &info,
                  void *record, const char *decoding, uint32_t slot);
bool finish_elements(runtime::unit &unit, received in, uint32_t word, const table_info &info,
                     void *records, uint32_t count);

// Says in the log that a block of `size` bytes was not to be had.
void report_no_memory(runtime::unit &unit, uint32_t size, const char *function);

// Memory of a decoded record; says in the log when it is not to be had, under the function on whose
// behalf it is wanted.
uint8_t *allocate(runtime::unit &unit, uint32_t size, const char *decoding);

// Gives back what decoding allocated inside a record. Only pointers are touched; counts and scalars
// stay as they are. The unit is bound.
void release_blocks(runtime::unit &unit, const table_info &info, void *record);

} // namespace mesh_fib6::wire::general
