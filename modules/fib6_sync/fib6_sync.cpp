// Module fib6_sync: its two units, its exported functions, its entry points.
//
// Room: modules. May include every lower room; other modules are strangers.
#include "modules/fib6_sync/positions.h"
#include "modules/fib6_sync/schema.h"
#include "modules/fib6_sync/units.h"
#include "transport/export.h"
#include "transport/registration.h"

namespace mesh_fib6::fib6_sync {

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
} // namespace mesh_fib6::fib6_sync

namespace this_module = mesh_fib6::fib6_sync;
MESH_FIB6_FIB6_SYNC_MESSAGES(MESH_FIB6_EXPORT)

uint32_t fib6_sync_recv_init(void) {
  return mesh_fib6::transport::register_messages(mesh_fib6::fib6_sync::messages{});
}

uint32_t fib6_sync_send_init(void) {
  return MESH_RegIDLResorceCleanFuncHook(fib6_sync__send_resource_clean);
}

void fib6_sync__send_resource_clean(void) {}
