// The text of the progress bar, and numbers as people read them.
//
// Room: tests. Includes the demo only.
#include "demo/progress.h"
#include "demo/text.h"

#include <gtest/gtest.h>

using namespace demo;

TEST(ProgressBar, IsEmptyAtTheStartHalfInTheMiddleAndFullAtTheEnd) {
  EXPECT_EQ(bar_text("sending", 0, 1000, 51), "sending [--------------------]   0%     0 of 1,000");
  EXPECT_EQ(bar_text("sending", 500, 1000, 51),
            "sending [##########----------]  50%   500 of 1,000");
  EXPECT_EQ(bar_text("sending", 1000, 1000, 51),
            "sending [####################] 100% 1,000 of 1,000");
}

TEST(ProgressBar, NeverFillsTheLastColumn) {
  for (unsigned columns = 40; columns < 200; columns++)
    EXPECT_LT(bar_text("sending", 7, 160147, columns).size(), columns);
}

TEST(ProgressBar, IsLeftOutWhereItDoesNotFit) {
  EXPECT_EQ(bar_text("sending", 7, 160147, 20), "sending   0%       7 of 160,147");
}

TEST(ProgressBar, OfNothingIsFull) {
  EXPECT_EQ(bar_text("sending", 0, 0, 10), "sending 100% 0 of 0");
}

TEST(Text, GroupsDigitsByThousands) {
  EXPECT_EQ(grouped(0), "0");
  EXPECT_EQ(grouped(999), "999");
  EXPECT_EQ(grouped(1000), "1,000");
  EXPECT_EQ(grouped(18446744073709551615u), "18,446,744,073,709,551,615");
}

TEST(Text, CountsOneThingWithoutAnS) {
  EXPECT_EQ(counted(1, "route"), "1 route");
  EXPECT_EQ(counted(0, "route"), "0 routes");
}

TEST(Text, CutsWhatIsTooLongToRead) {
  EXPECT_EQ(shown(std::string(61, 'a')), "'" + std::string(60, 'a') + "...'");
  EXPECT_EQ(shown(std::string(60, 'a')), "'" + std::string(60, 'a') + "'");
}
