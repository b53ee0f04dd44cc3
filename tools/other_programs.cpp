// Tells other programs of the messages; see other_programs.h.
//
// Room: tools.
#include "tools/other_programs.h"

#include "tools/lookup.h"
#include "tools/tables.h"

#include <fmt/format.h>
#include <utility>

namespace mesh_fib6::tools {

// page/dissector.lua and page/table.hexpat, made a part of the program by the build.
extern const std::string_view dissector_page;
extern const std::string_view table_page;

namespace {

const char *lua_kind_of(const field_descriptor &field) {
  switch (field.kind) {
  case kind::scalar:
    return "scalar";
  case kind::words:
    return "words";
  case kind::bytes:
    return "bytes";
  case kind::table:
    return "table";
  case kind::table_vector:
    return "table_vector";
  case kind::byte_vector:
    return "byte_vector";
  }
  return "";
}

std::string lua_table(const table_descriptor &table) {
  std::string text = fmt::format("  [\"{}\"] = {{\n", table.name);
  for (const field_descriptor &field : table.fields)
    text += fmt::format("    {{\"{}\", \"{}\", {}, {}{}}},\n", field.name, lua_kind_of(field),
                        field.width, field.length,
                        field.table != nullptr ? fmt::format(", \"{}\"", field.table->name)
                                               : std::string());
  return text + "  },\n";
}

} // namespace

std::string wireshark_dissector() {
  std::string messages, tables;
  for (const module_descriptor &module : modules) {
    for (const message_descriptor &message : module.messages)
      messages += fmt::format("  [{}] = {{\"{}\", \"{}\"}},\n", id_text(message.id), message.name,
                              message.table->name);
    for (const table_descriptor *table : tables_of(module))
      tables += lua_table(*table);
  }
  std::string text(dissector_page);
  for (const auto &[mark, instead] :
       {std::pair("@MESSAGES@", &messages), std::pair("@TABLES@", &tables)})
    text.replace(text.find(mark), std::string_view(mark).size(), *instead);
  return text;
}

namespace {

// The lines that read a member, whose field is at `at`.
std::string hexpat_of(const field_descriptor &field) {
  const std::string type =
      field.table != nullptr ? field.table->name : fmt::format("u{}", 8 * field.width);
  switch (field.kind) {
  case kind::scalar:
    return fmt::format("{} {} @ at;", type, field.name);
  case kind::table:
    return fmt::format("{} {} @ target(at);", type, field.name);
  case kind::words:
  case kind::bytes:
  case kind::byte_vector:
    return fmt::format("array<{}> {} @ target(at);", type, field.name);
  case kind::table_vector:
    return fmt::format("references<{}> {} @ target(at);", type, field.name);
  }
  return {};
}

} // namespace

std::string imhex_pattern(const message_descriptor &message) {
  std::string text(table_page);
  for (const table_descriptor *table : tables_of(message)) {
    text += fmt::format("\nstruct {} {{\n  u64 table = $;\n  s32 soffset;\n"
                        "  vtable vtable @ table - soffset;\n  u64 at = 0;\n",
                        table->name);
    for (const field_descriptor &field : table->fields)
      text += fmt::format("  at = member(table, {});\n  if (at != 0) {{\n    {}\n  }}\n",
                          field.slot, hexpat_of(field));
    text += "};\n";
  }
  return text +
         fmt::format("\n// {}, identifier {}\nu32 root_offset @ 0;\n{} message @ root_offset;\n",
                     message.name, id_text(message.id), message.table->name);
}

} // namespace mesh_fib6::tools
