// The manual page of the command line.
//
// Room: tools.
#pragma once

#include "tools/cli/completion.h"

#include <string>
#include <vector>

namespace mesh_fib6::tools::cli {

// In the language of scdoc(5), which makes mesh-fib6(1) of it.
std::string manual_of(const std::string &version, const std::string &about,
                      const std::vector<known_command> &commands);

} // namespace mesh_fib6::tools::cli
