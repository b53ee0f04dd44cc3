// The two units of module fib6_cfg.
//
// Room: modules. May include every lower room; other modules are strangers.
#pragma once

#include "runtime/unit.h"

namespace mesh_fib6::fib6_cfg {

extern runtime::unit recv_unit; // unpack, release
extern runtime::unit send_unit; // pack, send

} // namespace mesh_fib6::fib6_cfg
