// A byte-order flag that is set before a unit's first use: binding clears it, so what is read
// before the binding is read reversed and nothing else is.
//
// Room: tests. Reaches the units.
#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"
#include "tests/wire/log_expectation.h"

#include <string>

using namespace catalogue;

namespace {

using mesh_fib6::runtime::unit;

constexpr uint32_t set_flags[] = {1, 2, 0xFFFFFFFF};

// The first decode of an unbound receive unit with its flag set.
class first_decode {
public:
  first_decode(const message &message, const bytes &wire, uint32_t flag)
      : unit_(units_of(message).recv), message_(message), record_(message.record_size) {
    const guarded_buffer buffer(wire);
    std::memset(record_.data(), decoding::pattern, record_.size());
    unit_ = {};
    unit_.byte_swap = flag;
    EXPECT_EQ(message.unpack(buffer.data(), buffer.size(), record_.data()), message.record_size);
    was_bound = unit_.runtime.cache_bound != 0;
    flag_after = unit_.byte_swap;
    lines = fake_osal::log_lines();
    unit_.byte_swap = 0;
  }
  first_decode(const first_decode &) = delete;
  first_decode &operator=(const first_decode &) = delete;
  ~first_decode() {
    if (fake_osal::live_blocks() != 0)
      message_.release(record_.data());
    forget();
  }

  const void *record() const { return record_.data(); }
  bool untouched() const { return consists_of(decoding::pattern); }
  bool zeroed() const { return consists_of(0); }

  bool was_bound = false;
  uint32_t flag_after = 0;
  std::vector<fake_osal::log_line> lines;

private:
  bool consists_of(uint8_t value) const {
    return record_.bytes() == bytes(message_.record_size, value);
  }

  unit &unit_;
  const message &message_;
  guarded_buffer record_;
};

// The image with what the header checks read reversed: root offset, soffset, length of the vtable.
bytes with_reversed_header(const bytes &image) {
  wire_builder wire(image);
  const uint32_t root = wire.u32_at(0), soffset = wire.u32_at(root), vtable = root - soffset;
  const auto vtable_size = static_cast<uint16_t>(wire.u32_at(vtable));
  return wire.set_u32(0, __builtin_bswap32(root))
      .set_u32(root, __builtin_bswap32(soffset))
      .set_u16(vtable, __builtin_bswap16(vtable_size))
      .bytes();
}

void expect_read(const message &message, const bytes &wire, const owned_record &record,
                 uint32_t flag) {
  const first_decode first(message, wire, flag);
  EXPECT_TRUE(first.lines.empty());
  EXPECT_EQ(difference(message, record.get(), first.record()), "");
  EXPECT_TRUE(first.was_bound);
  EXPECT_EQ(first.flag_after, 0U);
}

void expect_refused_root(const message &message, const first_decode &first, const bytes &wire) {
  uint32_t root = wire_builder(wire).u32_at(0);
  if (message.form == catalogue::root_form::header_first)
    root = __builtin_bswap32(root);
  expect_one_line(first.lines, message.header_name(), log_format::table,
                  "[VARKO]:Table offset(" + std::to_string(root) + ") is out of range(4 - " +
                      std::to_string(wire.size()) + ")");
}

// Calls check(message, record, image, flag) for every message, layout and flag.
template <class Check>
void each_first_flag(Check check) {
  for_each_message([&check](const message &message, const module_row &) {
    const owned_record record = full_record(message);
    for (const bytes &image : full_layouts(message))
      for (const uint32_t flag : set_flags) {
        forget();
        check(message, record, image, flag);
      }
  });
}

TEST_F(EveryMessage, OfTheTableFormIsReadInTheCommonOrderWhateverTheFlagBeforeTheFirstUse) {
  each_first_flag(
      [](const message &message, const owned_record &record, const bytes &image, uint32_t flag) {
        if (message.form == catalogue::root_form::table_form)
          expect_read(message, image, record, flag);
      });
}

TEST_F(EveryMessage, OfTheHeaderFirstFormIsReadWithOnlyItsHeaderAsTheFlagBeforeTheFirstUseSays) {
  each_first_flag(
      [](const message &message, const owned_record &record, const bytes &image, uint32_t flag) {
        if (message.form == catalogue::root_form::header_first)
          expect_read(message, with_reversed_header(image), record, flag);
      });
}

TEST_F(EveryMessage, OfTheTableFormWithAReversedHeaderIsRefusedWhateverTheFlagBeforeTheFirstUse) {
  each_first_flag(
      [](const message &message, const owned_record &, const bytes &image, uint32_t flag) {
        if (message.form != catalogue::root_form::table_form)
          return;
        const bytes wire = with_reversed_header(image);
        const first_decode first(message, wire, flag);
        expect_refused_root(message, first, wire);
        EXPECT_TRUE(first.zeroed());
        EXPECT_TRUE(first.was_bound);
        EXPECT_EQ(first.flag_after, 0U);
      });
}

TEST_F(EveryMessage, OfTheHeaderFirstFormIsRefusedUnboundWhenItsHeaderIsNotAsTheFlagSays) {
  each_first_flag(
      [](const message &message, const owned_record &, const bytes &image, uint32_t flag) {
        if (message.form != catalogue::root_form::header_first)
          return;
        const first_decode first(message, image, flag);
        expect_refused_root(message, first, image);
        EXPECT_TRUE(first.untouched());
        EXPECT_FALSE(first.was_bound);
        EXPECT_EQ(first.flag_after, flag);
      });
}

TEST_F(EveryMessage, IsPackedAndSentInTheCommonOrderWhateverTheFlagBeforeTheFirstUse) {
  for_each_message([](const message &message, const module_row &) {
    const owned_record record = full_record(message);
    const bytes compact = packed(message, record.get());
    const bytes travelling = sent(message, record.get());
    unit &unit = units_of(message).send;
    for (const uint32_t flag : set_flags) {
      unit = {};
      unit.byte_swap = flag;
      guarded_buffer buffer(compact.size());
      uint32_t length = buffer.size();
      EXPECT_EQ(message.pack(record.get(), buffer.data(), &length), 0U);
      EXPECT_EQ(buffer.bytes(), compact);
      EXPECT_EQ(unit.byte_swap, 0U);

      unit = {};
      EXPECT_EQ(sent(message, record.get(), flag), travelling);
      forget();
    }
  });
}

} // namespace
