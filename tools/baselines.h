// What is checked in although it follows from the modules' lists, so that a change of it is
// reviewed: the FlatBuffers schemas, the names that the library exports, the public list of its
// messages, and the records of the Python package.
//
// Room: tools. Needs the operations of the descriptors to link, none of them to run.
#pragma once

#include <string>
#include <vector>

namespace mesh_fib6::tools {

struct baseline {
  std::string path; // from the root of the source tree
  std::string text;
};

std::vector<baseline> baselines();

} // namespace mesh_fib6::tools
