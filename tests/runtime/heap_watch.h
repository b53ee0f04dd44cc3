// Who took which block from the system heap? Answers for the whole process, library included.
//
// Room: tests. Defines malloc and free in the executable, in front of libc's; under a sanitizer,
// which has done so already, listens to its hooks instead. Keeps the latest events only.
#pragma once

#include <cstddef>

namespace heap_watch {

// Forgets, then records from now on until stop().
void start();
void stop();

// Times malloc returned this address for this size, and times it was given to free.
size_t allocations(const void *block, size_t size);
size_t releases(const void *block);

} // namespace heap_watch
