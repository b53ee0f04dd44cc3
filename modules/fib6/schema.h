// Schema of module fib6: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table, with two sizes for the compiler to compare; everything else about it is computed.
#pragma once

#include "transport/operations.h"
#include "wire/format/schema.h"
#include <mesh_fib6/fib6.h>

MESH_FIB6_TABLE(feiBrokerFib6_ipv6Fwd, 56, 60, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11,
                f12, f13);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6FwdKey, 28, 53, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Group, 20, 18, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupNode, 40, 28, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupKey, 8, 12, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6, 44, 52, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Std, 48, 50, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Ext, 28, 35, f0, f1, f2, f3, f4, f5, f6, f7);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Vpn, 20, 18, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Vxlan, 60, 83, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11,
                f12);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6VpnSid, 72, 104, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10,
                f11);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Pp6ExtSrv6Te, 44, 50, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Key, 4, 10, f0);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrList, 184, 282, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10,
                f11, f12, f13, f14, f15, f16);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrListKey, 16, 16, f0, f1, f2, f3);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtu, 32, 42, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtuKey, 24, 38, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_pidState, 12, 14, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_classItem, 12, 14, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassState, 24, 20, f0, f1, f2, f3, f4, f5);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassData, 28, 22, f0, f1, f2, f3, f4, f5, f6);

MESH_FIB6_TABLE(feiBrokerFib6_ipv6FwdUpdateMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6FwdDelMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupUpdateMsg, 40, 18, f0, f1, f2_count, f2);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupDelMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6UpdateMsg, 144, 28, f0, f1, f2_count, f2, f3_count, f3, f4_count,
                f4, f5_count, f5, f6_count, f6, f7_count, f7);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6DelMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrListUpdateMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrListDelMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtuUpdateMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtuDelMsg, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_pidStateMsg, 16, 16, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_classItemMsg, 16, 16, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassStateMsg, 28, 16, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassDataMsg, 32, 16, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_lrClassDataMsg, 12, 14, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_loadBalanceMode, 16, 22, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(feiBrokerFib6_loadBalanceReverse, 12, 14, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_dod_enable, 12, 14, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_dod_rule, 32, 42, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_dod_aging, 24, 20, f0, f1, f2, f3, f4, f5);
MESH_FIB6_TABLE(feiBrokerFib6_special_ip, 12, 16, f0, f1, f2, f3);

// The module's messages in the order in which they are registered: the record, its root form
// (wire/codec.h), and the size of a message of zeros as it is sent.
#define MESH_FIB6_FIB6_MESSAGES(X)                                                                 \
  X(feiBrokerFib6_ipv6FwdUpdateMsg, header_first, 16)                                              \
  X(feiBrokerFib6_ipv6FwdDelMsg, header_first, 16)                                                 \
  X(feiBrokerFib6_nhp6GroupUpdateMsg, header_first, 40)                                            \
  X(feiBrokerFib6_nhp6GroupDelMsg, header_first, 16)                                               \
  X(feiBrokerFib6_nhp6UpdateMsg, table, 84)                                                        \
  X(feiBrokerFib6_nhp6DelMsg, header_first, 16)                                                    \
  X(feiBrokerFib6_srv6SrListUpdateMsg, header_first, 16)                                           \
  X(feiBrokerFib6_srv6SrListDelMsg, header_first, 16)                                              \
  X(feiBrokerFib6_ipv6PathMtuUpdateMsg, header_first, 16)                                          \
  X(feiBrokerFib6_ipv6PathMtuDelMsg, header_first, 16)                                             \
  X(feiBrokerFib6_pidStateMsg, header_first, 56)                                                   \
  X(feiBrokerFib6_classItemMsg, header_first, 56)                                                  \
  X(feiBrokerFib6_vrfClassStateMsg, header_first, 72)                                              \
  X(feiBrokerFib6_vrfClassDataMsg, header_first, 80)                                               \
  X(feiBrokerFib6_lrClassDataMsg, header_first, 32)                                                \
  X(feiBrokerFib6_loadBalanceMode, table, 48)                                                      \
  X(feiBrokerFib6_loadBalanceReverse, header_first, 32)                                            \
  X(feiBrokerFib6_dod_enable, header_first, 32)                                                    \
  X(feiBrokerFib6_dod_rule, header_first, 64)                                                      \
  X(feiBrokerFib6_dod_aging, table, 48)                                                            \
  X(feiBrokerFib6_special_ip, header_first, 32)

MESH_FIB6_FIB6_MESSAGES(MESH_FIB6_OPERATIONS)

namespace mesh_fib6::fib6 {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "feiBrokerFib6";

using messages = listed<void MESH_FIB6_FIB6_MESSAGES(MESH_FIB6_LISTED)>::types;

} // namespace mesh_fib6::fib6
