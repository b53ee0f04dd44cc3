// fib6-demo, when all goes well and when the tables differ.
//
// Room: tests. Includes the demo's helpers; the programs are run, not linked.
#include "tests/demo/program_run.h"

using Demo = program_test;

TEST_F(Demo, SendsATableComparesItAndDeletesIt) {
  program_run run(demo({write_table(prefixes(500))}));
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_TRUE(holds(run.output(), "  routes             500\n"));
  EXPECT_TRUE(holds(run.output(), "sending: 500 of 500 routes\n"));
  EXPECT_TRUE(holds(run.output(), "  differences        0 in "));
  EXPECT_TRUE(holds(run.output(), "  blocks leaked      0 of "));
  EXPECT_TRUE(holds(run.output(), "deleted: the receiver's table is empty, 0 routes, 0 next "
                                  "hops, 0 groups\n"));
  EXPECT_FALSE(holds(run.output(), "\r")); // the bar is for terminals
}

TEST_F(Demo, CountsBytesAsTheWireFormatHasThem) {
  // One route: the frame of its message is 20 bytes and its vector's 8; its place in the vector is
  // 4 and its table 60 plus group, metric and line of 4 bytes each and a prefix length of 1.
  program_run run(demo({write_table("2001:db8::/32\n")}));
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_TRUE(holds(run.output(), "  bytes per route    105.0\n"));
}

TEST_F(Demo, SendsSeveralMessagesWhenTheBatchIsSmall) {
  program_run run(demo({"--batch", "7", write_table(prefixes(500))}));
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_TRUE(holds(run.output(), "(72 of them with routes)"));
}

TEST_F(Demo, SendsAMessageThatIsLargerThanAnySharedBuffer) {
  program_run run(demo({"--batch", "5000", write_table(prefixes(5000))}));
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_TRUE(holds(run.output(), "(1 of them with routes)"));
}

TEST_F(Demo, NoticesOneChangedRoute) {
  program_run run(demo({"--spoil", write_table(prefixes(500))}));
  EXPECT_EQ(run.status(), 1);
  EXPECT_TRUE(holds(run.output(), "  differences        1 in "));
  EXPECT_TRUE(holds(run.errors(), "route vrf 0 2001:db8:fa::/48: sent 'unicast group "));
  EXPECT_TRUE(holds(run.errors(), "fib6-demo: 1 difference between the two tables\n"));
}

TEST_F(Demo, KeepsBothTablesAsText) {
  const std::string table = write_table("default via fe80::1 dev eth0 metric 5\n"
                                        "blackhole 2001:db8::/32\n"
                                        "2001:db8:1::/48\n"
                                        "\tnexthop via fe80::1 dev eth0 weight 2\n"
                                        "\tnexthop dev eth1 weight 3\n");
  program_run run(demo({"--keep", mine() + "/kept", "--vrf", "9", table}));
  EXPECT_EQ(run.status(), 0) << run.errors();
  const std::string expected = "next-hop 1 : via fe80::1 interface 101\n"
                               "next-hop 2 : via :: interface 102\n"
                               "group 1 : next-hop 1 weight 1\n"
                               "group 2 : next-hop 1 weight 2, next-hop 2 weight 3\n"
                               "route vrf 9 ::/0 : unicast group 1 metric 5 line 1\n"
                               "route vrf 9 2001:db8::/32 : blackhole group 0 metric 1024 line 2\n"
                               "route vrf 9 2001:db8:1::/48 : unicast group 2 metric 1024 line 3\n"
                               "end of table : 2 next hops, 2 groups, 3 routes\n";
  EXPECT_EQ(read_text(mine() + "/kept/sent.txt"), expected);
  EXPECT_EQ(read_text(mine() + "/kept/received.txt"), expected);
  EXPECT_EQ(read_text(mine() + "/kept/left.txt"),
            "end of table : 0 next hops, 0 groups, 0 routes\n");
}

TEST_F(Demo, ReadsStandardInput) {
  program_run run(demo({"-"}, write_table(prefixes(20))));
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_TRUE(holds(run.output(), "standard input: 20 routes, "));
}

TEST_F(Demo, CountsLinesThatALaterOneOverrides) {
  program_run run(demo({write_table("2001:db8::/32\n2001:db8::/32\n")}));
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_TRUE(holds(run.output(), "1 route overridden by a later line with the same prefix\n"));
}

TEST_F(Demo, RunsBesideAnotherOne) {
  const std::string table = write_table(prefixes(2000));
  program_run one(demo({"--batch", "20", "--pause", "20", table}));
  program_run other(demo({"--batch", "20", "--pause", "20", table}));
  EXPECT_EQ(one.status(), 0) << one.errors();
  EXPECT_EQ(other.status(), 0) << other.errors();
}
