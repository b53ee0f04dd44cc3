// Text that people read, and type.
//
// Room: tests. Includes the demo.
#include "demo/program.h"
#include "demo/text.h"
#include "tests/host/captured_stderr.h"

#include <gtest/gtest.h>

using namespace demo;

namespace {

TEST(Text, IsQuotedWhereAShellWouldTakeItForSomethingElse) {
  EXPECT_EQ(quoted("build/release/demo/fib6-receiver"), "build/release/demo/fib6-receiver");
  EXPECT_EQ(quoted("/a b/$c"), "'/a b/$c'");
  EXPECT_EQ(quoted("it's"), "'it'\\''s'");
  EXPECT_EQ(quoted(""), "''");
}

TEST(Text, OfWhatEndsAProgramSaysWhoseEndItIs) {
  const captured_stderr told;
  EXPECT_EQ(guarded("one", []() -> int { throw std::bad_alloc(); }), failed_status);
  EXPECT_EQ(guarded("two", []() -> int { throw failure("the reason"); }), failed_status);
  EXPECT_EQ(told.text(), "one: not enough memory\ntwo: the reason\n");
}

} // namespace
