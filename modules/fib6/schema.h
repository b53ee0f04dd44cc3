// Schema of module fib6: the members of every record and the module's messages.
//
// Room: modules. May include every lower room; other modules are strangers. One line here describes
// a table; everything else about it is computed.
#pragma once

#include "wire/schema.h"
#include <mesh_fib6/fib6.h>

MESH_FIB6_TABLE(feiBrokerFib6_ipv6Fwd, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6FwdKey, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Group, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupNode, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupKey, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Std, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Ext, f0, f1, f2, f3, f4, f5, f6, f7);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Vpn, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Vxlan, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6VpnSid, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Pp6ExtSrv6Te, f0, f1, f2, f3, f4, f5, f6, f7, f8);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6Key, f0);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrList, f0, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12,
                f13, f14, f15, f16);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrListKey, f0, f1, f2, f3);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtu, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtuKey, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_pidState, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_classItem, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassState, f0, f1, f2, f3, f4, f5);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassData, f0, f1, f2, f3, f4, f5, f6);

MESH_FIB6_TABLE(feiBrokerFib6_ipv6FwdUpdateMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6FwdDelMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupUpdateMsg, f0, f1, f2_count, f2);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6GroupDelMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6UpdateMsg, f0, f1, f2_count, f2, f3_count, f3, f4_count, f4,
                f5_count, f5, f6_count, f6, f7_count, f7);
MESH_FIB6_TABLE(feiBrokerFib6_nhp6DelMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrListUpdateMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_srv6SrListDelMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtuUpdateMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_ipv6PathMtuDelMsg, f0, f1_count, f1);
MESH_FIB6_TABLE(feiBrokerFib6_pidStateMsg, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_classItemMsg, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassStateMsg, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_vrfClassDataMsg, f0, f1);
MESH_FIB6_TABLE(feiBrokerFib6_lrClassDataMsg, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_loadBalanceMode, f0, f1, f2, f3, f4, f5, f6);
MESH_FIB6_TABLE(feiBrokerFib6_loadBalanceReverse, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_dod_enable, f0, f1, f2);
MESH_FIB6_TABLE(feiBrokerFib6_dod_rule, f0, f1, f2, f3, f4);
MESH_FIB6_TABLE(feiBrokerFib6_dod_aging, f0, f1, f2, f3, f4, f5);
MESH_FIB6_TABLE(feiBrokerFib6_special_ip, f0, f1, f2, f3);

namespace mesh_fib6::fib6 {

// What identifiers are hashed from and record names begin with.
inline constexpr char wire_namespace[] = "feiBrokerFib6";

// The messages in the order in which they are registered.
using messages = wire::type_list<feiBrokerFib6_ipv6FwdUpdateMsg,     //
                                 feiBrokerFib6_ipv6FwdDelMsg,        //
                                 feiBrokerFib6_nhp6GroupUpdateMsg,   //
                                 feiBrokerFib6_nhp6GroupDelMsg,      //
                                 feiBrokerFib6_nhp6UpdateMsg,        //
                                 feiBrokerFib6_nhp6DelMsg,           //
                                 feiBrokerFib6_srv6SrListUpdateMsg,  //
                                 feiBrokerFib6_srv6SrListDelMsg,     //
                                 feiBrokerFib6_ipv6PathMtuUpdateMsg, //
                                 feiBrokerFib6_ipv6PathMtuDelMsg,    //
                                 feiBrokerFib6_pidStateMsg,          //
                                 feiBrokerFib6_classItemMsg,         //
                                 feiBrokerFib6_vrfClassStateMsg,     //
                                 feiBrokerFib6_vrfClassDataMsg,      //
                                 feiBrokerFib6_lrClassDataMsg,       //
                                 feiBrokerFib6_loadBalanceMode,      //
                                 feiBrokerFib6_loadBalanceReverse,   //
                                 feiBrokerFib6_dod_enable,           //
                                 feiBrokerFib6_dod_rule,             //
                                 feiBrokerFib6_dod_aging,            //
                                 feiBrokerFib6_special_ip>;

} // namespace mesh_fib6::fib6
