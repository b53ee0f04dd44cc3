// Memory that runs out at every point: each allocation of a decode, each of a row of sends.
//
// Room: tests.
#include "tests/attacks/owned_blocks.h"

#include <functional>

using namespace attacks;
using catalogue::EveryMessage;

namespace {

class OutOfMemory : public EveryMessage {};

TEST_F(OutOfMemory, AtAnyBlockOfADecodeLeavesCountsAndScalarsAndGivesTheOthersBackInOrder) {
  each_tree([](const message &message) {
    const std::vector<owned_block> blocks = blocks_of(message);
    ASSERT_FALSE(blocks.empty());
    owned_record full = catalogue::full_record(message);
    for (const uint32_t byte_swap : {0U, 1U}) {
      const bytes wire = catalogue::packed(message, full.get(), byte_swap);
      for (size_t refused = 0; refused < blocks.size(); refused++) {
        SCOPED_TRACE(message.name + std::string(", block ") + std::to_string(refused));
        const uint32_t count = count_in(full.get(), blocks[refused]);
        catalogue::decoding decoded(message, wire, byte_swap, static_cast<uint32_t>(refused + 1));
        expect_refused(message, decoded, refused, count, count * blocks[refused].element_size(),
                       true);
        EXPECT_EQ(fake_osal::live_blocks(), 0U);
      }
      // One more, and nothing is refused.
      catalogue::decoding decoded(message, wire, byte_swap,
                                  static_cast<uint32_t>(blocks.size() + 1));
      EXPECT_EQ(decoded.calls.size(), blocks.size());
      EXPECT_EQ(catalogue::difference(message, full.get(), decoded.record()), "");
    }
  });
}

// Three records of a message, and every way to send one or all of them.
class sends {
public:
  struct operation {
    std::string tag;
    uint32_t block; // 0 when it takes none
    std::function<uint32_t()> run;
  };

  explicit sends(const message &message)
      : message_(message), array_(3 * size_t{message.record_size}) {
    for (uint32_t i = 0; i < 3; i++) {
      owned_.push_back(catalogue::some_record(message, i));
      std::memcpy(array_.data() + size_t{i} * message.record_size, owned_.back().get(),
                  message.record_size);
    }
    const auto size = static_cast<uint32_t>(catalogue::sent(message, array_.data()).size());
    one_ = message.is_tree() ? size : 0;
    many_ = message.is_tree() ? 65536 + 3 * 16 : 3 * (size + 16);
    batch_of_one_ = message.is_tree() ? 65536 + 16 : size + 16;
  }

  std::vector<operation> operations() const {
    const void *const records = array_.data();
    const auto &m = message_;
    return {
        {tag("__sendsingle"), one_, [=, &m] { return m.sendsingle(1, records, 9, 0); }},
        {tag("__sendsingle"), one_, [=, &m] { return m.sendsingle(1, records, 9, 7); }},
        {tag("__sendbatch"), batch_of_one_, [=, &m] { return m.sendbatch(1, records, 1, 0); }},
        {tag("__sendbatch"), many_, [=, &m] { return m.sendbatch(1, records, 3, 0); }},
        {tag("__sendbatch"), many_, [=, &m] { return m.sendbatch(1, records, 3, 7); }},
        {tag("__sendsingle"), one_, [=, &m] { return m.sendmsg(1, records, 1); }},
        {tag("__sendbatch"), many_, [=, &m] { return m.sendmsg(1, records, 3); }},
        {tag("__sendsingle"), one_, [=, &m] { return m.sendtomsg(1, records, 1, 0); }},
        {tag("__sendsingle"), one_, [=, &m] { return m.sendtomsg(1, records, 1, 7); }},
        {tag("__sendbatch"), many_, [=, &m] { return m.sendtomsg(1, records, 3, 0); }},
        {tag("__sendbatch"), many_, [=, &m] { return m.sendtomsg(1, records, 3, 7); }},
    };
  }

private:
  std::string tag(const char *suffix) const { return std::string(message_.name) + suffix; }

  const message &message_;
  std::vector<owned_record> owned_;
  guarded_buffer array_;
  uint32_t one_ = 0, batch_of_one_ = 0, many_ = 0;
};

// Runs one operation, which is refused its block or not. Returns whether it asked for one.
bool expect_outcome(const sends::operation &operation, bool refused) {
  using enum fake_osal::call_kind;
  const size_t calls_before = fake_osal::calls().size();
  const size_t sends_before = fake_mesh::sends().size();
  const bool fails = refused && operation.block != 0;
  EXPECT_EQ(operation.run(), fails ? catalogue::failed : 0U) << operation.tag;
  std::vector<fake_osal::call> calls = fake_osal::calls();
  calls.erase(calls.begin(), calls.begin() + static_cast<ptrdiff_t>(calls_before));
  std::vector<fake_osal::call> expected;
  if (operation.block != 0) {
    void *const block = fails || calls.empty() ? nullptr : calls[0].block;
    expected.push_back({alloc, operation.block, 25088, operation.tag, block});
    if (!fails)
      expected.push_back({free, operation.block, 25088, operation.tag, block});
  }
  EXPECT_EQ(calls, expected);
  EXPECT_EQ(fake_mesh::sends().size(), sends_before + (fails ? 0 : 1));
  return operation.block != 0;
}

TEST_F(OutOfMemory, AtAnyBlockOfARowOfSendsFailsThatSendAndNoOther) {
  each([](const message &message) {
    SCOPED_TRACE(message.name);
    const sends row(message);
    uint32_t asked = 0;
    uint32_t refused = 0;
    do {
      refused++;
      catalogue::forget();
      fake_osal::fail_allocation(refused);
      asked = 0;
      for (const sends::operation &operation : row.operations())
        asked += expect_outcome(operation, refused == asked + 1) ? 1U : 0U;
    } while (refused <= asked); // the last round is refused nothing
    EXPECT_EQ(asked, message.is_tree() ? 11U : 6U);
    EXPECT_TRUE(fake_osal::log_lines().empty());
  });
}

TEST_F(OutOfMemory, ForGoodStopsNoPackAndNoFlatSingleSend) {
  each([](const message &message) {
    SCOPED_TRACE(message.name);
    const sends row(message);
    const owned_record record = catalogue::some_record(message, 1);
    const bytes expected = catalogue::packed(message, record.get());
    catalogue::forget();
    fake_osal::refuse_above(0);
    for (const sends::operation &operation : row.operations())
      expect_outcome(operation, true);
    const size_t calls = fake_osal::calls().size();
    guarded_buffer buffer(expected.size());
    uint32_t length = buffer.size();
    EXPECT_EQ(message.pack(record.get(), buffer.data(), &length), 0U);
    EXPECT_EQ(buffer.bytes(), expected);
    EXPECT_EQ(fake_osal::calls().size(), calls);
    EXPECT_TRUE(fake_osal::log_lines().empty());
  });
}

} // namespace
