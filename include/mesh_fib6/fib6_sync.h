/* Module fib6_sync: one-entry synchronisation of the forwarding state.
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
#ifndef MESH_FIB6_FIB6_SYNC_H
#define MESH_FIB6_FIB6_SYNC_H

#include "message_api.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The header that opens 23 messages. 8 bytes. */
typedef struct fib6Sync_tlv {
  uint32_t f0;
  uint32_t f1;
} fib6Sync_tlv;

/* A route. 60 bytes. */
typedef struct fib6Sync_ipv6Fwd {
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
  uint8_t f14;
} fib6Sync_ipv6Fwd;

/* The key of a route. 28 bytes. */
typedef struct fib6Sync_ipv6FwdKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
  uint8_t f3;
  uint8_t f4[3];
} fib6Sync_ipv6FwdKey;

/* A next-hop group. 20 bytes. */
typedef struct fib6Sync_nhp6Group {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
} fib6Sync_nhp6Group;

/* The key of a next-hop group. 8 bytes. */
typedef struct fib6Sync_nhp6GroupKey {
  uint32_t f0;
  uint32_t f1;
} fib6Sync_nhp6GroupKey;

/* A member of a next-hop group. 40 bytes. */
typedef struct fib6Sync_nhp6GroupNode {
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
} fib6Sync_nhp6GroupNode;

/* The key of a member of a next-hop group. 28 bytes. */
typedef struct fib6Sync_nhp6GroupNodeKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint32_t f6;
} fib6Sync_nhp6GroupNodeKey;

/* A next hop. 44 bytes. */
typedef struct fib6Sync_nhp6 {
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
} fib6Sync_nhp6;

/* The key of a next hop. 4 bytes. */
typedef struct fib6Sync_nhp6Key {
  uint32_t f0;
} fib6Sync_nhp6Key;

/* A standard next hop. 52 bytes. */
typedef struct fib6Sync_nhp6Std {
  uint32_t f0;
  uint32_t f1[4];
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint32_t f6;
  uint32_t f7;
  uint32_t f8;
  uint32_t f9;
} fib6Sync_nhp6Std;

/* The key of a standard next hop. 24 bytes. */
typedef struct fib6Sync_nhp6StdKey {
  uint32_t f0;
  uint32_t f1[4];
  uint32_t f2;
} fib6Sync_nhp6StdKey;

/* An extended next hop. 28 bytes. */
typedef struct fib6Sync_nhp6Ext {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint8_t f5;
  uint32_t f6;
} fib6Sync_nhp6Ext;

/* A VPN next hop. 20 bytes. */
typedef struct fib6Sync_nhp6Vpn {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
} fib6Sync_nhp6Vpn;

/* A VXLAN next hop. 64 bytes. */
typedef struct fib6Sync_nhp6Vxlan {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint32_t f6;
  uint16_t f7;
  uint8_t f8[6];
  uint8_t f9;
  uint8_t f10[3];
  uint32_t f11;
  uint8_t f12;
  uint32_t f13[4];
} fib6Sync_nhp6Vxlan;

/* A VPN SID next hop. 104 bytes. */
typedef struct fib6Sync_nhp6VpnSid {
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
  uint32_t f12[8];
} fib6Sync_nhp6VpnSid;

/* An SRv6 traffic-engineering next hop. 44 bytes. */
typedef struct fib6Sync_nhp6ExtSrv6Te {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4[4];
  uint8_t f5;
  uint8_t f6;
  uint32_t f7;
  uint32_t f8;
} fib6Sync_nhp6ExtSrv6Te;

/* A path-MTU entry. 32 bytes. */
typedef struct fib6Sync_ipv6PathMtu {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
  uint32_t f3;
  uint32_t f4;
} fib6Sync_ipv6PathMtu;

/* The key of a path-MTU entry. 24 bytes. */
typedef struct fib6Sync_ipv6PathMtuKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
} fib6Sync_ipv6PathMtuKey;

/* An SRv6 segment list; the ten segments are ten slots of their own. 184 bytes. */
typedef struct fib6Sync_srv6SrList {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint16_t f3;
  uint8_t f4;
  uint16_t f5;
  uint32_t f6[4];
  uint32_t f7[4];
  uint32_t f8[4];
  uint32_t f9[4];
  uint32_t f10[4];
  uint32_t f11[4];
  uint32_t f12[4];
  uint32_t f13[4];
  uint32_t f14[4];
  uint32_t f15[4];
  uint32_t f16;
} fib6Sync_srv6SrList;

/* The key of a segment list. 16 bytes. */
typedef struct fib6Sync_srv6SrListKey {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint16_t f3;
} fib6Sync_srv6SrListKey;

/* A load-balancing mode. 5 bytes. */
typedef struct fib6Sync_balanceModeData {
  uint8_t f0;
  uint8_t f1;
  uint8_t f2;
  uint8_t f3;
  uint8_t f4;
} fib6Sync_balanceModeData;

/* A load-balancing reversal. 1 byte. */
typedef struct fib6Sync_balanceReverseData {
  uint8_t f0;
} fib6Sync_balanceReverseData;

/* The "dod" switch; the global configuration borrows it. 4 bytes. */
typedef struct fib6Sync_dod_enable_data {
  uint32_t f0;
} fib6Sync_dod_enable_data;

/* A special address. 8 bytes. */
typedef struct fib6Sync_specialIpData {
  uint32_t f0;
  uint8_t f1;
  uint8_t f2;
} fib6Sync_specialIpData;

/* The key of a special address. 4 bytes. */
typedef struct fib6Sync_specialIpKey {
  uint32_t f0;
} fib6Sync_specialIpKey;

/* The extended label of a next hop. 68 bytes. */
typedef struct fib6Sync_nhp6_ext_label {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
  uint32_t f6;
  uint32_t f7;
  uint32_t f8;
  uint32_t f9[4];
  uint32_t f10[4];
} fib6Sync_nhp6_ext_label;

/* The service context. 40 bytes. */
typedef struct fib6Sync_svcCtxMsg {
  fib6Sync_tlv f0;
  uint32_t f1[8];
} fib6Sync_svcCtxMsg;
#define fib6Sync_svcCtxMsg_ID UINT32_C(0x43B81539)
MESH_FIB6_MESSAGE(fib6Sync_svcCtxMsg);

/* A route to add or change. 68 bytes. */
typedef struct fib6Sync_ipv6FwdUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_ipv6Fwd f1;
} fib6Sync_ipv6FwdUpdateMsg;
#define fib6Sync_ipv6FwdUpdateMsg_ID UINT32_C(0x48CDB5CB)
MESH_FIB6_MESSAGE(fib6Sync_ipv6FwdUpdateMsg);

/* A route to delete. 36 bytes. */
typedef struct fib6Sync_ipv6FwdDelMsg {
  fib6Sync_tlv f0;
  fib6Sync_ipv6FwdKey f1;
} fib6Sync_ipv6FwdDelMsg;
#define fib6Sync_ipv6FwdDelMsg_ID UINT32_C(0x20B86741)
MESH_FIB6_MESSAGE(fib6Sync_ipv6FwdDelMsg);

/* A next-hop group to add or change. 28 bytes. */
typedef struct fib6Sync_nhp6GroupUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6Group f1;
} fib6Sync_nhp6GroupUpdateMsg;
#define fib6Sync_nhp6GroupUpdateMsg_ID UINT32_C(0x27313708)
MESH_FIB6_MESSAGE(fib6Sync_nhp6GroupUpdateMsg);

/* A next-hop group to delete. 16 bytes. */
typedef struct fib6Sync_nhp6GroupDelMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6GroupKey f1;
} fib6Sync_nhp6GroupDelMsg;
#define fib6Sync_nhp6GroupDelMsg_ID UINT32_C(0xA67F1088)
MESH_FIB6_MESSAGE(fib6Sync_nhp6GroupDelMsg);

/* A member of a next-hop group to add or change. 48 bytes. */
typedef struct fib6Sync_nhp6GroupNodeUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6GroupNode f1;
} fib6Sync_nhp6GroupNodeUpdateMsg;
#define fib6Sync_nhp6GroupNodeUpdateMsg_ID UINT32_C(0x89EA08AC)
MESH_FIB6_MESSAGE(fib6Sync_nhp6GroupNodeUpdateMsg);

/* A member of a next-hop group to delete. 36 bytes. */
typedef struct fib6Sync_nhp6GroupNodeDelMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6GroupNodeKey f1;
} fib6Sync_nhp6GroupNodeDelMsg;
#define fib6Sync_nhp6GroupNodeDelMsg_ID UINT32_C(0x368222CC)
MESH_FIB6_MESSAGE(fib6Sync_nhp6GroupNodeDelMsg);

/* A next hop to add or change. 52 bytes. */
typedef struct fib6Sync_nhp6UpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6 f1;
} fib6Sync_nhp6UpdateMsg;
#define fib6Sync_nhp6UpdateMsg_ID UINT32_C(0x44477C2B)
MESH_FIB6_MESSAGE(fib6Sync_nhp6UpdateMsg);

/* A next hop to delete. 12 bytes. */
typedef struct fib6Sync_nhp6DelMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6Key f1;
} fib6Sync_nhp6DelMsg;
#define fib6Sync_nhp6DelMsg_ID UINT32_C(0x05D162A1)
MESH_FIB6_MESSAGE(fib6Sync_nhp6DelMsg);

/* A standard next hop to add or change. 60 bytes. */
typedef struct fib6Sync_nhp6StdUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6Std f1;
} fib6Sync_nhp6StdUpdateMsg;
#define fib6Sync_nhp6StdUpdateMsg_ID UINT32_C(0xD2D6370A)
MESH_FIB6_MESSAGE(fib6Sync_nhp6StdUpdateMsg);

/* A standard next hop to delete. 32 bytes. */
typedef struct fib6Sync_nhp6StdDelMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6StdKey f1;
} fib6Sync_nhp6StdDelMsg;
#define fib6Sync_nhp6StdDelMsg_ID UINT32_C(0x20959026)
MESH_FIB6_MESSAGE(fib6Sync_nhp6StdDelMsg);

/* An extended next hop to add or change. 36 bytes. */
typedef struct fib6Sync_nhp6ExtUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6Ext f1;
} fib6Sync_nhp6ExtUpdateMsg;
#define fib6Sync_nhp6ExtUpdateMsg_ID UINT32_C(0xA1DBFFBC)
MESH_FIB6_MESSAGE(fib6Sync_nhp6ExtUpdateMsg);

/* A VPN next hop to add or change. 28 bytes. */
typedef struct fib6Sync_nhp6VpnUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6Vpn f1;
} fib6Sync_nhp6VpnUpdateMsg;
#define fib6Sync_nhp6VpnUpdateMsg_ID UINT32_C(0xAA706A55)
MESH_FIB6_MESSAGE(fib6Sync_nhp6VpnUpdateMsg);

/* A VXLAN next hop to add or change. 72 bytes. */
typedef struct fib6Sync_nhp6VxlanUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6Vxlan f1;
} fib6Sync_nhp6VxlanUpdateMsg;
#define fib6Sync_nhp6VxlanUpdateMsg_ID UINT32_C(0x1D511A2A)
MESH_FIB6_MESSAGE(fib6Sync_nhp6VxlanUpdateMsg);

/* A VPN SID next hop to add or change. 112 bytes. */
typedef struct fib6Sync_nhp6VpnSidUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6VpnSid f1;
} fib6Sync_nhp6VpnSidUpdateMsg;
#define fib6Sync_nhp6VpnSidUpdateMsg_ID UINT32_C(0xB2CFE153)
MESH_FIB6_MESSAGE(fib6Sync_nhp6VpnSidUpdateMsg);

/* An SRv6 traffic-engineering next hop to add or change. 52 bytes. */
typedef struct fib6Sync_nhp6ExtSrv6TeUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_nhp6ExtSrv6Te f1;
} fib6Sync_nhp6ExtSrv6TeUpdateMsg;
#define fib6Sync_nhp6ExtSrv6TeUpdateMsg_ID UINT32_C(0x1F17926E)
MESH_FIB6_MESSAGE(fib6Sync_nhp6ExtSrv6TeUpdateMsg);

/* A path-MTU entry to add or change. 40 bytes. */
typedef struct fib6Sync_ipv6PathMtuUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_ipv6PathMtu f1;
} fib6Sync_ipv6PathMtuUpdateMsg;
#define fib6Sync_ipv6PathMtuUpdateMsg_ID UINT32_C(0xB893ECAB)
MESH_FIB6_MESSAGE(fib6Sync_ipv6PathMtuUpdateMsg);

/* A path-MTU entry to delete. 32 bytes. */
typedef struct fib6Sync_ipv6PathMtuDelMsg {
  fib6Sync_tlv f0;
  fib6Sync_ipv6PathMtuKey f1;
} fib6Sync_ipv6PathMtuDelMsg;
#define fib6Sync_ipv6PathMtuDelMsg_ID UINT32_C(0xCD5FE421)
MESH_FIB6_MESSAGE(fib6Sync_ipv6PathMtuDelMsg);

/* A load-balancing mode. 12 bytes. */
typedef struct fib6Sync_loadBalanceMode {
  uint32_t f0;
  uint16_t f1;
  fib6Sync_balanceModeData f2;
} fib6Sync_loadBalanceMode;
#define fib6Sync_loadBalanceMode_ID UINT32_C(0xE0A34E72)
MESH_FIB6_MESSAGE(fib6Sync_loadBalanceMode);

/* A load-balancing reversal. 8 bytes. */
typedef struct fib6Sync_loadBalanceReverse {
  uint32_t f0;
  uint16_t f1;
  fib6Sync_balanceReverseData f2;
} fib6Sync_loadBalanceReverse;
#define fib6Sync_loadBalanceReverse_ID UINT32_C(0x29F980E5)
MESH_FIB6_MESSAGE(fib6Sync_loadBalanceReverse);

/* Equal-cost multipath settings. 16 bytes. */
typedef struct fib6Sync_ecmpCfg {
  uint16_t f0;
  uint32_t f1;
  fib6Sync_balanceModeData f2;
  fib6Sync_balanceReverseData f3;
} fib6Sync_ecmpCfg;
#define fib6Sync_ecmpCfg_ID UINT32_C(0xB9FA4070)
MESH_FIB6_MESSAGE(fib6Sync_ecmpCfg);

/* The "dod" switch. 12 bytes. */
typedef struct fib6Sync_dod_enable {
  uint32_t f0;
  uint32_t f1;
  fib6Sync_dod_enable_data f2;
} fib6Sync_dod_enable;
#define fib6Sync_dod_enable_ID UINT32_C(0x0055A568)
MESH_FIB6_MESSAGE(fib6Sync_dod_enable);

/* The global configuration. 12 bytes. */
typedef struct fib6Sync_glbCfg {
  uint32_t f0;
  uint32_t f1;
  fib6Sync_dod_enable_data f2;
} fib6Sync_glbCfg;
#define fib6Sync_glbCfg_ID UINT32_C(0xB86E5320)
MESH_FIB6_MESSAGE(fib6Sync_glbCfg);

/* An SRv6 segment list to add or change. 192 bytes. */
typedef struct fib6Sync_srv6SrListUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_srv6SrList f1;
} fib6Sync_srv6SrListUpdateMsg;
#define fib6Sync_srv6SrListUpdateMsg_ID UINT32_C(0xE63E88D3)
MESH_FIB6_MESSAGE(fib6Sync_srv6SrListUpdateMsg);

/* An SRv6 segment list to delete. 24 bytes. */
typedef struct fib6Sync_srv6SrListDelMsg {
  fib6Sync_tlv f0;
  fib6Sync_srv6SrListKey f1;
} fib6Sync_srv6SrListDelMsg;
#define fib6Sync_srv6SrListDelMsg_ID UINT32_C(0x1045D0A9)
MESH_FIB6_MESSAGE(fib6Sync_srv6SrListDelMsg);

/* The extended label of a next hop. 76 bytes. */
typedef struct fib6Sync_nhp6_ext_label_update_data {
  fib6Sync_tlv f0;
  fib6Sync_nhp6_ext_label f1;
} fib6Sync_nhp6_ext_label_update_data;
#define fib6Sync_nhp6_ext_label_update_data_ID UINT32_C(0x2EE805D3)
MESH_FIB6_MESSAGE(fib6Sync_nhp6_ext_label_update_data);

/* A "dod" rule. 32 bytes. */
typedef struct fib6Sync_dod_rule {
  uint16_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3[4];
  uint8_t f4;
} fib6Sync_dod_rule;
#define fib6Sync_dod_rule_ID UINT32_C(0x0863B261)
MESH_FIB6_MESSAGE(fib6Sync_dod_rule);

/* "dod" aging. 24 bytes. */
typedef struct fib6Sync_dod_aging {
  uint16_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint32_t f5;
} fib6Sync_dod_aging;
#define fib6Sync_dod_aging_ID UINT32_C(0x17073BB1)
MESH_FIB6_MESSAGE(fib6Sync_dod_aging);

/* A special address. 12 bytes. */
typedef struct fib6Sync_special_ip {
  uint16_t f0;
  uint32_t f1;
  uint8_t f2;
  uint8_t f3;
} fib6Sync_special_ip;
#define fib6Sync_special_ip_ID UINT32_C(0x48FCFCFA)
MESH_FIB6_MESSAGE(fib6Sync_special_ip);

/* A special address to add or change. 16 bytes. */
typedef struct fib6Sync_specialIpUpdateMsg {
  fib6Sync_tlv f0;
  fib6Sync_specialIpData f1;
} fib6Sync_specialIpUpdateMsg;
#define fib6Sync_specialIpUpdateMsg_ID UINT32_C(0xA81DEDDB)
MESH_FIB6_MESSAGE(fib6Sync_specialIpUpdateMsg);

/* A special address to delete. 12 bytes. */
typedef struct fib6Sync_specialIpDeleteMsg {
  fib6Sync_tlv f0;
  fib6Sync_specialIpKey f1;
} fib6Sync_specialIpDeleteMsg;
#define fib6Sync_specialIpDeleteMsg_ID UINT32_C(0x6DE1A2B5)
MESH_FIB6_MESSAGE(fib6Sync_specialIpDeleteMsg);

/* Registers the module's messages with the mesh, in a fixed order, each with its unpack and release
 * function. The first refusal ends the registration and is returned; 0 means all are registered. */
MESH_FIB6_API uint32_t fib6_sync_recv_init(void);

/* Registers fib6_sync__send_resource_clean with the mesh and returns the mesh's result. */
MESH_FIB6_API uint32_t fib6_sync_send_init(void);

/* Nothing to clean: the send operations keep nothing between calls. */
MESH_FIB6_API void fib6_sync__send_resource_clean(void);

#ifdef __cplusplus
}
#endif

#endif
