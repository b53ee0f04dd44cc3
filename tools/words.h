// What several tools say in the same words.
//
// Room: tools. Standard library only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mesh_fib6::tools {

// "1 byte", "2 bytes"
inline std::string plural(uint64_t count, const char *word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

// `\x1b`
inline std::string escaped_byte(char character) {
  constexpr const char *digits = "0123456789abcdef";
  const auto code = static_cast<unsigned char>(character);
  return std::string("\\x") + digits[code / 16] + digits[code % 16];
}

// What a terminal may be shown of a text from anywhere: control characters are escaped, lines stay.
inline std::string printable(std::string_view text) {
  std::string result;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    const bool is_control = (code < 0x20 && character != '\n') || code == 0x7F;
    result += is_control ? escaped_byte(character) : std::string(1, character);
  }
  return result;
}

// Between quotes, in one line of ASCII, and no more of it than one wants to read.
inline std::string quoted(std::string_view text) {
  constexpr size_t most = 40;
  std::string shown;
  for (const char character : text.substr(0, most))
    shown +=
        character >= 0x20 && character < 0x7F ? std::string(1, character) : escaped_byte(character);
  return "'" + shown + (text.size() > most ? "...'" : "'");
}

} // namespace mesh_fib6::tools
