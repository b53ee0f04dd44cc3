// What is checked in against what the modules' lists give.
//
// Room: tests.
#include "tools/baselines.h"
#include "tools/descriptors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using mesh_fib6::tools::baseline;

std::string checked_in(const std::string &path) {
  std::ifstream file(MESH_FIB6_SOURCE_DIR "/" + path, std::ios::binary);
  EXPECT_TRUE(file) << path << " cannot be read";
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> sorted_lines(const std::string &text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

// The lines of one text that the other has not, a comma between two.
std::string lines_missing(const std::string &one, const std::string &other) {
  const std::vector<std::string> of_one = sorted_lines(one), of_other = sorted_lines(other);
  std::vector<std::string> missing;
  std::set_difference(of_one.begin(), of_one.end(), of_other.begin(), of_other.end(),
                      std::back_inserter(missing));
  std::string text;
  for (const std::string &line : missing)
    text += (text.empty() ? "" : ", ") + line;
  return text;
}

TEST(Baselines, AreWhatTheModulesListsGive) {
  for (const baseline &each : mesh_fib6::tools::baselines()) {
    const std::string there = checked_in(each.path);
    EXPECT_TRUE(there == each.text)
        << each.path << " is out of date\n  lacks: " << lines_missing(each.text, there)
        << "\n  should not have: " << lines_missing(there, each.text)
        << "\nBuild the target refresh-baselines and review what it changes.";
  }
}

// Declared in a header and in no list, a message would have functions that nobody defines.
TEST(ModulesLists, HaveEveryMessageThatAHeaderDeclares) {
  for (const mesh_fib6::tools::module_descriptor &module : mesh_fib6::tools::modules) {
    const std::string path = std::string("include/mesh_fib6/") + module.name + ".h";
    std::string declared, listed;
    for (const std::string &line : sorted_lines(checked_in(path)))
      if (line.starts_with("MESH_FIB6_MESSAGE("))
        declared += line + "\n";
    for (const mesh_fib6::tools::message_descriptor &message : module.messages)
      listed += std::string("MESH_FIB6_MESSAGE(") + message.name + ");\n";
    EXPECT_EQ(lines_missing(declared, listed), "")
        << "what the list in modules/" << module.name << "/schema.h lacks";
    EXPECT_EQ(lines_missing(listed, declared), "") << "what " << path << " lacks";
  }
}

} // namespace
