// Lists tables; see tables.h.
//
// Room: tools.
#include "tools/tables.h"

#include <algorithm>

namespace mesh_fib6::tools {
namespace {

// The tables that `table` refers to, then itself, without those that are listed already.
void list_tables(const table_descriptor &table, std::vector<const table_descriptor *> &listed) {
  if (std::find(listed.begin(), listed.end(), &table) != listed.end())
    return;
  for (const field_descriptor &field : table.fields)
    if (field.table != nullptr)
      list_tables(*field.table, listed);
  listed.push_back(&table);
}

} // namespace

std::vector<const table_descriptor *> tables_of(const module_descriptor &module) {
  std::vector<const table_descriptor *> tables;
  for (const message_descriptor &message : module.messages)
    list_tables(*message.table, tables);
  return tables;
}

std::vector<const table_descriptor *> tables_of(const message_descriptor &message) {
  std::vector<const table_descriptor *> tables;
  list_tables(*message.table, tables);
  return tables;
}

const message_descriptor *message_of(const table_descriptor &table,
                                     const module_descriptor &module) {
  const auto message =
      std::find_if(module.messages.begin(), module.messages.end(),
                   [&table](const message_descriptor &each) { return each.table == &table; });
  return message != module.messages.end() ? &*message : nullptr;
}

} // namespace mesh_fib6::tools
