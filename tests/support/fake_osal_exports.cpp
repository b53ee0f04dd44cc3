// The five functions that the library looks up by name.
//
// Room: tests. Includes the platform's declarations. A process that lacks some of the five is made
// by leaving them out here.
#include "platform/osal.h"
#include "tests/support/fake_osal_entries.h"

namespace entries = fake_osal::entries;

extern "C" {

#ifndef FAKE_OSAL_WITHOUT_LOG_WRITE
void VRX_OsalLogWrite(const void *descriptor, uint32_t level, uint32_t category, const char *text,
                      uint32_t line, const char *function, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  entries::log_write(descriptor, level, category, text, line, function, format, arguments);
  va_end(arguments);
}
#endif

#ifndef FAKE_OSAL_WITHOUT_MEM_ALLOC
void *VRX_OsalMemAlloc(uint32_t size, uint32_t module, const char *caller) {
  return entries::alloc(size, module, caller);
}
#endif

#ifndef FAKE_OSAL_WITHOUT_MEM_CACHE_ALLOC
void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t module, const char *caller) {
  return entries::cache_alloc(size, module, caller);
}
#endif

#ifndef FAKE_OSAL_WITHOUT_MEM_FREE
void VRX_OsalMemFree(void *block, uint32_t module, const char *caller) {
  entries::free(block, module, caller);
}
#endif

#ifndef FAKE_OSAL_WITHOUT_MEM_USE_FLAG_GET
uint32_t VRX_OsalMemUseFlagGet(uint32_t module) {
  return entries::use_flag_get(module);
}
#endif
}
