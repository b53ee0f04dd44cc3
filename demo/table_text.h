// A table as a text file, one entry a line, and the comparison of two such files.
//
// Room: demo. Includes this folder only; knows nothing of messages.
//
//   next-hop 3 : via fe80::3 interface 3
//   group 7 : next-hop 3 weight 1, next-hop 20 weight 2
//   route vrf 0 2001:db8::/32 : unicast group 7 metric 1024 line 12
//   end of table : 1 next hops, 1 groups, 1 routes
// What stands in front of the colon names the entry, what stands behind it is its value.
#pragma once

#include "demo/route_table.h"

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

// The line of one entry, without its end.
std::string line_of(uint32_t number, const next_hop &hop);
std::string line_of(uint32_t number, const next_hop_group &members);
std::string line_of(const route_key &key, const route &entry);

// Throws failure when the file cannot be written completely.
void write_table(const route_table &table, const std::string &path);

struct table_difference {
  uint64_t entries = 0;     // different names in the two files together
  uint64_t differences = 0; // of these, how many are not the same on both sides
  std::vector<std::string> texts;
};

inline constexpr size_t named_differences = 10;

// Compares every entry of two files. Throws failure when one of them cannot be read, is cut short
// or names an entry twice.
table_difference compare_tables(const std::string &expected_path, const std::string &found_path);

} // namespace demo
