// A message as a page: one file that needs nothing else and shows its bytes beside its record.
//
// Room: tools. Knows anatomies; the page itself is page/message.html.
#pragma once

#include "tools/anatomy.h"

#include <string>

namespace mesh_fib6::tools {

// `other` is the same record in the other layout, or null.
std::string page_of(const anatomy &of, const anatomy *other);

} // namespace mesh_fib6::tools
