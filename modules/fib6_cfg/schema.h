// Schema of module fib6_cfg: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table; everything else about it is computed.
#pragma once

#include "wire/schema.h"
#include <mesh_fib6/fib6_cfg.h>

MESH_FIB6_TABLE(fib6_cfg_query_comm_param, f0, f1, f2_count, f2);
MESH_FIB6_TABLE(fib6_cfg_query_comm_rec, f0, f1, f2, f3_count, f3);
MESH_FIB6_TABLE(fib6_cfg_query_fib6_cond, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_cond, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_cond, f0, f1, f2);
MESH_FIB6_TABLE(fib6_cfg_query_fib6_item, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12,
                f13, f14, f15, f16, f17, f18, f19, f20);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_item, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_item, f0, f1, f2);

MESH_FIB6_TABLE(fib6_cfg_query_fib6_key, f0, f1);
MESH_FIB6_TABLE(fib6_cfg_query_fib6_rec, f0, f1_count, f1);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_key, f0, f1);
MESH_FIB6_TABLE(fib6_cfg_query_dfx_rec, f0, f1_count, f1);
MESH_FIB6_TABLE(fib6_cfg_cfg_ipv6_ttl_expired_forward, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_key, f0, f1);
MESH_FIB6_TABLE(fib6_cfg_query_fib6check_rec, f0, f1);

namespace mesh_fib6::fib6_cfg {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "fib6_cfg";

// The messages in the order in which they are registered.
using messages = wire::type_list<fib6_cfg_query_fib6_key,               //
                                 fib6_cfg_query_fib6_rec,               //
                                 fib6_cfg_query_dfx_key,                //
                                 fib6_cfg_query_dfx_rec,                //
                                 fib6_cfg_cfg_ipv6_ttl_expired_forward, //
                                 fib6_cfg_query_fib6check_key,          //
                                 fib6_cfg_query_fib6check_rec>;

} // namespace mesh_fib6::fib6_cfg
