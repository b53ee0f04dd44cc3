// FlatBuffers schemas (.fbs) of the messages, for readers and writers that are not this library.
//
// Room: tools. Tables only: needs no part of the library at run time.
#pragma once

#include "tools/descriptors.h"

#include <string>

namespace mesh_fib6::tools {

// The name of a record's table within its namespace: what follows "<namespace>_".
std::string_view table_name(const table_descriptor &table, std::string_view wire_namespace);

// The text of a module's schema: every table that its messages use, each before its first user,
// slots fixed by `id`.
std::string fbs_of(const module_descriptor &module);
// Of one of its messages and what that is made of.
std::string fbs_of(const module_descriptor &module, const message_descriptor &message);

} // namespace mesh_fib6::tools
