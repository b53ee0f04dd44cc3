/* Module fib6: routes, next hops, next-hop groups, segment lists and path MTU in batches; control
 * messages.
 *
 * Room: public headers. Plain C99, also valid C++. The identifier and the seven operations of
 * a message type are documented in message_api.h, the wire format in docs/wire-format.md.
 *
 * Layout: members in slot order with natural alignment; member f<k> feeds vtable slot k. A vector
 * is the pair f<k>_count, f<k>: number of elements and a contiguous array. The array is the
 * caller's in a record that is sent or packed, and the record's own in one that was unpacked
 * (M_free__unpacked gives it back). A member whose type is a record is an embedded sub-table. The
 * wire format gives the members no other names; what they mean is between sender and receiver.
 */
#ifndef MESH_FIB6_FIB6_H
#define MESH_FIB6_FIB6_H

#include "message_api.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A route. 56 bytes. */
typedef struct feiBrokerFib6_ipv6Fwd {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3[4];
  uint8_t f4;
  uint8_t f5;
  uint16_t f6;
  uint32_t f7;
  uint32_t f8;
  uint32_t f9;
  uint32_t f10;
  uint16_t f11;
  uint16_t f12;
  uint32_t f13;
} feiBrokerFib6_ipv6Fwd;

/* The key of a route. 28 bytes. */
typedef struct feiBrokerFib6_ipv6FwdKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
  uint8_t f3;
  uint8_t f4[3];
} feiBrokerFib6_ipv6FwdKey;

/* A next-hop group. 20 bytes. */
typedef struct feiBrokerFib6_nhp6Group {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
} feiBrokerFib6_nhp6Group;

/* A member of a next-hop group. 40 bytes. */
typedef struct feiBrokerFib6_nhp6GroupNode {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint32_t f6;
  uint32_t f7;
  uint32_t f8;
  uint32_t f9;
} feiBrokerFib6_nhp6GroupNode;

/* The key of a next-hop group. 8 bytes. */
typedef struct feiBrokerFib6_nhp6GroupKey {
  uint32_t f0;
  uint32_t f1;
} feiBrokerFib6_nhp6GroupKey;

/* What all next hops of one update share. 44 bytes. */
typedef struct feiBrokerFib6_nhp6 {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4[4];
  uint16_t f5;
  uint8_t f6;
  uint8_t f7;
  uint32_t f8;
  uint32_t f9;
} feiBrokerFib6_nhp6;

/* A standard next hop. 48 bytes. */
typedef struct feiBrokerFib6_nhp6Std {
  uint32_t f0;
  uint32_t f1[4];
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint32_t f6;
  uint32_t f7;
  uint32_t f8;
} feiBrokerFib6_nhp6Std;

/* An extended next hop. 28 bytes. */
typedef struct feiBrokerFib6_nhp6Ext {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint8_t f6;
  uint8_t f7[3];
} feiBrokerFib6_nhp6Ext;

/* A VPN next hop. 20 bytes. */
typedef struct feiBrokerFib6_nhp6Vpn {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
} feiBrokerFib6_nhp6Vpn;

/* A VXLAN next hop. 60 bytes. */
typedef struct feiBrokerFib6_nhp6Vxlan {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint8_t f4;
  uint8_t f5[3];
  uint16_t f6;
  uint8_t f7[6];
  uint32_t f8;
  uint32_t f9;
  uint32_t f10;
  uint8_t f11;
  uint32_t f12[4];
} feiBrokerFib6_nhp6Vxlan;

/* A VPN SID next hop. 72 bytes. */
typedef struct feiBrokerFib6_nhp6VpnSid {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4[4];
  uint32_t f5[4];
  uint32_t f6[4];
  uint8_t f7;
  uint8_t f8;
  uint8_t f9;
  uint8_t f10;
  uint32_t f11;
} feiBrokerFib6_nhp6VpnSid;

/* An SRv6 traffic-engineering next hop. 44 bytes. */
typedef struct feiBrokerFib6_nhp6Pp6ExtSrv6Te {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4[4];
  uint8_t f5;
  uint8_t f6;
  uint32_t f7;
  uint32_t f8;
} feiBrokerFib6_nhp6Pp6ExtSrv6Te;

/* The key of a next hop. 4 bytes. */
typedef struct feiBrokerFib6_nhp6Key {
  uint32_t f0;
} feiBrokerFib6_nhp6Key;

/* An SRv6 segment list; the ten segments are ten slots of their own. 184 bytes. */
typedef struct feiBrokerFib6_srv6SrList {
  uint32_t f0;
  uint32_t f1;
  uint16_t f2;
  uint16_t f3;
  uint32_t f4[4];
  uint32_t f5[4];
  uint32_t f6[4];
  uint32_t f7[4];
  uint32_t f8[4];
  uint32_t f9[4];
  uint32_t f10[4];
  uint32_t f11[4];
  uint32_t f12[4];
  uint32_t f13[4];
  uint8_t f14;
  uint32_t f15;
  uint32_t f16;
} feiBrokerFib6_srv6SrList;

/* The key of a segment list. 16 bytes. */
typedef struct feiBrokerFib6_srv6SrListKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint16_t f3;
} feiBrokerFib6_srv6SrListKey;

/* A path-MTU entry. 32 bytes. */
typedef struct feiBrokerFib6_ipv6PathMtu {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
  uint32_t f3;
  uint32_t f4;
} feiBrokerFib6_ipv6PathMtu;

/* The key of a path-MTU entry. 24 bytes. */
typedef struct feiBrokerFib6_ipv6PathMtuKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
} feiBrokerFib6_ipv6PathMtuKey;

/* The state of a process. 12 bytes. */
typedef struct feiBrokerFib6_pidState {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
} feiBrokerFib6_pidState;

/* A class item. 12 bytes. */
typedef struct feiBrokerFib6_classItem {
  uint32_t f0;
  uint32_t f1;
  uint8_t f2;
} feiBrokerFib6_classItem;

/* The class state of a VRF. 24 bytes. */
typedef struct feiBrokerFib6_vrfClassState {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
} feiBrokerFib6_vrfClassState;

/* The class data of a VRF. 28 bytes. */
typedef struct feiBrokerFib6_vrfClassData {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint8_t f6;
} feiBrokerFib6_vrfClassData;

/* Routes to add or change. 16 bytes. */
typedef struct feiBrokerFib6_ipv6FwdUpdateMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_ipv6Fwd *f1;
} feiBrokerFib6_ipv6FwdUpdateMsg;
#define feiBrokerFib6_ipv6FwdUpdateMsg_ID UINT32_C(0x5026A923)
MESH_FIB6_MESSAGE(feiBrokerFib6_ipv6FwdUpdateMsg);

/* Routes to delete. 16 bytes. */
typedef struct feiBrokerFib6_ipv6FwdDelMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_ipv6FwdKey *f1;
} feiBrokerFib6_ipv6FwdDelMsg;
#define feiBrokerFib6_ipv6FwdDelMsg_ID UINT32_C(0x0B394879)
MESH_FIB6_MESSAGE(feiBrokerFib6_ipv6FwdDelMsg);

/* A next-hop group and its members. 40 bytes. */
typedef struct feiBrokerFib6_nhp6GroupUpdateMsg {
  uint32_t f0;
  feiBrokerFib6_nhp6Group f1;
  uint32_t f2_count;
  feiBrokerFib6_nhp6GroupNode *f2;
} feiBrokerFib6_nhp6GroupUpdateMsg;
#define feiBrokerFib6_nhp6GroupUpdateMsg_ID UINT32_C(0x12BA2120)
MESH_FIB6_MESSAGE(feiBrokerFib6_nhp6GroupUpdateMsg);

/* Next-hop groups to delete. 16 bytes. */
typedef struct feiBrokerFib6_nhp6GroupDelMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_nhp6GroupKey *f1;
} feiBrokerFib6_nhp6GroupDelMsg;
#define feiBrokerFib6_nhp6GroupDelMsg_ID UINT32_C(0xE0BBBCA0)
MESH_FIB6_MESSAGE(feiBrokerFib6_nhp6GroupDelMsg);

/* Next hops of six kinds; the vectors are independent of one another. 144 bytes. */
typedef struct feiBrokerFib6_nhp6UpdateMsg {
  uint32_t f0;
  feiBrokerFib6_nhp6 f1;
  uint32_t f2_count;
  feiBrokerFib6_nhp6Std *f2;
  uint32_t f3_count;
  feiBrokerFib6_nhp6Ext *f3;
  uint32_t f4_count;
  feiBrokerFib6_nhp6Vpn *f4;
  uint32_t f5_count;
  feiBrokerFib6_nhp6Vxlan *f5;
  uint32_t f6_count;
  feiBrokerFib6_nhp6VpnSid *f6;
  uint32_t f7_count;
  feiBrokerFib6_nhp6Pp6ExtSrv6Te *f7;
} feiBrokerFib6_nhp6UpdateMsg;
#define feiBrokerFib6_nhp6UpdateMsg_ID UINT32_C(0x5FFC4D23)
MESH_FIB6_MESSAGE(feiBrokerFib6_nhp6UpdateMsg);

/* Next hops to delete. 16 bytes. */
typedef struct feiBrokerFib6_nhp6DelMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_nhp6Key *f1;
} feiBrokerFib6_nhp6DelMsg;
#define feiBrokerFib6_nhp6DelMsg_ID UINT32_C(0xEE8FB479)
MESH_FIB6_MESSAGE(feiBrokerFib6_nhp6DelMsg);

/* SRv6 segment lists to add or change. 16 bytes. */
typedef struct feiBrokerFib6_srv6SrListUpdateMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_srv6SrList *f1;
} feiBrokerFib6_srv6SrListUpdateMsg;
#define feiBrokerFib6_srv6SrListUpdateMsg_ID UINT32_C(0x44FD956B)
MESH_FIB6_MESSAGE(feiBrokerFib6_srv6SrListUpdateMsg);

/* SRv6 segment lists to delete. 16 bytes. */
typedef struct feiBrokerFib6_srv6SrListDelMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_srv6SrListKey *f1;
} feiBrokerFib6_srv6SrListDelMsg;
#define feiBrokerFib6_srv6SrListDelMsg_ID UINT32_C(0x03FB3FE1)
MESH_FIB6_MESSAGE(feiBrokerFib6_srv6SrListDelMsg);

/* Path-MTU entries to add or change. 16 bytes. */
typedef struct feiBrokerFib6_ipv6PathMtuUpdateMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_ipv6PathMtu *f1;
} feiBrokerFib6_ipv6PathMtuUpdateMsg;
#define feiBrokerFib6_ipv6PathMtuUpdateMsg_ID UINT32_C(0x08C4DDE3)
MESH_FIB6_MESSAGE(feiBrokerFib6_ipv6PathMtuUpdateMsg);

/* Path-MTU entries to delete. 16 bytes. */
typedef struct feiBrokerFib6_ipv6PathMtuDelMsg {
  uint32_t f0;
  uint32_t f1_count;
  feiBrokerFib6_ipv6PathMtuKey *f1;
} feiBrokerFib6_ipv6PathMtuDelMsg;
#define feiBrokerFib6_ipv6PathMtuDelMsg_ID UINT32_C(0x6718B739)
MESH_FIB6_MESSAGE(feiBrokerFib6_ipv6PathMtuDelMsg);

/* The state of a process. 16 bytes. */
typedef struct feiBrokerFib6_pidStateMsg {
  uint32_t f0;
  feiBrokerFib6_pidState f1;
} feiBrokerFib6_pidStateMsg;
#define feiBrokerFib6_pidStateMsg_ID UINT32_C(0x2DAF16C2)
MESH_FIB6_MESSAGE(feiBrokerFib6_pidStateMsg);

/* A class item. 16 bytes. */
typedef struct feiBrokerFib6_classItemMsg {
  uint32_t f0;
  feiBrokerFib6_classItem f1;
} feiBrokerFib6_classItemMsg;
#define feiBrokerFib6_classItemMsg_ID UINT32_C(0x9D4AD197)
MESH_FIB6_MESSAGE(feiBrokerFib6_classItemMsg);

/* The class state of a VRF. 28 bytes. */
typedef struct feiBrokerFib6_vrfClassStateMsg {
  uint32_t f0;
  feiBrokerFib6_vrfClassState f1;
} feiBrokerFib6_vrfClassStateMsg;
#define feiBrokerFib6_vrfClassStateMsg_ID UINT32_C(0x4E636B47)
MESH_FIB6_MESSAGE(feiBrokerFib6_vrfClassStateMsg);

/* The class data of a VRF. 32 bytes. */
typedef struct feiBrokerFib6_vrfClassDataMsg {
  uint32_t f0;
  feiBrokerFib6_vrfClassData f1;
} feiBrokerFib6_vrfClassDataMsg;
#define feiBrokerFib6_vrfClassDataMsg_ID UINT32_C(0x2646ACE6)
MESH_FIB6_MESSAGE(feiBrokerFib6_vrfClassDataMsg);

/* Class data of a logical router. 12 bytes. */
typedef struct feiBrokerFib6_lrClassDataMsg {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
} feiBrokerFib6_lrClassDataMsg;
#define feiBrokerFib6_lrClassDataMsg_ID UINT32_C(0x36A0ECDC)
MESH_FIB6_MESSAGE(feiBrokerFib6_lrClassDataMsg);

/* A load-balancing mode. 16 bytes. */
typedef struct feiBrokerFib6_loadBalanceMode {
  uint32_t f0;
  uint32_t f1;
  uint8_t f2;
  uint8_t f3;
  uint8_t f4;
  uint8_t f5;
  uint8_t f6;
} feiBrokerFib6_loadBalanceMode;
#define feiBrokerFib6_loadBalanceMode_ID UINT32_C(0x0D2C457A)
MESH_FIB6_MESSAGE(feiBrokerFib6_loadBalanceMode);

/* A load-balancing reversal. 12 bytes. */
typedef struct feiBrokerFib6_loadBalanceReverse {
  uint32_t f0;
  uint32_t f1;
  uint8_t f2;
} feiBrokerFib6_loadBalanceReverse;
#define feiBrokerFib6_loadBalanceReverse_ID UINT32_C(0x2555943D)
MESH_FIB6_MESSAGE(feiBrokerFib6_loadBalanceReverse);

/* The "dod" switch. 12 bytes. */
typedef struct feiBrokerFib6_dod_enable {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
} feiBrokerFib6_dod_enable;
#define feiBrokerFib6_dod_enable_ID UINT32_C(0x877476E0)
MESH_FIB6_MESSAGE(feiBrokerFib6_dod_enable);

/* A "dod" rule. 32 bytes. */
typedef struct feiBrokerFib6_dod_rule {
  uint16_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3[4];
  uint8_t f4;
} feiBrokerFib6_dod_rule;
#define feiBrokerFib6_dod_rule_ID UINT32_C(0x7EA01FE9)
MESH_FIB6_MESSAGE(feiBrokerFib6_dod_rule);

/* "dod" aging. 24 bytes. */
typedef struct feiBrokerFib6_dod_aging {
  uint16_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
} feiBrokerFib6_dod_aging;
#define feiBrokerFib6_dod_aging_ID UINT32_C(0x89D66519)
MESH_FIB6_MESSAGE(feiBrokerFib6_dod_aging);

/* A special address. 12 bytes. */
typedef struct feiBrokerFib6_special_ip {
  uint16_t f0;
  uint32_t f1;
  uint8_t f2;
  uint8_t f3;
} feiBrokerFib6_special_ip;
#define feiBrokerFib6_special_ip_ID UINT32_C(0xD001F332)
MESH_FIB6_MESSAGE(feiBrokerFib6_special_ip);

/* Registers the module's messages with the mesh, in a fixed order, each with its unpack and release
 * function. The first refusal ends the registration and is returned; 0 means all are registered. */
MESH_FIB6_API uint32_t fib6_recv_init(void);

/* Registers fib6__send_resource_clean with the mesh and returns the mesh's result. */
MESH_FIB6_API uint32_t fib6_send_init(void);

/* Nothing to clean: the send operations keep nothing between calls. */
MESH_FIB6_API void fib6__send_resource_clean(void);

#ifdef __cplusplus
}
#endif

#endif
