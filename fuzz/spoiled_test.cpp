// Every prefix and every flipped bit of one message of each type is decoded as the reference says;
// which message an input is about.
//
// Room: attacks. The messages are the golden ones, written by hand; the inputs are generated, since
// they are many and follow from these.
#include "fuzz/decode_check.h"
#include "fuzz/finding.h"
#include "fuzz/messages.h"
#include "tests/support/annotated.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using fuzz::circumstances;
using fuzz::message;
using bytes = std::vector<uint8_t>;

std::vector<annotated::image> golden_images(const message &message) {
  return annotated::load(std::string(MESH_FIB6_GOLDEN_DIR "/") + message.name + ".txt");
}

// Calls visit(message, image) for the full image of each message, and for its fixed form.
template <class Visit>
void for_each_full_image(Visit visit) {
  for (const message &message : fuzz::all_messages()) {
    const auto images = golden_images(message);
    visit(message, annotated::bytes_of(images, "full"));
    if (!message.is_tree())
      visit(message, annotated::bytes_of(images, "full_fixed"));
  }
}

class decoded final : public fuzz::record_visitor {
public:
  bool was_called = false;
  void visit(const void *) override { was_called = true; }
};

void expect_as_the_reference(const message &message, const bytes &buffer, uint32_t length,
                             const circumstances &around, fuzz::record_visitor *visitor = nullptr) {
  fuzz::forget_findings();
  fuzz::check_decode(message, buffer.data(), length, around, visitor);
  if (fuzz::finding() != nullptr)
    ADD_FAILURE() << fuzz::finding();
}

uint32_t size_of(const bytes &image) {
  return static_cast<uint32_t>(image.size());
}

TEST(EveryFullMessage, IsDecodedAtEvenAndOddAddresses) {
  for_each_full_image([](const message &message, const bytes &image) {
    SCOPED_TRACE(message.name);
    for (const bool odd : {false, true}) {
      decoded visitor;
      circumstances around{};
      around.odd_address = odd;
      expect_as_the_reference(message, image, size_of(image), around, &visitor);
      EXPECT_TRUE(visitor.was_called);
    }
  });
}

TEST(EveryFullMessage, IsDecodedAsTheReferenceSaysAfterEachOfItsBytes) {
  for_each_full_image([](const message &message, const bytes &image) {
    SCOPED_TRACE(message.name);
    for (uint32_t length = 0; length < image.size(); length++) {
      SCOPED_TRACE("cut to " + std::to_string(length));
      expect_as_the_reference(message, image, length, {});
    }
  });
}

TEST(EveryFullMessage, IsDecodedAsTheReferenceSaysWithEachOfItsBitsFlipped) {
  for_each_full_image([](const message &message, bytes image) {
    SCOPED_TRACE(message.name);
    for (uint32_t bit = 0; bit < 8 * image.size(); bit++) {
      image[bit / 8] = static_cast<uint8_t>(image[bit / 8] ^ 1 << bit % 8);
      expect_as_the_reference(message, image, size_of(image), {});
      if (fuzz::finding() != nullptr)
        FAIL() << "bit " << bit % 8 << " of byte " << bit / 8;
      image[bit / 8] = static_cast<uint8_t>(image[bit / 8] ^ 1 << bit % 8);
    }
  });
}

TEST(EveryFullMessage, ReleasesWhatItHasWhenAnyOfItsRequestsForMemoryIsRefused) {
  for_each_full_image([](const message &message, const bytes &image) {
    SCOPED_TRACE(message.name);
    EXPECT_EQ(message.vectors.count != 0, message.is_tree());
    for (uint32_t request = 1; request <= message.vectors.count; request++) {
      decoded visitor;
      circumstances around{};
      around.refused_request = request;
      expect_as_the_reference(message, image, size_of(image), around, &visitor);
      EXPECT_FALSE(visitor.was_called);
    }
  });
}

bytes identifier(uint32_t number) {
  return {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8),
          static_cast<uint8_t>(number >> 16), static_cast<uint8_t>(number >> 24)};
}

TEST(AnInput, IsAboutTheMessageWhoseIdentifierItBeginsWith) {
  EXPECT_STREQ(fuzz::message_of(identifier(0x5026A923).data()).name,
               "feiBrokerFib6_ipv6FwdUpdateMsg");
  for (const message &message : fuzz::all_messages())
    EXPECT_EQ(&fuzz::message_of(identifier(message.id).data()), &message) << message.name;
}

// One bit beside: of the identifiers there are, none differs in as little.
TEST(AnInput, WithAnIdentifierOfNobodyIsAboutTheMessageOfTheNearest) {
  for (const message &message : fuzz::all_messages())
    EXPECT_EQ(&fuzz::message_of(identifier(message.id ^ 1).data()), &message) << message.name;
}

} // namespace
