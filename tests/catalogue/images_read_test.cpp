// Images of flat messages that are not quite what the send operations write and must be read the
// same, and embedded tables that are spoilt, in every byte order.
//
// Room: tests.
#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"
#include "tests/reference/navigation.h"
#include "tests/wire/log_expectation.h"

#include <algorithm>
#include <string>
#include <vector>

using namespace catalogue;
using mesh_fib6::tools::kind;

namespace {

// Marks the bytes of an image that something refers to.
class references {
public:
  references(const table_descriptor &root, const bytes &image)
      : image_(image), marked_(image.size(), false) {
    mark(0, 4);
    table(root, image::root_of(image_));
  }

  bool operator[](size_t at) const { return marked_[at]; }
  // Where the last one ends.
  size_t end() const {
    size_t end = marked_.size();
    while (!marked_[end - 1])
      end--;
    return end;
  }

private:
  void mark(uint32_t at, uint32_t count) { std::fill_n(marked_.begin() + at, count, true); }

  void table(const table_descriptor &descriptor, uint32_t at) {
    mark(at, 4);
    mark(image::vtable_of(image_, at), image::vtable_length(image_, at));
    for (const field_descriptor &field : descriptor.fields) {
      const uint32_t position = image::field_of(image_, at, field.slot);
      mark(position, field.kind == kind::scalar ? field.width : 4);
      if (field.is_fixed_array())
        mark(image::target_of(image_, position), 4 + field.width * field.length);
      else if (field.kind == kind::table)
        table(*field.table, image::target_of(image_, position));
    }
  }

  wire_builder image_;
  std::vector<bool> marked_;
};

// The record to the last byte, what lies between its members included.
void expect_read(const message &message, const bytes &image, const owned_record &record) {
  decoding decoded(message, image);
  EXPECT_TRUE(decoded.lines.empty());
  EXPECT_TRUE(decoded.calls.empty());
  const auto *const begin = static_cast<const uint8_t *>(record.get());
  EXPECT_EQ(decoded.record_bytes(), bytes(begin, begin + message.record_size));
}

TEST_F(EveryMessage, ThatIsFlatIsReadWithZerosBetweenItsMembers) {
  each_flat([](const message &message) {
    const owned_record record = full_record(message);
    for (const bytes &layout : full_layouts(message))
      expect_read(message, layout, record);
    for (uint32_t round = 0; round < 8; round++) {
      const owned_record some = some_record(message, round);
      expect_read(message, sent(message, some.get()), some);
    }
  });
}

// A process whose first call is this one has its allocator settled by it, as by any other.
TEST_F(EveryMessage, ThatIsFlatBindsItsUnitWhenItsImageIsTheFirstThingRead) {
  each_flat([](const message &message) {
    const bytes wire = sent(message, full_record(message).get());
    mesh_fib6::runtime::unit &unit = units_of(message).recv;
    unit = {};
    fake_osal::reset();
    bytes record(message.record_size);
    message.unpack(wire.data(), static_cast<uint32_t>(wire.size()), record.data());
    EXPECT_EQ(unit.runtime.cache_bound, 1U);
    EXPECT_EQ(fake_osal::calls_of(fake_osal::call_kind::use_flag_get).size(), 1U);
  });
}

TEST_F(EveryMessage, ThatIsFlatIsReadWhateverLiesBehindItsImage) {
  each_flat([](const message &message) {
    const owned_record record = full_record(message);
    bytes image = sent(message, record.get());
    for (uint32_t more = 1; more < 40; more++) {
      image.push_back(static_cast<uint8_t>(0xFF - more));
      expect_read(message, image, record);
    }
  });
}

TEST_F(EveryMessage, ThatIsFlatIsReadWithoutThePaddingBehindItsImage) {
  uint32_t padded = 0;
  each_flat([&](const message &message) {
    const owned_record record = full_record(message);
    const bytes image = sent(message, record.get());
    const size_t end = references(table_of(message), image).end();
    EXPECT_LT(image.size() - end, 8U);
    padded += end < image.size();
    for (size_t size = end; size < image.size(); size++)
      expect_read(message, bytes(image.begin(), image.begin() + static_cast<ptrdiff_t>(size)),
                  record);
    // A byte less and its last vtable is cut.
    decoding cut(message, bytes(image.begin(), image.begin() + static_cast<ptrdiff_t>(end) - 1));
    ASSERT_EQ(cut.lines.size(), 1U);
    EXPECT_EQ(cut.lines[0].format, log_format::vtable_length);
  });
  EXPECT_GT(padded, 0U);
}

TEST_F(EveryMessage, ThatIsFlatIsReadWhateverIsInBytesThatNothingRefersTo) {
  uint32_t idle = 0;
  each_flat([&](const message &message) {
    const owned_record record = full_record(message);
    const bytes image = sent(message, record.get());
    const references referenced(table_of(message), image);
    bytes all = image;
    for (size_t at = 0; at < image.size(); at++) {
      if (referenced[at])
        continue;
      idle++;
      EXPECT_EQ(image[at], 0);
      bytes one = image;
      one[at] = all[at] = 0xD7;
      expect_read(message, one, record);
    }
    expect_read(message, all, record);
  });
  EXPECT_GT(idle, 0U);
}

// Its root offset of 4 reads as 4 << 24.
TEST_F(EveryMessage, ThatIsFlatInTheCommonByteOrderIsRefusedWhenTheFlagSaysReversed) {
  each_flat([](const message &message) {
    const bytes image = sent(message, full_record(message).get());
    for (const uint32_t byte_swap : {1U, 2U, 0xFFFFFFFFU}) {
      decoding decoded(message, image, byte_swap);
      expect_one_line(decoded.lines, message.header_name(), log_format::table,
                      "[VARKO]:Table offset(67108864) is out of range(4 - " +
                          std::to_string(image.size()) + ")");
    }
  });
}

// ---- embedded tables

uint32_t in_order(uint32_t value, uint32_t byte_swap) {
  return byte_swap == 0 ? value : __builtin_bswap32(value);
}

// One arrangement of a message in a byte order, and where an embedded table is in it.
struct embedded_scene {
  const catalogue::message &message;
  const sub_table &sub;
  const bytes &sound;
  uint32_t byte_swap;
  uint32_t root, word, at, vtable;
  const owned_record &expected; // when the decode ends there

  // With the word at a position replaced.
  bytes with_word(uint32_t position, uint32_t value) const {
    return wire_builder(sound).set_u32(position, in_order(value, byte_swap)).bytes();
  }
  bytes with_half(uint32_t position, uint32_t value) const {
    return wire_builder(sound)
        .set_u16(position, in_order(value, byte_swap) >> (byte_swap ? 16 : 0))
        .bytes();
  }

  void expect(const bytes &spoilt, const std::string &format, const std::string &line) const {
    decoding decoded(message, spoilt, byte_swap);
    if (line.empty())
      EXPECT_TRUE(decoded.lines.empty());
    else
      expect_one_line(decoded.lines, std::string(sub.name) + "_unpack_non_root", format, line);
    expect_stopped(message, decoded, expected);
  }
};

template <class Check>
void each_embedded(Check check) {
  for_each_message([&](const message &message, const module_row &) {
    for (const bytes &layout : full_layouts(message)) {
      const wire_builder sound(layout);
      uint32_t index = 0; // of the sub-table, the root being 0
      for (const sub_table &sub : message.sub_tables()) {
        index++;
        if (sub.held != held::embedded)
          continue;
        SCOPED_TRACE(sub.name);
        const owned_record expected = stopped_record(message, sound, index, 0);
        const uint32_t word = image::field_of(sound, image::root_of(sound), sub.slot);
        const uint32_t at = image::target_of(sound, word);
        for (const uint32_t byte_swap : byte_orders) {
          const bytes image = byte_swap == 0 ? layout : reversed(message, layout, byte_swap == 1);
          check(embedded_scene{message, sub, image, byte_swap, image::root_of(sound), word, at,
                               image::vtable_of(sound, at), expected});
        }
      }
    }
  });
}

TEST_F(EveryMessage, WithAnEmbeddedTableThatWrapsIsRefusedSilentlyInEveryByteOrder) {
  each_embedded([](const embedded_scene &scene) {
    for (const uint32_t target : {0U, 4U, scene.root, scene.word - 1})
      scene.expect(scene.with_word(scene.word, target - scene.word), "", "");
  });
}

TEST_F(EveryMessage, WithABadEmbeddedHeaderIsRefusedWithItsLineInEveryByteOrder) {
  each_embedded([](const embedded_scene &scene) {
    const auto text = [](uint32_t number) { return std::to_string(number); };
    const auto size = static_cast<uint32_t>(scene.sound.size());
    scene.expect(scene.with_word(scene.word, size - 3 - scene.word), log_format::table,
                 "[VARKO]:Table offset(" + text(size - 3) + ") is out of range(4 - " + text(size) +
                     ")");
    for (const uint32_t vtable : {3U, size - 3})
      scene.expect(scene.with_word(scene.at, scene.at - vtable), log_format::vtable,
                   "[VARKO]:Vtable offset(" + text(scene.at) + ") is out of range(4 - " +
                       text(size - 4) + ")");
    scene.expect(scene.with_half(scene.vtable, 0xFFFF), log_format::vtable_length,
                 "[VARKO]:Vtable Len(65535) is out of range(0 - " + text(size - scene.vtable) +
                     ")");
  });
}

TEST_F(EveryMessage, WithTheFirstMemberOfAnEmbeddedTableBeyondTheEndIsRefusedInEveryByteOrder) {
  each_embedded([](const embedded_scene &scene) {
    scene.expect(scene.with_half(scene.vtable + 4, 0xFFFF), "", "");
  });
}

} // namespace
