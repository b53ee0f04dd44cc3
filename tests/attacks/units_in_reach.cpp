// See many_threads.h: for the objects of the library.
//
// Room: tests.
#include "tests/attacks/many_threads.h"

#include "modules/fib6/units.h"
#include "modules/fib6_cfg/units.h"
#include "modules/fib6_sync/units.h"

#include <initializer_list>

bool reset_units() {
  using namespace mesh_fib6;
  for (runtime::unit *unit : {&fib6::recv_unit, &fib6::send_unit, &fib6_cfg::recv_unit,
                              &fib6_cfg::send_unit, &fib6_sync::recv_unit, &fib6_sync::send_unit})
    *unit = {};
  return true;
}
