// Writes anatomies; see explain.h.
//
// Room: tools.
#include "tools/explain.h"

#include "tools/hex_text.h"
#include "tools/json_text.h"
#include "tools/lookup.h"
#include "tools/words.h"

#include <algorithm>
#include <fmt/color.h>
#include <fmt/format.h>
#include <iterator>

namespace mesh_fib6::tools {
namespace {

constexpr uint32_t bytes_a_line = 16;

// A line of the listing: bytes of one stretch and what they are.
struct row {
  uint32_t at;
  uint32_t size;
  std::string meaning;
  std::string remark; // what is odd or wrong
  tools::standing standing;
  tools::role role; // of the first part
  bool is_blamed;
};

fmt::text_style style_of(const row &row) {
  if (row.is_blamed)
    return fmt::emphasis::bold | fmt::fg(fmt::terminal_color::red);
  switch (row.standing) {
  case standing::overlapping:
    return fmt::fg(fmt::terminal_color::magenta);
  case standing::unreferenced:
  case standing::unreached:
    return fmt::fg(fmt::terminal_color::bright_black);
  default:
    break;
  }
  switch (row.role) {
  case role::scalar:
  case role::items:
    return fmt::fg(fmt::terminal_color::green);
  case role::root_offset:
  case role::soffset:
  case role::uoffset:
    return fmt::fg(fmt::terminal_color::blue);
  case role::count:
    return fmt::fg(fmt::terminal_color::cyan);
  default:
    return {}; // vtables
  }
}

class listing {
public:
  explicit listing(const anatomy &of) : of_(of) {
    for (const stretch &stretch : of.stretches())
      add(stretch);
  }

  std::string text(bool coloured) const {
    fmt::memory_buffer text;
    const size_t digits = fmt::formatted_size("{}", of_.bytes().size());
    size_t width = 0;
    for (const row &row : rows_)
      width = std::max(width, size_t{3} * row.size);
    for (const row &row : rows_) {
      std::string line = fmt::format("{:>{}} | {:<{}}| {}", row.at, digits,
                                     hex_of(&of_.bytes()[row.at], row.size), width, row.meaning);
      if (!row.remark.empty())
        line += "  <- " + row.remark;
      if (coloured)
        fmt::format_to(std::back_inserter(text), "{}\n", fmt::styled(line, style_of(row)));
      else
        fmt::format_to(std::back_inserter(text), "{}\n", line);
    }
    return fmt::to_string(text);
  }

private:
  void add(const stretch &stretch) {
    if (stretch.parts.empty()) {
      const bool is_unreached = stretch.standing == standing::unreached;
      const std::string meaning = !stretch.padding.empty() ? stretch.padding
                                  : is_unreached           ? "not reached"
                                                           : "unreferenced";
      // All of a kind in one line is enough for the eye, not for who wants the bytes.
      for (uint32_t from = 0; from < stretch.size; from += bytes_a_line)
        push({stretch.at + from, std::min(bytes_a_line, stretch.size - from), meaning, "",
              stretch.standing, role::items, false});
      return;
    }
    const part &first = of_.parts()[stretch.parts.front()];
    const std::string remark = remark_on(stretch);
    const bool is_whole = stretch.at == first.at && stretch.size == first.size;
    if (first.role == role::items && is_whole) {
      const uint32_t width = of_.item_width(first), items_a_line = bytes_a_line / width;
      const uint32_t count = first.size / width;
      for (uint32_t from = 0; from < count; from += items_a_line) {
        const uint32_t last = std::min(from + items_a_line, count) - 1;
        push({first.at + from * width, (last + 1 - from) * width, of_.items_text(first, from, last),
              remark, stretch.standing, first.role, false});
      }
      return;
    }
    const std::string meaning = of_.meaning_of(first);
    for (uint32_t from = 0; from < stretch.size; from += bytes_a_line)
      push({stretch.at + from, std::min(bytes_a_line, stretch.size - from),
            is_whole ? meaning
                     : fmt::format(
                           "{} to {} of: {}", stretch.at + from - first.at,
                           std::min(stretch.at + from + bytes_a_line, stretch.at + stretch.size) -
                               first.at - 1,
                           meaning),
            remark, stretch.standing, first.role, false});
  }

  std::string remark_on(const stretch &stretch) const {
    if (stretch.standing == standing::used)
      return {};
    std::string remark =
        stretch.standing == standing::shared ? "shared, also: " : "overlapping, also: ";
    for (size_t i = 1; i < stretch.parts.size(); i++) {
      const part &part = of_.parts()[stretch.parts[i]];
      remark += (i > 1 ? "; " : "");
      remark +=
          stretch.standing == standing::shared ? of_.path_of(part.node) : of_.meaning_of(part);
    }
    if (stretch.part_count > stretch.parts.size())
      remark += fmt::format("; {} more", stretch.part_count - stretch.parts.size());
    return remark;
  }

  void push(row row) {
    if (const auto &refusal = of_.refusal();
        refusal && row.at < refusal->at + refusal->size && refusal->at < row.at + row.size) {
      row.is_blamed = true;
      row.remark += fmt::format("{}{}: expected {}, found {}", row.remark.empty() ? "" : "; ",
                                name_of(refusal->rule), refusal->expected, refusal->found);
    }
    rows_.push_back(std::move(row));
  }

  const anatomy &of_;
  std::vector<row> rows_;
};

void put_verdict(json_text &to, const anatomy &of) {
  put(to, "message", std::string(of.message().name));
  put(to, "id", id_text(of.message().id));
  put(to, "size", of.bytes().size());
  to.Key("sound");
  to.Bool(!of.refusal());
  to.Key("refusal");
  if (const auto &refusal = of.refusal()) {
    to.StartObject();
    put(to, "rule", std::string(name_of(refusal->rule)));
    put(to, "path", of.path_of(refusal->node));
    put(to, "at", refusal->at);
    put(to, "size", refusal->size);
    put(to, "expected", refusal->expected);
    put(to, "found", refusal->found);
    to.EndObject();
  } else {
    to.Null();
  }
}

} // namespace

std::string text_of(const anatomy &of, const refusal &refusal) {
  return fmt::format("{}: {} at byte {}: expected {}, found {}", of.path_of(refusal.node),
                     name_of(refusal.rule), refusal.at, refusal.expected, refusal.found);
}

std::string summary_of(const anatomy &of) {
  const std::string size = plural(of.bytes().size(), "byte");
  if (of.refusal())
    return fmt::format("{}, {}: refused: {}", of.message().name, size, text_of(of, *of.refusal()));
  return fmt::format("{}, {}: sound", of.message().name, size);
}

std::string explained(const anatomy &of, bool coloured) {
  std::string text = "# " + summary_of(of) + "\n" + listing(of).text(coloured);
  if (of.is_cut())
    text += fmt::format("# more than {} things were found: not all are shown\n", anatomy::largest);
  return text;
}

std::string explained_as_json(const anatomy &of) {
  json_buffer buffer;
  json_text to(buffer);
  to.StartObject();
  put_verdict(to, of);
  to.Key("cut");
  to.Bool(of.is_cut());
  to.Key("bytes");
  to.StartArray();
  for (const stretch &stretch : of.stretches()) {
    to.StartObject();
    put(to, "at", stretch.at);
    put(to, "size", stretch.size);
    put(to, "hex", hex_of(&of.bytes()[stretch.at], stretch.size));
    put(to, "standing", std::string(name_of(stretch.standing)));
    if (!stretch.padding.empty())
      put(to, "padding", stretch.padding);
    to.Key("parts");
    to.StartArray();
    for (const uint32_t index : stretch.parts) {
      const part &part = of.parts()[index];
      to.StartObject();
      put(to, "role", std::string(name_of(part.role)));
      put(to, "path", of.path_of(part.node));
      put(to, "meaning", of.meaning_of(part));
      to.EndObject();
    }
    to.EndArray();
    if (stretch.part_count > stretch.parts.size())
      put(to, "more_parts", stretch.part_count - stretch.parts.size());
    to.EndObject();
  }
  to.EndArray();
  to.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

std::string verdict_as_json(const anatomy &of) {
  json_buffer buffer;
  json_text to(buffer);
  to.StartObject();
  put_verdict(to, of);
  to.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

} // namespace mesh_fib6::tools
