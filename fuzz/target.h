// A target: what an execution does with its input.
//
// Room: attacks. One target is linked into each program, under libFuzzer or a plain main.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

// One execution. Null, or what is wrong; a sanitizer that sees something ends the process instead.
const char *execute(const uint8_t *data, size_t size);

} // namespace fuzz
