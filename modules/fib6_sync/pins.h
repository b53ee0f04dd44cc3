// The numbers of module fib6_sync that peers depend on, stated by hand.
//
// Room: modules. Included by the module's source, behind its exports.
#pragma once

#include "modules/fib6_sync/schema.h"
#include "modules/pins.h"

#include <cstddef>

namespace mesh_fib6 {

static_assert(pinned<fib6Sync_svcCtxMsg>(0x43B81539, 40, 80));
static_assert(pinned<fib6Sync_ipv6FwdUpdateMsg>(0x48CDB5CB, 68, 152));
static_assert(pinned<fib6Sync_ipv6FwdDelMsg>(0x20B86741, 36, 112));
static_assert(pinned<fib6Sync_nhp6GroupUpdateMsg>(0x27313708, 28, 88));
static_assert(pinned<fib6Sync_nhp6GroupDelMsg>(0xA67F1088, 16, 64));
static_assert(pinned<fib6Sync_nhp6GroupNodeUpdateMsg>(0x89EA08AC, 48, 112));
static_assert(pinned<fib6Sync_nhp6GroupNodeDelMsg>(0x368222CC, 36, 96));
static_assert(pinned<fib6Sync_nhp6UpdateMsg>(0x44477C2B, 52, 128));
static_assert(pinned<fib6Sync_nhp6DelMsg>(0x05D162A1, 12, 64));
static_assert(pinned<fib6Sync_nhp6StdUpdateMsg>(0xD2D6370A, 60, 136));
static_assert(pinned<fib6Sync_nhp6StdDelMsg>(0x20959026, 32, 96));
static_assert(pinned<fib6Sync_nhp6ExtUpdateMsg>(0xA1DBFFBC, 36, 96));
static_assert(pinned<fib6Sync_nhp6VpnUpdateMsg>(0xAA706A55, 28, 88));
static_assert(pinned<fib6Sync_nhp6VxlanUpdateMsg>(0x1D511A2A, 72, 168));
static_assert(pinned<fib6Sync_nhp6VpnSidUpdateMsg>(0xB2CFE153, 112, 216));
static_assert(pinned<fib6Sync_nhp6ExtSrv6TeUpdateMsg>(0x1F17926E, 52, 128));
static_assert(pinned<fib6Sync_ipv6PathMtuUpdateMsg>(0xB893ECAB, 40, 104));
static_assert(pinned<fib6Sync_ipv6PathMtuDelMsg>(0xCD5FE421, 32, 96));
static_assert(pinned<fib6Sync_loadBalanceMode>(0xE0A34E72, 12, 64));
static_assert(pinned<fib6Sync_loadBalanceReverse>(0x29F980E5, 8, 56));
static_assert(pinned<fib6Sync_ecmpCfg>(0xB9FA4070, 16, 88));
static_assert(pinned<fib6Sync_dod_enable>(0x0055A568, 12, 56));
static_assert(pinned<fib6Sync_glbCfg>(0xB86E5320, 12, 56));
static_assert(pinned<fib6Sync_srv6SrListUpdateMsg>(0xE63E88D3, 192, 352));
static_assert(pinned<fib6Sync_srv6SrListDelMsg>(0x1045D0A9, 24, 80));
static_assert(pinned<fib6Sync_nhp6_ext_label_update_data>(0x2EE805D3, 76, 160));
static_assert(pinned<fib6Sync_dod_rule>(0x0863B261, 32, 64));
static_assert(pinned<fib6Sync_dod_aging>(0x17073BB1, 24, 48));
static_assert(pinned<fib6Sync_special_ip>(0x48FCFCFA, 12, 32));
static_assert(pinned<fib6Sync_specialIpUpdateMsg>(0xA81DEDDB, 16, 72));
static_assert(pinned<fib6Sync_specialIpDeleteMsg>(0x6DE1A2B5, 12, 64));

static_assert(pinned_table<fib6Sync_tlv>(8, 12));
static_assert(pinned_table<fib6Sync_ipv6Fwd>(60, 62));
static_assert(pinned_table<fib6Sync_ipv6FwdKey>(28, 53));
static_assert(pinned_table<fib6Sync_nhp6Group>(20, 18));
static_assert(pinned_table<fib6Sync_nhp6GroupKey>(8, 12));
static_assert(pinned_table<fib6Sync_nhp6GroupNode>(40, 28));
static_assert(pinned_table<fib6Sync_nhp6GroupNodeKey>(28, 22));
static_assert(pinned_table<fib6Sync_nhp6>(44, 52));
static_assert(pinned_table<fib6Sync_nhp6Key>(4, 10));
static_assert(pinned_table<fib6Sync_nhp6Std>(52, 52));
static_assert(pinned_table<fib6Sync_nhp6StdKey>(24, 38));
static_assert(pinned_table<fib6Sync_nhp6Ext>(28, 22));
static_assert(pinned_table<fib6Sync_nhp6Vpn>(20, 18));
static_assert(pinned_table<fib6Sync_nhp6Vxlan>(64, 85));
static_assert(pinned_table<fib6Sync_nhp6VpnSid>(104, 146));
static_assert(pinned_table<fib6Sync_nhp6ExtSrv6Te>(44, 50));
static_assert(pinned_table<fib6Sync_ipv6PathMtu>(32, 42));
static_assert(pinned_table<fib6Sync_ipv6PathMtuKey>(24, 38));
static_assert(pinned_table<fib6Sync_srv6SrList>(184, 282));
static_assert(pinned_table<fib6Sync_srv6SrListKey>(16, 16));
static_assert(pinned_table<fib6Sync_balanceModeData>(5, 18));
static_assert(pinned_table<fib6Sync_balanceReverseData>(1, 10));
static_assert(pinned_table<fib6Sync_dod_enable_data>(4, 10));
static_assert(pinned_table<fib6Sync_specialIpData>(8, 14));
static_assert(pinned_table<fib6Sync_specialIpKey>(4, 10));
static_assert(pinned_table<fib6Sync_nhp6_ext_label>(68, 78));

// The receiving application reads these records by position.
static_assert(offsetof(fib6Sync_svcCtxMsg, f0) == 0);
static_assert(offsetof(fib6Sync_svcCtxMsg, f1) == 8);
static_assert(offsetof(fib6Sync_loadBalanceMode, f0) == 0);
static_assert(offsetof(fib6Sync_loadBalanceMode, f1) == 4);
static_assert(offsetof(fib6Sync_loadBalanceMode, f2) == 6);
static_assert(offsetof(fib6Sync_loadBalanceReverse, f0) == 0);
static_assert(offsetof(fib6Sync_loadBalanceReverse, f1) == 4);
static_assert(offsetof(fib6Sync_loadBalanceReverse, f2) == 6);
static_assert(offsetof(fib6Sync_ecmpCfg, f0) == 0);
static_assert(offsetof(fib6Sync_ecmpCfg, f1) == 4);
static_assert(offsetof(fib6Sync_ecmpCfg, f2) == 8);
static_assert(offsetof(fib6Sync_ecmpCfg, f3) == 13);
static_assert(offsetof(fib6Sync_dod_enable, f0) == 0);
static_assert(offsetof(fib6Sync_dod_enable, f1) == 4);
static_assert(offsetof(fib6Sync_dod_enable, f2) == 8);
static_assert(offsetof(fib6Sync_glbCfg, f0) == 0);
static_assert(offsetof(fib6Sync_glbCfg, f1) == 4);
static_assert(offsetof(fib6Sync_glbCfg, f2) == 8);
static_assert(offsetof(fib6Sync_nhp6_ext_label_update_data, f0) == 0);
static_assert(offsetof(fib6Sync_nhp6_ext_label_update_data, f1) == 8);
static_assert(offsetof(fib6Sync_dod_rule, f0) == 0);
static_assert(offsetof(fib6Sync_dod_rule, f1) == 4);
static_assert(offsetof(fib6Sync_dod_rule, f2) == 8);
static_assert(offsetof(fib6Sync_dod_rule, f3) == 12);
static_assert(offsetof(fib6Sync_dod_rule, f4) == 28);
static_assert(offsetof(fib6Sync_dod_aging, f0) == 0);
static_assert(offsetof(fib6Sync_dod_aging, f1) == 4);
static_assert(offsetof(fib6Sync_dod_aging, f2) == 8);
static_assert(offsetof(fib6Sync_dod_aging, f3) == 12);
static_assert(offsetof(fib6Sync_dod_aging, f4) == 16);
static_assert(offsetof(fib6Sync_dod_aging, f5) == 20);
static_assert(offsetof(fib6Sync_special_ip, f0) == 0);
static_assert(offsetof(fib6Sync_special_ip, f1) == 4);
static_assert(offsetof(fib6Sync_special_ip, f2) == 8);
static_assert(offsetof(fib6Sync_special_ip, f3) == 9);
static_assert(offsetof(fib6Sync_specialIpUpdateMsg, f0) == 0);
static_assert(offsetof(fib6Sync_specialIpUpdateMsg, f1) == 8);
static_assert(offsetof(fib6Sync_specialIpDeleteMsg, f0) == 0);
static_assert(offsetof(fib6Sync_specialIpDeleteMsg, f1) == 8);
static_assert(offsetof(fib6Sync_tlv, f0) == 0);
static_assert(offsetof(fib6Sync_tlv, f1) == 4);
static_assert(offsetof(fib6Sync_balanceModeData, f0) == 0);
static_assert(offsetof(fib6Sync_balanceModeData, f1) == 1);
static_assert(offsetof(fib6Sync_balanceModeData, f2) == 2);
static_assert(offsetof(fib6Sync_balanceModeData, f3) == 3);
static_assert(offsetof(fib6Sync_balanceModeData, f4) == 4);
static_assert(offsetof(fib6Sync_balanceReverseData, f0) == 0);
static_assert(offsetof(fib6Sync_dod_enable_data, f0) == 0);
static_assert(offsetof(fib6Sync_specialIpData, f0) == 0);
static_assert(offsetof(fib6Sync_specialIpData, f1) == 4);
static_assert(offsetof(fib6Sync_specialIpData, f2) == 5);
static_assert(offsetof(fib6Sync_specialIpKey, f0) == 0);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f0) == 0);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f1) == 4);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f2) == 8);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f3) == 12);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f4) == 16);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f5) == 20);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f6) == 24);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f7) == 28);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f8) == 32);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f9) == 36);
static_assert(offsetof(fib6Sync_nhp6_ext_label, f10) == 52);

} // namespace mesh_fib6
