// What the exported functions of the recording OSAL call.
//
// Room: tests. Includes libc only: the exports are compiled once for each set of them.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace fake_osal::entries {

void log_write(const void *descriptor, uint32_t level, uint32_t category, const char *text,
               uint32_t line, const char *function, const char *format, va_list arguments);
void *alloc(uint32_t size, uint32_t module, const char *caller);
void *cache_alloc(uint32_t size, uint32_t module, const char *caller);
void free(void *block, uint32_t module, const char *caller);
uint32_t use_flag_get(uint32_t module);

} // namespace fake_osal::entries
