// Schema of module fib6_cfg: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table; everything else about it is computed.
#pragma once

#include "modules/fib6_cfg/fib6_cfg.h"
#include "wire/schema.h"

MESH_FIB6_TABLE(fib6_cfg_cfg_ipv6_ttl_expired_forward, f0, f1, f2, f3, f4);

namespace mesh_fib6::fib6_cfg {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "fib6_cfg";

// The messages in the order in which they are registered.
using messages = wire::type_list<fib6_cfg_cfg_ipv6_ttl_expired_forward>;

} // namespace mesh_fib6::fib6_cfg
