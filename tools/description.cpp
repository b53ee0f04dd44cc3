// Describes messages; see description.h.
//
// Room: tools.
#include "tools/description.h"

#include "tools/json_text.h"
#include "tools/lookup.h"
#include "tools/member_rows.h"
#include "tools/tables.h"

#include <algorithm>
#include <fmt/format.h>

namespace mesh_fib6::tools {

namespace {

void put_message(json_text &to, const message_descriptor &message) {
  put(to, "module", std::string_view(message.module));
  put(to, "message", std::string_view(message.name));
  put(to, "id", id_text(message.id));
  put(to, "shape", std::string_view(shape_of(message)));
  put(to, "record_size", message.record_size);
  put(to, "base_size", message.base_size);
  if (message.shape == shape::flat)
    put(to, "fixed_size", message.fixed_image_size);
}

} // namespace

std::string described_as_table(const message_descriptor &message) {
  const bool is_flat = message.shape == shape::flat;
  std::vector<std::array<std::string, 6>> cells = {
      {"member", "type", "slot", "record", "bytes", is_flat ? "fixed image" : ""}};
  for (const member_row &row : member_rows_of(message))
    cells.push_back({row.path, type_of(*row.field), std::to_string(row.field->slot),
                     (row.is_of_element ? "+" : "") + std::to_string(row.offset),
                     std::to_string(row.size), is_flat ? std::to_string(*row.image_offset) : ""});
  std::array<size_t, 6> widths{};
  for (const auto &line : cells)
    for (size_t i = 0; i < line.size(); i++)
      widths[i] = std::max(widths[i], line[i].size());

  std::string text = fmt::format(
      "{}\nmodule {}, identifier {}, {}\nrecord {} bytes, compact {} bytes when all is zero{}\n\n",
      message.name, message.module, id_text(message.id), shape_of(message), message.record_size,
      message.base_size,
      message.shape == shape::flat ? fmt::format(", fixed image {} bytes", message.fixed_image_size)
                                   : std::string());
  for (const auto &line : cells) {
    std::string row = fmt::format("{:<{}}  {:<{}}  {:>{}}  {:>{}}  {:>{}}  {:>{}}", line[0],
                                  widths[0], line[1], widths[1], line[2], widths[2], line[3],
                                  widths[3], line[4], widths[4], line[5], widths[5]);
    row.erase(row.find_last_not_of(' ') + 1);
    text += row + "\n";
  }
  return text;
}

std::string described_as_json(const message_descriptor &message) {
  json_buffer buffer;
  json_text to(buffer);
  to.StartObject();
  put_message(to, message);
  to.Key("members");
  to.StartArray();
  for (const member_row &row : member_rows_of(message)) {
    const field_descriptor &field = *row.field;
    to.StartObject();
    put(to, "path", row.path);
    put(to, "kind", std::string_view(kind_of(field)));
    put(to, "type", type_of(field));
    put(to, "slot", field.slot);
    put(to, "offset", row.offset);
    put(to, "size", row.size);
    if (field.is_vector())
      put(to, "count_offset", row.count_offset());
    if (field.is_fixed_array())
      put(to, "length", field.length);
    if (row.image_offset)
      put(to, "fixed_image_offset", *row.image_offset);
    to.EndObject();
  }
  to.EndArray();
  to.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

std::string described_as_c(const message_descriptor &message) {
  std::string text;
  for (const table_descriptor *table : tables_of(message)) {
    text += fmt::format("{}/* {} bytes. */\ntypedef struct {} {{\n", text.empty() ? "" : "\n",
                        table->record_size, table->name);
    for (const field_descriptor &field : table->fields) {
      const std::string item =
          field.table != nullptr ? field.table->name : fmt::format("uint{}_t", 8 * field.width);
      if (field.is_vector())
        text += fmt::format("  uint32_t {0}_count;\n  {1} *{0};\n", field.name, item);
      else if (field.is_fixed_array())
        text += fmt::format("  {} {}[{}];\n", item, field.name, field.length);
      else
        text += fmt::format("  {} {};\n", item, field.name);
    }
    text += fmt::format("}} {};\n", table->name);
  }
  return text + fmt::format("\n#define {}_ID UINT32_C({})\n", message.name, id_text(message.id));
}

std::string listed() {
  size_t names = 0, module_names = 0;
  for_each_message([&](const message_descriptor &message) {
    names = std::max(names, std::string_view(message.name).size());
    module_names = std::max(module_names, std::string_view(message.module).size());
  });
  std::string text = fmt::format("{:<{}}  {:<{}}  {:<10}  shape  record  fixed\n", "module",
                                 module_names, "message", names, "identifier");
  for_each_message([&](const message_descriptor &message) {
    text += fmt::format(
        "{:<{}}  {:<{}}  {}  {:<5}  {:>6}  {:>5}\n", message.module, module_names, message.name,
        names, id_text(message.id), shape_of(message), message.record_size,
        message.shape == shape::flat ? std::to_string(message.fixed_image_size) : "-");
  });
  return text;
}

std::string listed_as_json() {
  json_buffer buffer;
  json_text to(buffer);
  to.StartArray();
  for_each_message([&](const message_descriptor &message) {
    to.StartObject();
    put_message(to, message);
    to.EndObject();
  });
  to.EndArray();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

} // namespace mesh_fib6::tools
