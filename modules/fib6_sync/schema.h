// Schema of module fib6_sync: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table; everything else about it is computed.
#pragma once

#include "modules/fib6_sync/fib6_sync.h"
#include "wire/schema.h"

namespace mesh_fib6::fib6_sync {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "fib6Sync";

// The messages in the order in which they are registered.
using messages = wire::type_list<>;

} // namespace mesh_fib6::fib6_sync
