// The platform's bounds-checked memory functions, where the hosting process has them.
//
// Room: platform. Includes libc only. The one place where the choice is made: the references are
// weak, so the library loads in any process; what is missing is replaced by libc's function of the
// same effect.
#pragma once

#include <cstddef>
#include <cstring>

extern "C" {
[[gnu::weak, gnu::visibility("default")]] int memset_s(void *destination, size_t capacity,
                                                       int value, size_t size);
[[gnu::weak, gnu::visibility("default")]] int memcpy_s(void *destination, size_t capacity,
                                                       const void *source, size_t size);
[[gnu::weak, gnu::visibility("default")]] int memcpy_sOptAsm(void *destination, size_t capacity,
                                                             const void *source, size_t size);
}

namespace mesh_fib6 {

inline void clear_memory(void *destination, size_t size) {
  if (memset_s != nullptr)
    memset_s(destination, size, 0, size);
  else
    memset(destination, 0, size);
}

inline void copy_memory(void *destination, const void *source, size_t size) {
  if (memcpy_sOptAsm != nullptr)
    memcpy_sOptAsm(destination, size, source, size);
  else if (memcpy_s != nullptr)
    memcpy_s(destination, size, source, size);
  else
    memcpy(destination, source, size);
}

} // namespace mesh_fib6
