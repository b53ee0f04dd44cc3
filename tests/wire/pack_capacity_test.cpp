// Packing into whatever room there is: from none to more than a message with so many elements can
// ever need. Where the room cannot be too small the record is not measured first; nobody may be
// able to tell.
//
// Room: tests. Expected bytes are the reviewed images and element_wire.h's.
#include "tests/reference/element_wire.h"
#include "tests/wire/decoding.h"
#include "tests/wire/golden.h"
#include "tests/wire/log_expectation.h"
#include "tests/wire/query_messages.h"

#include <gtest/gtest.h>

namespace {

using bytes = std::vector<uint8_t>;

constexpr uint32_t failed = 0xFFFFFFFF;
constexpr uint8_t canary = 0xC7;

// A message as the tests see it: packing without its type.
struct packing {
  std::string name;
  bytes expected;         // what is written
  uint32_t unwritten = 0; // bytes behind it that count into the size, too
  uint32_t bound;         // the size with every scalar present, worked out below
  uint32_t byte_swap = 0;
  const void *record;
  uint32_t (*pack)(const void *record, uint8_t *buffer, uint32_t *length);
  mesh_fib6::runtime::unit *unit;
  void (*bind)();
  std::string log_name;

  uint32_t size() const { return static_cast<uint32_t>(expected.size()) + unwritten; }
};
template <class M>
uint32_t pack_untyped(const void *record, uint8_t *buffer, uint32_t *length) {
  return operations<M>::pack(static_cast<const M *>(record), buffer, length);
}

template <class M>
packing packing_of(const std::string &name, const M *record, const bytes &expected, uint32_t bound,
                   uint32_t byte_swap = 0) {
  return {.name = name,
          .expected = expected,
          .bound = bound,
          .byte_swap = byte_swap,
          .record = record,
          .pack = &pack_untyped<M>,
          .unit = &units_of<M>().send,
          .bind = &bind_units<M>,
          .log_name = std::string(operations<M>::name) + "_pack"};
}

// Compact images of a message's golden file, each with its bound.
template <class M>
void add_images(std::vector<packing> &list, const char *short_name,
                const std::vector<std::pair<const char *, uint32_t>> &bounds) {
  for (const auto &[name, bound] : bounds) {
    const golden::image &image = golden::file_of<M>().image_of(name);
    EXPECT_FALSE(image.fixed) << name;
    list.push_back(packing_of(std::string(short_name) + "_" + name,
                              static_cast<const M *>(image.record), image.bytes, bound,
                              image.byte_swap));
  }
}

// A byte vector whose pointer is not null and whose length is 0: written as if there were none.
template <class M>
void add_empty_bytes(std::vector<packing> &list, const char *name, uint32_t bound) {
  static uint8_t nothing[1];
  static M record;
  std::memcpy(&record, &golden::record_of<M>("full_without_bytes"), sizeof record);
  set_bytes(record, nothing, 0);
  list.push_back(packing_of(name, static_cast<const M *>(&record),
                            golden::file_of<M>().bytes_of("full_without_bytes"), bound));
  list.back().unwritten = 8;
}

// Sixteen routes, each with another half of its scalars.
packing many_routes(uint32_t byte_swap) {
  static const element_wire::element_type type = element_wire::route();
  static feiBrokerFib6_ipv6Fwd routes[16];
  static const feiBrokerFib6_ipv6FwdUpdateMsg record{
      .f0 = 0x01020304, .f1_count = 16, .f1 = routes};
  element_wire::vector in{1, &type, {}};
  for (uint32_t k = 0; k < 16; ++k) {
    const uint32_t mask = k % 2 == 0 ? 0x1555U << k % 3 : 0x78FU << k % 5;
    in.elements.push_back(
        element_wire::compact(type, element_wire::filled(type, k, mask & 0x1FFF)));
    const bytes &one = in.elements.back().values.record();
    std::memcpy(&routes[k], one.data(), one.size());
  }
  const element_wire::message whole{
      .root_slots = 2, .f0 = 0x01020304, .vectors = {in}, .byte_swap = byte_swap};
  element_wire::laid_message laid(whole);
  // The root's table: soffset, f0, offset word, count and sixteen offset words.
  laid.set_u16(6, 4 + 4 + 4 + 4 + 16 * 4);
  return packing_of("Routes_sixteen_swap_" + std::to_string(byte_swap), &record, laid.wire,
                    28 + 16 * (4 + 100), byte_swap);
}

// One byte vector of five bytes is 4 + 4 + 5 = 13 of a bound, of one byte 9. A table with all its
// scalars, from its vtable on:
//   route                     32 + 4 + 40 +  4 + 20 = 100
//   hops: shared              24 + 4 + 28 +  4 + 20 =  80
//   std, ext                  22 + 4 + 32 +  4 + 20 =  82    20 + 4 + 25 + 4 + 7 = 60
//   vpn, vxlan                14 + 4 + 20           =  38    30 + 4 + 32 + 12 + 37 = 115
//   vpn_sid, te               28 + 4 + 24 + 12 + 60 = 128    22 + 4 + 26 + 4 + 20 = 76
//   group, node               14 + 4 + 20           =  38    24 + 4 + 40 = 68
//   fib item                  46 + 4 + 48 + 24 + 112 = 234
//   query, answer in common   10 + 4 + 8 + bytes    =  22    12 + 4 + 12 + bytes = 28
//   fib condition, dfx item   22 + 4 + 24 + 4 + 20  =  74    18 + 4 + 12 + 16 + 162 = 212
//   check item                10 + 4 + 5 + 4 + 260  = 283
std::vector<packing> all_packings() {
  std::vector<packing> list;
  // Root: 4 + 8 + 4 + 4 (f0) + 4 + 4 (count), and 4 + 100 for each route.
  add_images<feiBrokerFib6_ipv6FwdUpdateMsg>(list, "Routes",
                                             {{"zero", 20},
                                              {"zero_elements", 28 + 104},
                                              {"full", 28 + 2 * 104},
                                              {"full_swap_1", 28 + 2 * 104},
                                              {"full_swap_2", 28 + 2 * 104}});
  list.push_back(many_routes(0));
  list.push_back(many_routes(1));
  list.push_back(many_routes(2));
  // Root: 4 + 20 + 4 + 4 (f0) + 4 + 80, and for each vector 8 and 4 more for each element.
  constexpr uint32_t hops =
      116 + 6 * 8 + 4 * (2 + 1 + 2 + 2 + 1 + 2) + 2 * 82 + 60 + 2 * 38 + 2 * 115 + 128 + 2 * 76;
  constexpr uint32_t one_each = 116 + 6 * 12 + 82 + 60 + 38 + 115 + 128 + 76;
  add_images<feiBrokerFib6_nhp6UpdateMsg>(list, "Hops",
                                          {{"zero", 116},
                                           {"zero_elements", one_each},
                                           {"full", hops},
                                           {"only_f7", 116 + 12 + 76},
                                           {"only_f7_swap_2", 116 + 12 + 76},
                                           {"full_swap_1", hops}});
  // Root: 4 + 10 + 4 + 4 (f0) + 4 + 38 + 8, and 4 + 68 for each node.
  add_images<feiBrokerFib6_nhp6GroupUpdateMsg>(list, "Group",
                                               {{"zero", 64},
                                                {"zero_elements", 72 + 72},
                                                {"full", 72 + 2 * 72},
                                                {"full_swap_1", 72 + 2 * 72}});
  // Root: 4 + 8 + 4 + 4 + 28, 8 for a vector and 4 + 234 for each item.
  add_images<fib6_cfg_query_fib6_rec>(list, "FibAnswer",
                                      {{"zero", 48},
                                       {"zero_elements", 48 + 9 + 8 + 238},
                                       {"full", 48 + 13 + 8 + 2 * 238},
                                       {"full_without_bytes", 48 + 8 + 2 * 238},
                                       {"full_swap_1", 48 + 13 + 8 + 2 * 238}});
  add_empty_bytes<fib6_cfg_query_fib6_rec>(list, "FibAnswer_empty_bytes", 48 + 8 + 8 + 2 * 238);
  add_images<fib6_cfg_query_dfx_rec>(
      list, "DfxAnswer", {{"zero_elements", 48 + 9 + 8 + 216}, {"full", 48 + 13 + 8 + 2 * 216}});
  add_empty_bytes<fib6_cfg_query_dfx_rec>(list, "DfxAnswer_empty_bytes", 48 + 8 + 8 + 2 * 216);
  // Root: 4 + 8 + 4 + 8 + 22 + 74.
  add_images<fib6_cfg_query_fib6_key>(list, "FibQuery",
                                      {{"zero", 120},
                                       {"sparse", 120 + 13},
                                       {"full", 120 + 13},
                                       {"full_swap_1", 120 + 13},
                                       {"full_swap_2", 120 + 13}});
  add_empty_bytes<fib6_cfg_query_fib6_key>(list, "FibQuery_empty_bytes", 120 + 8);
  // Root: 4 + 8 + 4 + 8 + 28 + 283.
  add_images<fib6_cfg_query_fib6check_rec>(
      list, "CheckAnswer",
      {{"zero", 335}, {"sparse", 335 + 13}, {"full_swap_1", 335 + 13}, {"full_swap_2", 335 + 13}});
  add_empty_bytes<fib6_cfg_query_fib6check_rec>(list, "CheckAnswer_empty_bytes", 335 + 8);
  // Flat with a sub-table: 4 + 8 + 4 + 4 (f0) + 4, and 18 + 4 + 25 or 10 + 4 + 12.
  add_images<feiBrokerFib6_vrfClassDataMsg>(list, "ClassData",
                                            {{"zero", 71}, {"sparse", 71}, {"full", 71}});
  add_images<feiBrokerFib6_pidStateMsg>(list, "PidState", {{"zero", 50}, {"full", 50}});
  // Flat, of scalars only: 4 + 18 + 4 + 13, and of scalars and an array: 4 + 14 + 4 + 16 + 24.
  add_images<feiBrokerFib6_loadBalanceMode>(list, "BalanceMode",
                                            {{"zero", 39}, {"sparse", 39}, {"full", 39}});
  add_images<fib6_cfg_cfg_ipv6_ttl_expired_forward>(list, "Setting",
                                                    {{"zero", 62},
                                                     {"example", 62},
                                                     {"full", 62},
                                                     {"example_swap_1", 62},
                                                     {"example_swap_2", 62}});
  return list;
}

class PackCapacity : public testing::Test {
protected:
  const packing &given() const { return *given_; }

  // Each of the messages, in its byte order.
  template <class Test>
  void for_each_message(Test test) {
    static const std::vector<packing> list = all_packings();
    for (const packing &each : list) {
      SCOPED_TRACE(each.name);
      given_ = &each;
      each.bind();
      fake_osal::reset();
      const swapped_unit swapped(*each.unit, each.byte_swap);
      test();
    }
  }

  // Packs at the buffer's place in memory and expects success: the image, and nothing else touched.
  void expect_packed(guarded_buffer &buffer, uint32_t capacity) const {
    std::memset(buffer.data(), canary, buffer.size());
    uint32_t length = capacity;
    ASSERT_EQ(given().pack(given().record, buffer.data(), &length), 0U) << capacity;
    ASSERT_EQ(length, given().size()) << capacity;
    bytes expected = given().expected;
    expected.resize(buffer.size(), canary);
    ASSERT_EQ(std::memcmp(buffer.data(), expected.data(), expected.size()), 0)
        << "capacity " << capacity << ", buffer of " << buffer.size();
  }

  uint32_t beyond() const { return given().bound + 20; }

private:
  const packing *given_ = nullptr;
};

TEST_F(PackCapacity, IsBoundedByTheSizeWithEveryScalar) {
  for_each_message([this] { EXPECT_GE(given().bound, given().size()); });
}

TEST_F(PackCapacity, BelowTheSizeFailsAndTouchesNothing) {
  for_each_message([this] {
    for (uint32_t capacity = 0; capacity < given().size(); ++capacity) {
      guarded_buffer buffer(bytes(capacity, canary));
      uint32_t length = capacity;
      ASSERT_EQ(given().pack(given().record, buffer.data(), &length), failed) << capacity;
      ASSERT_EQ(length, capacity);
      ASSERT_EQ(buffer.bytes(), bytes(capacity, canary)) << capacity;
    }
    EXPECT_TRUE(fake_osal::log_lines().empty());
    EXPECT_TRUE(fake_osal::calls().empty());
  });
}

TEST_F(PackCapacity, FromTheSizeOnGivesTheImageAndTouchesNothingBehindIt) {
  for_each_message([this] {
    for (uint32_t capacity = given().size(); capacity <= beyond(); ++capacity)
      for (const edge touched : {edge::behind, edge::before}) {
        guarded_buffer buffer(capacity, touched);
        expect_packed(buffer, capacity);
      }
    EXPECT_TRUE(fake_osal::log_lines().empty());
    EXPECT_TRUE(fake_osal::calls().empty());
  });
}

// Nothing behind the message is touched, so nothing needs to be there, whatever the capacity says.
TEST_F(PackCapacity, OfMoreThanThereIsTouchesOnlyWhatTheMessageNeeds) {
  for_each_message([this] {
    const auto written = static_cast<uint32_t>(given().expected.size());
    guarded_buffer exact(written);
    for (uint32_t capacity = given().size(); capacity <= beyond(); ++capacity)
      expect_packed(exact, capacity);
    for (const uint32_t capacity : {0x10000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
      expect_packed(exact, capacity);
  });
}

TEST_F(PackCapacity, OverwritesWhateverTheImageCovers) {
  for_each_message([this] {
    for (const uint8_t before : {uint8_t{0x00}, uint8_t{0xFF}})
      for (const uint32_t capacity : {given().size(), given().bound, beyond()}) {
        guarded_buffer buffer(bytes(capacity, before));
        uint32_t length = capacity;
        ASSERT_EQ(given().pack(given().record, buffer.data(), &length), 0U);
        bytes expected = given().expected;
        expected.resize(capacity, before);
        ASSERT_EQ(buffer.bytes(), expected) << capacity;
      }
  });
}

TEST_F(PackCapacity, OfNoBufferIsAQuestionForTheSizeFromTheSizeOn) {
  for_each_message([this] {
    for (uint32_t capacity = 0; capacity <= beyond(); ++capacity) {
      fake_osal::reset();
      uint32_t length = capacity;
      const uint32_t result = given().pack(given().record, nullptr, &length);
      if (capacity < given().size()) {
        ASSERT_EQ(result, failed) << capacity;
        ASSERT_EQ(length, capacity);
        ASSERT_TRUE(fake_osal::log_lines().empty()) << capacity;
        continue;
      }
      ASSERT_EQ(result, 0U) << capacity;
      ASSERT_EQ(length, given().size()) << capacity;
      expect_one_line(fake_osal::log_lines(), given().log_name, log_format::pack_parameters,
                      "[VARKO]:Param invalid(null, " + std::to_string(capacity) + ", nonNull)");
    }
  });
}

TEST_F(PackCapacity, IsNoConcernOfANullRecord) {
  for_each_message([this] {
    guarded_buffer buffer(bytes(64, canary));
    for (uint8_t *target : {buffer.data(), static_cast<uint8_t *>(nullptr)})
      for (const uint32_t capacity : {0U, 3U, 4U, 63U, 64U, given().bound, beyond(), 0xFFFFFFFFU}) {
        uint32_t length = capacity;
        EXPECT_EQ(given().pack(nullptr, target, &length), failed);
        EXPECT_EQ(length, capacity);
      }
    EXPECT_EQ(buffer.bytes(), bytes(64, canary));
    EXPECT_TRUE(fake_osal::log_lines().empty());
  });
}

// One message field for field in the other byte order is the same size for any capacity.
TEST_F(PackCapacity, IsTheSameInEitherByteOrder) {
  for_each_message([this] {
    for (const uint32_t byte_swap : {0U, 1U, 2U, 0xFFFFFFFFU}) {
      const swapped_unit swapped(*given().unit, byte_swap);
      for (const uint32_t capacity :
           {given().size() - 1, given().size(), given().bound, beyond(), 0xFFFFFFFFU}) {
        guarded_buffer buffer(
            bytes(std::max<size_t>(given().expected.size(), std::min(capacity, beyond())), canary));
        uint32_t length = capacity;
        const uint32_t result = given().pack(given().record, buffer.data(), &length);
        ASSERT_EQ(result, capacity < given().size() ? failed : 0U);
        ASSERT_EQ(length, capacity < given().size() ? capacity : given().size());
        for (size_t i = given().expected.size(); i < buffer.size(); ++i)
          ASSERT_EQ(buffer.data()[i], canary) << "byte " << i << " of capacity " << capacity;
      }
    }
  });
}

} // namespace
