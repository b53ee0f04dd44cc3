// Writes a FlatBuffers schema per module into a folder: write_schemas FOLDER
//
// Room: tools. Run it on schemas/ after a change of a message; a test compares.
#include "tools/fbs.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>

namespace {

constexpr const char *usage =
    "usage: write_schemas FOLDER\n"
    "Writes the FlatBuffers schema of each module into the folder, over what is there.\n"
    "Exit status: 0 all are written, 1 one could not be, 2 wrong usage.\n";

int wrong(const std::string &what) {
  std::cerr << "write_schemas: " << what << "\n" << usage;
  return 2;
}

} // namespace

int main(int argc, char **argv) {
  const std::string_view first = argc > 1 ? argv[1] : "";
  if (first == "-h" || first == "--help") {
    std::cout << usage;
    return 0;
  }
  if (argc != 2)
    return wrong("expected 1 argument, found " + std::to_string(argc - 1));
  if (first.starts_with("-"))
    return wrong("unknown option '" + std::string(first) + "'");
  std::error_code error;
  if (!std::filesystem::is_directory(first, error))
    return wrong("expected a folder, found '" + std::string(first) + "'");
  for (const mesh_fib6::tools::module_descriptor &module : mesh_fib6::tools::modules) {
    const std::string path = std::string(first) + "/" + module.name + ".fbs";
    std::ofstream file(path, std::ios::binary);
    file << mesh_fib6::tools::fbs_of(module) << std::flush;
    if (!file) {
      std::cerr << "write_schemas: cannot write " << path << "\n";
      return 1;
    }
  }
  return 0;
}
