// The two units of a message's module, and the byte order that they are in.
//
// Room: tests. Reaches the units.
#pragma once

#include "modules/fib6/schema.h"
#include "modules/fib6/units.h"
#include "modules/fib6_cfg/schema.h"
#include "modules/fib6_cfg/units.h"
#include "modules/fib6_sync/schema.h"
#include "modules/fib6_sync/units.h"
#include "transport/message.h"

#include <cstdio>
#include <stdexcept>

struct unit_pair {
  mesh_fib6::runtime::unit &recv;
  mesh_fib6::runtime::unit &send;
};

// Of a message by the name of its record. Throws when no module has such names.
inline unit_pair units_of(const char *record) {
  using namespace mesh_fib6;
  if (transport::message_part(record, fib6::wire_namespace) != 0)
    return {fib6::recv_unit, fib6::send_unit};
  if (transport::message_part(record, fib6_cfg::wire_namespace) != 0)
    return {fib6_cfg::recv_unit, fib6_cfg::send_unit};
  if (transport::message_part(record, fib6_sync::wire_namespace) != 0)
    return {fib6_sync::recv_unit, fib6_sync::send_unit};
  // Without a C++ string, whose code would be compiled here, under the memory sanitizer.
  char text[160];
  snprintf(text, sizeof text, "no module has a message %s", record);
  throw std::out_of_range(text);
}

template <class M>
unit_pair units_of() {
  return units_of(mesh_fib6::operations<M>::name);
}

// So that what a test then records is the call's own.
inline void bind_unit(mesh_fib6::runtime::unit &unit) {
  mesh_fib6::runtime::bind_general(unit);
  mesh_fib6::runtime::bind_cache(unit);
}
inline void bind_units(const unit_pair &units) {
  bind_unit(units.recv);
  bind_unit(units.send);
}

// Sets a unit's byte order for the life of this object; the unit must be bound already, for binding
// clears the flag.
class swapped_unit {
public:
  swapped_unit(mesh_fib6::runtime::unit &unit, uint32_t byte_swap) : unit_(unit) {
    unit_.byte_swap = byte_swap;
  }
  swapped_unit(const swapped_unit &) = delete;
  swapped_unit &operator=(const swapped_unit &) = delete;
  ~swapped_unit() { unit_.byte_swap = 0; }

private:
  mesh_fib6::runtime::unit &unit_;
};
