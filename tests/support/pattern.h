// Regular expressions in texts, for tests that read documents.
//
// Room: tests. POSIX's extended ones (libc's <regex.h>): those of the C++ library take a compiler
// three seconds in each source.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pattern {

// What was found, then what each bracket took; nothing for a bracket that took no part.
using groups = std::vector<std::string>;

// The whole text.
std::optional<groups> matched(const std::string &text, const std::string &expression);
// The first place in it.
std::optional<groups> found(const std::string &text, const std::string &expression);
// All places, none of which overlap.
std::vector<groups> all_found(const std::string &text, const std::string &expression);

} // namespace pattern
