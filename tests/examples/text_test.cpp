// Text that people read, and type.
//
// Room: tests. Includes the examples.
#include "examples/text.h"

#include <gtest/gtest.h>

using namespace example;

namespace {

TEST(Text, IsQuotedWhereAShellWouldTakeItForSomethingElse) {
  EXPECT_EQ(quoted("build/release/examples/fib6-receiver"), "build/release/examples/fib6-receiver");
  EXPECT_EQ(quoted("/a b/$c"), "'/a b/$c'");
  EXPECT_EQ(quoted("it's"), "'it'\\''s'");
  EXPECT_EQ(quoted(""), "''");
}

} // namespace
