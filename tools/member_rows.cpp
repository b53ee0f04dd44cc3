// Lists members; see member_rows.h.
//
// Room: tools.
#include "tools/member_rows.h"

#include "tools/anatomy.h"
#include "tools/library.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <map>

namespace mesh_fib6::tools {
namespace {

void add_rows(const table_descriptor &table, const std::string &prefix, uint32_t base,
              bool is_of_element, std::vector<member_row> &rows) {
  for (const field_descriptor &field : table.fields) {
    const std::string path = prefix + field.name;
    const uint32_t size =
        field.is_vector() ? static_cast<uint32_t>(sizeof(void *)) : field.width * field.length;
    rows.push_back({&field, path, base + field.offset, size, is_of_element, {}});
    if (field.kind == kind::table)
      add_rows(*field.table, path + ".", base + field.offset, is_of_element, rows);
    else if (field.kind == kind::table_vector)
      add_rows(*field.table, path + "[].", 0, true, rows);
  }
}

// Positions in the fixed image, by paths.
std::map<std::string, uint32_t> image_offsets_of(const message_descriptor &message) {
  const std::vector<uint64_t> zero(message.record_size / sizeof(uint64_t) + 1);
  const std::vector<uint8_t> image = fixed_image(message, zero.data());
  const anatomy anatomy(message, image);
  std::map<std::string, uint32_t> positions;
  for (uint32_t i = 0; i < anatomy.nodes().size(); i++)
    positions[anatomy.path_of(i)] = anatomy.nodes()[i].at;
  return positions;
}

} // namespace

std::vector<member_row> member_rows_of(const message_descriptor &message) {
  std::vector<member_row> rows;
  add_rows(*message.table, "", 0, false, rows);
  if (message.shape == shape::flat) {
    const std::map<std::string, uint32_t> positions = image_offsets_of(message);
    for (member_row &row : rows)
      row.image_offset = positions.at(row.path);
  }
  return rows;
}

const module_descriptor &module_of(const message_descriptor &message) {
  return *std::find_if(std::begin(modules), std::end(modules), [&](const auto &module) {
    return std::string_view(module.name) == message.module;
  });
}

std::string type_of(const field_descriptor &field) {
  const std::string item =
      field.table != nullptr ? field.table->name : fmt::format("uint{}_t", 8 * field.width);
  if (field.is_vector())
    return item + "[]";
  return field.is_fixed_array() ? fmt::format("{}[{}]", item, field.length) : item;
}

const char *kind_of(const field_descriptor &field) {
  switch (field.kind) {
  case kind::scalar:
    return "scalar";
  case kind::words:
    return "array of words";
  case kind::bytes:
    return "array of bytes";
  case kind::table:
    return "embedded record";
  case kind::table_vector:
    return "vector of records";
  case kind::byte_vector:
    return "vector of bytes";
  }
  return "";
}

const char *shape_of(const message_descriptor &message) {
  return message.shape == shape::flat ? "flat" : "tree";
}

} // namespace mesh_fib6::tools
