// The numbers of module fib6_cfg that peers depend on, stated by hand.
//
// Room: modules. Included by the module's source, behind its exports.
#pragma once

#include "modules/fib6_cfg/schema.h"
#include "modules/pins.h"

namespace mesh_fib6 {

static_assert(pinned<fib6_cfg_query_fib6_key>(0x727C4D11, 64, 24));
static_assert(pinned<fib6_cfg_query_fib6_rec>(0x8B27C60C, 40, 20));
static_assert(pinned<fib6_cfg_query_dfx_key>(0x244EBB6A, 40, 24));
static_assert(pinned<fib6_cfg_query_dfx_rec>(0x3ACCEBF3, 40, 20));
static_assert(pinned<fib6_cfg_cfg_ipv6_ttl_expired_forward>(0x863B570C, 32, 64));
static_assert(pinned<fib6_cfg_query_fib6check_key>(0x6C0280B3, 48, 24));
static_assert(pinned<fib6_cfg_query_fib6check_rec>(0xDD6EF182, 288, 24));

static_assert(pinned_table<fib6_cfg_query_comm_param>(24, 14));
static_assert(pinned_table<fib6_cfg_query_comm_rec>(24, 16));
static_assert(pinned_table<fib6_cfg_query_fib6_cond>(40, 50));
static_assert(pinned_table<fib6_cfg_query_dfx_cond>(16, 16));
static_assert(pinned_table<fib6_cfg_query_fib6check_cond>(24, 38));
static_assert(pinned_table<fib6_cfg_query_fib6_item>(136, 186));
static_assert(pinned_table<fib6_cfg_query_dfx_item>(160, 200));
static_assert(pinned_table<fib6_cfg_query_fib6check_item>(264, 278));

} // namespace mesh_fib6
