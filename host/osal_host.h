/* Accounting of the development host's OSAL stand-in (libosal_host.so).
 *
 * Room: host. Plain C99, also valid C++. The stand-in exports the five functions that the library
 * looks up by name (../platform/osal.h) and counts what passes through them. What it does besides,
 * failures to order, poison and a report, it is asked for by variables of the environment
 * (README.md).
 */
#ifndef MESH_FIB6_HOST_OSAL_HOST_H
#define MESH_FIB6_HOST_OSAL_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the stand-in has counted since its process began. */
typedef struct osal_host_accounts {
  uint64_t allocations, releases;   /* calls that succeeded */
  uint64_t live_blocks, live_bytes; /* not yet released */
  uint64_t peak_blocks, peak_bytes; /* the most that was live at any moment */
  uint64_t failed_allocations;      /* the heap had no memory */
  uint64_t wrong_releases; /* unknown address, released twice, or a module other than allocated */
  uint64_t log_lines;      /* written or held */
  uint64_t injected_failures; /* the environment asked for it: OSAL_HOST_FAIL_... */
  uint64_t overruns;          /* blocks written behind their end; only with OSAL_HOST_POISON */
} osal_host_accounts;

/* A consistent snapshot; any thread. */
void osal_host_get_accounts(osal_host_accounts *accounts);

/* While `hold` is not 0, log lines of the calling thread are counted and not written. The mesh
 * stand-in looks this up by name and uses it around the one call per message type that asks a
 * decoder for its record size, which decoders answer with a parameter line. */
void osal_host_hold_log(int hold);

#ifdef __cplusplus
}
#endif

#endif
