// Makes the catalogue; see catalogue.h.
//
// Room: tools.
#include "tools/catalogue.h"

#include "tools/byte_map.h"
#include "tools/library.h"
#include "tools/lookup.h"
#include "tools/member_rows.h"
#include "tools/record_memory.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <map>

namespace mesh_fib6::tools {

// page/catalogue.html and page/map.css, made a part of the program by the build.
extern const std::string_view catalogue_page;
extern const std::string_view map_page;

namespace {

// Records with nothing absent: every number 1, one element in every vector of records, as many
// bytes in a vector of bytes as a word has.
class sample {
public:
  explicit sample(const message_descriptor &message) {
    record_ = memory_.block(message.record_size);
    fill(*message.table, record_);
  }
  const void *get() const { return record_; }

private:
  void fill(const table_descriptor &table, void *record) {
    for (const field_descriptor &field : table.fields) {
      if (field.is_vector()) {
        const uint32_t count = field.table != nullptr ? 1 : 4;
        field.set_vector(record, memory_.block(size_t{count} * field.width), count);
        for (uint32_t i = 0; i < count; i++)
          fill(field, record, i);
      } else {
        for (uint32_t i = 0; i < field.length; i++)
          fill(field, record, i);
      }
    }
  }
  void fill(const field_descriptor &field, void *record, uint32_t i) {
    if (field.table != nullptr)
      fill(*field.table, field.element(record, i));
    else
      field.set_number(record, 1, i);
  }

  record_memory memory_;
  void *record_;
};

// The boxes of a record: scalars and arrays, counts, pointers, and what the compiler leaves free.
// Of an element's record when `of` is the path of its vector.
std::vector<map_box> boxes_of_record(const std::vector<member_row> &rows, const std::string &of,
                                     uint32_t record_size) {
  std::vector<map_box> boxes;
  const std::string prefix = of.empty() ? "" : of + "[].";
  for (const member_row &row : rows) {
    const bool is_here =
        row.path.starts_with(prefix) && row.path.find("[]", prefix.size()) == std::string::npos;
    if (!is_here || row.field->kind == kind::table)
      continue;
    const std::string type = type_of(*row.field);
    const auto add = [&](uint32_t at, uint32_t size, const char *kind, const std::string &label,
                         const std::string &what) {
      boxes.push_back({at, size, kind, label,
                       bytes_text(at, size).append(label).append(", ").append(what), row.path});
    };
    const std::string name = row.path.substr(prefix.size());
    if (row.field->is_vector()) {
      add(row.count_offset(), sizeof(uint32_t), "count", name + "_count", "uint32_t");
      add(row.offset, row.size, "offset", name, "pointer to " + type);
    } else {
      add(row.offset, row.size, "value", name, type);
    }
  }
  std::sort(boxes.begin(), boxes.end(),
            [](const map_box &one, const map_box &other) { return one.at < other.at; });
  std::vector<map_box> all;
  uint32_t at = 0;
  const auto pad = [&](uint32_t end) {
    if (at < end)
      all.push_back({at, end - at, "none", "", bytes_text(at, end - at) + "padding", ""});
  };
  for (const map_box &box : boxes) {
    pad(box.at);
    all.push_back(box);
    at = box.at + box.size;
  }
  pad(record_size);
  return all;
}

// Elements have no number in what is said of all of them: f1[0].f3 is f1[].f3.
void forget_element(std::string &text) {
  for (size_t at = 0; (at = text.find("[0]", at)) != std::string::npos;)
    text.erase(at + 1, 1);
}
void forget_elements(std::vector<map_box> &boxes) {
  for (map_box &box : boxes) {
    forget_element(box.member);
    forget_element(box.label);
    forget_element(box.title);
  }
}

std::string figure_of(const std::string &caption, const std::vector<map_box> &boxes) {
  return fmt::format("<figure><figcaption>{}</figcaption>\n{}</figure>\n", in_markup(caption),
                     map_of(boxes, {}, caption));
}

std::string wire_figure(const std::string &caption, const message_descriptor &message,
                        const std::vector<uint8_t> &bytes) {
  const anatomy anatomy(message, bytes);
  std::vector<map_box> boxes = boxes_of(anatomy);
  forget_elements(boxes);
  return figure_of(fmt::format("{}, {} bytes", caption, bytes.size()), boxes);
}

std::string table_of(const message_descriptor &message, const std::vector<member_row> &rows) {
  const bool is_flat = message.shape == shape::flat;
  std::string text = fmt::format(
      "<table><thead><tr><th scope=\"col\">member</th><th scope=\"col\">type</th>"
      "<th scope=\"col\">kind</th><th scope=\"col\">slot</th><th scope=\"col\">in the record</th>"
      "<th scope=\"col\">bytes</th>{}</tr></thead>\n<tbody>\n",
      is_flat ? "<th scope=\"col\">in the fixed image</th>" : "");
  for (const member_row &row : rows)
    text += fmt::format("<tr tabindex=\"0\" data-member=\"{0}\"><th scope=\"row\">{0}</th>"
                        "<td>{1}</td><td>{2}</td><td>{3}</td><td>{4}{5}</td><td>{6}</td>{7}</tr>\n",
                        row.path, type_of(*row.field), kind_of(*row.field), row.field->slot,
                        row.is_of_element ? "+" : "", row.offset, row.size,
                        is_flat ? fmt::format("<td>{}</td>", *row.image_offset) : "");
  return text + "</tbody></table>\n";
}

// The words by which a message is found.
std::string words_of(const message_descriptor &message, const std::vector<member_row> &rows) {
  std::string text = fmt::format("{} {} {} {}", message.name, message.module, id_text(message.id),
                                 shape_of(message));
  for (const member_row &row : rows)
    if (row.field->table != nullptr)
      text += std::string(" ") + row.field->table->name;
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return text;
}

std::string article_of(const message_descriptor &message) {
  const std::vector<member_row> rows = member_rows_of(message);
  const bool is_flat = message.shape == shape::flat;
  std::string text = fmt::format(
      "<article id=\"{0}\" data-words=\"{1}\" aria-labelledby=\"name-{0}\">\n"
      "<h2 id=\"name-{0}\"><a href=\"#{0}\">{0}</a></h2>\n"
      "<p>module {2}, identifier {3}, {4}; record {5} bytes, compact {6} bytes when all is "
      "zero{7}</p>\n",
      message.name, words_of(message, rows), message.module, id_text(message.id), shape_of(message),
      message.record_size, message.base_size,
      is_flat ? fmt::format(", fixed image {} bytes", message.fixed_image_size) : "");
  text += table_of(message, rows);
  text += figure_of(fmt::format("The record, {} bytes", message.record_size),
                    boxes_of_record(rows, "", message.record_size));
  for (const member_row &row : rows)
    if (row.field->kind == kind::table_vector)
      text += figure_of(fmt::format("An element of {}, {} bytes", row.path, row.field->width),
                        boxes_of_record(rows, row.path, row.field->width));
  const sample sample(message);
  if (is_flat)
    text +=
        wire_figure("As it is sent: the fixed image", message, fixed_image(message, sample.get()));
  text += wire_figure(is_flat ? "Packed, nothing absent"
                              : "As it is sent, nothing absent, one element in each vector",
                      message, packed(message, sample.get()).value());
  return text + "</article>\n";
}

} // namespace

std::string catalogue_of(std::span<const message_descriptor *const> messages) {
  std::string articles, links;
  for (const message_descriptor *message : messages) {
    articles += article_of(*message);
    links += fmt::format("<li><a href=\"#{0}\">{0}</a></li>\n", message->name);
  }
  std::string text(catalogue_page);
  for (const auto &[mark, instead] :
       {std::pair<std::string_view, std::string_view>("@MAP@", map_page),
        {"@LINKS@", links},
        {"@ARTICLES@", articles}})
    text.replace(text.find(mark), mark.size(), instead);
  return text;
}

} // namespace mesh_fib6::tools
