// What valgrind knows about a byte: whether somebody has written it.
//
// Room: tests. Nothing where valgrind's header is missing, and nothing in a process that it does
// not run.
#pragma once

#include <cstddef>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#endif

namespace definedness {

// Forgets that the bytes were written.
inline void forget(const void *bytes, size_t size) {
#ifdef VALGRIND_MAKE_MEM_UNDEFINED
  static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(bytes, size));
#else
  static_cast<void>(bytes), static_cast<void>(size);
#endif
}

// An error to valgrind when one of the bytes was never written.
inline void check(const void *bytes, size_t size) {
#ifdef VALGRIND_CHECK_MEM_IS_DEFINED
  static_cast<void>(VALGRIND_CHECK_MEM_IS_DEFINED(bytes, size));
#else
  static_cast<void>(bytes), static_cast<void>(size);
#endif
}

// Takes the bytes for written.
inline void settle(const void *bytes, size_t size) {
#ifdef VALGRIND_MAKE_MEM_DEFINED
  static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(bytes, size));
#else
  static_cast<void>(bytes), static_cast<void>(size);
#endif
}

} // namespace definedness
