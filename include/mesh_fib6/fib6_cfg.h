/* Module fib6_cfg: configuration and queries.
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
#ifndef MESH_FIB6_FIB6_CFG_H
#define MESH_FIB6_FIB6_CFG_H

#include "message_api.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the keys of all queries share. 24 bytes. */
typedef struct fib6_cfg_query_comm_param {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2_count;
  uint8_t *f2;
} fib6_cfg_query_comm_param;

/* What the answers of all queries share. 24 bytes. */
typedef struct fib6_cfg_query_comm_rec {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3_count;
  uint8_t *f3;
} fib6_cfg_query_comm_rec;

/* The condition of a FIB query. 40 bytes. */
typedef struct fib6_cfg_query_fib6_cond {
  uint32_t f0;
  uint32_t f1[4];
  uint32_t f2;
  uint32_t f3;
  uint32_t f4;
  uint8_t f5;
  uint8_t f6;
  uint16_t f7;
  uint32_t f8;
} fib6_cfg_query_fib6_cond;

/* The condition of a diagnostic query. 16 bytes. */
typedef struct fib6_cfg_query_dfx_cond {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
} fib6_cfg_query_dfx_cond;

/* The condition of a consistency-check query. 24 bytes. */
typedef struct fib6_cfg_query_fib6check_cond {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2[4];
} fib6_cfg_query_fib6check_cond;

/* An item of a FIB answer. 136 bytes. */
typedef struct fib6_cfg_query_fib6_item {
  uint32_t f0[4];
  uint32_t f1[4];
  uint32_t f2[4];
  uint32_t f3;
  uint32_t f4;
  uint8_t f5;
  uint8_t f6;
  uint8_t f7;
  uint8_t f8;
  uint32_t f9;
  uint32_t f10;
  uint32_t f11;
  uint32_t f12;
  uint32_t f13;
  uint32_t f14;
  uint32_t f15;
  uint8_t f16[8];
  uint32_t f17;
  uint32_t f18;
  uint32_t f19[4];
  uint32_t f20[4];
} fib6_cfg_query_fib6_item;

/* An item of a diagnostic answer. 160 bytes. */
typedef struct fib6_cfg_query_dfx_item {
  uint32_t f0;
  uint8_t f1[50];
  uint32_t f2;
  uint8_t f3[32];
  uint8_t f4[32];
  uint8_t f5[32];
  uint32_t f6;
} fib6_cfg_query_dfx_item;

/* The item of a consistency-check answer. 264 bytes. */
typedef struct fib6_cfg_query_fib6check_item {
  uint32_t f0;
  uint8_t f1;
  uint32_t f2[64];
} fib6_cfg_query_fib6check_item;

/* A FIB query. 64 bytes. */
typedef struct fib6_cfg_query_fib6_key {
  fib6_cfg_query_comm_param f0;
  fib6_cfg_query_fib6_cond f1;
} fib6_cfg_query_fib6_key;
#define fib6_cfg_query_fib6_key_ID UINT32_C(0x727C4D11)
MESH_FIB6_MESSAGE(fib6_cfg_query_fib6_key);

/* The answer to a FIB query. 40 bytes. */
typedef struct fib6_cfg_query_fib6_rec {
  fib6_cfg_query_comm_rec f0;
  uint32_t f1_count;
  fib6_cfg_query_fib6_item *f1;
} fib6_cfg_query_fib6_rec;
#define fib6_cfg_query_fib6_rec_ID UINT32_C(0x8B27C60C)
MESH_FIB6_MESSAGE(fib6_cfg_query_fib6_rec);

/* A diagnostic query. 40 bytes. */
typedef struct fib6_cfg_query_dfx_key {
  fib6_cfg_query_comm_param f0;
  fib6_cfg_query_dfx_cond f1;
} fib6_cfg_query_dfx_key;
#define fib6_cfg_query_dfx_key_ID UINT32_C(0x244EBB6A)
MESH_FIB6_MESSAGE(fib6_cfg_query_dfx_key);

/* The answer to a diagnostic query. 40 bytes. */
typedef struct fib6_cfg_query_dfx_rec {
  fib6_cfg_query_comm_rec f0;
  uint32_t f1_count;
  fib6_cfg_query_dfx_item *f1;
} fib6_cfg_query_dfx_rec;
#define fib6_cfg_query_dfx_rec_ID UINT32_C(0x3ACCEBF3)
MESH_FIB6_MESSAGE(fib6_cfg_query_dfx_rec);

/* What happens to packets whose hop limit expires. 32 bytes. */
typedef struct fib6_cfg_cfg_ipv6_ttl_expired_forward {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4[4];
} fib6_cfg_cfg_ipv6_ttl_expired_forward;
#define fib6_cfg_cfg_ipv6_ttl_expired_forward_ID UINT32_C(0x863B570C)
MESH_FIB6_MESSAGE(fib6_cfg_cfg_ipv6_ttl_expired_forward);

/* A consistency-check query. 48 bytes. */
typedef struct fib6_cfg_query_fib6check_key {
  fib6_cfg_query_comm_param f0;
  fib6_cfg_query_fib6check_cond f1;
} fib6_cfg_query_fib6check_key;
#define fib6_cfg_query_fib6check_key_ID UINT32_C(0x6C0280B3)
MESH_FIB6_MESSAGE(fib6_cfg_query_fib6check_key);

/* The answer to a consistency-check query. 288 bytes. */
typedef struct fib6_cfg_query_fib6check_rec {
  fib6_cfg_query_comm_rec f0;
  fib6_cfg_query_fib6check_item f1;
} fib6_cfg_query_fib6check_rec;
#define fib6_cfg_query_fib6check_rec_ID UINT32_C(0xDD6EF182)
MESH_FIB6_MESSAGE(fib6_cfg_query_fib6check_rec);

/* Registers the module's messages with the mesh, in a fixed order, each with its unpack and release
 * function. The first refusal ends the registration and is returned; 0 means all are registered. */
MESH_FIB6_API uint32_t fib6_cfg_recv_init(void);

/* Registers fib6_cfg__send_resource_clean with the mesh and returns the mesh's result. */
MESH_FIB6_API uint32_t fib6_cfg_send_init(void);

/* Nothing to clean: the send operations keep nothing between calls. */
MESH_FIB6_API void fib6_cfg__send_resource_clean(void);

#ifdef __cplusplus
}
#endif

#endif
