// The numbers of module fib6_cfg that peers depend on, stated by hand.
//
// Room: modules. Included by the module's source, behind its exports.
#pragma once

#include "modules/fib6_cfg/schema.h"
#include "modules/pins.h"

namespace mesh_fib6 {

static_assert(pinned<fib6_cfg_cfg_ipv6_ttl_expired_forward>(0x863B570C, 32, 64));

} // namespace mesh_fib6
