// What an execution found: the first broken promise, as a text.
//
// Room: attacks. Libc only. Nothing is thrown: findings come from inside the library's calls to its
// platform, through frames that cannot be unwound.
#pragma once

namespace fuzz {

void forget_findings();

// Notes what is wrong; only the first one since forget_findings() is kept.
[[gnu::cold, gnu::noinline, gnu::format(printf, 1, 2)]] void found(const char *format, ...);

// Null when nothing is wrong.
const char *finding();

} // namespace fuzz
