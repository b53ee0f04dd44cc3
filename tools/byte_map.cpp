// Draws maps; see byte_map.h.
//
// Room: tools.
#include "tools/byte_map.h"

#include "tools/explain.h"
#include "tools/hex_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace mesh_fib6::tools {

// page/map.css, made a part of the program by the build.
extern const std::string_view map_page;

namespace {

constexpr uint32_t columns = 16;
// In units of the picture.
constexpr uint32_t column_width = 36, gutter = 44, margin = 4;
constexpr uint32_t label_width = 6; // of a character, at the size that map.css gives labels

constexpr const char *kind_of_wrong = "wrong";

const char *kind_of(role role) {
  switch (role) {
  case role::root_offset:
  case role::soffset:
  case role::uoffset:
    return "offset";
  case role::vtable_size:
  case role::table_size:
  case role::entry:
  case role::spare_entry:
  case role::vtable_rest:
    return "vtable";
  case role::count:
    return "count";
  case role::scalar:
  case role::items:
    return "value";
  }
  return "";
}

// As short as a box of two bytes wants it.
std::string label_of(const anatomy &of, const part &part) {
  std::string path = of.path_of(part.node);
  switch (part.role) {
  case role::root_offset:
    return "root";
  case role::soffset:
    return "soffset";
  case role::vtable_size:
    return "vtable";
  case role::table_size:
    return "table";
  case role::entry:
    return fmt::format("slot {}", part.slot);
  case role::spare_entry:
    return fmt::format("slot {}?", part.slot);
  case role::vtable_rest:
    return "";
  case role::uoffset:
    return "to " + path;
  case role::count:
    return path + " count";
  case role::scalar:
  case role::items:
    return path;
  }
  return {};
}

std::string fitting(const std::string &label, uint32_t bytes) {
  const size_t room = (bytes * column_width - 6) / label_width;
  if (label.size() <= room)
    return label;
  // The end of a path says more than its beginning.
  const size_t dot = label.rfind('.');
  const std::string end = dot == std::string::npos ? label : label.substr(dot + 1);
  return end.size() <= room ? end : std::string();
}

class drawing {
public:
  drawing(std::span<const uint8_t> bytes) : bytes_(bytes), row_height_(bytes.empty() ? 22 : 36) {}

  void add(const map_box &box) {
    text_ += fmt::format(
        "<g class=\"{}\"{}><title>{}</title>", box.kind,
        box.member.empty() ? "" : fmt::format(" data-member=\"{}\"", in_markup(box.member)),
        in_markup(box.title));
    uint32_t at = box.at;
    const uint32_t end = box.at + box.size;
    // The label goes where most of it is.
    const uint32_t first_room = std::min(columns - at % columns, box.size);
    const bool is_second = box.size - first_room > first_room;
    for (uint32_t row = 0; at < end; row++) {
      const uint32_t size = std::min(columns - at % columns, end - at);
      draw(at, size, (row != 0) == is_second && row < 2 ? fitting(box.label, size) : "");
      at += size;
    }
    text_ += "</g>\n";
  }

  std::string text(uint32_t size, const std::string &name) const {
    const uint32_t rows = std::max(1U, (size + columns - 1) / columns);
    std::string offsets;
    for (uint32_t row = 0; row < rows; row++)
      offsets += fmt::format("<text class=\"at\" x=\"{}\" y=\"{}\">{}</text>", gutter - 6,
                             row * row_height_ + margin + 15, row * columns);
    return fmt::format("<svg class=\"map\" xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" "
                       "aria-label=\"{0}\" viewBox=\"0 0 {1} {2}\" width=\"{1}\" height=\"{2}\">\n"
                       "{3}\n{4}</svg>\n",
                       in_markup(name), gutter + columns * column_width + margin,
                       rows * row_height_ + 2 * margin, offsets, text_);
  }

private:
  void draw(uint32_t at, uint32_t size, const std::string &label) {
    const uint32_t x = gutter + at % columns * column_width;
    const uint32_t y = margin + at / columns * row_height_;
    text_ += fmt::format("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"/>", x, y,
                         size * column_width, row_height_ - 2);
    if (!label.empty())
      text_ += fmt::format("<text x=\"{}\" y=\"{}\">{}</text>", x + size * column_width / 2, y + 14,
                           in_markup(label));
    for (uint32_t i = at; !bytes_.empty() && i < at + size; i++)
      text_ += fmt::format("<text class=\"b\" x=\"{}\" y=\"{}\">{:02x}</text>",
                           x + (i - at) * column_width + column_width / 2, y + 28, bytes_[i]);
  }

  std::span<const uint8_t> bytes_;
  uint32_t row_height_;
  std::string text_;
};

} // namespace

std::string in_markup(std::string_view text) {
  std::string result;
  for (const char character : text)
    switch (character) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '"':
      result += "&quot;";
      break;
    default:
      result += character;
    }
  return result;
}

std::string bytes_text(uint32_t at, uint32_t size) {
  return size == 1 ? fmt::format("byte {}: ", at)
                   : fmt::format("bytes {} to {}: ", at, at + size - 1);
}

std::vector<map_box> boxes_of(const anatomy &of) {
  std::vector<map_box> boxes;
  for (const stretch &stretch : of.stretches()) {
    std::string title = bytes_text(stretch.at, stretch.size);
    if (stretch.parts.empty()) {
      title += stretch.padding.empty() ? name_of(stretch.standing) : stretch.padding;
      boxes.push_back({stretch.at, stretch.size, "none", "", title, ""});
      continue;
    }
    const part &first = of.parts()[stretch.parts.front()];
    for (size_t i = 0; i < stretch.parts.size(); i++)
      title += (i == 0 ? "" : "; also ") + of.meaning_of(of.parts()[stretch.parts[i]]);
    if (stretch.part_count > stretch.parts.size())
      title += fmt::format("; and {} more", stretch.part_count - stretch.parts.size());
    const bool clashes = stretch.standing == standing::overlapping;
    boxes.push_back({stretch.at, stretch.size, clashes ? "clash" : kind_of(first.role),
                     label_of(of, first), title, of.path_of(first.node)});
  }
  if (const auto &refusal = of.refusal())
    for (map_box &box : boxes)
      if (box.at < refusal->at + refusal->size && refusal->at < box.at + box.size) {
        box.kind = kind_of_wrong;
        box.title += "; " + text_of(of, *refusal);
      }
  return boxes;
}

std::string map_of(const std::vector<map_box> &boxes, std::span<const uint8_t> bytes,
                   const std::string &name) {
  drawing drawing(bytes);
  uint32_t size = 0;
  // What is wrong comes last, so that no neighbour covers its border.
  for (const bool is_wrong : {false, true})
    for (const map_box &box : boxes) {
      if ((box.kind == kind_of_wrong) == is_wrong)
        drawing.add(box);
      size = box.at + box.size;
    }
  return drawing.text(size, name);
}

std::string picture_of(const anatomy &of) {
  const std::string summary = summary_of(of);
  std::string text = map_of(boxes_of(of), of.bytes(), summary);
  // Its own looks, and what it is, in front of all else.
  const size_t begin = text.find('\n') + 1;
  text.insert(begin, fmt::format("<title>{}</title>\n<style>\n{}</style>\n"
                                 "<rect class=\"ground\" width=\"100%\" height=\"100%\"/>\n",
                                 in_markup(summary), map_page));
  return text;
}

} // namespace mesh_fib6::tools
