// Reads dumps; see hex_text.h.
//
// Room: tools.
#include "tools/hex_text.h"

#include <algorithm>
#include <charconv>

namespace mesh_fib6::tools {
namespace {

constexpr size_t npos = std::string_view::npos;

bool is_blank(char character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\f' ||
         character == '\v';
}

} // namespace

int hex_digit(char character) {
  if (character >= '0' && character <= '9')
    return character - '0';
  if (character >= 'a' && character <= 'f')
    return character - 'a' + 10;
  if (character >= 'A' && character <= 'F')
    return character - 'A' + 10;
  return -1;
}

namespace {

std::string shown(char character) {
  const auto code = static_cast<unsigned char>(character);
  if (code >= 0x20 && code < 0x7F)
    return std::string("'") + character + "'";
  return "byte 0x" + hex_of(&code, 1);
}

// What is known of a dump so far.
struct dump {
  std::vector<uint8_t> bytes;
  std::optional<uint64_t> base; // offset of the first byte, once a line has one
  size_t last_line = 0;         // where the bytes of the last line begin
  bool is_squeezed = false;     // lines like the last one are left out here
  bool is_hexdump = false;      // eight digits alone are the offset of the end
};

// One line of a dump.
class line_reader {
public:
  line_reader(std::string_view text, size_t number, dump &dump)
      : text_(text), number_(number), dump_(dump) {}

  std::optional<hex_problem> read() {
    skip_blanks();
    if (at_ == text_.size() || text_[at_] == '#')
      return {};
    if (text_.substr(at_).find_first_not_of(" \t\r", 1) == npos && text_[at_] == '*') {
      dump_.is_squeezed = true;
      return {};
    }
    const size_t first = at_;
    size_t end = text_.size();
    // Where a dump's offset ends: the rest is bytes up to its column of text, if it has one.
    const size_t colon = end_of_offset(':'), bar = end_of_offset('|');
    if (colon != npos) {
      if (auto problem = take_offset(first, colon, 16))
        return problem;
      at_ = colon + 1;
      end = end_of_bytes(at_);
    } else if (bar != npos) {
      if (auto problem = take_offset(first, bar, 10))
        return problem;
      at_ = bar + 1;
      end = std::min(text_.find('|', at_), text_.size());
    } else if (const size_t gap = end_of_dump_offset(); gap != npos) {
      if (auto problem = take_offset(first, gap, 16))
        return problem;
      dump_.is_hexdump = true;
      at_ = gap;
      end = std::min(text_.find('|', at_), text_.size());
    }
    return take_bytes(end);
  }

private:
  void skip_blanks() {
    while (at_ < text_.size() && is_blank(text_[at_]))
      at_++;
  }

  hex_problem problem(size_t at, std::string what) const {
    return {number_, at + 1, std::move(what)};
  }

  // The position of `mark` when nothing but one number is in front of it.
  size_t end_of_offset(char mark) const {
    size_t at = at_;
    if (text_.substr(at).starts_with("0x"))
      at += 2;
    const size_t first = at;
    while (at < text_.size() && hex_digit(text_[at]) >= 0)
      at++;
    if (at == first)
      return npos;
    while (at < text_.size() && is_blank(text_[at]))
      at++;
    return at < text_.size() && text_[at] == mark ? at : npos;
  }

  // hexdump -C: eight digits and two blanks; its last line is eight digits alone.
  size_t end_of_dump_offset() const {
    constexpr size_t digits = 8;
    for (size_t i = 0; i < digits; i++)
      if (at_ + i >= text_.size() || hex_digit(text_[at_ + i]) < 0)
        return npos;
    const std::string_view rest = text_.substr(at_ + digits);
    const bool is_last = dump_.is_hexdump && rest.find_first_not_of(" \t\r") == npos;
    return is_last || rest.starts_with("  ") ? at_ + digits : npos;
  }

  // Where the bytes of a line of xxd or tcpdump end: in front of two blanks.
  size_t end_of_bytes(size_t from) const {
    while (from < text_.size() && is_blank(text_[from]))
      from++;
    const size_t gap = text_.find("  ", from), tab = text_.find('\t', from);
    return std::min({gap, tab, text_.size()});
  }

  std::optional<hex_problem> take_offset(size_t first, size_t end, int base_of_digits) {
    std::string_view digits = text_.substr(first, end - first);
    while (!digits.empty() && is_blank(digits.back()))
      digits.remove_suffix(1);
    if (base_of_digits == 16 && digits.starts_with("0x"))
      digits.remove_prefix(2);
    uint64_t offset = 0;
    const auto [stop, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), offset, base_of_digits);
    if (error != std::errc() || stop != digits.data() + digits.size())
      return problem(first, "expected an offset, found '" + std::string(digits) + "'");
    if (!dump_.base)
      dump_.base = offset - dump_.bytes.size();
    if (dump_.is_squeezed && offset > *dump_.base + dump_.bytes.size() + most_repeated)
      return problem(first, "expected * to stand for at most " + std::to_string(most_repeated) +
                                " bytes, found offset " + std::to_string(offset));
    if (dump_.is_squeezed && offset >= *dump_.base)
      repeat_last_line(offset - *dump_.base);
    const uint64_t expected = *dump_.base + dump_.bytes.size();
    if (offset != expected)
      return problem(first, "expected offset " + std::to_string(expected) + ", found " +
                                std::to_string(offset));
    return {};
  }

  // A short text must not become a long message.
  static constexpr uint64_t most_repeated = 1U << 20;

  // Up to `size` bytes in all, as far as whole lines go.
  void repeat_last_line(uint64_t size) {
    std::vector<uint8_t> &bytes = dump_.bytes;
    const size_t width = bytes.size() - dump_.last_line;
    dump_.is_squeezed = false;
    if (width == 0 || size < bytes.size())
      return;
    const size_t lines = (size - bytes.size()) / width;
    bytes.reserve(bytes.size() + lines * width);
    for (size_t i = 0; i < lines * width; i++)
      bytes.push_back(bytes[bytes.size() - width]);
    dump_.last_line = bytes.size();
  }

  std::optional<hex_problem> take_bytes(size_t end) {
    dump_.last_line = dump_.bytes.size();
    for (;;) {
      while (at_ < end && (is_blank(text_[at_]) || text_[at_] == ','))
        at_++;
      if (at_ >= end)
        return {};
      if (at_ + 2 < end && text_[at_] == '0' && (text_[at_ + 1] == 'x' || text_[at_ + 1] == 'X'))
        at_ += 2;
      const int high = hex_digit(text_[at_]);
      if (high < 0)
        return problem(at_, "expected a pair of hexadecimal digits, found " + shown(text_[at_]));
      const int low = at_ + 1 < end ? hex_digit(text_[at_ + 1]) : -1;
      if (low < 0)
        return problem(at_, std::string("expected a pair of hexadecimal digits, found '") +
                                text_[at_] + "' alone");
      dump_.bytes.push_back(static_cast<uint8_t>(high * 16 + low));
      at_ += 2;
    }
  }

  std::string_view text_;
  size_t number_;
  dump &dump_;
  size_t at_ = 0;
};

} // namespace

std::string hex_of(const uint8_t *bytes, size_t count) {
  std::string text;
  text.reserve(3 * count);
  for (size_t i = 0; i < count; i++) {
    if (i != 0)
      text += ' ';
    text += "0123456789abcdef"[bytes[i] >> 4];
    text += "0123456789abcdef"[bytes[i] & 15];
  }
  return text;
}

bool looks_like_text(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char character) {
    return is_blank(character) || character == '\n' || (character >= 0x20 && character < 0x7F);
  });
}

hex_bytes read_hex(std::string_view text) {
  dump dump;
  dump.bytes.reserve(text.size() / 3);
  std::optional<hex_problem> problem;
  for (size_t at = 0, number = 1; at < text.size() && !problem; number++) {
    const size_t end = std::min(text.find('\n', at), text.size());
    problem = line_reader(text.substr(at, end - at), number, dump).read();
    at = end + 1;
  }
  return {std::move(dump.bytes), std::move(problem)};
}

} // namespace mesh_fib6::tools
