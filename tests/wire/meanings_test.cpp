// The check of what golden files say: an item that says something untrue is named, with its line.
//
// Room: tests. That no number and no byte of the golden files themselves may be another is in
// golden_test.cpp.
#include "tests/support/meanings.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using complaints = std::vector<std::string>;

// A message with a record in it, in the compact arrangement. Its first item is line 3 of the file.
constexpr const char *compact =
    "   0 | 0c 00 00 00 | root offset 12\n"
    "   4 | 08 00       | root vtable size 8: 2 slots\n"
    "   6 | 0c 00       | table size 12\n"
    "   8 | 04 00       | slot 0 at table + 4\n"
    "  10 | 08 00       | slot 1 at table + 8\n"
    "  12 | 08 00 00 00 | root table, soffset 8: vtable at 12 - 8 = 4\n"
    "  16 | 01 0b 0c 0d | f0 = 0x0D0C0B01\n"
    "  20 | 0e 00 00 00 | uoffset 14: f1 at 34\n"
    "  24 | 0a 00       | f1 vtable size 10: 3 slots\n"
    "  26 | 09 00       | table size 9\n"
    "  28 | 00 00       | slot 0 absent\n"
    "  30 | 04 00       | slot 1 at table + 4\n"
    "  32 | 08 00       | slot 2 at table + 8\n"
    "  34 | 0a 00 00 00 | f1 table, soffset 10: vtable at 34 - 10 = 24\n"
    "  38 | 03 0b 0c 0d | f1.f1 = 0x0D0C0B03\n"
    "  42 | 04          | f1.f2 = 4\n";

// That message in the fixed arrangement.
constexpr const char *fixed =
    "   0 | 04 00 00 00 | root offset 4\n"
    "   4 | d8 ff ff ff | root table, soffset -40: vtable at 4 + 40 = 44\n"
    "   8 | 01 0b 0c 0d | f0 = 0x0D0C0B01\n"
    "  12 | 04 00 00 00 | uoffset 4: f1 at 16\n"
    "  16 | f0 ff ff ff | f1 table, soffset -16: vtable at 16 + 16 = 32\n"
    "  20 | 02 0b 0c 0d | f1.f0 = 0x0D0C0B02\n"
    "  24 | 03 0b 0c 0d | f1.f1 = 0x0D0C0B03\n"
    "  28 | 04          | f1.f2 = 4\n"
    "  29 | 00 00 00    | gap up to 32, a multiple of 4 behind the table at 16\n"
    "  32 | 0a 00       | f1 vtable size 10: 3 slots\n"
    "  34 | 0d 00       | table size 13\n"
    "  36 | 04 00       | slot 0 at table + 4\n"
    "  38 | 08 00       | slot 1 at table + 8\n"
    "  40 | 0c 00       | slot 2 at table + 12\n"
    "  42 | 00 00       | rest of the 32 bytes that f1 takes from 12 on\n"
    "  44 | 08 00       | root vtable size 8: 2 slots\n"
    "  46 | 28 00       | table size 40\n"
    "  48 | 04 00       | slot 0 at table + 4\n"
    "  50 | 08 00       | slot 1 at table + 8\n"
    "  52 | 00 00 00 00 | tail up to 56, the next multiple of 8\n";

// Two elements and an array of bytes in each.
constexpr const char *vector =
    "   0 | 0c 00 00 00 | root offset 12\n"
    "   4 | 08 00       | root vtable size 8: 2 slots\n"
    "   6 | 10 00       | table size 16\n"
    "   8 | 00 00       | slot 0 absent\n"
    "  10 | 04 00       | slot 1 at table + 4\n"
    "  12 | 08 00 00 00 | root table, soffset 8: vtable at 12 - 8 = 4\n"
    "  16 | 04 00 00 00 | uoffset 4: f1 at 20\n"
    "  20 | 01 00 00 00 | f1 count 1\n"
    "  24 | 12 00 00 00 | uoffset 18: f1[0] at 42\n"
    "  28 | 0e 00       | f1[0] vtable size 14: 5 slots\n"
    "  30 | 23 00       | table size 35\n"
    "  32 | 00 00       | slot 0 absent\n"
    "  34 | 00 00       | slot 1 absent\n"
    "  36 | 04 00       | slot 2 at table + 4\n"
    "  38 | 00 00       | slot 3 absent\n"
    "  40 | 08 00       | slot 4 at table + 8\n"
    "  42 | 0e 00 00 00 | f1[0] table, soffset 14: vtable at 42 - 14 = 28\n"
    "  46 | 08 00 00 00 | uoffset 8: f1[0].f2 at 54\n"
    "  50 | 18 00 00 00 | uoffset 24: f1[0].f4 at 74\n"
    "  54 | 04 00 00 00 | f1[0].f2 count 4\n"
    "  58 | 0a 0b 01 04 00 00 00 00 | f1[0].f2[0..1] = 04010B0A 0\n"
    "  66 | 0a 0b 03 04 0a 0b 04 04 | f1[0].f2[2..3] = 04030B0A 04040B0A\n"
    "  74 | 03 00 00 00 | f1[0].f4 count 3\n"
    "  78 | 06 00 e2    | f1[0].f4 = 06 0 e2\n";

// What is said of an image once a part of its text is another; the part must be there once.
template <class M>
complaints said_of(const std::string &name, std::string text, const std::string &part = "",
                   const std::string &other = "") {
  if (!part.empty()) {
    const size_t at = text.find(part);
    if (at == std::string::npos || text.find(part, at + 1) != std::string::npos)
      throw std::logic_error("not there once: " + part);
    text.replace(at, part.size(), other);
  }
  std::istringstream file("[record " + annotated::naming_of(name).record + "]\n[" + name + "]\n" +
                          text);
  return meanings::complaints(mesh_fib6::tools::described<M>::table, "file.txt",
                              annotated::parse(file, "file.txt").images.at(0));
}
complaints compact_with(const std::string &part, const std::string &other) {
  return said_of<feiBrokerFib6_classItemMsg>("full", compact, part, other);
}
complaints fixed_with(const std::string &part, const std::string &other) {
  return said_of<feiBrokerFib6_classItemMsg>("full_fixed", fixed, part, other);
}
complaints vector_with(const std::string &part, const std::string &other) {
  return said_of<feiBrokerFib6_ipv6FwdDelMsg>("full", vector, part, other);
}

TEST(Meanings, ThatAreTrueAreNotComplainedOf) {
  EXPECT_EQ(said_of<feiBrokerFib6_classItemMsg>("full", compact), complaints{});
  EXPECT_EQ(said_of<feiBrokerFib6_classItemMsg>("full_fixed", fixed), complaints{});
  EXPECT_EQ(said_of<feiBrokerFib6_ipv6FwdDelMsg>("full", vector), complaints{});
}

TEST(Meanings, OfATargetAreCheckedWithFileAndLine) {
  EXPECT_EQ(compact_with("f1 at 34", "f1 at 35"),
            (complaints{"file.txt:10: says \"uoffset 14: f1 at 35\", but the bytes are "
                        "\"uoffset 14: f1 at 34\""}));
  EXPECT_EQ(compact_with("uoffset 14: f1", "uoffset 14: f0"),
            (complaints{"file.txt:10: says \"uoffset 14: f0 at 34\", but the bytes are "
                        "\"uoffset 14: f1 at 34\""}));
  EXPECT_EQ(compact_with("root offset 12", "root offset 13"),
            (complaints{"file.txt:3: says \"root offset 13\", but the bytes are "
                        "\"root offset 12\""}));
  EXPECT_EQ(compact_with("12 - 8 = 4", "12 - 8 = 5"),
            (complaints{"file.txt:8: says \"root table, soffset 8: vtable at 12 - 8 = 5\", but the "
                        "bytes are \"root table, soffset 8: vtable at 12 - 8 = 4\""}));
}

TEST(Meanings, OfVtablesAreChecked) {
  EXPECT_EQ(compact_with("f1 vtable size 10: 3 slots", "f1 vtable size 10: 4 slots"),
            (complaints{"file.txt:11: says \"f1 vtable size 10: 4 slots\", but the bytes are "
                        "\"f1 vtable size 10: 3 slots\""}));
  EXPECT_EQ(
      compact_with("table size 9", "table size 10"),
      (complaints{"file.txt:12: says \"table size 10\", but the bytes are \"table size 9\""}));
  EXPECT_EQ(compact_with("slot 0 absent", "slot 1 absent"),
            (complaints{"file.txt:13: says \"slot 1 absent\", but the bytes are "
                        "\"slot 0 absent\""}));
  EXPECT_EQ(compact_with("  30 | 04 00       | slot 1 at table + 4",
                         "  30 | 04 00       | slot 1 at table + 5"),
            (complaints{"file.txt:14: says \"slot 1 at table + 5\", but the bytes are "
                        "\"slot 1 at table + 4\""}));
}

TEST(Meanings, OfValuesAreChecked) {
  EXPECT_EQ(compact_with("f1.f1 = 0x0D0C0B03", "f1.f1 = 0x0D0C0B04"),
            (complaints{"file.txt:17: says \"f1.f1 = 0x0D0C0B04\", but the bytes are "
                        "\"f1.f1 = 0x0D0C0B03\""}));
  EXPECT_EQ(compact_with("f1.f1 = 0x0D0C0B03", "f1.f0 = 0x0D0C0B03"),
            (complaints{"file.txt:17: says \"f1.f0 = 0x0D0C0B03\", but the bytes are "
                        "\"f1.f1 = 0x0D0C0B03\""}));
  EXPECT_EQ(vector_with("f1[0].f4 = 06 0 e2", "f1[0].f4 = 06 0 e3"),
            (complaints{"file.txt:26: says \"f1[0].f4 = 06 0 e3\", but the bytes are "
                        "\"f1[0].f4 = 06 0 e2\""}));
  EXPECT_EQ(vector_with("[2..3]", "[1..2]"),
            (complaints{"file.txt:24: says \"f1[0].f2[1..2] = 04030B0A 04040B0A\", but the bytes "
                        "are \"f1[0].f2[2..3] = 04030B0A 04040B0A\""}));
}

TEST(Meanings, OfCountsAreChecked) {
  EXPECT_EQ(vector_with("f1 count 1", "f1 count 2"),
            (complaints{"file.txt:10: says \"f1 count 2\", but the bytes are \"f1 count 1\""}));
  EXPECT_EQ(vector_with("f1[0].f4 count 3", "f1[0].f2 count 3"),
            (complaints{"file.txt:25: says \"f1[0].f2 count 3\", but the bytes are "
                        "\"f1[0].f4 count 3\""}));
}

TEST(Meanings, OfGapsAreChecked) {
  EXPECT_EQ(fixed_with("gap up to 32", "gap up to 33"),
            (complaints{"file.txt:11: says \"gap up to 33, a multiple of 4 behind the table at "
                        "16\", but the bytes are \"gap up to 32, a multiple of 4 behind the table "
                        "at 16\""}));
  EXPECT_EQ(fixed_with("takes from 12 on", "takes from 16 on"),
            (complaints{"file.txt:17: says \"rest of the 32 bytes that f1 takes from 16 on\", but "
                        "the bytes are \"rest of the 32 bytes that f1 takes from 12 on\""}));
  EXPECT_EQ(fixed_with("tail up to 56", "tail up to 64"),
            (complaints{"file.txt:22: says \"tail up to 64, the next multiple of 8\", but the "
                        "bytes are \"tail up to 56, the next multiple of 8\""}));
  EXPECT_EQ(fixed_with("  29 | 00 00 00", "  29 | 00 01 00"),
            (complaints{"file.txt:11: byte 30 is not zero, and nothing refers to it"}));
}

TEST(Meanings, AreOneForEachThing) {
  EXPECT_EQ(compact_with("   6 | 0c 00       | table size 12\n   8 | 04 00       | slot 0 at",
                         "   6 | 0c 00 04 00 | slot 0 at"),
            (complaints{"file.txt:5: an item of 4 bytes; \"table size 12\" is one of 2"}));
  EXPECT_EQ(compact_with("  16 | 01 0b 0c 0d |", "  16 | 01 0b | f0 = 0x0D0C0B01\n  18 | 0c 0d |"),
            (complaints{"file.txt:9: an item of 2 bytes; \"f0 = 0x0D0C0B01\" is one of 4",
                        "file.txt:10: 18 is in the middle of \"f0 = 0x0D0C0B01\""}));
  EXPECT_EQ(
      vector_with("  66 | 0a 0b 03 04 0a 0b 04 04",
                  "  66 | 0a 0b 03 | f1[0].f2[2..2] = 04030B0A\n  69 | 04 0a 0b 04 04"),
      (complaints{"file.txt:24: an item of 3 bytes; \"f1[0].f2[2..2] = 04030B0A\" is one of 4",
                  "file.txt:25: 69 is in the middle of an item of f1[0].f2"}));
}

TEST(Meanings, OfBytesThatNothingRefersToAreNone) {
  EXPECT_EQ(compact_with("f1.f2 = 4\n", "f1.f2 = 4\n  43 | 00 | tail up to 44\n"),
            (complaints{"file.txt:19: 43 is a byte that nothing refers to"}));
  EXPECT_EQ(fixed_with("next multiple of 8\n", "next multiple of 8\n  56 | 00 | tail\n"),
            (complaints{"file.txt:23: 56 is a byte that nothing refers to"}));
}

TEST(Meanings, OfBytesThatAreTwoThingsAreNone) {
  // Slot 2 of f1 leads to where slot 1 leads.
  EXPECT_EQ(compact_with("  32 | 08 00", "  32 | 04 00"),
            (complaints{"file.txt:17: 38 is \"f1.f2 = 3\" and \"f1.f1 = 0x0D0C0B03\" at once"}));
}

TEST(Meanings, OfOffsetsThatLeadOutOfTheImageAreNone) {
  EXPECT_EQ(compact_with("  20 | 0e 00 00 00", "  20 | ff 00 00 00"),
            (complaints{"file.txt:10: 20 leads to 4 bytes at 275, the image has 43"}));
  EXPECT_EQ(compact_with("  12 | 08 00 00 00", "  12 | 0d 00 00 00"),
            (complaints{"file.txt:8: 12 leads to a vtable in front of the image"}));
  EXPECT_EQ(compact_with("  32 | 08 00", "  32 | ff 00"),
            (complaints{"file.txt:15: 32 leads to 1 byte at 289, the image has 43"}));
  EXPECT_EQ(vector_with("  74 | 03 00 00 00", "  74 | 04 00 00 00"),
            (complaints{"file.txt:25: 74 leads to 4 bytes at 78, the image has 81"}));
}

TEST(Meanings, OfAVtableWithMoreOrFewerSlotsThanTheRecordHasMembersAreNone) {
  EXPECT_EQ(compact_with("   4 | 08 00", "   4 | 0a 00"),
            (complaints{"file.txt:4: 4 is a vtable size of 10; feiBrokerFib6_classItemMsg has 2 "
                        "members: expected 8"}));
}

} // namespace
