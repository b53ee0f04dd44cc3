// Wire images that a person can review: the text files of tests/golden.
//
// Room: tests. Knows neither messages nor the library; reads text, gives bytes.
//
// A file holds images. "[name]" opens one; then each line is an item
//   offset | bytes in hex | meaning
// with decimal offsets that leave no gap and no overlap. "#" starts a comment line.
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace annotated {

struct image {
  std::string name;
  std::vector<uint8_t> bytes;
};

// Throws std::runtime_error "file:line: what is wrong" at the first defect, "file: ..." when the
// text holds no image at all.
std::vector<image> parse(std::istream &text, const std::string &file);

// The images of a file. Throws like parse(), also when the file cannot be read.
std::vector<image> load(const std::string &file);

// The bytes of one image. Throws when there is none of that name.
const std::vector<uint8_t> &bytes_of(const std::vector<image> &images, const std::string &name);

} // namespace annotated
