// Reader of tables; see tables.h.
//
// Room: tests.
#include "tests/documents/tables.h"

#include <sstream>
#include <stdexcept>

namespace documents {
namespace {

// The cells of "| a | b |"; none when a line is no row.
std::vector<std::string> cells_of(const std::string &line) {
  std::vector<std::string> cells;
  if (line.empty() || line.front() != '|')
    return cells;
  std::istringstream rest(line.substr(1));
  for (std::string cell; std::getline(rest, cell, '|');)
    cells.push_back(trimmed(cell));
  return cells;
}

} // namespace

std::vector<table_row> table_of(const std::string &path, const std::vector<std::string> &head) {
  std::istringstream document(text_of(path));
  std::vector<table_row> rows;
  bool found = false, inside = false;
  size_t number = 0;
  for (std::string line; std::getline(document, line);) {
    ++number;
    const std::vector<std::string> cells = cells_of(line);
    if (!inside && cells == head) {
      if (found)
        annotated::complain(path, number, "a second table with the head " + line);
      found = inside = true;
    } else if (inside && cells.empty()) {
      inside = false;
    } else if (inside) {
      if (cells.size() != head.size())
        annotated::complain(path, number,
                            "a row of " + std::to_string(cells.size()) + " cells in a table of " +
                                std::to_string(head.size()));
      rows.push_back({number, cells});
    }
  }
  if (rows.size() < 2)
    throw std::runtime_error(path + ": no rows of a table that begins with | " + head.front());
  rows.erase(rows.begin()); // the rule below the head
  return rows;
}

std::vector<std::string> quoted_in(const std::string &text) {
  std::vector<std::string> all;
  std::istringstream parts(text);
  size_t number = 0;
  for (std::string part; std::getline(parts, part, '`'); ++number)
    if (number % 2 == 1)
      all.push_back(part);
  return all;
}

} // namespace documents
