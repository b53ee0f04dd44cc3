// Each of the 32 parts of an OSAL that a process can have, and every message in each of them.
//
// Room: tests. Reaches the units: each part begins with all six as they are after loading.
#include "tests/attacks/owned_blocks.h"
#include "tests/runtime/wrapped_dlsym.h"

#include <set>

using namespace attacks;
using catalogue::EveryMessage;
using fake_osal::call_kind;

namespace {

// What a process has, and what follows from it.
struct osal_part {
  bool log, alloc, free, flag, cache_alloc;

  explicit osal_part(uint32_t mask)
      : log((mask & 1) != 0), alloc((mask & 2) != 0), free((mask & 4) != 0), flag((mask & 8) != 0),
        cache_alloc((mask & 16) != 0) {}

  std::set<std::string> missing() const {
    std::set<std::string> names;
    if (!log)
      names.insert("VRX_OsalLogWrite");
    if (!alloc)
      names.insert("VRX_OsalMemAlloc");
    if (!free)
      names.insert("VRX_OsalMemFree");
    if (!flag)
      names.insert("VRX_OsalMemUseFlagGet");
    if (!cache_alloc)
      names.insert("VRX_OsalMemCacheAlloc");
    return names;
  }

  // Never one function of a pair without the other, and no cache without a flag that asks for it.
  bool sends_from_osal() const { return alloc && free; }
  bool decodes_from_osal() const { return flag && cache_alloc && free; }

  // Both halves of six units: each name once a half that wants it. Who has no flag wants no cache.
  wrapped_dlsym::counts look_ups() const {
    wrapped_dlsym::counts expected = {{"VRX_OsalLogWrite", 6},
                                      {"VRX_OsalMemAlloc", 6},
                                      {"VRX_OsalMemFree", flag ? 12 : 6},
                                      {"VRX_OsalMemUseFlagGet", 6}};
    if (flag)
      expected["VRX_OsalMemCacheAlloc"] = 6;
    return expected;
  }
};

// What every process gets, whatever it has: made once with all of the OSAL.
struct outcome {
  explicit outcome(const message &message)
      : record(catalogue::full_record(message)), packed(catalogue::packed(message, record.get())),
        sent(catalogue::sent(message, record.get())) {}
  owned_record record;
  bytes packed, sent;
};

class MissingOsal : public EveryMessage {
protected:
  void SetUp() override {
    EveryMessage::SetUp();
    wrapped_dlsym::reset();
  }
  void TearDown() override {
    reset_units();
    EveryMessage::TearDown();
  }

  // Unbound, nothing hidden.
  static void reset_units() {
    using namespace mesh_fib6;
    for (runtime::unit *unit : {&fib6::recv_unit, &fib6::send_unit, &fib6_cfg::recv_unit,
                                &fib6_cfg::send_unit, &fib6_sync::recv_unit, &fib6_sync::send_unit})
      *unit = {};
    wrapped_dlsym::reset();
    catalogue::forget();
  }

  // How many blocks the OSAL gave, and that it got them back.
  static size_t blocks_from(call_kind allocator) {
    const size_t blocks = fake_osal::calls_of(allocator).size();
    EXPECT_EQ(fake_osal::calls_of(call_kind::free).size(), blocks);
    EXPECT_EQ(fake_osal::live_blocks(), 0U);
    catalogue::forget();
    return blocks;
  }

  static void expect_decodes(const message &message, const outcome &expected, bool from_osal) {
    guarded_buffer buffer(expected.packed), record(message.record_size);
    EXPECT_EQ(message.unpack(buffer.data(), buffer.size(), record.data()), message.record_size);
    EXPECT_EQ(catalogue::difference(message, expected.record.get(), record.data()), "");
    EXPECT_TRUE(fake_osal::log_lines().empty());
    message.release(record.data());
    EXPECT_FALSE(catalogue::has_array(catalogue::table_of(message), record.data()));
    EXPECT_EQ(blocks_from(call_kind::cache_alloc), from_osal ? blocks_of(message).size() : 0);
  }

  static void expect_sends(const message &message, const outcome &expected, bool from_osal) {
    guarded_buffer buffer(expected.packed.size());
    uint32_t length = buffer.size();
    EXPECT_EQ(message.pack(expected.record.get(), buffer.data(), &length), 0U);
    EXPECT_EQ(buffer.bytes(), expected.packed);
    EXPECT_EQ(message.sendsingle(1, expected.record.get(), 0, 0), 0U);
    EXPECT_EQ(message.sendbatch(1, expected.record.get(), 1, 7), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 2U);
    for (const fake_mesh::send &send : sends) {
      ASSERT_EQ(send.messages.size(), 1U);
      EXPECT_EQ(send.messages[0].bytes, expected.sent);
    }
    EXPECT_TRUE(fake_osal::log_lines().empty());
    const size_t blocks = message.is_tree() ? 2 : 1;
    EXPECT_EQ(blocks_from(call_kind::alloc), from_osal ? blocks : 0);
  }

  // One line each of a decode that is refused and of a question for the size.
  static void expect_logs(const message &message, const outcome &expected, bool logged) {
    EXPECT_EQ(message.unpack(nullptr, 0, nullptr), message.record_size);
    uint32_t length = UINT32_MAX;
    EXPECT_EQ(message.pack(expected.record.get(), nullptr, &length), 0U);
    EXPECT_EQ(length, expected.packed.size());
    std::vector<std::string> functions;
    for (const fake_osal::log_line &line : fake_osal::log_lines())
      functions.push_back(line.function);
    const std::string name = message.name;
    EXPECT_EQ(functions, logged ? (std::vector<std::string>{name + "_unpack", name + "_pack"})
                                : std::vector<std::string>{});
    catalogue::forget();
  }
};

TEST_F(MissingOsal, InAnyPartLeavesWholePairsAndTheSameBytesAndRecords) {
  std::vector<outcome> outcomes;
  each([&outcomes](const message &message) { outcomes.emplace_back(message); });
  for (uint32_t mask = 0; mask < 32; mask++) {
    SCOPED_TRACE("part " + std::to_string(mask));
    const osal_part part(mask);
    reset_units();
    wrapped_dlsym::hide(part.missing());
    size_t next = 0;
    catalogue::for_each_message([&](const message &message, const catalogue::module_row &) {
      SCOPED_TRACE(message.name);
      const outcome &expected = outcomes[next++];
      expect_logs(message, expected, part.log);
      expect_sends(message, expected, part.sends_from_osal());
      expect_decodes(message, expected, part.decodes_from_osal());
    });
    EXPECT_EQ(wrapped_dlsym::look_ups(), part.look_ups());
  }
}

} // namespace
