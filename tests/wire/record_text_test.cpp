// The reader of records in golden files: what lines make of a record, and that a slip is named.
//
// Room: tests.
#include "tests/support/record_text.h"

#include "tools/descriptors.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using mesh_fib6::tools::described;

// f0.f0 to f0.f2 scalars, f0.f3 bytes; f1 a vector of records with scalars, arrays of words and of
// bytes.
using answer = fib6_cfg_query_fib6_rec;
// f0 of 32 bits; f1 one record: f0 and f1 of 32 bits, f2 of 8.
using class_item = feiBrokerFib6_classItemMsg;
// f0 of 16 bits, f3 four words.
using rule = feiBrokerFib6_dod_rule;

std::vector<annotated::text_line> lines_of(const std::string &text) {
  std::istringstream stream(text);
  std::vector<annotated::text_line> lines;
  for (std::string line; std::getline(stream, line);)
    lines.push_back({lines.size() + 1, line});
  return lines;
}

// What is read of a text, and the memory that it is in.
template <class M>
struct read_record {
  random_record::owned_record memory;
  const M &record;
  explicit read_record(const std::string &text)
      : memory(record_text::read(described<M>::table, "file.txt", lines_of(text))),
        record(*static_cast<const M *>(memory.get())) {}
};

template <class M>
std::string complaint(const std::string &text) {
  try {
    read_record<M> read(text);
  } catch (const std::runtime_error &error) {
    return error.what();
  }
  return "no complaint";
}

TEST(RecordText, SetsScalarsOfTheRecordAndOfRecordsInIt) {
  const read_record<class_item> read("f0 = 0x01020304\nf1.f1 = 4294967295\nf1.f2 = 0xff");
  EXPECT_EQ(read.record.f0, 0x01020304U);
  EXPECT_EQ(read.record.f1.f0, 0U);
  EXPECT_EQ(read.record.f1.f1, 0xFFFFFFFFU);
  EXPECT_EQ(read.record.f1.f2, 255);
}

TEST(RecordText, LeavesZeroWhatNoLineMentions) {
  const read_record<answer> read("");
  EXPECT_EQ(read.record.f0.f0, 0U);
  EXPECT_EQ(read.record.f0.f3_count, 0U);
  EXPECT_EQ(read.record.f0.f3, nullptr);
  EXPECT_EQ(read.record.f1, nullptr);
}

TEST(RecordText, SetsElementsOfVectors) {
  const read_record<answer> read("f0.f3 count 3\nf0.f3 = 04 e1 0\nf1 count 2\nf1[1].f3 = 7\n"
                                 "f1[1].f0 = 0 00000001 DEADBEEF 0a0b0c0d");
  EXPECT_EQ(read.record.f0.f3_count, 3U);
  EXPECT_EQ(std::vector<uint8_t>(read.record.f0.f3, read.record.f0.f3 + 3),
            (std::vector<uint8_t>{0x04, 0xE1, 0x00}));
  EXPECT_EQ(read.record.f1_count, 2U);
  EXPECT_EQ(read.record.f1[0].f3, 0U);
  EXPECT_EQ(read.record.f1[1].f3, 7U);
  EXPECT_EQ(read.record.f1[1].f0[0], 0U);
  EXPECT_EQ(read.record.f1[1].f0[1], 1U);
  EXPECT_EQ(read.record.f1[1].f0[2], 0xDEADBEEFU);
  EXPECT_EQ(read.record.f1[1].f0[3], 0x0A0B0C0DU);
}

TEST(RecordText, SetsArraysInPieces) {
  const read_record<rule> read("f3[2..3] = 00000003 00000004\nf3[0..0] = 00000001");
  EXPECT_EQ(read.record.f3[0], 1U);
  EXPECT_EQ(read.record.f3[1], 0U);
  EXPECT_EQ(read.record.f3[2], 3U);
  EXPECT_EQ(read.record.f3[3], 4U);
}

TEST(RecordText, TakesTheCountOfAnArrayThatAlwaysHasIt) {
  EXPECT_EQ(complaint<rule>("f3 count 4"), "no complaint");
  EXPECT_EQ(complaint<rule>("f3 count 5"), "file.txt:1: f3 always has 4 items, not 5");
}

TEST(RecordText, OfAVectorOfNoElementsIsANullPointer) {
  const read_record<answer> read("f1 count 0");
  EXPECT_EQ(read.record.f1_count, 0U);
  EXPECT_EQ(read.record.f1, nullptr);
}

TEST(RecordText, NamesAnUnknownMember) {
  EXPECT_EQ(complaint<class_item>("f0 = 1\nf2 = 1"),
            "file.txt:2: feiBrokerFib6_classItemMsg has no member \"f2\", it has f0 to f1");
  EXPECT_EQ(complaint<class_item>("f1.f3 = 1"),
            "file.txt:1: feiBrokerFib6_classItem has no member \"f3\", it has f0 to f2");
  EXPECT_EQ(complaint<class_item>("f1. = 1"),
            "file.txt:1: feiBrokerFib6_classItem has no member \"\", it has f0 to f2");
  EXPECT_EQ(complaint<class_item>("f0.f1 = 1"), "file.txt:1: f0 has no members of its own");
}

TEST(RecordText, NamesAnIndexBeyondTheCount) {
  EXPECT_EQ(complaint<answer>("f1 count 2\nf1[2].f3 = 1"),
            "file.txt:2: f1[2] is beyond its count, which is 2");
  EXPECT_EQ(complaint<rule>("f3[2..4] = 0 0 0"),
            "file.txt:1: f3[2..4] is beyond its count, which is 4");
}

TEST(RecordText, NamesAMissingCount) {
  EXPECT_EQ(complaint<answer>("f1[0].f3 = 1"),
            "file.txt:1: f1 has no elements: expected \"f1 count N\" in a line before");
  EXPECT_EQ(complaint<answer>("f0.f3 = 01"),
            "file.txt:1: f0.f3 has no items: expected \"f0.f3 count N\" in a line before");
}

TEST(RecordText, NamesAMissingOrNeedlessIndex) {
  EXPECT_EQ(complaint<answer>("f1 count 1\nf1.f3 = 1"),
            "file.txt:2: f1 is a vector: expected an index, as in f1[0]");
  EXPECT_EQ(complaint<class_item>("f1[0].f1 = 1"),
            "file.txt:1: f1 is one record, no vector: expected no index");
  EXPECT_EQ(complaint<class_item>("f0[0] = 1"), "file.txt:1: f0 is one number: expected no index");
  EXPECT_EQ(complaint<answer>("f1 count 1\nf1[x].f3 = 1"), "file.txt:2: \"x\" is no index");
  EXPECT_EQ(complaint<answer>("f1 count 1\nf1[0.f3 = 1"), "file.txt:2: \"f1[0\" lacks its ']'");
}

TEST(RecordText, NamesAValueThatIsTooWide) {
  EXPECT_EQ(complaint<class_item>("f1.f2 = 256"),
            "file.txt:1: 256 does not fit the 8 bits of f1.f2");
  EXPECT_EQ(complaint<rule>("f0 = 0x10000"), "file.txt:1: 0x10000 does not fit the 16 bits of f0");
  EXPECT_EQ(complaint<class_item>("f0 = 0x100000000"),
            "file.txt:1: 0x100000000 does not fit the 32 bits of f0");
}

TEST(RecordText, NamesWhatIsNoValue) {
  const std::string expected = "is no number: expected decimal or 0x and hexadecimal";
  for (const char *const value : {"", "-1", "1x", "0x", "0xG", "1 2", "12345678901"})
    EXPECT_EQ(complaint<class_item>(std::string("f0 = ") + value),
              "file.txt:1: \"" + std::string(value) + "\" " + expected);
  EXPECT_EQ(complaint<class_item>("f1 = 1"),
            "file.txt:1: f1 is no number: expected one of its members");
  EXPECT_EQ(complaint<rule>("f3 = 1 0 0 0"),
            "file.txt:1: \"1\" is no item of f3: expected 0 or 8 hexadecimal digits");
  EXPECT_EQ(complaint<rule>("f3 = 0000000g 0 0 0"),
            "file.txt:1: \"0000000g\" is no item of f3: expected 0 or 8 hexadecimal digits");
}

TEST(RecordText, NamesTooFewAndTooManyItems) {
  EXPECT_EQ(complaint<rule>("f3 = 0 0 0"), "file.txt:1: expected 4 items, found 3");
  EXPECT_EQ(complaint<rule>("f3 = 0 0 0 0 0"), "file.txt:1: expected 4 items, found 5");
  EXPECT_EQ(complaint<rule>("f3[1..2] = 0"), "file.txt:1: expected 2 items, found 1");
}

TEST(RecordText, NamesWhatIsNoRange) {
  for (const char *const range : {"", "1", "1..", "..2", "2..1", "1..x"})
    EXPECT_EQ(complaint<rule>("f3[" + std::string(range) + "] = 0"),
              "file.txt:1: \"" + std::string(range) + "\" is no range: expected FIRST..LAST");
}

TEST(RecordText, NamesASecondValue) {
  EXPECT_EQ(complaint<class_item>("f0 = 1\n\nf0 = 1").substr(0, 11), "file.txt:2:");
  EXPECT_EQ(complaint<class_item>("f0 = 1\nf0 = 1"),
            "file.txt:2: a second value of f0, which line 1 gives");
  EXPECT_EQ(complaint<answer>("f1 count 1\nf1 count 1"),
            "file.txt:2: a second value of f1 count, which line 1 gives");
  EXPECT_EQ(complaint<rule>("f3[0..1] = 0 0\nf3[1..2] = 0 0"),
            "file.txt:2: a second value of f3[1], which line 1 gives");
  EXPECT_EQ(complaint<answer>("f1 count 2\nf1[0].f3 = 1\nf1[1].f3 = 1\nf1[0].f3 = 1"),
            "file.txt:4: a second value of f1[0].f3, which line 2 gives");
}

TEST(RecordText, NamesACountThatIsNone) {
  EXPECT_EQ(complaint<class_item>("f0 count 1"), "file.txt:1: f0 is no vector: it has no count");
  EXPECT_EQ(complaint<class_item>("f1 count 1"), "file.txt:1: f1 is no vector: it has no count");
  for (const char *const count : {"x", "0x1", "65536"})
    EXPECT_EQ(complaint<answer>(std::string("f1 count ") + count),
              "file.txt:1: \"" + std::string(count) + "\" is no count from 0 to 65535");
}

TEST(RecordText, NamesALineOfAnotherForm) {
  for (const char *const line : {"f0", "f0=1", "f0 is 1", "the f0 = 1", "= 1"})
    EXPECT_EQ(complaint<class_item>(line),
              "file.txt:1: expected \"MEMBER = VALUE\" or \"MEMBER count N\", found \"" +
                  std::string(line) + "\"");
}

TEST(RecordText, FindsTheValuesAmongMeanings) {
  annotated::image image{"a", 1, {}, {}};
  for (const char *const meaning :
       {"root offset 12", "root vtable size 8: 2 slots", "table size 8", "slot 0 absent",
        "root table, soffset 8: vtable at 12 - 8 = 4", "uoffset 14: f1 at 30", "f0 = 7",
        "f1.f2 count 4", "f1.f2[0..1] = 01 02", "tail up to 56, the next multiple of 8"})
    image.items.push_back({image.items.size() + 1, 0, 1, meaning});
  std::string found;
  for (const annotated::text_line &line : record_text::values_in(image))
    found += std::to_string(line.line) + " " + line.text + "\n";
  EXPECT_EQ(found, "7 f0 = 7\n8 f1.f2 count 4\n9 f1.f2[0..1] = 01 02\n");
}

} // namespace
