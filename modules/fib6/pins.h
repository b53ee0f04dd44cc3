// The numbers of module fib6 that peers depend on, stated by hand.
//
// Room: modules. Included by the module's source, behind its exports.
#pragma once

#include "modules/fib6/schema.h"
#include "modules/pins.h"

namespace mesh_fib6 {

static_assert(pinned<feiBrokerFib6_ipv6FwdUpdateMsg>(0x5026A923, 16, 16));
static_assert(pinned<feiBrokerFib6_ipv6FwdDelMsg>(0x0B394879, 16, 16));
static_assert(pinned<feiBrokerFib6_nhp6GroupUpdateMsg>(0x12BA2120, 40, 22));
static_assert(pinned<feiBrokerFib6_nhp6GroupDelMsg>(0xE0BBBCA0, 16, 16));
static_assert(pinned<feiBrokerFib6_nhp6UpdateMsg>(0x5FFC4D23, 144, 32));
static_assert(pinned<feiBrokerFib6_nhp6DelMsg>(0xEE8FB479, 16, 16));
static_assert(pinned<feiBrokerFib6_srv6SrListUpdateMsg>(0x44FD956B, 16, 16));
static_assert(pinned<feiBrokerFib6_srv6SrListDelMsg>(0x03FB3FE1, 16, 16));
static_assert(pinned<feiBrokerFib6_ipv6PathMtuUpdateMsg>(0x08C4DDE3, 16, 16));
static_assert(pinned<feiBrokerFib6_ipv6PathMtuDelMsg>(0x6718B739, 16, 16));
static_assert(pinned<feiBrokerFib6_pidStateMsg>(0x2DAF16C2, 16, 56));
static_assert(pinned<feiBrokerFib6_classItemMsg>(0x9D4AD197, 16, 56));
static_assert(pinned<feiBrokerFib6_vrfClassStateMsg>(0x4E636B47, 28, 72));
static_assert(pinned<feiBrokerFib6_vrfClassDataMsg>(0x2646ACE6, 32, 80));
static_assert(pinned<feiBrokerFib6_lrClassDataMsg>(0x36A0ECDC, 12, 32));
static_assert(pinned<feiBrokerFib6_loadBalanceMode>(0x0D2C457A, 16, 48));
static_assert(pinned<feiBrokerFib6_loadBalanceReverse>(0x2555943D, 12, 32));
static_assert(pinned<feiBrokerFib6_dod_enable>(0x877476E0, 12, 32));
static_assert(pinned<feiBrokerFib6_dod_rule>(0x7EA01FE9, 32, 64));
static_assert(pinned<feiBrokerFib6_dod_aging>(0x89D66519, 24, 48));
static_assert(pinned<feiBrokerFib6_special_ip>(0xD001F332, 12, 32));

static_assert(pinned_table<feiBrokerFib6_ipv6Fwd>(56, 60));
static_assert(pinned_table<feiBrokerFib6_ipv6FwdKey>(28, 53));
static_assert(pinned_table<feiBrokerFib6_nhp6Group>(20, 18));
static_assert(pinned_table<feiBrokerFib6_nhp6GroupNode>(40, 28));
static_assert(pinned_table<feiBrokerFib6_nhp6GroupKey>(8, 12));
static_assert(pinned_table<feiBrokerFib6_nhp6>(44, 52));
static_assert(pinned_table<feiBrokerFib6_nhp6Std>(48, 50));
static_assert(pinned_table<feiBrokerFib6_nhp6Ext>(28, 35));
static_assert(pinned_table<feiBrokerFib6_nhp6Vpn>(20, 18));
static_assert(pinned_table<feiBrokerFib6_nhp6Vxlan>(60, 83));
static_assert(pinned_table<feiBrokerFib6_nhp6VpnSid>(72, 104));
static_assert(pinned_table<feiBrokerFib6_nhp6Pp6ExtSrv6Te>(44, 50));
static_assert(pinned_table<feiBrokerFib6_nhp6Key>(4, 10));
static_assert(pinned_table<feiBrokerFib6_srv6SrList>(184, 282));
static_assert(pinned_table<feiBrokerFib6_srv6SrListKey>(16, 16));
static_assert(pinned_table<feiBrokerFib6_ipv6PathMtu>(32, 42));
static_assert(pinned_table<feiBrokerFib6_ipv6PathMtuKey>(24, 38));
static_assert(pinned_table<feiBrokerFib6_pidState>(12, 14));
static_assert(pinned_table<feiBrokerFib6_classItem>(12, 14));
static_assert(pinned_table<feiBrokerFib6_vrfClassState>(24, 20));
static_assert(pinned_table<feiBrokerFib6_vrfClassData>(28, 22));

} // namespace mesh_fib6
