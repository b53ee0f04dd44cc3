// What other programs are told of the messages, in their own languages.
//
// Room: tools. Knows descriptors.
#pragma once

#include "tools/descriptors.h"

#include <string>

namespace mesh_fib6::tools {

// A dissector of all messages for Wireshark, in Lua (page/dissector.lua). Link type USER0, the
// header of tools/capture.h.
std::string wireshark_dissector();

// A pattern of the hex editor ImHex for a file that holds one message of this type, in either
// layout: https://docs.werwolv.net/pattern-language
std::string imhex_pattern(const message_descriptor &message);

} // namespace mesh_fib6::tools
