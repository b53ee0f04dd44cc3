// Reader of golden files; see annotated.h.
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
  const std::string &path;
  size_t line;
};

[[noreturn]] void fail(const place &at, const std::string &what) {
  complain(at.path, at.line, what);
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

std::string section_name(const std::string &line, const place &at) {
  if (line.back() != ']')
    fail(at, "a section's name ends with ']'");
  std::string name = trimmed(line.substr(1, line.size() - 2));
  if (name.empty())
    fail(at, "a section needs a name: [record NAME] or [NAME]");
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
  const std::string meaning = trimmed(line.substr(second + 1));
  if (meaning.empty())
    fail(at, "an item needs a meaning");
  const size_t begin = target.bytes.size();
  check_offset(trimmed(line.substr(0, first)), begin, at);
  append_bytes(line.substr(first + 1, second - first - 1), target.bytes, at);
  target.items.push_back({at.line, begin, target.bytes.size() - begin, meaning});
}

template <class Section>
bool has(const std::vector<Section> &sections, const std::string &name) {
  return std::any_of(sections.begin(), sections.end(),
                     [&name](const Section &each) { return each.name == name; });
}

// Collects the sections of a file, line by line.
class reader {
public:
  explicit reader(const std::string &path) : file_{path, {}, {}} {}

  void take(const std::string &line, size_t number) {
    const place at{file_.path, number};
    if (line.front() == '[')
      open_section(section_name(line, at), at);
    else if (section_ == section::none)
      fail(at, "a line before the first section");
    else if (section_ == section::record)
      file_.records.back().lines.push_back({number, line});
    else
      append_item(line, file_.images.back(), at);
  }

  file finished() {
    close_image();
    if (file_.images.empty())
      throw std::runtime_error(file_.path + ": holds no image");
    for (const record &each : file_.records)
      if (std::none_of(file_.images.begin(), file_.images.end(), [&each](const image &image) {
            return naming_of(image.name).record == each.name;
          }))
        fail({file_.path, each.line}, "record " + each.name + " has no image");
    return std::move(file_);
  }

private:
  enum class section { none, record, image };

  void close_image() const {
    if (section_ == section::image && file_.images.back().bytes.empty())
      fail({file_.path, file_.images.back().line},
           "image " + file_.images.back().name + " has no bytes");
  }

  void open_section(const std::string &name, const place &at) {
    close_image();
    constexpr std::string_view of_record = "record ";
    if (name.starts_with(of_record))
      return open_record(trimmed(name.substr(of_record.size())), at);
    if (has(file_.images, name))
      fail(at, "a second image named " + name);
    const std::string record = naming_of(name).record;
    if (!has(file_.records, record))
      fail(at, "image " + name + " needs [record " + record + "] in front of it");
    file_.images.push_back({name, at.line, {}, {}});
    section_ = section::image;
  }

  void open_record(const std::string &name, const place &at) {
    if (has(file_.records, name))
      fail(at, "a second record named " + name);
    if (naming_of(name).record != name)
      fail(at, "a record's name does not end with _fixed or _swap_N: those are images");
    file_.records.push_back({name, at.line, {}});
    section_ = section::record;
  }

  file file_;
  section section_ = section::none;
};

} // namespace

naming naming_of(std::string_view image) {
  naming result;
  constexpr std::string_view swap = "_swap_", fixed = "_fixed";
  const size_t digit = image.size() - 1;
  if (image.size() > swap.size() + 1 && image.substr(0, digit).ends_with(swap) &&
      std::isdigit(static_cast<unsigned char>(image[digit])) != 0) {
    result.byte_swap = static_cast<uint32_t>(image[digit] - '0');
    image.remove_suffix(swap.size() + 1);
  }
  if (image.size() > fixed.size() && image.ends_with(fixed)) {
    result.fixed = true;
    image.remove_suffix(fixed.size());
  }
  result.record = image;
  return result;
}

file parse(std::istream &text, const std::string &path) {
  reader reader(path);
  size_t number = 0;
  for (std::string raw; std::getline(text, raw);) {
    const std::string line = trimmed(raw);
    ++number;
    if (!line.empty() && line.front() != '#')
      reader.take(line, number);
  }
  return reader.finished();
}

file read(const std::string &path) {
  std::ifstream text(path);
  if (!text)
    throw std::runtime_error(path + ": cannot be read");
  return parse(text, path);
}

std::vector<image> load(const std::string &path) {
  return read(path).images;
}

const std::vector<uint8_t> &bytes_of(const std::vector<image> &images, std::string_view name) {
  for (const image &each : images)
    if (each.name == name)
      return each.bytes;
  throw std::runtime_error("no image named " + std::string(name));
}

void complain(const std::string &path, size_t line, const std::string &what) {
  throw std::runtime_error(path + ":" + std::to_string(line) + ": " + what);
}

} // namespace annotated
