// Writes FlatBuffers schemas; see fbs.h.
//
// Room: tools.
#include "tools/fbs.h"

#include "tools/lookup.h"
#include "tools/tables.h"

namespace mesh_fib6::tools {
namespace {

std::string number_type(uint32_t width) {
  return width == 1 ? "ubyte" : width == 2 ? "ushort" : "uint";
}

std::string type_of(const field_descriptor &field, std::string_view wire_namespace) {
  switch (field.kind) {
  case kind::scalar:
    return number_type(field.width);
  case kind::words:
  case kind::bytes:
  case kind::byte_vector:
    return "[" + number_type(field.width) + "]";
  case kind::table:
    return std::string(table_name(*field.table, wire_namespace));
  case kind::table_vector:
    return "[" + std::string(table_name(*field.table, wire_namespace)) + "]";
  }
  return {};
}

std::string line_of(const field_descriptor &field, std::string_view wire_namespace) {
  std::string line = std::string("  ") + field.name + ":" + type_of(field, wire_namespace) +
                     " (id: " + std::to_string(field.slot);
  if (field.is_fixed_array())
    line += ", length: " + std::to_string(field.length);
  return line + ");\n";
}

// A table that is a message says so: nothing in its bytes does.
std::string message_comment(const message_descriptor &message) {
  if (message.shape == shape::tree)
    return "/// A message. Sent in the compact arrangement.\n";
  return "/// A message. Sent as a fixed image of " + std::to_string(message.fixed_image_size) +
         " bytes.\n";
}

std::string message_attribute(const message_descriptor &message) {
  return " (message_id: \"" + id_text(message.id) + "\")";
}

std::string text_of(const table_descriptor &table, const module_descriptor &module) {
  const message_descriptor *const message = message_of(table, module);
  const bool is_message = message != nullptr;
  std::string text = is_message ? message_comment(*message) : "";
  text += "table " + std::string(table_name(table, module.wire_namespace));
  text += is_message ? message_attribute(*message) : "";
  text += " {\n";
  for (const field_descriptor &field : table.fields)
    text += line_of(field, module.wire_namespace);
  return text + "}\n";
}

} // namespace

std::string_view table_name(const table_descriptor &table, std::string_view wire_namespace) {
  return std::string_view(table.name).substr(wire_namespace.size() + 1);
}

namespace {

std::string head_of(const module_descriptor &module) {
  return std::string("//\n"
                     "// What a schema cannot say, docs/interop.md does: buffers are not aligned, "
                     "and an array with a\n"
                     "// `length` has exactly that many elements.\n\n"
                     "attribute \"length\";\n"
                     "attribute \"message_id\";\n\n"
                     "namespace ") +
         module.wire_namespace + ";\n";
}

} // namespace

std::string fbs_of(const module_descriptor &module) {
  std::string text = std::string("// The messages of module ") + module.name +
                     ", for FlatBuffers tools. Written by tools/write_baselines.\n" +
                     head_of(module);
  for (const table_descriptor *table : tables_of(module))
    text += "\n" + text_of(*table, module);
  return text;
}

std::string fbs_of(const module_descriptor &module, const message_descriptor &message) {
  std::string text =
      std::string("// ") + message.name + ", for FlatBuffers tools.\n" + head_of(module);
  for (const table_descriptor *table : tables_of(message))
    text += "\n" + text_of(*table, module);
  return text + "\nroot_type " + std::string(table_name(*message.table, module.wire_namespace)) +
         ";\n";
}

} // namespace mesh_fib6::tools
