/* The mesh messaging library as this project calls it: the platform's declarations and nothing
 * else.
 *
 * Room: platform. Plain C99, also valid C++. Includes libc's fixed-width integers only, so that
 * host/ can implement these four functions without seeing anything of the library.
 *
 * On the device libtolvimesh.so provides them; in the build tree host/ builds a stand-in under the
 * same name. A process that defines them itself interposes both.
 */
#ifndef MESH_FIB6_PLATFORM_MESH_H
#define MESH_FIB6_PLATFORM_MESH_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One message handed to the mesh. 16 bytes, natural alignment, arrays are contiguous. The mesh may
 * use `data` and the descriptor only until the call that received them returns. */
typedef struct msg_desc {
  const void *data; /* first byte of the encoded message */
  uint32_t id;      /* message identifier, FNV-1a of "<namespace>.<message>" */
  uint32_t length;  /* encoded bytes at data */
} msg_desc;

/* Sends `count` messages to `destination`. 0 is success; other results belong to the mesh, of which
 * callers of this library see the low 32 bits. Any thread. */
uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count);

/* As above, for one 64-bit target behind the destination (used when the target is not 0). */
uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target);

/* Decodes `length` bytes into `record`; always returns the record's size in bytes, for a null
 * record too. */
typedef uint32_t (*mesh_unpack_hook)(const void *buffer, uint32_t length, void *record);

/* Releases what decoding allocated inside `record`, never the record itself. */
typedef void (*mesh_free_hook)(void *record);

/* Tells the mesh how to decode and release messages of one identifier. 0 is success. */
uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release);

/* Cleans the send side of a module. */
typedef void (*mesh_clean_hook)(void);

/* Tells the mesh what to call when the send side of a module is to be cleaned. 0 is success. The
 * spelling is the platform's. */
uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean);

#ifdef __cplusplus
}
#endif

#endif
