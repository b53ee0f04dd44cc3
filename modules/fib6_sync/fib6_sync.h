/* Module fib6_sync: one-entry synchronisation of the forwarding state.
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
#ifndef MESH_FIB6_MODULES_FIB6_SYNC_FIB6_SYNC_H
#define MESH_FIB6_MODULES_FIB6_SYNC_FIB6_SYNC_H

#include "modules/message_api.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

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
