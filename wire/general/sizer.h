// How many bytes a record takes in either arrangement.
//
// Room: wire/general. Reads the caller's record and arrays, which are trusted: a count that is not
// zero comes with a pointer to that many elements.
#pragma once

#include "wire/general/descriptor.h"

namespace mesh_fib6::wire::general {

// Encoded size of the message whose record is at `record`, in the compact arrangement. 0 when it
// cannot be encoded: no record, or more than 32 bits can say.
uint32_t compact_size(const table_info &root, const void *record);

// Of a flat record's table in the fixed arrangement: from its soffset to the end of its inline
// data.
uint32_t fixed_table_size(const table_info &table);
// The distance from such a table to its vtable, and to what may follow the vtable.
uint32_t fixed_vtable_at(const table_info &table);
uint32_t fixed_end(const table_info &table);

} // namespace mesh_fib6::wire::general
