// What a process with a certain part of the OSAL is to get from the library. Written by hand for
// each variant in CMakeLists.txt.
//
// Room: tests.
#pragma once

#include <cstdint>

namespace host_variant {

extern const bool general_from_osal; // send buffers and batch arenas
extern const bool cache_from_osal;   // decoded records
extern const bool logs;
extern const bool flag_is_asked;
extern const uint32_t use_flag;

} // namespace host_variant
