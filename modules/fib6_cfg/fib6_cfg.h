/* Module fib6_cfg: configuration and queries.
 *
 * Room: modules (public header). Plain C99, also valid C++. The seven operations of a message type
 * are documented in message_api.h, the wire format in docs/wire-format.md.
 *
 * Layout: members in slot order with natural alignment; member f<k> feeds vtable slot k. A vector
 * is the pair f<k>_count, f<k>: number of elements and a contiguous array. The array is the
 * caller's in a record that is sent or packed, and the record's own in one that was unpacked
 * (M_free__unpacked gives it back). A member whose type is a record is an embedded sub-table. The
 * wire format gives the members no other names; what they mean is between sender and receiver.
 */
#ifndef MESH_FIB6_MODULES_FIB6_CFG_FIB6_CFG_H
#define MESH_FIB6_MODULES_FIB6_CFG_FIB6_CFG_H

#include "modules/message_api.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What happens to packets whose hop limit expires. 32 bytes. */
typedef struct fib6_cfg_cfg_ipv6_ttl_expired_forward {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t f4[4];
} fib6_cfg_cfg_ipv6_ttl_expired_forward;
MESH_FIB6_MESSAGE(fib6_cfg_cfg_ipv6_ttl_expired_forward);

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
