// Schema of module fib6_sync: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table; everything else about it is computed.
#pragma once

#include "wire/schema.h"
#include <mesh_fib6/fib6_sync.h>

MESH_FIB6_TABLE(fib6Sync_tlv, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6Fwd, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14);
MESH_FIB6_TABLE(fib6Sync_ipv6FwdKey, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_nhp6Group, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupKey, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNode, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNodeKey, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(fib6Sync_nhp6, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(fib6Sync_nhp6Key, f0);
MESH_FIB6_TABLE(fib6Sync_nhp6Std, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(fib6Sync_nhp6StdKey, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_nhp6Ext, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(fib6Sync_nhp6Vpn, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_nhp6Vxlan, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13);
MESH_FIB6_TABLE(fib6Sync_nhp6VpnSid, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12);
MESH_FIB6_TABLE(fib6Sync_nhp6ExtSrv6Te, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtu, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtuKey, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_srv6SrList, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13,
                f14, f15, f16);
MESH_FIB6_TABLE(fib6Sync_srv6SrListKey, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6Sync_balanceModeData, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_balanceReverseData, f0);
MESH_FIB6_TABLE(fib6Sync_dod_enable_data, f0);
MESH_FIB6_TABLE(fib6Sync_specialIpData, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_specialIpKey, f0);
MESH_FIB6_TABLE(fib6Sync_nhp6_ext_label, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10);

MESH_FIB6_TABLE(fib6Sync_svcCtxMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6FwdUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6FwdDelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupDelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNodeUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6GroupNodeDelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6UpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6DelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6StdUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6StdDelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6ExtUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6VpnUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6VxlanUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6VpnSidUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6ExtSrv6TeUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtuUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_ipv6PathMtuDelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_loadBalanceMode, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_loadBalanceReverse, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_ecmpCfg, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6Sync_dod_enable, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_glbCfg, f0, f1, f2);
MESH_FIB6_TABLE(fib6Sync_srv6SrListUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_srv6SrListDelMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_nhp6_ext_label_update_data, f0, f1);
MESH_FIB6_TABLE(fib6Sync_dod_rule, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(fib6Sync_dod_aging, f0, f1, f2, f3, f4, f5);
MESH_FIB6_TABLE(fib6Sync_special_ip, f0, f1, f2, f3);
MESH_FIB6_TABLE(fib6Sync_specialIpUpdateMsg, f0, f1);
MESH_FIB6_TABLE(fib6Sync_specialIpDeleteMsg, f0, f1);

namespace mesh_fib6::fib6_sync {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "fib6Sync";

// The messages in the order in which they are registered.
using messages = wire::type_list<fib6Sync_svcCtxMsg,                  //
                                 fib6Sync_ipv6FwdUpdateMsg,           //
                                 fib6Sync_ipv6FwdDelMsg,              //
                                 fib6Sync_nhp6GroupUpdateMsg,         //
                                 fib6Sync_nhp6GroupDelMsg,            //
                                 fib6Sync_nhp6GroupNodeUpdateMsg,     //
                                 fib6Sync_nhp6GroupNodeDelMsg,        //
                                 fib6Sync_nhp6UpdateMsg,              //
                                 fib6Sync_nhp6DelMsg,                 //
                                 fib6Sync_nhp6StdUpdateMsg,           //
                                 fib6Sync_nhp6StdDelMsg,              //
                                 fib6Sync_nhp6ExtUpdateMsg,           //
                                 fib6Sync_nhp6VpnUpdateMsg,           //
                                 fib6Sync_nhp6VxlanUpdateMsg,         //
                                 fib6Sync_nhp6VpnSidUpdateMsg,        //
                                 fib6Sync_nhp6ExtSrv6TeUpdateMsg,     //
                                 fib6Sync_ipv6PathMtuUpdateMsg,       //
                                 fib6Sync_ipv6PathMtuDelMsg,          //
                                 fib6Sync_loadBalanceMode,            //
                                 fib6Sync_loadBalanceReverse,         //
                                 fib6Sync_ecmpCfg,                    //
                                 fib6Sync_dod_enable,                 //
                                 fib6Sync_glbCfg,                     //
                                 fib6Sync_srv6SrListUpdateMsg,        //
                                 fib6Sync_srv6SrListDelMsg,           //
                                 fib6Sync_nhp6_ext_label_update_data, //
                                 fib6Sync_dod_rule,                   //
                                 fib6Sync_dod_aging,                  //
                                 fib6Sync_special_ip,                 //
                                 fib6Sync_specialIpUpdateMsg,         //
                                 fib6Sync_specialIpDeleteMsg>;

} // namespace mesh_fib6::fib6_sync
