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

MESH_FIB6_EXPORT(fib6, feiBrokerFib6_ipv6FwdUpdateMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_ipv6FwdDelMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_nhp6GroupUpdateMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_nhp6GroupDelMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_nhp6UpdateMsg, table);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_nhp6DelMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_srv6SrListUpdateMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_srv6SrListDelMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_ipv6PathMtuUpdateMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_ipv6PathMtuDelMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_pidStateMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_classItemMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_vrfClassStateMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_vrfClassDataMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_lrClassDataMsg, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_loadBalanceMode, table);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_loadBalanceReverse, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_dod_enable, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_dod_rule, header_first);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_dod_aging, table);
MESH_FIB6_EXPORT(fib6, feiBrokerFib6_special_ip, header_first);

uint32_t fib6_recv_init(void) {
  return mesh_fib6::transport::register_messages(mesh_fib6::fib6::messages{});
}

uint32_t fib6_send_init(void) {
  return MESH_RegIDLResorceCleanFuncHook(fib6__send_resource_clean);
}

void fib6__send_resource_clean(void) {}

#include "modules/fib6/pins.h" // behind the exports: it pins their identifiers
