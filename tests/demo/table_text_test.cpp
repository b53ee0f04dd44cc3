// Tables as text, and whether the comparison notices every kind of damage.
//
// Room: tests. Includes the demo only.
#include "demo/table_text.h"
#include "demo/temporary_directory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace demo;

namespace {

route_table small_table() {
  route_table table;
  const prefix first{{0x20, 0x01, 0x0d, 0xb8}, 32};
  table.next_hops[3] = {{0xfe, 0x80}, 9};
  table.groups[7] = {{3, 1}, {20, 2}};
  table.routes[{0, first}] = {route_kind::unicast, 7, 1024, 12};
  table.routes[{4, first}] = {route_kind::blackhole, 0, 5, 13};
  return table;
}

class TableFiles : public testing::Test {
protected:
  TableFiles() { write_table(small_table(), expected()); }

  // Compares the good table with one that `damage` was done to.
  template <class Damage>
  table_difference after(Damage damage) {
    route_table table = small_table();
    damage(table);
    write_table(table, found());
    return compare_tables(expected(), found());
  }

  std::string text_of(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }

  void write_found(const std::string &text) { std::ofstream(found()) << text; }

  std::string expected() const { return directory.path() + "/expected"; }
  std::string found() const { return directory.path() + "/found"; }

private:
  temporary_directory directory;
};

TEST_F(TableFiles, HoldEveryAttributeOfEveryEntry) {
  EXPECT_EQ(text_of(expected()), "next-hop 3 : via fe80:: interface 9\n"
                                 "group 7 : next-hop 3 weight 1, next-hop 20 weight 2\n"
                                 "route vrf 0 2001:db8::/32 : unicast group 7 metric 1024 line 12\n"
                                 "route vrf 4 2001:db8::/32 : blackhole group 0 metric 5 line 13\n"
                                 "end of table : 1 next hops, 1 groups, 2 routes\n");
}

TEST_F(TableFiles, OfTheSameTableDoNotDiffer) {
  const table_difference same = after([](route_table &) {});
  EXPECT_EQ(same.differences, 0u);
  EXPECT_EQ(same.entries, 4u);
  EXPECT_TRUE(same.texts.empty());
}

TEST_F(TableFiles, DifferInEveryAttributeOfARoute) {
  const auto changed = [this](auto change) {
    return after([&](route_table &table) { change(table.routes.begin()->second); }).differences;
  };
  EXPECT_EQ(changed([](route &entry) { entry.kind = route_kind::local; }), 1u);
  EXPECT_EQ(changed([](route &entry) { entry.group++; }), 1u);
  EXPECT_EQ(changed([](route &entry) { entry.metric++; }), 1u);
  EXPECT_EQ(changed([](route &entry) { entry.input_line++; }), 1u);
}

TEST_F(TableFiles, DifferInEveryAttributeOfNextHopsAndGroups) {
  EXPECT_EQ(after([](route_table &table) { table.next_hops[3].gateway[15]++; }).differences, 1u);
  EXPECT_EQ(after([](route_table &table) { table.next_hops[3].interface++; }).differences, 1u);
  EXPECT_EQ(after([](route_table &table) { table.groups[7][0].next_hop++; }).differences, 1u);
  EXPECT_EQ(after([](route_table &table) { table.groups[7][1].weight++; }).differences, 1u);
}

TEST_F(TableFiles, DifferInAMissingEntryAndInTheCount) {
  const table_difference missing =
      after([](route_table &table) { table.routes.erase(table.routes.begin()); });
  EXPECT_EQ(missing.differences, 2u);
  EXPECT_EQ(missing.texts.at(1), "route vrf 0 2001:db8::/32: missing at the receiver");
}

TEST_F(TableFiles, DifferInAnEntryThatWasNeverSent) {
  const table_difference added = after([](route_table &table) { table.next_hops[4] = {}; });
  EXPECT_EQ(added.differences, 2u);
  EXPECT_EQ(added.texts.at(1), "next-hop 4: never sent");
}

TEST_F(TableFiles, NameBothSidesOfADifference) {
  const table_difference changed =
      after([](route_table &table) { table.next_hops[3].interface = 8; });
  EXPECT_EQ(changed.texts, std::vector<std::string>{
                               "next-hop 3: sent 'via fe80:: interface 9', received 'via fe80:: "
                               "interface 8'"});
}

TEST_F(TableFiles, CountMoreDifferencesThanTheyName) {
  const table_difference many = after([](route_table &table) {
    for (uint32_t i = 100; i < 150; i++)
      table.next_hops[i] = {};
  });
  EXPECT_EQ(many.differences, 51u); // and the count
  EXPECT_EQ(many.texts.size(), named_differences);
}

TEST_F(TableFiles, AreRefusedWhenCutShort) {
  const std::string whole = text_of(expected());
  write_found(whole.substr(0, whole.rfind("end of table")));
  EXPECT_THROW(compare_tables(expected(), found()), failure);
}

TEST_F(TableFiles, AreRefusedWhenTheyNameAnEntryTwice) {
  const std::string whole = text_of(expected());
  write_found(whole.substr(0, whole.find('\n') + 1) + whole);
  EXPECT_THROW(compare_tables(expected(), found()), failure);
}

TEST_F(TableFiles, AreRefusedWhenTheyAreNoTableOrNotThere) {
  write_found("2001:db8::/32\n");
  EXPECT_THROW(compare_tables(expected(), found()), failure);
  EXPECT_THROW(compare_tables(expected(), found() + ".missing"), failure);
}

TEST(TableFile, ThatCannotBeWrittenIsAFailure) {
  EXPECT_THROW(write_table(small_table(), "/nonexistent/table"), failure);
  EXPECT_THROW(write_table(small_table(), "/dev/full"), failure);
}

} // namespace
