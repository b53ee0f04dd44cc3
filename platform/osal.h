/* The platform's OS-abstraction layer as this project calls it: five functions and their types.
 *
 * Room: platform. Plain C99, also valid C++. Includes libc's fixed-width integers only. The library
 * never links against these functions: by these types it looks them up by name in the hosting
 * process, and lives without them. They are declared for those who have them: a stand-in and a test
 * double are checked against the declarations, and a process that links an OSAL may call it.
 */
#ifndef MESH_FIB6_PLATFORM_OSAL_H
#define MESH_FIB6_PLATFORM_OSAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* VRX_OsalLogWrite. `descriptor` points to three words: module name, sub-module name (both texts)
 * and the u32 memory module id. `level` is 2 in every call of this library; `category` is 12 for a
 * failed allocation of the decoder and 22 otherwise; `text` is empty. The format's own arguments
 * follow the format. The result is not used. */
typedef void osal_log_write_fn(const void *descriptor, uint32_t level, uint32_t category,
                               const char *text, uint32_t line, const char *function,
                               const char *format, ...);
osal_log_write_fn VRX_OsalLogWrite; /* writes a line of the log */

/* VRX_OsalMemAlloc and VRX_OsalMemCacheAlloc: `size` bytes for memory module `module`, tagged with
 * the caller's name; null on failure. */
typedef void *osal_alloc_fn(uint32_t size, uint32_t module, const char *caller);
osal_alloc_fn VRX_OsalMemAlloc;      /* a block to send from */
osal_alloc_fn VRX_OsalMemCacheAlloc; /* a block of a decoded record */

/* VRX_OsalMemFree: gives back a block of either allocator. */
typedef void osal_free_fn(void *block, uint32_t module, const char *caller);
osal_free_fn VRX_OsalMemFree; /* gives a block back */

/* VRX_OsalMemUseFlagGet: 1 when memory module `module` is to take decoded records from the cache
 * allocator. */
typedef uint32_t osal_use_flag_get_fn(uint32_t module);
osal_use_flag_get_fn VRX_OsalMemUseFlagGet; /* whose allocator is asked */

#ifdef __cplusplus
}
#endif

#endif
