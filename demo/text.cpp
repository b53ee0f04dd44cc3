// Small helpers for text that people read.
//
// Room: demo. Includes the C++ library only.
#include "demo/text.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <system_error>

namespace demo {

std::string formatted(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);

  std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  return text;
}

void print(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  (void)std::vfprintf(stdout, format, arguments);
  va_end(arguments);
  (void)std::fflush(stdout);
}

void complain(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  (void)std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}

std::string grouped(uint64_t number) {
  std::string digits = std::to_string(number);
  for (size_t at = digits.size(); at > 3; at -= 3)
    digits.insert(at - 3, 1, ',');
  return digits;
}

std::string counted(uint64_t number, std::string_view noun) {
  std::string text = grouped(number) + " ";
  text += noun;
  return number == 1 ? text : text + "s";
}

std::string shown(std::string_view text) {
  constexpr size_t readable = 60;
  std::string result = "'";
  for (const char c : text.substr(0, readable)) {
    if (c >= ' ' && c <= '~')
      result += c;
    else
      result += formatted("\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
  }
  return result + (text.size() > readable ? "...'" : "'");
}

std::string quoted(const std::string &word) {
  constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                     "0123456789%+,-./:=@_";
  if (!word.empty() && word.find_first_not_of(plain) == std::string::npos)
    return word;
  std::string text = "'";
  for (const char c : word)
    text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

std::vector<std::string_view> split_words(std::string_view line) {
  constexpr std::string_view blanks = " \t";
  std::vector<std::string_view> words;
  for (size_t at = line.find_first_not_of(blanks); at != std::string_view::npos;) {
    const size_t end = line.find_first_of(blanks, at);
    words.push_back(line.substr(at, end - at));
    at = line.find_first_not_of(blanks, end);
  }
  return words;
}

bool parse_number(std::string_view word, uint32_t &number) {
  const char *const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && stop == end;
}

std::string error_text(int error) {
  return std::generic_category().message(error);
}

} // namespace demo
