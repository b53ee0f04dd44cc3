// Where members lie that the receiving application reads by position: stated by hand, for the
// compiler to compare.
//
// Room: modules. Included by the module's source.
#pragma once

#include <mesh_fib6/fib6_sync.h>

#include <cstddef>

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
