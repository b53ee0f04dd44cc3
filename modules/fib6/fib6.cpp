// Module fib6: its two units, its exported functions, its entry points.
//
// Room: modules. May include every lower room; other modules are strangers.
#include "modules/fib6/schema.h"
#include "modules/fib6/units.h"
#include "transport/export.h"
#include "transport/registration.h"

namespace mesh_fib6::fib6 {

runtime::unit recv_unit;
runtime::unit send_unit;

namespace {

[[gnu::constructor]] void load_recv_unit() {
  runtime::clear_byte_swap(recv_unit);
}
[[gnu::constructor]] void load_send_unit() {
  runtime::clear_byte_swap(send_unit);
}

} // namespace
} // namespace mesh_fib6::fib6

namespace this_module = mesh_fib6::fib6;
MESH_FIB6_FIB6_MESSAGES(MESH_FIB6_EXPORT)

uint32_t fib6_recv_init(void) {
  return mesh_fib6::transport::register_messages(mesh_fib6::fib6::messages{});
}

uint32_t fib6_send_init(void) {
  return MESH_RegIDLResorceCleanFuncHook(fib6__send_resource_clean);
}

void fib6__send_resource_clean(void) {}
