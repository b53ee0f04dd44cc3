// The records of all messages as the Python package (python/) declares them.
//
// Room: tools. Tables only: needs no part of the library at run time.
#pragma once

#include <string>

namespace mesh_fib6::tools {

// The text of python/mesh_fib6/_records.py: every record, each before its first user. What is done
// with a member follows there from what it is, and is written by hand beside it.
std::string python_records();

} // namespace mesh_fib6::tools
