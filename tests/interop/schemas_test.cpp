// The checked-in schemas against what the build's descriptors give.
//
// Room: tests.
#include "tools/fbs.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

std::string checked_in(const std::string &module) {
  std::ifstream file(MESH_FIB6_SCHEMA_DIR "/" + module + ".fbs", std::ios::binary);
  EXPECT_TRUE(file) << module << ".fbs cannot be read";
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Schemas, AreWhatTheDescriptorsGive) {
  for (const mesh_fib6::tools::module_descriptor &module : mesh_fib6::tools::modules)
    EXPECT_TRUE(checked_in(module.name) == mesh_fib6::tools::fbs_of(module))
        << module.name << ".fbs is out of date; build and run write_schemas on schemas/";
}

} // namespace
