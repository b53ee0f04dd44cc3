// Messages as a page that can be searched: what each is made of, and maps of its record and its
// bytes.
//
// Room: tools. Knows descriptors and anatomies; the page itself is page/catalogue.html.
#pragma once

#include "tools/descriptors.h"

#include <span>
#include <string>

namespace mesh_fib6::tools {

// One file that needs nothing else.
std::string catalogue_of(std::span<const message_descriptor *const> messages);

} // namespace mesh_fib6::tools
