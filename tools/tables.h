// The tables of a module, as what is generated from the descriptors lists them.
//
// Room: tools. Tables only: needs no part of the library at run time.
#pragma once

#include "tools/descriptors.h"

#include <vector>

namespace mesh_fib6::tools {

// Every table that the module's messages use, once, each before its first user.
std::vector<const table_descriptor *> tables_of(const module_descriptor &module);
// Those of one message; its own comes last.
std::vector<const table_descriptor *> tables_of(const message_descriptor &message);

// The message whose record this table is; null for what messages are made of.
const message_descriptor *message_of(const table_descriptor &table,
                                     const module_descriptor &module);

} // namespace mesh_fib6::tools
