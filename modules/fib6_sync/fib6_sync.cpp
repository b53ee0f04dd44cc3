// Module fib6_sync: its two units, its exported functions, its entry points.
//
// Room: modules. May include every lower room; other modules are strangers.
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

MESH_FIB6_EXPORT(fib6_sync, fib6Sync_svcCtxMsg, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_ipv6FwdUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_ipv6FwdDelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6GroupUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6GroupDelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6GroupNodeUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6GroupNodeDelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6UpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6DelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6StdUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6StdDelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6ExtUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6VpnUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6VxlanUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6VpnSidUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6ExtSrv6TeUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_ipv6PathMtuUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_ipv6PathMtuDelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_loadBalanceMode, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_loadBalanceReverse, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_ecmpCfg, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_dod_enable, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_glbCfg, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_srv6SrListUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_srv6SrListDelMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_nhp6_ext_label_update_data, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_dod_rule, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_dod_aging, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_special_ip, header_first);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_specialIpUpdateMsg, table);
MESH_FIB6_EXPORT(fib6_sync, fib6Sync_specialIpDeleteMsg, table);

uint32_t fib6_sync_recv_init(void) {
  return mesh_fib6::transport::register_messages(mesh_fib6::fib6_sync::messages{});
}

uint32_t fib6_sync_send_init(void) {
  return MESH_RegIDLResorceCleanFuncHook(fib6_sync__send_resource_clean);
}

void fib6_sync__send_resource_clean(void) {}

#include "modules/fib6_sync/pins.h" // behind the exports: it pins their identifiers
