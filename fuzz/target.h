// A target: what an execution does with its input.
//
// Room: attacks. One target is linked into each program, under libFuzzer or a plain main.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

// One execution. Null, or what is wrong; a sanitizer that sees something ends the process instead.
const char *execute(const uint8_t *data, size_t size);

// What the input of a target that decodes is: bytes of a message behind five that say which and
// how, or choices of what is made and spoiled. For what makes inputs (campaign.cpp).
enum class material : uint8_t { message, choices };
extern const material made_of;

} // namespace fuzz
