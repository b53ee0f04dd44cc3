// A complete OSAL as a library to be loaded at run time: counts calls, nothing more.
//
// Room: tests. One thread.
#include "tests/runtime/late_osal.h"

#include "platform/osal.h"

#include <cstdlib>

namespace {
late_osal_counts counts;
}

extern "C" {

void late_osal_get_counts(late_osal_counts *out);

void VRX_OsalLogWrite(const void *, uint32_t, uint32_t, const char *, uint32_t, const char *,
                      const char *, ...) {
  ++counts.log_lines;
}

void *VRX_OsalMemAlloc(uint32_t size, uint32_t, const char *) {
  ++counts.allocations;
  return malloc(size);
}

void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t, const char *) {
  ++counts.cache_allocations;
  return malloc(size);
}

void VRX_OsalMemFree(void *block, uint32_t, const char *) {
  ++counts.releases;
  free(block);
}

uint32_t VRX_OsalMemUseFlagGet(uint32_t) {
  ++counts.flag_questions;
  return 1;
}

void late_osal_get_counts(late_osal_counts *out) {
  *out = counts;
}
}
