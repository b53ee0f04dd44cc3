// The units of a module by its name: bound at will, in any byte order.
//
// Room: tests. Reaches the library's state.
#pragma once

#include "modules/fib6/units.h"
#include "modules/fib6_cfg/units.h"
#include "modules/fib6_sync/units.h"

#include <stdexcept>
#include <string>
#include <string_view>

struct unit_pair {
  mesh_fib6::runtime::unit &recv;
  mesh_fib6::runtime::unit &send;
};

inline unit_pair units_of(std::string_view module) {
  if (module == "fib6")
    return {mesh_fib6::fib6::recv_unit, mesh_fib6::fib6::send_unit};
  if (module == "fib6_cfg")
    return {mesh_fib6::fib6_cfg::recv_unit, mesh_fib6::fib6_cfg::send_unit};
  if (module == "fib6_sync")
    return {mesh_fib6::fib6_sync::recv_unit, mesh_fib6::fib6_sync::send_unit};
  throw std::logic_error("no units of a module " + std::string(module));
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
