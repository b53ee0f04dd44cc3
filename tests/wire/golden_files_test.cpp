// The golden files themselves: that there is one for each message, that the meanings of its items
// are true and that they could not be others.
//
// Room: tests. What the library makes of them is in golden_test.cpp.
#include "tests/support/meanings.h"
#include "tests/support/record_text.h"
#include "tests/wire/golden_cases.h"

#include <filesystem>
#include <set>

namespace golden {

using mesh_fib6::tools::shape;

using GoldenFile = EachMessage;
INSTANTIATE_TEST_SUITE_P(EveryMessage, GoldenFile, testing::ValuesIn(messages()), name_of);

TEST(GoldenFiles, AreThereForEachMessageAndForNothingElse) {
  std::set<std::string> expected, found;
  for (const message_descriptor *message : messages())
    expected.insert(std::string(message->name) + ".txt");
  for (const auto &entry : std::filesystem::directory_iterator(MESH_FIB6_GOLDEN_DIR))
    if (entry.path().extension() == ".txt")
      found.insert(entry.path().filename());
  EXPECT_EQ(found, expected);
}

TEST_P(GoldenFile, HasTheImagesOfNothingAndOfEverythingInEveryArrangementThatIsSent) {
  const bool is_flat = message().shape == shape::flat;
  for (const char *const name : {"zero", "full"}) {
    EXPECT_FALSE(file().image_of(name).fixed);
    if (is_flat) {
      EXPECT_TRUE(file().image_of(std::string(name) + "_fixed").fixed);
    }
  }
  for (const image &image : file().images())
    EXPECT_TRUE(is_flat || !image.fixed) << image.name << ": records with pointers have no image";
}

TEST_P(GoldenFile, MeansWhatItSays) {
  for (const annotated::image &image : file().text().images)
    for (const std::string &complaint :
         meanings::complaints(*message().table, file().text().path, image))
      ADD_FAILURE() << complaint;
}

// Meanings in which the n-th number is one more, where there is one, and of which lines they are.
static std::set<size_t> change_number(annotated::image &image, size_t n) {
  std::set<size_t> lines;
  for (annotated::item &item : image.items) {
    std::string &text = item.meaning;
    size_t at = 0, seen = 0;
    while ((at = text.find_first_of("0123456789", at)) != std::string::npos && seen++ != n)
      at = std::min(text.find_first_not_of("0123456789", at), text.size());
    if (at == std::string::npos)
      continue;
    text[at] = text[at] == '9' ? '8' : static_cast<char>(text[at] + 1);
    lines.insert(item.line);
  }
  return lines;
}

TEST_P(GoldenFile, MayNotNameAnyOtherNumber) {
  for (const annotated::image &image : file().text().images)
    for (size_t n = 0;; ++n) {
      SCOPED_TRACE(image.name + ", number " + std::to_string(n));
      annotated::image changed = image;
      const std::set<size_t> expected = change_number(changed, n);
      if (expected.empty())
        break;
      std::set<size_t> found;
      for (const std::string &complaint : meanings::complaints(*message().table, "file", changed))
        found.insert(std::stoul(complaint.substr(sizeof "file:" - 1)));
      EXPECT_EQ(found, expected);
    }
}

// Of an image of more than 512 bytes every second, of more than 1024 every third, and so on: each
// walk is as long as the image.
TEST_P(GoldenFile, MayNotHaveAnyOtherByte) {
  for (const annotated::image &image : file().text().images) {
    if (image.name != "full" && image.name != "full_fixed")
      continue;
    annotated::image changed = image;
    for (size_t at = 0; at < changed.bytes.size(); at += 1 + changed.bytes.size() / 512) {
      changed.bytes[at] ^= 1;
      EXPECT_FALSE(meanings::complaints(*message().table, "file", changed).empty())
          << image.name << ", byte " << at;
      changed.bytes[at] ^= 1;
    }
  }
}

// What is in the bytes as the meanings have it, and nothing besides.
TEST_P(GoldenFile, NamesEveryValueOfItsRecords) {
  for (const annotated::image &image : file().text().images) {
    SCOPED_TRACE(image.name);
    const auto named =
        record_text::read(*message().table, file().text().path, record_text::values_in(image));
    EXPECT_EQ(random_record::difference(*message().table, file().image_of(image.name).record,
                                        named.get()),
              "");
  }
}

} // namespace golden
