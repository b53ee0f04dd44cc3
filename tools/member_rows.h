// The members of a message in one list, with those of what is embedded in it and of the elements of
// its vectors: what tables and maps of a message are made from.
//
// Room: tools. Knows descriptors. Positions in the fixed image are read off an image, not worked
// out a second time.
#pragma once

#include "tools/descriptors.h"

#include <optional>
#include <string>
#include <vector>

namespace mesh_fib6::tools {

struct member_row {
  const field_descriptor *field;
  std::string path; // f1[].f3
  uint32_t offset;  // in the record of the message; of an element's member, in the element
  uint32_t size;    // in bytes; of a vector, of its pointer
  bool is_of_element;
  // Of a flat message: where its fixed image has it. Of an array or an embedded record, what its
  // offset word leads to.
  std::optional<uint32_t> image_offset;

  // Where the count of a vector is.
  uint32_t count_offset() const { return offset - field->offset + field->count_offset; }
};

std::vector<member_row> member_rows_of(const message_descriptor &message);

// The module that a message is of.
const module_descriptor &module_of(const message_descriptor &message);

// `uint32_t[4]`, `feiBrokerFib6_ipv6Fwd[]`
std::string type_of(const field_descriptor &field);
// "array of words"
const char *kind_of(const field_descriptor &field);
// "flat" or "tree"
const char *shape_of(const message_descriptor &message);

} // namespace mesh_fib6::tools
