// A change of the table, and the table with its digest.
//
// Room: demo. Includes this folder and the one above only; knows nothing of messages.
#pragma once

#include "demo/route_table.h"

#include <cstdint>
#include <variant>

namespace demo {

struct put_next_hop {
  uint32_t number = 0;
  next_hop hop;
};
struct put_group {
  uint32_t number = 0;
  next_hop_group members;
};
struct put_route {
  route_key key;
  route entry;
};
struct drop_route {
  route_key key;
};
struct drop_group {
  uint32_t number = 0;
};
struct drop_next_hop {
  uint32_t number = 0;
};
using change =
    std::variant<put_next_hop, put_group, put_route, drop_route, drop_group, drop_next_hop>;

// A table, and of it a number that two processes can compare: the sum, modulo 2^64, of FNV-1a (64
// bits) of each entry's line, as write_table writes it, without the line's end and without the
// closing line. A sum does not depend on the order, and goes along with each change at the cost of
// one entry.
class digested_table {
public:
  // False: what is to be dropped is not there.
  bool apply(const change &next);

  const route_table &contents() const { return table; }
  uint64_t digest() const { return sum; }
  size_t entries() const {
    return table.routes.size() + table.groups.size() + table.next_hops.size();
  }

private:
  route_table table;
  uint64_t sum = 0;
};

} // namespace demo
