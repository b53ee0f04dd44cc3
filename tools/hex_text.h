// Bytes from text: what people paste and other programs dump.
//
// Room: tools. Knows no message.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mesh_fib6::tools {

// A text that holds no bytes, and where: line and column count from 1.
struct hex_problem {
  size_t line;
  size_t column;
  std::string what; // "expected ..., found ..."
};

struct hex_bytes {
  std::vector<uint8_t> bytes;
  std::optional<hex_problem> problem;
};

// Reads any of
//   0c00 0000 08 00 | 0x0c, 0x00,         pairs of digits, with or without blanks, commas and 0x
//   00000000: 0c00 0000 0800 ....         xxd
//   00000000  0c 00 00 00 |....|          hexdump -C
//   0x0000:  0c00 0000                    tcpdump -x and -X
//     0 | 0c 00 00 00 | root offset 12    golden files, and what `mesh-fib6 explain` prints
// Offsets have to continue where the line before ended; the first may be any. Lines that are empty
// or begin with # say nothing.
hex_bytes read_hex(std::string_view text);

// Whether bytes are such text rather than a message: all of them printable or blank. The first
// bytes of a message never are, as long as it is shorter than 128 MiB.
bool looks_like_text(std::string_view bytes);

// What a digit stands for; -1 for any other character.
int hex_digit(char character);

// "0c 00 00 00"
std::string hex_of(const uint8_t *bytes, size_t count);

} // namespace mesh_fib6::tools
