// The routes of a real table as records.
//
// Room: bench. Includes module fib6's public header.
#pragma once

#include <mesh_fib6/fib6.h>

#include <string>
#include <vector>

namespace bench {

// One route for each line "address/length" of a gzip file; ends the program when it cannot.
std::vector<feiBrokerFib6_ipv6Fwd> read_routes(const std::string &path);

} // namespace bench
