/* Stand-in of the platform's bounds-checked memory functions (libmemory_host.so).
 *
 * Room: host. Plain C99, also valid C++. A program that works without them need not link this
 * library; it is here so that the path which uses them can be tried on a development machine.
 */
#ifndef MESH_FIB6_HOST_MEMORY_HOST_H
#define MESH_FIB6_HOST_MEMORY_HOST_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Each returns 0 on success and an errno value otherwise. A refused call that knows its destination
 * does not leave old bytes in it: memset_s fills what there is, memcpy_s clears it. */

/* EINVAL: no destination. ERANGE: count above the destination's size. */
int memset_s(void *destination, size_t destination_size, int value, size_t count);

/* EINVAL: no destination, no source, or the two overlap. ERANGE: count above the destination's
 * size. */
int memcpy_s(void *destination, size_t destination_size, const void *source, size_t count);

/* memcpy_s under the name of the platform's assembler variant. */
int memcpy_sOptAsm(void *destination, size_t destination_size, const void *source, size_t count);

#ifdef __cplusplus
}
#endif

#endif
