// The two messages that docs/wire-format.md lists byte by byte: what it says of their bytes is
// true, and the library writes and reads them so.
//
// Room: tests. The check of the sums is tried on texts of its own at the end.
#include "tests/documents/listings.h"
#include "tests/support/meanings.h"
#include "tests/support/record_text.h"
#include "tests/wire/golden_cases.h"

#include <sstream>

using documents::listings;
using golden::message_descriptor;
using mesh_fib6::tools::shape;

namespace {

// An image of the document with its message and its record.
struct listed {
  const annotated::image &image;
  const message_descriptor &message;
  bool fixed;
  random_record::owned_record record;
};

class WireFormatDocument : public testing::Test {
protected:
  template <class Visit>
  void each(Visit visit) {
    for (const annotated::image &image : all_.text.images) {
      SCOPED_TRACE(all_.text.path + ": " + image.name);
      const annotated::naming naming = annotated::naming_of(image.name);
      ASSERT_EQ(naming.byte_swap, 0U);
      const message_descriptor &message = golden::message_named(naming.record);
      bind_units(units_of(message.name));
      for (const annotated::record &record : all_.text.records)
        if (record.name == naming.record)
          visit(listed{image, message, naming.fixed,
                       record_text::read(*message.table, all_.text.path, record.lines)});
    }
  }

  // The document reduced to one item.
  listings only_line(size_t line) const {
    listings reduced = all_;
    reduced.prose.clear();
    for (annotated::image &image : reduced.text.images)
      image.items.erase(
          std::remove_if(image.items.begin(), image.items.end(),
                         [line](const annotated::item &item) { return item.line != line; }),
          image.items.end());
    return reduced;
  }

  const listings all_ = documents::of_wire_format();
};

TEST_F(WireFormatDocument, ListsAPackedMessageWithAVectorAndAFixedImage) {
  bool has_vector = false, has_image = false;
  each([&](const listed &it) {
    has_vector |= it.message.shape == shape::tree && !it.fixed;
    has_image |= it.message.shape == shape::flat && it.fixed;
  });
  EXPECT_TRUE(has_vector);
  EXPECT_TRUE(has_image);
}

TEST_F(WireFormatDocument, MeansWhatItSays) {
  each([&](const listed &it) {
    for (const std::string &complaint :
         meanings::complaints(*it.message.table, all_.text.path, it.image))
      ADD_FAILURE() << complaint;
  });
}

TEST_F(WireFormatDocument, NamesEveryValueOfItsRecords) {
  each([&](const listed &it) {
    const auto named =
        record_text::read(*it.message.table, all_.text.path, record_text::values_in(it.image));
    EXPECT_EQ(random_record::difference(*it.message.table, it.record.get(), named.get()), "");
  });
}

TEST_F(WireFormatDocument, WorksItsNumbersOutRightly) {
  for (const std::string &complaint : documents::wrong_sums(all_))
    ADD_FAILURE() << complaint;
}

// Each number of a reason, made another, is noticed: nothing in the column goes unread.
TEST_F(WireFormatDocument, MayNotGiveAnyOtherNumberInAReason) {
  size_t tried = 0;
  for (const auto &[line, why] : all_.whys) {
    if (why.find(" = ") == std::string::npos)
      continue;
    for (size_t at = 0; at < why.size(); ++at) {
      const bool is_number = std::isdigit(static_cast<unsigned char>(why[at])) != 0 &&
                             (at == 0 || why[at - 1] == ' ' || why[at - 1] == '-');
      if (!is_number)
        continue;
      listings changed = only_line(line);
      char &digit = changed.whys[line][at];
      digit = digit == '9' ? '8' : static_cast<char>(digit + 1);
      EXPECT_EQ(documents::wrong_sums(changed).size(), 1U) << changed.whys[line];
      ++tried;
    }
  }
  EXPECT_GT(tried, 100U);
}

TEST_F(WireFormatDocument, SaysHowLongItsMessagesAre) {
  each([&](const listed &it) {
    const std::string size = " " + std::to_string(it.image.bytes.size()) + " bytes";
    EXPECT_TRUE(std::any_of(all_.prose.begin(), all_.prose.end(),
                            [&size](const annotated::text_line &line) {
                              return line.text.find(size) != std::string::npos;
                            }))
        << "nowhere is" << size;
  });
}

TEST_F(WireFormatDocument, HasTheBytesThatPackWrites) {
  each([](const listed &it) {
    if (it.fixed)
      return;
    const auto size = static_cast<uint32_t>(it.image.bytes.size());
    EXPECT_EQ(golden::packed(it.message, it.record.get(), size), it.image.bytes);
  });
}

TEST_F(WireFormatDocument, HasTheBytesThatAreSent) {
  each([](const listed &it) {
    if (it.fixed != (it.message.shape == shape::flat))
      return;
    fake_mesh::reset();
    golden::guarded_record record(*it.message.table, it.record.get());
    EXPECT_EQ(it.message.sendsingle(9, record.get(), 0, 0), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 1U);
    EXPECT_EQ(sends.front().messages.at(0).bytes, it.image.bytes);
  });
}

TEST_F(WireFormatDocument, HasTheRecordsThatUnpackReads) {
  each([](const listed &it) {
    const golden::decoding decoded(it.message, it.image.bytes);
    EXPECT_TRUE(decoded.silent());
    golden::expect_same_record(*it.message.table, it.record.get(), decoded.memory());
  });
}

// The check of documents, on documents of its own.

listings listed_in(const std::string &text) {
  std::istringstream document(text);
  return documents::listings_in(document, "file.md");
}

std::string block(const std::string &items) {
  return "```golden\n[record a]\n[a]\n" + items + "```\n";
}

std::vector<std::string> sums_of(const std::string &items) {
  return documents::wrong_sums(listed_in(block(items)));
}

using complaints = std::vector<std::string>;

TEST(Listings, MayComeInSeveralBlocksWithTextBetweenThem) {
  const listings all =
      listed_in("```golden\n[record a]\n```\ntext\n```golden\n[a]\n0 | 01 | x | y\n"
                "```\nmore text\n```golden\n1 | 02 | z | v | w\n```\n");
  ASSERT_EQ(all.text.images.size(), 1U);
  EXPECT_EQ(all.text.images[0].bytes, (std::vector<uint8_t>{1, 2}));
  EXPECT_EQ(all.text.images[0].items[1].meaning, "z");
  EXPECT_EQ(all.whys, (std::map<size_t, std::string>{{7, "y"}, {11, "v | w"}}));
}

std::string refusal(const std::string &text) {
  try {
    listed_in(text);
  } catch (const std::runtime_error &error) {
    return error.what();
  }
  return "accepted";
}

TEST(Listings, AreRefusedWithAnItemThatNothingWouldCheck) {
  EXPECT_EQ(refusal(block("0 | 01 | x\n")),
            "file.md:4: expected \"offset | bytes | meaning | why\"");
  EXPECT_EQ(refusal(block("0 | 01 | x | y\n") + "```\n1 | 02 | z | v\n```\n"),
            "file.md:7: an item in a block that does not begin with ```golden");
  EXPECT_EQ(refusal("```golden\n[record a]\n[a]\n0 | 01 | x | y\n"),
            "file.md:4: the last block does not end");
  EXPECT_EQ(refusal("text\n"), "file.md: holds no image");
}

TEST(Listings, AreRefusedWithASumThatDoesNotComeOut) {
  EXPECT_EQ(sums_of("0 | 0c 00 00 00 | root offset 12 | 12 = 4 this word + 2 x 4 the vtable\n"),
            complaints{});
  EXPECT_EQ(
      sums_of("0 | 0c 00 00 00 | root offset 12 | 12 = 4 this word + 9 the vtable\n"),
      complaints{"file.md:4: \"12 = 4 this word + 9 the vtable\" states 12, but what follows is "
                 "13"});
  EXPECT_EQ(
      sums_of("0 | 0c 00 00 00 | root offset 12 | 13 = 4 this word + 9 the vtable\n"),
      complaints{"file.md:4: \"13 = 4 this word + 9 the vtable\" is about another number than "
                 "the item's 12"});
  EXPECT_EQ(sums_of("0 | 0c 00 00 00 | root offset 12 | 12 = 4 this word 8 the vtable\n"),
            complaints{"file.md:4: \"12 = 4 this word 8 the vtable\" has two numbers with nothing "
                       "between them"});
  EXPECT_EQ(sums_of("0 | 0c 00 00 00 | root offset 12 | 12 = all of it\n"),
            complaints{"file.md:4: \"12 = all of it\" lacks a number"});
}

TEST(Listings, AreRefusedWithANumberThatIsNotWorkedOut) {
  EXPECT_EQ(sums_of("0 | 0c 00 00 00 | root offset 12 | the vtable\n"),
            complaints{"file.md:4: \"root offset 12\" lacks a sum: N = A what + B what"});
  EXPECT_EQ(sums_of("0 | 04 00 | slot 1 at table + 4 | behind the soffset\n"),
            complaints{"file.md:4: \"slot 1 at table + 4\" lacks a sum: N = A what + B what"});
  EXPECT_EQ(sums_of("0 | 00 00 | slot 1 absent | it is zero\n2 | 01 | f0 = 1 | one\n"
                    "3 | 02 | f1 count 2 | two\n"),
            complaints{});
}

TEST(Listings, CompareASumWithNegativeOffsetsAndWithTheSizeOfPadding) {
  EXPECT_EQ(
      sums_of("0 | dc ff ff ff | root table, soffset -36: vtable at 4 + 36 = 40 | -36 = 4 - 40\n"
              "4 | 00 00 00 | gap up to 8, a multiple of 4 behind the table at 0 | 3 = 8 - 5\n"),
      complaints{});
}

TEST(Listings, AreRefusedWithAWrongSumInTheText) {
  EXPECT_EQ(documents::wrong_sums(listed_in("It has 64 + 35 = 99 bytes.\nSo (12 + 21 = 32).\n" +
                                            block("0 | 01 | f0 = 1 | one\n"))),
            complaints{"file.md:2: \"12 + 21 = 32\" states 32, but what follows is 33"});
}

} // namespace
