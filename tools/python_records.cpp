// Writes the records of the Python package; see python_records.h.
//
// Room: tools.
#include "tools/python_records.h"

#include "tools/lookup.h"
#include "tools/tables.h"

namespace mesh_fib6::tools {
namespace {

constexpr const char *head =
    "\"\"\"What each record consists of. Written by tools/write_baselines, as schemas/ are.\n"
    "\n"
    "Room: python. _record.py says what the members' kinds are.\n"
    "\"\"\"\n"
    "\n"
    "from typing import ClassVar\n"
    "\n"
    "from ._record import (Message, Record, Words, byte_vector, embedded, octets, record, u8, u16, "
    "u32,\n"
    "                      vector, words)\n";

// A member's type and its kind, which is its default value, too.
std::string declaration_of(const field_descriptor &field) {
  const std::string length = std::to_string(field.length);
  const std::string name = field.table != nullptr ? field.table->name : "";
  switch (field.kind) {
  case kind::scalar:
    return "int = u" + std::to_string(8 * field.width) + "()";
  case kind::words:
    return "Words = words(" + length + ")";
  case kind::bytes:
    return "bytes = octets(" + length + ")";
  case kind::table:
    return name + " = embedded(" + name + ")";
  case kind::table_vector:
    return "list[" + name + "] = vector(" + name + ")";
  case kind::byte_vector:
    return "bytes = byte_vector()";
  }
  return {};
}

std::string text_of(const table_descriptor &table, const message_descriptor *message) {
  std::string text = std::string("\n\n@record\nclass ") + table.name +
                     (message != nullptr ? "(Message)" : "(Record)") + ":\n";
  if (message != nullptr)
    text += "    ID: ClassVar[int] = " + id_text(message->id) + "\n";
  for (const field_descriptor &field : table.fields)
    text += std::string("    ") + field.name + ": " + declaration_of(field) + "\n";
  return text;
}

} // namespace

std::string python_records() {
  std::string text = head, names;
  for (const module_descriptor &module : modules)
    for (const table_descriptor *table : tables_of(module)) {
      text += text_of(*table, message_of(*table, module));
      names += std::string("    \"") + table->name + "\",\n";
    }
  return text + "\n\n__all__ = [\n" + names + "]\n";
}

} // namespace mesh_fib6::tools
