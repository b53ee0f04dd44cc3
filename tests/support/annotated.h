// Golden files as text: records and wire images that a person can review. tests/golden/README.md
// describes the format.
//
// Room: tests. Knows neither messages nor the library; reads text, gives bytes and lines. What the
// lines of a record say is record_text's affair, what items mean is meanings'.
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace annotated {

struct item {
  size_t line;
  size_t at, size; // of its bytes in the image
  std::string meaning;
};

// A section "[name]": items that leave no gap and no overlap.
struct image {
  std::string name;
  size_t line;
  std::vector<uint8_t> bytes;
  std::vector<annotated::item> items;
};

struct text_line {
  size_t line;
  std::string text;
};

// A section "[record name]".
struct record {
  std::string name;
  size_t line;
  std::vector<text_line> lines;
};

struct file {
  std::string path;
  std::vector<annotated::record> records;
  std::vector<annotated::image> images; // at least one
};

// What an image's name says of it: `full_fixed_swap_1` is of the record `full`.
struct naming {
  std::string record;
  bool fixed = false; // the fixed arrangement, otherwise the compact one
  uint32_t byte_swap = 0;
};
naming naming_of(std::string_view image);

// Throws std::runtime_error "file:line: what is wrong" at the first defect, "file: ..." when the
// text holds no image at all. Each image has its record in front of it, each record an image.
file parse(std::istream &text, const std::string &path);

// Throws like parse(), also when the file cannot be read.
file read(const std::string &path);

// The images alone.
std::vector<image> load(const std::string &path);

// The bytes of one image. Throws when there is none of that name.
const std::vector<uint8_t> &bytes_of(const std::vector<image> &images, std::string_view name);

// Throws std::runtime_error "file:line: what".
[[noreturn]] void complain(const std::string &path, size_t line, const std::string &what);

} // namespace annotated
