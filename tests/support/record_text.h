// Records from text: the lines of a golden file's record, read through a record's descriptors.
//
//   f0 = 0x0D0C0B01            a scalar: decimal, or hexadecimal with 0x
//   f1.f3 = 04010B0A 0 0 0     all items of an array: hexadecimal, 0 or as wide as an item
//   f1.f4[0..15] = 06 81 ...   some of them
//   f2 count 2                 of a vector, before its elements
//   f2[1].f0 = 7               a member of an element
//
// What no line mentions is zero.
//
// Room: tests. Knows descriptors, no message in particular.
#pragma once

#include "tests/support/annotated.h"
#include "tests/support/random_record.h"

#include <string>
#include <vector>

namespace record_text {

// Throws std::runtime_error "path:line: what is wrong, what was expected".
random_record::owned_record read(const mesh_fib6::tools::table_descriptor &table,
                                 const std::string &path,
                                 const std::vector<annotated::text_line> &lines);

// The lines among an image's meanings that name a value or a count: together they are the image's
// record.
std::vector<annotated::text_line> values_in(const annotated::image &image);

// A value as such a line has it: a scalar, and items of an array from `first` to `last`.
std::string scalar_text(uint32_t value, uint32_t width);
std::string item_text(uint32_t value, uint32_t width);

} // namespace record_text
