// What a message is made of, as text: for people, for programs, for C.
//
// Room: tools. Knows descriptors; fmt and RapidJSON inside.
#pragma once

#include "tools/descriptors.h"

#include <string>

namespace mesh_fib6::tools {

// A table a record: members, types, slots, positions.
std::string described_as_table(const message_descriptor &message);
// The same, as one line of JSON.
std::string described_as_json(const message_descriptor &message);
// The record's type and those of its members, as the public header has them.
std::string described_as_c(const message_descriptor &message);

// All messages, a line each.
std::string listed();
// The same, as a JSON array.
std::string listed_as_json();

} // namespace mesh_fib6::tools
