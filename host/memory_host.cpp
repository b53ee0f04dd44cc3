// Bounds-checked memory functions.
//
// Room: host. Includes its own header and libc only.
#pragma GCC visibility push(default)
#include "host/memory_host.h"
#pragma GCC visibility pop

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace {

bool overlap(const void *a, const void *b, size_t count) {
  const auto first = reinterpret_cast<uintptr_t>(a);
  const auto second = reinterpret_cast<uintptr_t>(b);
  return first < second ? second - first < count : first - second < count;
}

int clear_and_refuse(void *destination, size_t size, int error) {
  memset(destination, 0, size);
  return error;
}

} // namespace

int memset_s(void *destination, size_t destination_size, int value, size_t count) {
  if (destination == nullptr)
    return EINVAL;
  if (count > destination_size) {
    memset(destination, value, destination_size);
    return ERANGE;
  }
  memset(destination, value, count);
  return 0;
}

int memcpy_s(void *destination, size_t destination_size, const void *source, size_t count) {
  if (destination == nullptr)
    return EINVAL;
  if (count > destination_size)
    return clear_and_refuse(destination, destination_size, ERANGE);
  if (count == 0)
    return 0;
  if (source == nullptr || overlap(destination, source, count))
    return clear_and_refuse(destination, destination_size, EINVAL);
  memcpy(destination, source, count);
  return 0;
}

int memcpy_sOptAsm(void *destination, size_t destination_size, const void *source, size_t count) {
  return memcpy_s(destination, destination_size, source, count);
}
