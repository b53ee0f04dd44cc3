// Schema of module fib6_cfg: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table, with two sizes for the compiler to compare; everything else about it is computed.
#pragma once

#include "transport/operations.h"
#include "wire/format/schema.h"
#include <mesh_fib6/fib6_cfg.h>

MESH_FIB6_TABLE(fib6_cfg_query_comm_param, 24, 14, f0, f1, f2_count, f2);
MESH_FIB6_TABLE(fib6_cfg_query_comm_rec, 24, 16, f0, f1, f2, f3_count, f3);
MESH_FIB6_TABLE(fib6_cfg_query_fib6_cond, 40, 50, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_cond, 16, 16, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_cond, 24, 38, f0, f1, f2);
MESH_FIB6_TABLE(fib6_cfg_query_fib6_item, 136, 186, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10,
                f11, f12, f13, f14, f15, f16, f17, f18, f19, f20);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_item, 160, 200, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_item, 264, 278, f0, f1, f2);

MESH_FIB6_TABLE(fib6_cfg_query_fib6_key, 64, 20, f0, f1);
MESH_FIB6_TABLE(fib6_cfg_query_fib6_rec, 40, 16, f0, f1_count, f1);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_key, 40, 20, f0, f1);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_rec, 40, 16, f0, f1_count, f1);
MESH_FIB6_TABLE(fib6_cfg_cfg_ipv6_ttl_expired_forward, 32, 42, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_key, 48, 20, f0, f1);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_rec, 288, 20, f0, f1);

// The module's messages in the order in which they are registered: the record, its root form
// (wire/codec.h), and the size of a message of zeros as it is sent.
#define MESH_FIB6_FIB6_CFG_MESSAGES(X)                                                             \
  X(fib6_cfg_query_fib6_key, header_first, 88)                                                     \
  X(fib6_cfg_query_fib6_rec, header_first, 36)                                                     \
  X(fib6_cfg_query_dfx_key, header_first, 54)                                                      \
  X(fib6_cfg_query_dfx_rec, header_first, 36)                                                      \
  X(fib6_cfg_cfg_ipv6_ttl_expired_forward, header_first, 64)                                       \
  X(fib6_cfg_query_fib6check_key, header_first, 76)                                                \
  X(fib6_cfg_query_fib6check_rec, header_first, 318)

MESH_FIB6_FIB6_CFG_MESSAGES(MESH_FIB6_OPERATIONS)

namespace mesh_fib6::fib6_cfg {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "fib6_cfg";

using messages = listed<void MESH_FIB6_FIB6_CFG_MESSAGES(MESH_FIB6_LISTED)>::types;

} // namespace mesh_fib6::fib6_cfg
