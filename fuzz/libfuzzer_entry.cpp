// What libFuzzer calls.
//
// Room: attacks. A finding ends the process, as one of a sanitizer does, and libFuzzer keeps the
// input.
#include "fuzz/target.h"

#include <cstdio>
#include <cstdlib>

// The sanitizer's runtime asks for these before main. An execution frees what it allocates, so a
// small quarantine sees every use after free and keeps the blocks in the processor's cache; the
// accounts of the platform see every leak of the library while it still knows which input it was.
extern "C" const char *__asan_default_options() {
  return "quarantine_size_mb=1:thread_local_quarantine_size_kb=64:malloc_context_size=2:"
         "detect_leaks=0:max_malloc_fill_size=0:detect_stack_use_after_return=0:"
         "allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const char *const wrong = fuzz::execute(data, size);
  if (wrong == nullptr)
    return 0;
  fprintf(stderr, "finding: %s\n", wrong);
  abort();
}
