// The messages that docs/wire-format.md lists byte by byte: its blocks marked `golden`, taken
// together as a golden file that has a column more.
//
// Room: tests. Needs MESH_FIB6_SOURCE_DIR. A listing's record is named after its message.
#pragma once

#include "tests/support/annotated.h"

#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <vector>

namespace documents {

struct listings {
  annotated::file text;
  std::map<size_t, std::string> whys; // the fourth column, by line
  std::vector<annotated::text_line> prose;
};

// Throws std::runtime_error "path:line: what is wrong" as annotated::parse does; also of an item
// without a fourth column, of one outside a block that is marked, and of a block that does not end.
listings listings_in(std::istream &document, const std::string &path);

// Those of docs/wire-format.md.
listings of_wire_format();

// What is wrong with the reasons given, "path:line: ..." each: every sum has to come out, and the
// first of an item has to be that of the number in its bytes or, of padding, of its size.
std::vector<std::string> wrong_sums(const listings &all);

// A file of the sources as a stream; throws when it cannot be read.
std::string text_of(const std::string &path);

// Without the spaces at both ends.
std::string trimmed(const std::string &text);

} // namespace documents
