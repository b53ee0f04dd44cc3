// Tables of a document, as rows of cells.
//
// Room: tests. Needs MESH_FIB6_SOURCE_DIR.
#pragma once

#include "tests/documents/listings.h"

#include <string>
#include <vector>

namespace documents {

struct table_row {
  size_t line;
  std::vector<std::string> cells; // as they are written, backquotes included
};

// The rows of the table with this head, without head and rule. Throws std::runtime_error unless
// there is one such table, with rows that have as many cells as the head.
std::vector<table_row> table_of(const std::string &path, const std::vector<std::string> &head);

// What stands in backquotes, each by itself.
std::vector<std::string> quoted_in(const std::string &text);

} // namespace documents
