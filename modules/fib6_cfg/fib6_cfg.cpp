// Module fib6_cfg: its two units, its exported functions, its entry points.
//
// Room: modules. May include every lower room; other modules are strangers.
#include "modules/fib6_cfg/schema.h"
#include "modules/fib6_cfg/units.h"
#include "transport/export.h"
#include "transport/registration.h"

namespace mesh_fib6::fib6_cfg {

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
} // namespace mesh_fib6::fib6_cfg

namespace this_module = mesh_fib6::fib6_cfg;
MESH_FIB6_FIB6_CFG_MESSAGES(MESH_FIB6_EXPORT)

uint32_t fib6_cfg_recv_init(void) {
  return mesh_fib6::transport::register_messages(mesh_fib6::fib6_cfg::messages{});
}

uint32_t fib6_cfg_send_init(void) {
  return MESH_RegIDLResorceCleanFuncHook(fib6_cfg__send_resource_clean);
}

void fib6_cfg__send_resource_clean(void) {}
