// An anatomy as text: for people and for programs.
//
// Room: tools. Knows anatomies; fmt and RapidJSON inside.
#pragma once

#include "tools/anatomy.h"

#include <string>

namespace mesh_fib6::tools {

// `ipv6FwdUpdateMsg, 99 bytes: sound`, or why not.
std::string summary_of(const anatomy &of);

// "f1[0]: table-offset at byte 28: expected a table at 4 to 95, found a table at 4024"
std::string text_of(const anatomy &of, const refusal &refusal);

// Lines as golden files have them, `offset | bytes | meaning`, and what is wrong or odd behind
// them. Lines that begin with # say what is no item, so that the text can be read back as bytes.
std::string explained(const anatomy &of, bool coloured);

// The same as one JSON object, and a line's end.
std::string explained_as_json(const anatomy &of);

// The verdict alone: {"message": ..., "size": ..., "sound": ..., "refusal": {...}}, and a line's
// end.
std::string verdict_as_json(const anatomy &of);

} // namespace mesh_fib6::tools
