// Small helpers for text that people read, and the one exception of the demo.
//
// Room: demo. Includes the C++ library only.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace demo {

// Ends a program with a message and exit status 1. Nothing else is thrown on purpose.
struct failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char *format, ...);

// Writes to standard output at once; to standard error. Whether standard output took everything is
// asked once, at the end of the process (see guarded).
[[gnu::format(printf, 1, 2)]] void print(const char *format, ...);
[[gnu::format(printf, 1, 2)]] void complain(const char *format, ...);

// 1234567 -> "1,234,567".
std::string grouped(uint64_t number);

// counted(2, "bad line") -> "2 bad lines".
std::string counted(uint64_t number, std::string_view noun);

// Input made safe to show: cut to a readable length, what is not printable ASCII as \xNN.
std::string shown(std::string_view text);

// A word as a shell takes it, quoted where it must be.
std::string quoted(const std::string &word);

// The words of a line, separated by blanks.
std::vector<std::string_view> split_words(std::string_view line);

// A whole word as a decimal number of at most 32 bits.
bool parse_number(std::string_view word, uint32_t &number);

// What `errno` says.
std::string error_text(int error);

} // namespace demo
