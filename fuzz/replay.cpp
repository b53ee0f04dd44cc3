// A target without libFuzzer: executes files, and every file below a folder, once each.
//
// Room: attacks. Plain C++ for every build and architecture. Ends with 0 when nothing was found, 1
// when something was, 2 when a file cannot be read or there is none.
#include "fuzz/target.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const char *usage = "usage: %s FILE|FOLDER...\n"
                              "Executes this target once with each file, and each file below each "
                              "folder (but README.md).\n";

bool add_inputs(const fs::path &given, std::vector<fs::path> &inputs) {
  std::error_code failure;
  if (fs::is_regular_file(given, failure)) {
    inputs.push_back(given);
    return true;
  }
  if (!fs::is_directory(given, failure)) {
    fprintf(stderr, "replay: %s: expected a file or a folder\n", given.c_str());
    return false;
  }
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(given))
    if (entry.is_regular_file() && entry.path().filename() != "README.md")
      inputs.push_back(entry.path());
  return true;
}

// 0, 1 or 2 as the process' exit status.
int execute(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file) {
    fprintf(stderr, "replay: %s: cannot be read\n", path.c_str());
    return 2;
  }
  const auto *const data = reinterpret_cast<const uint8_t *>(bytes.data());
  const char *const wrong = fuzz::execute(data, bytes.size());
  if (wrong == nullptr)
    return 0;
  printf("%s: %s\n", path.c_str(), wrong);
  return 1;
}

} // namespace

int main(int argc, char **argv) {
  const bool help = argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0);
  if (argc < 2 || help) {
    fprintf(help ? stdout : stderr, usage, argv[0]);
    return help ? 0 : 2;
  }
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; i++)
    if (!add_inputs(argv[i], inputs))
      return 2;
  if (inputs.empty()) {
    fprintf(stderr, "replay: no file in what was given\n");
    return 2;
  }
  std::sort(inputs.begin(), inputs.end());
  int status = 0;
  for (const fs::path &input : inputs)
    status = std::max(status, execute(input));
  printf("%zu inputs executed\n", inputs.size());
  return status;
}
