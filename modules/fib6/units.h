// The two units of module fib6.
//
// Room: modules. May include every lower room; other modules are strangers.
#pragma once

#include "runtime/unit.h"

namespace mesh_fib6::fib6 {

extern runtime::unit recv_unit; // unpack, release
extern runtime::unit send_unit; // pack, send

} // namespace mesh_fib6::fib6
