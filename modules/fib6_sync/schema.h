// Schema of module fib6_sync: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table, with two sizes for the compiler to compare; everything else about it is computed.
#pragma once

#include "transport/operations.h"
#include "wire/format/schema.h"
#include <mesh_fib6/fib6_sync.h>

MESH_FIB6_TABLE(fib6Sync_tlv, 8, 12, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6Fwd, 60, 62, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12,
                f13, f14);
MESH_FIB6_TABLE(fib6Sync_ipv6FwdKey, 28, 53, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_nhp6Group, 20, 18, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupKey, 8, 12, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNode, 40, 28, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNodeKey, 28, 22, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(fib6Sync_nhp6, 44, 52, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(fib6Sync_nhp6Key, 4, 10, f0);
MESH_FIB6_TABLE(fib6Sync_nhp6Std, 52, 52, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(fib6Sync_nhp6StdKey, 24, 38, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_nhp6Ext, 28, 22, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(fib6Sync_nhp6Vpn, 20, 18, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_nhp6Vxlan, 64, 85, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12,
                f13);
MESH_FIB6_TABLE(fib6Sync_nhp6VpnSid, 104, 146, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11,
                f12);
MESH_FIB6_TABLE(fib6Sync_nhp6ExtSrv6Te, 44, 50, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtu, 32, 42, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtuKey, 24, 38, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_srv6SrList, 184, 282, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11,
                f12, f13, f14, f15, f16);
MESH_FIB6_TABLE(fib6Sync_srv6SrListKey, 16, 16, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6Sync_balanceModeData, 5, 18, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_balanceReverseData, 1, 10, f0);
MESH_FIB6_TABLE(fib6Sync_dod_enable_data, 4, 10, f0);
MESH_FIB6_TABLE(fib6Sync_specialIpData, 8, 14, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_specialIpKey, 4, 10, f0);
MESH_FIB6_TABLE(fib6Sync_nhp6_ext_label, 68, 78, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10);

MESH_FIB6_TABLE(fib6Sync_svcCtxMsg, 40, 56, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6FwdUpdateMsg, 68, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6FwdDelMsg, 36, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupUpdateMsg, 28, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupDelMsg, 16, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNodeUpdateMsg, 48, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNodeDelMsg, 36, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6UpdateMsg, 52, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6DelMsg, 12, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6StdUpdateMsg, 60, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6StdDelMsg, 32, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6ExtUpdateMsg, 36, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6VpnUpdateMsg, 28, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6VxlanUpdateMsg, 72, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6VpnSidUpdateMsg, 112, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6ExtSrv6TeUpdateMsg, 52, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtuUpdateMsg, 40, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtuDelMsg, 32, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_loadBalanceMode, 12, 18, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_loadBalanceReverse, 8, 18, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_ecmpCfg, 16, 24, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6Sync_dod_enable, 12, 18, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_glbCfg, 12, 18, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_srv6SrListUpdateMsg, 192, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_srv6SrListDelMsg, 24, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6_ext_label_update_data, 76, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_dod_rule, 32, 42, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_dod_aging, 24, 20, f0, f1, f2, f3, f4, f5);
MESH_FIB6_TABLE(fib6Sync_special_ip, 12, 16, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6Sync_specialIpUpdateMsg, 16, 20, f0, f1);
MESH_FIB6_TABLE(fib6Sync_specialIpDeleteMsg, 12, 20, f0, f1);

// The module's messages in the order in which they are registered: the record, its root form
// (wire/codec.h), and the size of a message of zeros as it is sent.
#define MESH_FIB6_FIB6_SYNC_MESSAGES(X)                                                            \
  X(fib6Sync_svcCtxMsg, header_first, 80)                                                          \
  X(fib6Sync_ipv6FwdUpdateMsg, table, 152)                                                         \
  X(fib6Sync_ipv6FwdDelMsg, table, 112)                                                            \
  X(fib6Sync_nhp6GroupUpdateMsg, table, 88)                                                        \
  X(fib6Sync_nhp6GroupDelMsg, table, 64)                                                           \
  X(fib6Sync_nhp6GroupNodeUpdateMsg, table, 112)                                                   \
  X(fib6Sync_nhp6GroupNodeDelMsg, table, 96)                                                       \
  X(fib6Sync_nhp6UpdateMsg, table, 128)                                                            \
  X(fib6Sync_nhp6DelMsg, table, 64)                                                                \
  X(fib6Sync_nhp6StdUpdateMsg, table, 136)                                                         \
  X(fib6Sync_nhp6StdDelMsg, table, 96)                                                             \
  X(fib6Sync_nhp6ExtUpdateMsg, table, 96)                                                          \
  X(fib6Sync_nhp6VpnUpdateMsg, table, 88)                                                          \
  X(fib6Sync_nhp6VxlanUpdateMsg, table, 168)                                                       \
  X(fib6Sync_nhp6VpnSidUpdateMsg, table, 216)                                                      \
  X(fib6Sync_nhp6ExtSrv6TeUpdateMsg, table, 128)                                                   \
  X(fib6Sync_ipv6PathMtuUpdateMsg, table, 104)                                                     \
  X(fib6Sync_ipv6PathMtuDelMsg, table, 96)                                                         \
  X(fib6Sync_loadBalanceMode, header_first, 64)                                                    \
  X(fib6Sync_loadBalanceReverse, header_first, 56)                                                 \
  X(fib6Sync_ecmpCfg, header_first, 88)                                                            \
  X(fib6Sync_dod_enable, header_first, 56)                                                         \
  X(fib6Sync_glbCfg, header_first, 56)                                                             \
  X(fib6Sync_srv6SrListUpdateMsg, table, 352)                                                      \
  X(fib6Sync_srv6SrListDelMsg, table, 80)                                                          \
  X(fib6Sync_nhp6_ext_label_update_data, table, 160)                                               \
  X(fib6Sync_dod_rule, header_first, 64)                                                           \
  X(fib6Sync_dod_aging, table, 48)                                                                 \
  X(fib6Sync_special_ip, header_first, 32)                                                         \
  X(fib6Sync_specialIpUpdateMsg, table, 72)                                                        \
  X(fib6Sync_specialIpDeleteMsg, table, 64)

MESH_FIB6_FIB6_SYNC_MESSAGES(MESH_FIB6_OPERATIONS)

namespace mesh_fib6::fib6_sync {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "fib6Sync";

using messages = listed<void MESH_FIB6_FIB6_SYNC_MESSAGES(MESH_FIB6_LISTED)>::types;

} // namespace mesh_fib6::fib6_sync
