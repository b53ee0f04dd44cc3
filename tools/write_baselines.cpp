// Writes what is checked in although it follows from the modules' lists: write_baselines TREE
//
// Room: tools. Run by the target refresh-baselines after a change of a message; a test compares.
#include "tools/baselines.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>

namespace {

namespace fs = std::filesystem;

constexpr const char *usage =
    "usage: write_baselines TREE\n"
    "Writes abi/exports.txt, include/mesh_fib6/message_list.h, the FlatBuffers schema of each "
    "module,\n"
    "schemas/*.fbs, and the records of the Python package, python/mesh_fib6/_records.py, of the\n"
    "source tree, over what is there.\n"
    "Exit status: 0 all are written, 1 one could not be, 2 wrong usage.\n";

int wrong(const std::string &what) {
  std::cerr << "write_baselines: " << what << "\n" << usage;
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
  const fs::path tree = first;
  std::error_code error;
  for (const char *folder : {"abi", "include/mesh_fib6", "schemas", "python/mesh_fib6"})
    if (!fs::is_directory(tree / folder, error))
      return wrong("expected a source tree with a folder " + std::string(folder) + ", found '" +
                   std::string(first) + "'");
  for (const mesh_fib6::tools::baseline &each : mesh_fib6::tools::baselines()) {
    std::ofstream file(tree / each.path, std::ios::binary);
    file << each.text << std::flush;
    if (!file) {
      std::cerr << "write_baselines: cannot write " << (tree / each.path).string() << "\n";
      return 1;
    }
  }
  return 0;
}
