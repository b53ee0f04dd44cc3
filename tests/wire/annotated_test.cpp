// The reader of golden files must not let a slip in one pass.
//
// Room: tests.
#include "tests/support/annotated.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

annotated::file parse(const std::string &text) {
  std::istringstream stream(text);
  return annotated::parse(stream, "file.txt");
}

std::string complaint(const std::string &text) {
  try {
    parse(text);
  } catch (const std::runtime_error &error) {
    return error.what();
  }
  return "no complaint";
}

// Of the lines behind "[record a]", the first line.
std::string complaint_behind_record(const std::string &text) {
  return complaint("[record a]\n" + text);
}

TEST(Annotated, JoinsTheItemsOfEachImage) {
  const auto images =
      parse("# comment\n[record one]\n[one]\n 0 | 12 00 | first\n 2 | fF | second\n\n"
            "[record two]\n[two]\n0 | 01 | only | with a bar\n")
          .images;
  ASSERT_EQ(images.size(), 2U);
  EXPECT_EQ(images[0].name, "one");
  EXPECT_EQ(images[0].bytes, (std::vector<uint8_t>{0x12, 0x00, 0xFF}));
  EXPECT_EQ(annotated::bytes_of(images, "two"), (std::vector<uint8_t>{0x01}));
}

TEST(Annotated, KeepsWhereEachItemIsAndWhatItMeans) {
  const auto image =
      parse("[record one]\n[one]\n 0 | 12 00 | first\n# comment\n 2 | fF |  two | 2 \n")
          .images.at(0);
  EXPECT_EQ(image.line, 2U);
  ASSERT_EQ(image.items.size(), 2U);
  EXPECT_EQ(image.items[0].line, 3U);
  EXPECT_EQ(image.items[1].line, 5U);
  EXPECT_EQ(image.items[1].at, 2U);
  EXPECT_EQ(image.items[1].size, 1U);
  EXPECT_EQ(image.items[1].meaning, "two | 2");
}

TEST(Annotated, KeepsTheLinesOfEachRecord) {
  const auto records = parse("[record one]\n\n f0 = 1\nf1 count 2\n[one]\n0 | 00 | x\n").records;
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].name, "one");
  ASSERT_EQ(records[0].lines.size(), 2U);
  EXPECT_EQ(records[0].lines[0].line, 3U);
  EXPECT_EQ(records[0].lines[0].text, "f0 = 1");
  EXPECT_EQ(records[0].lines[1].text, "f1 count 2");
}

TEST(Annotated, TakesRecordArrangementAndByteOrderFromAnImagesName) {
  const auto expect = [](const char *name, const char *record, bool fixed, uint32_t byte_swap) {
    const annotated::naming naming = annotated::naming_of(name);
    EXPECT_EQ(naming.record, record) << name;
    EXPECT_EQ(naming.fixed, fixed) << name;
    EXPECT_EQ(naming.byte_swap, byte_swap) << name;
  };
  expect("full", "full", false, 0);
  expect("full_fixed", "full", true, 0);
  expect("full_swap_1", "full", false, 1);
  expect("full_fixed_swap_2", "full", true, 2);
  expect("full_without_bytes", "full_without_bytes", false, 0);
  expect("only_f7_swap_2", "only_f7", false, 2);
  expect("_fixed", "_fixed", false, 0);
  expect("full_swap_1_fixed", "full_swap_1", true, 0);
}

TEST(Annotated, NamesFileAndLineOfAGap) {
  EXPECT_EQ(complaint_behind_record("[a]\n0 | 00 | x\n2 | 00 | y\n"),
            "file.txt:4: gap: offset 2, but the item before ends at 1");
}

TEST(Annotated, NamesFileAndLineOfAnOverlap) {
  EXPECT_EQ(complaint_behind_record("[a]\n\n0 | 00 00 | x\n1 | 00 | y\n"),
            "file.txt:5: overlap: offset 1, but the item before ends at 2");
}

TEST(Annotated, RejectsAnImageThatDoesNotStartAtZero) {
  EXPECT_EQ(complaint_behind_record("[a]\n1 | 00 | x\n"),
            "file.txt:3: gap: offset 1, but the item before ends at 0");
}

TEST(Annotated, RejectsWhatIsNotAByte) {
  EXPECT_EQ(complaint_behind_record("[a]\n0 | 0g | x\n"),
            "file.txt:3: \"0g\" is not a byte of two hexadecimal digits");
  EXPECT_EQ(complaint_behind_record("[a]\n0 | 0000 | x\n"),
            "file.txt:3: \"0000\" is not a byte of two hexadecimal digits");
  EXPECT_EQ(complaint_behind_record("[a]\n0 |  | x\n"),
            "file.txt:3: an item needs at least one byte");
}

TEST(Annotated, RejectsAnOffsetThatIsNotDecimal) {
  EXPECT_EQ(complaint_behind_record("[a]\n0x0 | 00 | x\n"),
            "file.txt:3: \"0x0\" is not a decimal offset");
  EXPECT_EQ(complaint_behind_record("[a]\n | 00 | x\n"),
            "file.txt:3: \"\" is not a decimal offset");
}

TEST(Annotated, RejectsAnItemWithoutMeaning) {
  EXPECT_EQ(complaint_behind_record("[a]\n0 | 00 |  \n"), "file.txt:3: an item needs a meaning");
  EXPECT_EQ(complaint_behind_record("[a]\n0 | 00\n"),
            "file.txt:3: expected \"offset | bytes | meaning\"");
}

TEST(Annotated, RejectsLinesOutsideASection) {
  EXPECT_EQ(complaint("0 | 00 | x\n"), "file.txt:1: a line before the first section");
  EXPECT_EQ(complaint("f0 = 1\n"), "file.txt:1: a line before the first section");
}

TEST(Annotated, RejectsTwoSectionsOfOneName) {
  EXPECT_EQ(complaint_behind_record("[a]\n0 | 00 | x\n[a]\n0 | 00 | x\n"),
            "file.txt:4: a second image named a");
  EXPECT_EQ(complaint_behind_record("f0 = 1\n[record a]\n"), "file.txt:3: a second record named a");
}

TEST(Annotated, RejectsABrokenOrEmptyName) {
  EXPECT_EQ(complaint("[a\n"), "file.txt:1: a section's name ends with ']'");
  EXPECT_EQ(complaint("[ ]\n"), "file.txt:1: a section needs a name: [record NAME] or [NAME]");
}

TEST(Annotated, RejectsARecordThatIsNamedAsAnImageIs) {
  const std::string expected =
      "file.txt:1: a record's name does not end with _fixed or _swap_N: those are images";
  EXPECT_EQ(complaint("[record a_fixed]\n"), expected);
  EXPECT_EQ(complaint("[record a_swap_1]\n"), expected);
}

TEST(Annotated, RejectsAnImageWithoutItsRecordInFrontOfIt) {
  EXPECT_EQ(complaint("[a]\n0 | 00 | x\n[record a]\n"),
            "file.txt:1: image a needs [record a] in front of it");
  EXPECT_EQ(complaint_behind_record("[b_fixed_swap_1]\n"),
            "file.txt:2: image b_fixed_swap_1 needs [record b] in front of it");
}

TEST(Annotated, RejectsARecordWithoutAnImage) {
  EXPECT_EQ(complaint("[record b]\n[record a]\n[a]\n0 | 00 | x\n"),
            "file.txt:1: record b has no image");
}

TEST(Annotated, RejectsAnImageWithoutBytes) {
  EXPECT_EQ(complaint_behind_record("[a]\n[a_fixed]\n0 | 00 | x\n"),
            "file.txt:2: image a has no bytes");
  EXPECT_EQ(complaint_behind_record("[a]\n"), "file.txt:2: image a has no bytes");
  EXPECT_EQ(complaint_behind_record("[a]\n[record b]\n"), "file.txt:2: image a has no bytes");
}

TEST(Annotated, RejectsAFileWithoutAnImage) {
  EXPECT_EQ(complaint(""), "file.txt: holds no image");
  EXPECT_EQ(complaint("[record a]\n"), "file.txt: holds no image");
}

TEST(Annotated, SaysWhichFileCannotBeRead) {
  EXPECT_THROW(
      {
        try {
          annotated::load("/nowhere/file.txt");
        } catch (const std::runtime_error &error) {
          EXPECT_STREQ(error.what(), "/nowhere/file.txt: cannot be read");
          throw;
        }
      },
      std::runtime_error);
}

TEST(Annotated, SaysWhichImageIsMissing) {
  const auto file = parse("[record a]\n[a]\n0 | 00 | x\n");
  EXPECT_THROW(annotated::bytes_of(file.images, "b"), std::runtime_error);
}

} // namespace
