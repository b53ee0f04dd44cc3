// Writes a FlatBuffers schema per module into a folder: write_schemas FOLDER
//
// Room: tools. Run it on schemas/ after a change of a message; a test compares.
#include "tools/fbs.h"

#include <fstream>
#include <iostream>

int main(int argc, char **argv) {
  if (argc != 2) {
    std::cerr << "usage: write_schemas FOLDER\n";
    return 2;
  }
  for (const mesh_fib6::tools::module_descriptor &module : mesh_fib6::tools::modules) {
    const std::string path = std::string(argv[1]) + "/" + module.name + ".fbs";
    std::ofstream file(path, std::ios::binary);
    file << mesh_fib6::tools::fbs_of(module) << std::flush;
    if (!file) {
      std::cerr << "write_schemas: cannot write " << path << "\n";
      return 1;
    }
  }
  return 0;
}
