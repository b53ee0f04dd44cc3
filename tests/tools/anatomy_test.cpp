// Buffers taken apart: against the golden files, whose items were written by hand, against the
// second decoder, and refusal by refusal.
//
// Room: tests.
#include "tools/anatomy.h"

#include "tests/reference/decoder.h"
#include "tests/wire/golden_cases.h"
#include "tools/lookup.h"

#include <algorithm>

namespace golden {
namespace {

using mesh_fib6::tools::anatomy;
using mesh_fib6::tools::is_sound;
using mesh_fib6::tools::part;
using mesh_fib6::tools::refusal;
using mesh_fib6::tools::role;
using mesh_fib6::tools::standing;
using mesh_fib6::tools::stretch;

using Anatomy = EachMessage;
INSTANTIATE_TEST_SUITE_P(EveryMessage, Anatomy, testing::ValuesIn(messages()), name_of);

// What an item of a golden file is by the anatomy: its size and its meaning.
std::pair<size_t, std::string> item_of(const anatomy &anatomy,
                                       const std::vector<stretch> &stretches,
                                       const annotated::item &item) {
  const auto next = std::upper_bound(stretches.begin(), stretches.end(), item.at,
                                     [](size_t at, const stretch &each) { return at < each.at; });
  if (next == stretches.begin())
    return {0, "nothing"};
  const stretch &found = *(next - 1);
  if (found.parts.empty())
    return {found.size, found.padding.empty() ? "no padding" : found.padding};
  const part &part = anatomy.parts()[found.parts.front()];
  if (part.role != role::items)
    return {found.at == item.at ? found.size : 0, anatomy.meaning_of(part)};
  const uint32_t width = anatomy.item_width(part);
  const auto first = static_cast<uint32_t>((item.at - part.at) / width);
  const auto last = first + static_cast<uint32_t>(item.size / width) - 1;
  return {item.size, anatomy.items_text(part, first, last)};
}

TEST_P(Anatomy, SaysOfEveryByteWhatTheGoldenFileSays) {
  for (size_t i = 0; i < file().images().size(); i++) {
    const image &image = file().images()[i];
    SCOPED_TRACE(image.name);
    const anatomy anatomy(message(), image.bytes, image.byte_swap);
    EXPECT_FALSE(anatomy.refusal());
    const std::vector<stretch> stretches = anatomy.stretches();
    for (const annotated::item &item : file().text().images[i].items)
      EXPECT_EQ(item_of(anatomy, stretches, item), std::pair(item.size, item.meaning))
          << "line " << item.line;
  }
}

// Each byte is in one stretch, and the stretches are in order.
void expect_whole(const anatomy &anatomy) {
  size_t at = 0;
  for (const stretch &each : anatomy.stretches()) {
    ASSERT_EQ(each.at, at);
    ASSERT_GT(each.size, 0U);
    ASSERT_EQ(each.parts.size(), std::min(each.part_count, stretch::most_named));
    at += each.size;
  }
  ASSERT_EQ(at, anatomy.bytes().size());
}

// Whether the second decoder takes bytes; fewer than it can be given are taken by nobody.
bool is_decoded(const message_descriptor &message, const golden::bytes &bytes, uint32_t byte_swap) {
  static reference::decoder decoder;
  if (bytes.size() < 4)
    return false;
  return decoder
             .decode(*message.table, reference::root_form::table_form,
                     {bytes.data(), static_cast<uint32_t>(bytes.size()), byte_swap, 0})
             .ending == reference::ending::decoded;
}

void expect_the_second_decoders_verdict(const message_descriptor &message,
                                        const golden::bytes &bytes, uint32_t byte_swap) {
  const bool is_good = is_decoded(message, bytes, byte_swap);
  EXPECT_EQ(is_sound(message, bytes, byte_swap), is_good);
  const anatomy anatomy(message, bytes, byte_swap);
  EXPECT_EQ(!anatomy.refusal(), is_good);
  expect_whole(anatomy);
}

TEST_P(Anatomy, OfEveryPrefixIsRefusedWhereTheSecondDecoderRefuses) {
  for (const image &image : file().images())
    for (size_t size = 0; size < image.bytes.size(); size++) {
      SCOPED_TRACE(image.name + " cut to " + std::to_string(size));
      expect_the_second_decoders_verdict(
          message(), {image.bytes.begin(), image.bytes.begin() + static_cast<ptrdiff_t>(size)},
          image.byte_swap);
    }
}

TEST_P(Anatomy, OfASpoiledByteIsRefusedWhereTheSecondDecoderRefuses) {
  for (const image &image : file().images())
    for (size_t at = 0; at < image.bytes.size(); at++)
      for (const int change : {1, 0x80, 0xFF}) {
        SCOPED_TRACE(image.name + ", byte " + std::to_string(at));
        golden::bytes spoiled = image.bytes;
        spoiled[at] = static_cast<uint8_t>(spoiled[at] ^ change);
        expect_the_second_decoders_verdict(message(), spoiled, image.byte_swap);
      }
}

// What is remembered is what there is room for; the verdict is the same.
TEST_P(Anatomy, ThatRemembersLittleRefusesForTheSameReason) {
  for (const image &image : file().images())
    for (size_t size = 0; size < image.bytes.size(); size += 3) {
      const std::span<const uint8_t> cut(image.bytes.data(), size);
      const anatomy whole(message(), cut, image.byte_swap);
      const anatomy little(message(), cut, image.byte_swap, 0);
      ASSERT_EQ(whole.refusal().has_value(), little.refusal().has_value());
      if (!whole.refusal())
        continue;
      EXPECT_EQ(whole.path_of(whole.refusal()->node), little.path_of(little.refusal()->node));
      EXPECT_EQ(whole.refusal()->rule, little.refusal()->rule);
      EXPECT_EQ(whole.refusal()->at, little.refusal()->at);
      EXPECT_EQ(whole.refusal()->expected, little.refusal()->expected);
      EXPECT_EQ(whole.refusal()->found, little.refusal()->found);
    }
}

const message_descriptor &message_named(std::string_view name) {
  return *mesh_fib6::tools::find_message(name).message;
}

// Why bytes are refused: "path rule at+size: expected, found".
std::string reason(const message_descriptor &message, const golden::bytes &bytes) {
  const anatomy anatomy(message, bytes);
  if (!anatomy.refusal())
    return "none";
  const refusal &why = *anatomy.refusal();
  return anatomy.path_of(why.node) + " " + mesh_fib6::tools::name_of(why.rule) + " " +
         std::to_string(why.at) + "+" + std::to_string(why.size) + ": " + why.expected + ", " +
         why.found;
}

golden::bytes changed(golden::bytes bytes, size_t at, std::initializer_list<int> to) {
  for (const int byte : to)
    bytes[at++] = static_cast<uint8_t>(byte);
  return bytes;
}

// Of feiBrokerFib6_pidStateMsg's image `full`: root table at 12, its vtable at 4, f1's offset word
// at 20, its table at 34, its vtable at 24; 50 bytes.
TEST(Refusal, NamesTheRuleThePlaceAndWhatWasExpected) {
  const message_descriptor &message = message_named("feiBrokerFib6_pidStateMsg");
  const golden::bytes &good = of(message).bytes_of("full");
  ASSERT_EQ(good.size(), 50U);
  EXPECT_EQ(reason(message, {}), "root length 0+0: at least 4 bytes, 0 bytes");
  EXPECT_EQ(reason(message, {1, 2, 3}), "root length 0+3: at least 4 bytes, 3 bytes");
  EXPECT_EQ(reason(message, changed(good, 0, {47})),
            "root table-offset 0+4: a table at 4 to 46, a table at 47");
  EXPECT_EQ(reason(message, changed(good, 0, {3})),
            "root table-offset 0+4: a table at 4 to 46, a table at 3");
  EXPECT_EQ(reason(message, changed(good, 12, {9})),
            "root vtable-offset 12+4: a vtable at 4 to 46, a vtable at 3");
  EXPECT_EQ(reason(message, changed(good, 12, {0xDD, 0xFF, 0xFF, 0xFF})),
            "root vtable-offset 12+4: a vtable at 4 to 46, a vtable at 47");
  EXPECT_EQ(reason(message, changed(good, 4, {47})),
            "root vtable-size 4+2: a vtable of at most 46 bytes, one of 47 bytes");
  EXPECT_EQ(reason(message, changed(good, 8, {35})),
            "f0 entry 8+2: 4 bytes at most at 46, 4 bytes at 47");
  EXPECT_EQ(reason(message, changed(good, 10, {35})),
            "f1 entry 10+2: 4 bytes at most at 46, 4 bytes at 47");
  EXPECT_EQ(reason(message, changed(good, 20, {27})),
            "f1 table-offset 20+4: a table at 4 to 46, a table at 47");
  EXPECT_EQ(reason(message, changed(good, 20, {0xFF, 0xFF, 0xFF, 0xFF})),
            "f1 uoffset 20+4: an offset of at most 26, one of 4294967295");
  EXPECT_EQ(reason(message, changed(good, 32, {13})),
            "f1.f2 entry 32+2: 4 bytes at most at 46, 4 bytes at 47");
  EXPECT_EQ(reason(message, good), "none");
}

// Of feiBrokerFib6_ipv6FwdUpdateMsg: one route of which only f3 is there. Root table at 12, f1's
// offset word at 16, its count at 20, its element's offset word at 24; the route's vtable at 28,
// its table at 40, f3's offset word at 44, count at 48, items at 52.
const golden::bytes &one_route() {
  static const golden::bytes bytes = {
      12, 0,  0,  0,  8,  0,  16, 0,
      0,  0,  4,  0, // root offset; vtable
      8,  0,  0,  0,  4,  0,  0,  0,
      1,  0,  0,  0, // root table, offset word, count
      16, 0,  0,  0,  12, 0,  28, 0,
      0,  0,  0,  0, // offset word; the route's vtable: size, table size,
      0,  0,  4,  0,  12, 0,  0,  0,
      4,  0,  0,  0, // four entries; table; f3's offset word
      4,  0,  0,  0,  1,  2,  3,  4,
      5,  6,  7,  8, // count; items
      9,  10, 11, 12, 13, 14, 15, 16};
  return bytes;
}

TEST(Refusal, OfAVectorOrAnArrayNamesTheCount) {
  const message_descriptor &message = message_named("feiBrokerFib6_ipv6FwdUpdateMsg");
  const golden::bytes &good = one_route();
  ASSERT_EQ(reason(message, good), "none");
  EXPECT_EQ(reason(message, changed(good, 20, {12})),
            "f1 item-count 20+4: at most 11 items, 12 items");
  EXPECT_EQ(reason(message, changed(good, 16, {49})),
            "f1 uoffset 16+4: a count at most at 64, one at 65");
  EXPECT_EQ(reason(message, changed(good, 24, {41})),
            "f1[0] table-offset 24+4: a table at 4 to 64, a table at 65");
  EXPECT_EQ(reason(message, changed(good, 24, {0xFF, 0xFF, 0xFF, 0xFF})),
            "f1[0] uoffset 24+4: an offset of at most 40, one of 4294967295");
  EXPECT_EQ(reason(message, changed(good, 48, {3})), "f1[0].f3 array-count 48+4: 4 items, 3 items");
  golden::bytes cut = good;
  cut.pop_back();
  EXPECT_EQ(reason(message, cut), "f1[0].f3 item-count 48+4: 16 bytes behind the count, 15 bytes");
}

std::string standings(const anatomy &anatomy) {
  std::string text;
  for (const stretch &each : anatomy.stretches())
    if (each.standing != standing::used)
      text += std::string(mesh_fib6::tools::name_of(each.standing)) + " " +
              std::to_string(each.at) + "+" + std::to_string(each.size) + " by " +
              std::to_string(each.part_count) + "; ";
  return text;
}

TEST(Standing, OfWhatNothingLeadsToIsUnreferenced) {
  const message_descriptor &message = message_named("feiBrokerFib6_ipv6FwdUpdateMsg");
  golden::bytes longer = one_route();
  longer.insert(longer.end(), {1, 2, 3});
  EXPECT_EQ(standings(anatomy(message, one_route())), "");
  EXPECT_EQ(standings(anatomy(message, longer)), "unreferenced 68+3 by 0; ");
}

TEST(Standing, BehindARefusalIsUnreached) {
  const message_descriptor &message = message_named("feiBrokerFib6_ipv6FwdUpdateMsg");
  EXPECT_EQ(standings(anatomy(message, changed(one_route(), 20, {12}))), "unreached 24+44 by 0; ");
}

TEST(Standing, OfATableThatTwoElementsLeadToIsShared) {
  const message_descriptor &message = message_named("feiBrokerFib6_nhp6GroupDelMsg");
  // Two keys, both at 40: root table at 12, f1's count at 20, offset words at 24 and 28, vtable
  // at 32.
  const golden::bytes bytes = {12, 0, 0, 0, 8, 0, 16, 0, 0,  0, 4, 0, 8,  0, 0, 0,
                               4,  0, 0, 0, 2, 0, 0,  0, 16, 0, 0, 0, 12, 0, 0, 0,
                               8,  0, 8, 0, 4, 0, 0,  0, 8,  0, 0, 0, 7,  0, 0, 0};
  const anatomy both(message, bytes);
  EXPECT_EQ(both.refusal() ? both.refusal()->found : "", "");
  EXPECT_EQ(standings(both), "shared 32+2 by 2; shared 34+2 by 2; shared 36+2 by 2; "
                             "shared 38+2 by 2; shared 40+4 by 2; shared 44+4 by 2; ");
}

TEST(Standing, OfBytesThatMeanTwoThingsIsOverlapping) {
  const message_descriptor &message = message_named("feiBrokerFib6_pidStateMsg");
  // f0 lies where f1's offset word is.
  const golden::bytes &good = of(message).bytes_of("full");
  EXPECT_EQ(standings(anatomy(message, changed(good, 8, {8}))),
            "unreferenced 16+4 by 0; overlapping 20+4 by 2; ");
  EXPECT_EQ(standings(anatomy(message, changed(good, 8, {6}))),
            "unreferenced 16+2 by 0; overlapping 20+2 by 2; ");
}

TEST(Remembering, IsGivenUpBeyondItsLimitAndTheVerdictStays) {
  const message_descriptor &message = message_named("feiBrokerFib6_ipv6FwdUpdateMsg");
  // A thousand elements that all lead to one route with all of its scalars absent.
  golden::bytes bytes = {12, 0, 0, 0, 8, 0, 16, 0, 0,    0, 4, 0,
                         8,  0, 0, 0, 4, 0, 0,  0, 0xE8, 3, 0, 0};
  const size_t table = 24 + 4 * 1000 + 4;
  for (size_t word = 24; word < 24 + 4 * 1000; word += 4)
    for (size_t i = 0; i < 4; i++)
      bytes.push_back(static_cast<uint8_t>((table - word) >> (8 * i)));
  bytes.insert(bytes.end(), {4, 0, 4, 0, 4, 0, 0, 0});
  const anatomy whole(message, bytes), cut(message, bytes, 0, 500);
  EXPECT_FALSE(whole.refusal());
  EXPECT_FALSE(whole.is_cut());
  EXPECT_EQ(whole.nodes().size(), 1002U);
  EXPECT_FALSE(cut.refusal());
  EXPECT_TRUE(cut.is_cut());
  EXPECT_EQ(cut.nodes().size(), 500U);
  expect_whole(cut);
}

} // namespace
} // namespace golden
