// The header for C++: what it adds to the C functions.
//
// Room: tests.
#include "tests/catalogue/records.h"

#include <mesh_fib6/mesh_fib6.hpp>

#include <span>
#include <string>
#include <type_traits>
#include <vector>

using namespace catalogue;

namespace {

using routes = feiBrokerFib6_ipv6FwdUpdateMsg;
using setting = fib6_cfg_cfg_ipv6_ttl_expired_forward;

static_assert(std::is_nothrow_move_constructible_v<mesh_fib6::decoded<routes>>);
static_assert(std::is_nothrow_move_assignable_v<mesh_fib6::decoded<routes>>);
static_assert(!std::is_copy_constructible_v<mesh_fib6::decoded<routes>>);
static_assert(!std::is_copy_assignable_v<mesh_fib6::decoded<routes>>);
static_assert(sizeof(mesh_fib6::decoded<routes>) == sizeof(routes));
static_assert(mesh_fib6::is_message_v<routes>);
static_assert(!mesh_fib6::is_message_v<feiBrokerFib6_ipv6Fwd>);
static_assert(!mesh_fib6::is_message_v<int>);
static_assert(mesh_fib6::message_traits<routes>::id == 0x5026A923);

// An update of so many routes, whose first members count from 1.
std::vector<uint8_t> update_of(uint32_t count) {
  std::vector<feiBrokerFib6_ipv6Fwd> entries(count);
  for (uint32_t i = 0; i < count; i++)
    entries[i].f0 = i + 1;
  return mesh_fib6::encode(routes{.f0 = 7, .f1_count = count, .f1 = entries.data()});
}

size_t blocks_given_back() {
  return fake_osal::calls_of(fake_osal::call_kind::free).size();
}

class Decoded : public EveryMessage {};

TEST_F(Decoded, HoldsTheRecordAndReleasesItOnce) {
  const std::vector<uint8_t> wire = update_of(3);
  forget();
  {
    const mesh_fib6::decoded<routes> message(wire.data(), wire.size());
    EXPECT_EQ(message->f0, 7U);
    EXPECT_EQ((*message).f1_count, 3U);
    EXPECT_EQ(message.record().f1[2].f0, 3U);
    EXPECT_EQ(fake_osal::live_blocks(), 1U);
  }
  EXPECT_EQ(fake_osal::live_blocks(), 0U);
  EXPECT_EQ(blocks_given_back(), 1U);
}

TEST_F(Decoded, HoldsZerosWhenNothingWasDecoded) {
  const mesh_fib6::decoded<routes> message;
  EXPECT_EQ(message->f0, 0U);
  EXPECT_EQ(message->f1, nullptr);
}

TEST_F(Decoded, MovesTheBlocksAndLeavesZeros) {
  const std::vector<uint8_t> wire = update_of(2);
  forget();
  {
    mesh_fib6::decoded<routes> first(wire.data(), wire.size());
    const mesh_fib6::decoded<routes> second(std::move(first));
    EXPECT_EQ(first->f1, nullptr); // NOLINT(bugprone-use-after-move): a moved-from one is asked
    EXPECT_EQ(first->f1_count, 0U);
    EXPECT_EQ(second->f1[1].f0, 2U);
  }
  EXPECT_EQ(blocks_given_back(), 1U);
}

TEST_F(Decoded, ReleasesWhatItHeldWhenAnotherIsMovedToIt) {
  const std::vector<uint8_t> wire = update_of(2);
  forget();
  {
    mesh_fib6::decoded<routes> first(wire.data(), wire.size()), second(wire.data(), wire.size());
    first = std::move(second);
    EXPECT_EQ(fake_osal::live_blocks(), 1U);
    EXPECT_EQ(first->f1[0].f0, 1U);
    mesh_fib6::decoded<routes> &itself = first;
    first = std::move(itself);
    EXPECT_EQ(first->f1[0].f0, 1U);
    EXPECT_EQ(fake_osal::live_blocks(), 1U);
  }
  EXPECT_EQ(blocks_given_back(), 2U);
}

TEST_F(Decoded, GivesItsRecordAwayWhenAsked) {
  const std::vector<uint8_t> wire = update_of(2);
  forget();
  routes record{};
  {
    mesh_fib6::decoded<routes> message(wire.data(), wire.size());
    record = message.release();
    EXPECT_EQ(message->f1, nullptr);
  }
  EXPECT_EQ(fake_osal::live_blocks(), 1U);
  EXPECT_EQ(record.f1[1].f0, 2U);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
}

TEST_F(Decoded, HoldsWhatTheCFunctionGivesForEveryCutMessage) {
  const std::vector<uint8_t> whole = update_of(3);
  for (size_t size = 0; size <= whole.size(); size++) {
    const guarded_buffer wire(
        std::vector<uint8_t>(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)));
    routes expected{};
    feiBrokerFib6_ipv6FwdUpdateMsg__unpack(wire.data(), static_cast<uint32_t>(size), &expected);
    const mesh_fib6::decoded<routes> message(wire.data(), size);
    EXPECT_EQ(message->f0, expected.f0) << size;
    EXPECT_EQ(message->f1_count, expected.f1_count) << size;
    EXPECT_EQ(message->f1 == nullptr, expected.f1 == nullptr) << size;
    const auto entries = mesh_fib6::elements(message->f1, message->f1_count);
    EXPECT_EQ(entries.size(), expected.f1 == nullptr ? 0 : expected.f1_count) << size;
    feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&expected);
  }
}

// As a 32-bit number it would be a whole message.
TEST_F(Decoded, RefusesASizeThat32BitsCannotSay) {
  const std::vector<uint8_t> wire = update_of(1);
  const mesh_fib6::decoded<routes> message(wire.data(), (size_t{1} << 32) + wire.size());
  EXPECT_EQ(message->f0, 0U);
  EXPECT_EQ(message->f1, nullptr);
  EXPECT_EQ(fake_osal::log_lines().size(), 1U);
}

TEST(Elements, AreThoseOfTheArray) {
  const uint32_t array[] = {5, 6, 7};
  const auto some = mesh_fib6::elements(array, 3);
  EXPECT_EQ(std::vector<uint32_t>(some.begin(), some.end()), (std::vector<uint32_t>{5, 6, 7}));
  EXPECT_EQ(some.size(), 3U);
  EXPECT_EQ(some[1], 6U);
  EXPECT_FALSE(some.empty());
  const std::span<const uint32_t> as_span = some;
  EXPECT_EQ(as_span.data(), array);
  EXPECT_EQ(as_span.size(), 3U);
}

TEST(Elements, AreNoneWhereThePointerIsNullWhateverTheCount) {
  const auto none = mesh_fib6::elements(static_cast<feiBrokerFib6_ipv6Fwd *>(nullptr), 1000);
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(none.begin(), none.end());
  EXPECT_EQ(none.size(), 0U);
}

class Encode : public EveryMessage {};

template <class M>
void expect_packed_as_by_c(const message &message) {
  const owned_record record = full_record(message);
  EXPECT_EQ(mesh_fib6::encode(*static_cast<const M *>(record.get())),
            packed(message, record.get()));
}

TEST_F(Encode, GivesTheBytesThatTheCFunctionPacks) {
#define MESH_FIB6_EXPECT(M, module, image_size)                                                    \
  expect_packed_as_by_c<M>(row_of(mesh_fib6::message_traits<M>::name));
  MESH_FIB6_EACH_MESSAGE(MESH_FIB6_EXPECT)
#undef MESH_FIB6_EXPECT
}

TEST_F(Encode, GivesMessagesOfAnySizeAndWritesNoLine) {
  for (const uint32_t count : {0U, 1U, 6U, 7U, 100U, 20000U}) {
    const std::vector<uint8_t> wire = update_of(count);
    const mesh_fib6::decoded<routes> message(wire.data(), wire.size());
    EXPECT_EQ(message->f1_count, count);
    EXPECT_TRUE(count == 0 || message->f1[count - 1].f0 == count);
  }
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

class Send : public EveryMessage {};

TEST_F(Send, HandsOneRecordOrABatchToTheMesh) {
  setting records[2] = {};
  records[1].f0 = 2;
  fake_mesh::set_send_result(5);
  EXPECT_EQ(mesh_fib6::send(3, records[0]), 5U);
  EXPECT_EQ(mesh_fib6::send(3, records[0], 4), 5U);
  EXPECT_EQ(mesh_fib6::send_batch(3, records, 2), 5U);
  EXPECT_EQ(mesh_fib6::send_batch(3, records, 2, 4), 5U);
  const std::vector<fake_mesh::send> sent = fake_mesh::sends();
  ASSERT_EQ(sent.size(), 4U);
  for (size_t i = 0; i < sent.size(); i++) {
    EXPECT_EQ(sent[i].destination, 3U);
    EXPECT_EQ(sent[i].target, i % 2 == 0 ? 0U : 4U);
    EXPECT_EQ(sent[i].count, i < 2 ? 1U : 2U);
    EXPECT_EQ(sent[i].messages[0].id, fib6_cfg_cfg_ipv6_ttl_expired_forward_ID);
  }
}

class Visit : public EveryMessage {};

TEST_F(Visit, CallsWithTheRecordOfEachMessagesType) {
  each([](const message &message) {
    const owned_record record = full_record(message);
    const bytes wire = packed(message, record.get());
    uint32_t called = 0;
    const auto look = [&](const auto &found) {
      using type = std::decay_t<decltype(found)>;
      called++;
      EXPECT_STREQ(mesh_fib6::message_traits<type>::name, message.name);
      EXPECT_EQ(difference(message, record.get(), &found), "");
    };
    EXPECT_TRUE(mesh_fib6::visit(message.id, wire.data(), wire.size(), look));
    EXPECT_EQ(called, 1U);
    EXPECT_EQ(fake_osal::live_blocks(), 0U);
    EXPECT_TRUE(mesh_fib6::visit_record(message.id, record.get(), message.record_size, look));
    EXPECT_EQ(called, 2U);
    EXPECT_FALSE(mesh_fib6::visit_record(message.id, record.get(), message.record_size - 1, look));
    EXPECT_FALSE(mesh_fib6::visit_record(message.id, nullptr, message.record_size, look));
    EXPECT_EQ(called, 2U);
  });
}

TEST_F(Visit, DoesNothingUnderAnUnknownIdentifier) {
  const std::vector<uint8_t> wire = update_of(1);
  forget();
  const auto never = [](const auto &) { ADD_FAILURE() << "called"; };
  EXPECT_FALSE(mesh_fib6::visit(0, wire.data(), wire.size(), never));
  EXPECT_FALSE(mesh_fib6::visit_record(0, wire.data(), wire.size(), never));
  EXPECT_TRUE(fake_osal::calls().empty());
}

TEST_F(Visit, DecodesNothingThatTheVisitorDoesNotTake) {
  const std::vector<uint8_t> wire = update_of(1);
  forget();
  const auto never = [](const setting &) { ADD_FAILURE() << "called"; };
  EXPECT_FALSE(
      mesh_fib6::visit(feiBrokerFib6_ipv6FwdUpdateMsg_ID, wire.data(), wire.size(), never));
  EXPECT_TRUE(fake_osal::calls().empty());
}

TEST_F(Visit, ChoosesAmongSeveralFunctions) {
  setting sent{};
  sent.f0 = 9;
  const std::vector<uint8_t> wire = update_of(4), other = mesh_fib6::encode(sent);
  uint32_t first = 0, second = 0;
  const mesh_fib6::overloaded visitor{[&](const routes &update) { first = update.f1_count; },
                                      [&](const setting &record) { second = record.f0; }};
  EXPECT_TRUE(
      mesh_fib6::visit(feiBrokerFib6_ipv6FwdUpdateMsg_ID, wire.data(), wire.size(), visitor));
  EXPECT_TRUE(mesh_fib6::visit(fib6_cfg_cfg_ipv6_ttl_expired_forward_ID, other.data(), other.size(),
                               visitor));
  EXPECT_EQ(first, 4U);
  EXPECT_EQ(second, 9U);
}

TEST_F(Visit, LetsAVisitorKeepWhatWasDecoded) {
  const std::vector<uint8_t> wire = update_of(2);
  forget();
  {
    mesh_fib6::decoded<routes> kept;
    EXPECT_TRUE(
        mesh_fib6::visit(feiBrokerFib6_ipv6FwdUpdateMsg_ID, wire.data(), wire.size(),
                         [&](mesh_fib6::decoded<routes> message) { kept = std::move(message); }));
    EXPECT_EQ(kept->f1[1].f0, 2U);
    EXPECT_EQ(fake_osal::live_blocks(), 1U);
  }
  EXPECT_EQ(blocks_given_back(), 1U);
}

} // namespace
