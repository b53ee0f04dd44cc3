// The reader of annotated images must not let a slip in a golden file pass.
//
// Room: tests.
#include "tests/support/annotated.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

std::vector<annotated::image> parse(const std::string &text) {
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

TEST(Annotated, JoinsTheItemsOfEachImage) {
  const auto images = parse("# comment\n[one]\n 0 | 12 00 | first\n 2 | fF | second\n\n"
                            "[two]\n0 | 01 | only | with a bar\n");
  ASSERT_EQ(images.size(), 2U);
  EXPECT_EQ(images[0].name, "one");
  EXPECT_EQ(images[0].bytes, (std::vector<uint8_t>{0x12, 0x00, 0xFF}));
  EXPECT_EQ(annotated::bytes_of(images, "two"), (std::vector<uint8_t>{0x01}));
}

TEST(Annotated, NamesFileAndLineOfAGap) {
  EXPECT_EQ(complaint("[a]\n0 | 00 | x\n2 | 00 | y\n"),
            "file.txt:3: gap: offset 2, but the item before ends at 1");
}

TEST(Annotated, NamesFileAndLineOfAnOverlap) {
  EXPECT_EQ(complaint("[a]\n\n0 | 00 00 | x\n1 | 00 | y\n"),
            "file.txt:4: overlap: offset 1, but the item before ends at 2");
}

TEST(Annotated, RejectsAnImageThatDoesNotStartAtZero) {
  EXPECT_EQ(complaint("[a]\n1 | 00 | x\n"),
            "file.txt:2: gap: offset 1, but the item before ends at 0");
}

TEST(Annotated, RejectsWhatIsNotAByte) {
  EXPECT_EQ(complaint("[a]\n0 | 0g | x\n"),
            "file.txt:2: \"0g\" is not a byte of two hexadecimal digits");
  EXPECT_EQ(complaint("[a]\n0 | 0000 | x\n"),
            "file.txt:2: \"0000\" is not a byte of two hexadecimal digits");
  EXPECT_EQ(complaint("[a]\n0 |  | x\n"), "file.txt:2: an item needs at least one byte");
}

TEST(Annotated, RejectsAnOffsetThatIsNotDecimal) {
  EXPECT_EQ(complaint("[a]\n0x0 | 00 | x\n"), "file.txt:2: \"0x0\" is not a decimal offset");
  EXPECT_EQ(complaint("[a]\n | 00 | x\n"), "file.txt:2: \"\" is not a decimal offset");
}

TEST(Annotated, RejectsAnItemWithoutMeaning) {
  EXPECT_EQ(complaint("[a]\n0 | 00 |  \n"), "file.txt:2: an item needs a meaning");
  EXPECT_EQ(complaint("[a]\n0 | 00\n"), "file.txt:2: expected \"offset | bytes | meaning\"");
}

TEST(Annotated, RejectsItemsOutsideAnImage) {
  EXPECT_EQ(complaint("0 | 00 | x\n"), "file.txt:1: an item before the first [name]");
}

TEST(Annotated, RejectsTwoImagesOfOneName) {
  EXPECT_EQ(complaint("[a]\n0 | 00 | x\n[a]\n0 | 00 | x\n"), "file.txt:3: a second image named a");
}

TEST(Annotated, RejectsABrokenOrEmptyName) {
  EXPECT_EQ(complaint("[a\n"), "file.txt:1: an image's name ends with ']'");
  EXPECT_EQ(complaint("[ ]\n"), "file.txt:1: an image needs a name");
}

TEST(Annotated, RejectsAnImageWithoutBytes) {
  EXPECT_EQ(complaint("[a]\n[b]\n0 | 00 | x\n"), "file.txt:2: image a has no bytes");
  EXPECT_EQ(complaint("[a]\n"), "file.txt: ends without an image or with an empty one");
  EXPECT_EQ(complaint(""), "file.txt: ends without an image or with an empty one");
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
  EXPECT_THROW(annotated::bytes_of(parse("[a]\n0 | 00 | x\n"), "b"), std::runtime_error);
}

} // namespace
