// Reader of annotated wire images; see annotated.h.
//
// Room: tests.
#include "tests/support/annotated.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace annotated {
namespace {

struct place {
  const std::string &file;
  size_t line;
};

[[noreturn]] void fail(const place &at, const std::string &what) {
  throw std::runtime_error(at.file + ":" + std::to_string(at.line) + ": " + what);
}

std::string trimmed(const std::string &text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos)
    return "";
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

bool consists_of(const std::string &text, int (*kind)(int)) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [kind](unsigned char c) { return kind(c) != 0; });
}

std::string image_name(const std::string &line, const place &at) {
  if (line.back() != ']')
    fail(at, "an image's name ends with ']'");
  const std::string name = trimmed(line.substr(1, line.size() - 2));
  if (name.empty())
    fail(at, "an image needs a name");
  return name;
}

void check_offset(const std::string &text, size_t expected, const place &at) {
  if (!consists_of(text, std::isdigit) || text.size() > 9)
    fail(at, "\"" + text + "\" is not a decimal offset");
  const size_t offset = std::stoul(text);
  if (offset > expected)
    fail(at, "gap: offset " + text + ", but the item before ends at " + std::to_string(expected));
  if (offset < expected)
    fail(at,
         "overlap: offset " + text + ", but the item before ends at " + std::to_string(expected));
}

void append_bytes(const std::string &text, std::vector<uint8_t> &bytes, const place &at) {
  std::istringstream pairs(text);
  const size_t before = bytes.size();
  for (std::string pair; pairs >> pair;) {
    if (pair.size() != 2 || !consists_of(pair, std::isxdigit))
      fail(at, "\"" + pair + "\" is not a byte of two hexadecimal digits");
    bytes.push_back(static_cast<uint8_t>(std::stoul(pair, nullptr, 16)));
  }
  if (bytes.size() == before)
    fail(at, "an item needs at least one byte");
}

void append_item(const std::string &line, image &target, const place &at) {
  const size_t first = line.find('|');
  const size_t second = first == std::string::npos ? first : line.find('|', first + 1);
  if (second == std::string::npos)
    fail(at, "expected \"offset | bytes | meaning\"");
  if (trimmed(line.substr(second + 1)).empty())
    fail(at, "an item needs a meaning");
  check_offset(trimmed(line.substr(0, first)), target.bytes.size(), at);
  append_bytes(line.substr(first + 1, second - first - 1), target.bytes, at);
}

bool has(const std::vector<image> &images, const std::string &name) {
  return std::any_of(images.begin(), images.end(),
                     [&name](const image &each) { return each.name == name; });
}

} // namespace

std::vector<image> parse(std::istream &text, const std::string &file) {
  std::vector<image> images;
  place at{file, 0};
  for (std::string raw; std::getline(text, raw);) {
    ++at.line;
    const std::string line = trimmed(raw);
    if (line.empty() || line.front() == '#')
      continue;
    if (line.front() != '[') {
      if (images.empty())
        fail(at, "an item before the first [name]");
      append_item(line, images.back(), at);
      continue;
    }
    const std::string name = image_name(line, at);
    if (has(images, name))
      fail(at, "a second image named " + name);
    if (!images.empty() && images.back().bytes.empty())
      fail(at, "image " + images.back().name + " has no bytes");
    images.push_back({name, {}});
  }
  if (images.empty() || images.back().bytes.empty())
    throw std::runtime_error(file + ": ends without an image or with an empty one");
  return images;
}

std::vector<image> load(const std::string &file) {
  std::ifstream text(file);
  if (!text)
    throw std::runtime_error(file + ": cannot be read");
  return parse(text, file);
}

const std::vector<uint8_t> &bytes_of(const std::vector<image> &images, const std::string &name) {
  for (const image &each : images)
    if (each.name == name)
      return each.bytes;
  throw std::runtime_error("no image named " + name);
}

} // namespace annotated
