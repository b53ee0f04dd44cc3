// Reports between the processes of the demo.
//
// Room: tests. Includes the demo only.
#include "demo/report.h"
#include "demo/text.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

using namespace demo;

namespace {

struct channel_pair {
  channel_pair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
  int ends[2] = {-1, -1};
};

} // namespace

TEST(Report, ComesBackFromItsLine) {
  const report told{"sent", {{"bytes", 18446744073709551615u}, {"messages", 0}}};
  EXPECT_EQ(to_line(told), "sent bytes=18446744073709551615 messages=0\n");
  const report heard = from_line("sent bytes=18446744073709551615 messages=0");
  EXPECT_EQ(heard.word, "sent");
  EXPECT_EQ(heard.numbers, told.numbers);
}

TEST(Report, WithANumberThatIsNoneIsRefused) {
  for (const char *line : {"sent bytes=", "sent bytes=1x", "sent bytes", "sent bytes=-1"})
    EXPECT_THROW(from_line(line), failure) << line;
}

TEST(Report, RefusesToInventANumber) {
  const report heard = from_line("sent bytes=1");
  EXPECT_EQ(heard["bytes"], 1u);
  EXPECT_THROW(heard["messages"], failure);
}

TEST(ReportChannel, HearsWholeLinesInOrder) {
  const channel_pair pair;
  report_channel near(pair.ends[0]), far(pair.ends[1]);
  far.tell({"one", {{"a", 1}}});
  far.tell({"two", {}});
  EXPECT_EQ(near.hear(1000)->word, "one");
  EXPECT_EQ(near.hear(0)->word, "two");
  EXPECT_FALSE(near.hear(0).has_value());
  EXPECT_FALSE(near.closed());
}

TEST(ReportChannel, HearsWhatWasSaidBeforeTheOtherEndClosed) {
  const channel_pair pair;
  report_channel near(pair.ends[0]);
  report_channel(pair.ends[1]).tell({"last", {}});
  EXPECT_EQ(near.hear(1000)->word, "last");
  EXPECT_FALSE(near.hear(1000).has_value());
  EXPECT_TRUE(near.closed());
}

TEST(ReportChannel, SaysWhenNobodyListens) {
  const channel_pair pair;
  report_channel near(pair.ends[0]);
  close(pair.ends[1]);
  EXPECT_THROW(near.tell({"lost", {}}), failure);
}
