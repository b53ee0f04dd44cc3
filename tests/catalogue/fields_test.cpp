// Fields that are absent, out of reach or of the wrong length, in every table of every message;
// what is cut off; and what a record owns.
//
// Room: tests.
#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"
#include "tests/reference/navigation.h"
#include "tests/wire/log_expectation.h"

#include <string>
#include <vector>

using namespace catalogue;
using mesh_fib6::tools::kind;

namespace {

// A table of a message in one of its layouts, with a full record of its own to be changed into what
// is expected.
struct scene {
  const catalogue::message &message;
  owned_record record;
  wire_builder wire;
  size_t index; // of the table, the root being 0
  visited_table table;
};

// Calls check(scene) for each table in each layout, each time with everything sound.
template <class Check>
void each_table(const message &message, Check check) {
  for (const bytes &layout : full_layouts(message)) {
    const wire_builder wire(layout);
    owned_record counted = full_record(message);
    const size_t tables = tables_in(message, counted, wire).size();
    for (size_t index = 0; index < tables; index++) {
      owned_record record = full_record(message);
      const visited_table table = tables_in(message, record, wire)[index];
      SCOPED_TRACE(table.descriptor->name);
      check(scene{message, std::move(record), wire, index, table});
    }
  }
}

// Likewise for each member of each table.
template <class Check>
void each_member(const message &message, Check check) {
  for (const bytes &layout : full_layouts(message)) {
    const wire_builder wire(layout);
    owned_record counted = full_record(message);
    const std::vector<visited_table> tables = tables_in(message, counted, wire);
    for (size_t index = 0; index < tables.size(); index++)
      for (const field_descriptor &field : tables[index].descriptor->fields) {
        owned_record record = full_record(message);
        const visited_table table = tables_in(message, record, wire)[index];
        SCOPED_TRACE(std::string(table.descriptor->name) + "." + field.name);
        check(scene{message, std::move(record), wire, index, table}, field);
      }
  }
}

void expect_decoded(const scene &scene) {
  decoding decoded(scene.message, scene.wire.bytes());
  EXPECT_TRUE(decoded.lines.empty());
  EXPECT_EQ(difference(scene.message, scene.record.get(), decoded.record()), "");
}

void expect_stopped_silently(const scene &scene, const owned_record &expected) {
  decoding decoded(scene.message, scene.wire.bytes());
  EXPECT_TRUE(decoded.lines.empty()) << decoded.lines.front();
  expect_stopped(scene.message, decoded, expected);
}

TEST_F(EveryMessage, WhoseVtableEndsEarlyReadsTheMissingMembersAsZero) {
  each([](const message &message) {
    each_table(message, [](scene scene) {
      const uint32_t vtable = image::vtable_of(scene.wire, scene.table.at);
      for (auto slots = static_cast<uint32_t>(scene.table.descriptor->fields.size());
           slots-- > 0;) {
        clear_member(*scene.table.descriptor, scene.table.record, slots);
        for (const uint32_t half_a_slot : {0U, 1U}) {
          scene.wire.set_u16(vtable, 4 + 2 * slots + half_a_slot);
          expect_decoded(scene);
        }
      }
    });
  });
}

TEST_F(EveryMessage, WhoseVtableIsLongerLosesTheExtraSlots) {
  each([](const message &message) {
    each_table(message, [](scene scene) {
      wire_builder &wire = scene.wire;
      const uint32_t old = image::vtable_of(wire, scene.table.at);
      const uint32_t length = image::vtable_length(wire, scene.table.at);
      const uint32_t longer = wire.u16(length + 4);
      for (uint32_t i = 2; i < length; i += 2)
        wire.u16(wire.u16_at(old + i));
      wire.u16(0xFFFF); // would lie beyond the end
      wire.u16(4);
      wire.set_u32(scene.table.at, scene.table.at - longer);
      expect_decoded(scene);
    });
  });
}

TEST_F(EveryMessage, WithoutAMemberReadsItAsZeroAndTheOthersAsTheyAre) {
  each([](const message &message) {
    each_member(message, [](scene scene, const field_descriptor &field) {
      scene.wire.set_u16(image::entry_of(scene.wire, scene.table.at, field.slot), 0);
      clear_member(*scene.table.descriptor, scene.table.record, field.slot);
      expect_decoded(scene);
    });
  });
}

TEST_F(EveryMessage, WithAMemberBeyondTheEndStopsThereSilently) {
  each([](const message &message) {
    each_member(message, [](scene scene, const field_descriptor &field) {
      const owned_record expected =
          stopped_record(scene.message, scene.wire, scene.index, field.slot);
      const uint32_t entry = image::entry_of(scene.wire, scene.table.at, field.slot);
      const uint32_t width = field.kind == kind::scalar ? field.width : 4;
      const uint32_t first_beyond = scene.wire.here() - scene.table.at - width + 1;
      for (const uint32_t value : {first_beyond, scene.wire.here() - scene.table.at, 0xFFFFU}) {
        scene.wire.set_u16(entry, value);
        expect_stopped_silently(scene, expected);
      }
    });
  });
}

TEST_F(EveryMessage, AcceptsAFixedArrayAtItsOwnLengthOnly) {
  each([](const message &message) {
    each_member(message, [](scene scene, const field_descriptor &field) {
      if (!field.is_fixed_array())
        return;
      const owned_record expected =
          stopped_record(scene.message, scene.wire, scene.index, field.slot);
      const uint32_t vector =
          image::target_of(scene.wire, image::field_of(scene.wire, scene.table.at, field.slot));
      scene.wire.fill(8); // room for one element more
      for (const uint32_t count :
           {0U, field.length - 1, field.length + 1, 0x40000000U + field.length, 0xFFFFFFFFU}) {
        scene.wire.set_u32(vector, count);
        expect_stopped_silently(scene, expected);
      }
      scene.wire.set_u32(vector, field.length);
      expect_decoded(scene);
    });
  });
}

TEST_F(EveryMessage, WhoseVectorReferenceIsBadStopsThereSilently) {
  each([](const message &message) {
    each_member(message, [](scene scene, const field_descriptor &field) {
      if (!field.is_fixed_array() && !field.is_vector())
        return;
      const owned_record expected =
          stopped_record(scene.message, scene.wire, scene.index, field.slot);
      const uint32_t word = image::field_of(scene.wire, scene.table.at, field.slot);
      const uint32_t size = scene.wire.here();
      for (const uint32_t target : {size - 3, size, size + 1, UINT32_MAX, 0U, word - 1}) {
        scene.wire.refer(word, target);
        expect_stopped_silently(scene, expected);
      }
    });
  });
}

TEST_F(EveryMessage, WithMoreElementsThanItHoldsAsksForNothingForThem) {
  each([](const message &message) {
    each_member(message, [](scene scene, const field_descriptor &field) {
      if (!field.is_vector())
        return;
      const owned_record expected =
          stopped_record(scene.message, scene.wire, scene.index, field.slot);
      const uint32_t vector =
          image::target_of(scene.wire, image::field_of(scene.wire, scene.table.at, field.slot));
      for (const uint32_t count : {scene.wire.here(), 0x3FFFFFFFU, 0x40000000U, 0xFFFFFFFFU}) {
        scene.wire.set_u32(vector, count);
        decoding decoded(scene.message, scene.wire.bytes());
        for (const fake_osal::call &call : decoded.calls)
          EXPECT_LT(call.size, scene.wire.here() * 4);
        expect_stopped_silently(scene, expected);
      }
    });
  });
}

TEST_F(EveryMessage, WithAVectorOfNoElementsOnTheWireHoldsNothing) {
  each([](const message &message) {
    each_member(message, [](scene scene, const field_descriptor &field) {
      if (!field.is_vector())
        return;
      const uint32_t vector =
          image::target_of(scene.wire, image::field_of(scene.wire, scene.table.at, field.slot));
      scene.wire.set_u32(vector, 0);
      clear_member(*scene.table.descriptor, scene.table.record, field.slot);
      expect_decoded(scene);
      decoding decoded(scene.message, scene.wire.bytes());
      const auto *member = static_cast<const uint8_t *>(scene.table.record) -
                           static_cast<const uint8_t *>(scene.record.get()) +
                           static_cast<const uint8_t *>(decoded.record());
      EXPECT_EQ(field.pointer(member), nullptr);
    });
  });
}

// ---- cut off

// Each byte of a flat record that was cut short is what it would be in the whole one, or zero.
void expect_part_of(const owned_record &whole, const decoding &part) {
  const bytes record = part.record_bytes();
  const auto *expected = static_cast<const uint8_t *>(whole.get());
  for (size_t i = 0; i < record.size(); i++)
    EXPECT_TRUE(record[i] == 0 || record[i] == expected[i]) << "byte " << i;
}

TEST_F(EveryMessage, CutOffAnywhereIsSurvivedAndInventsNothing) {
  each([](const message &message) {
    const owned_record whole = full_record(message);
    for (const bytes &layout : full_layouts(message))
      for (size_t size = 0; size < layout.size(); size++) {
        SCOPED_TRACE(size);
        decoding decoded(message,
                         bytes(layout.begin(), layout.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_LE(decoded.lines.size(), 1U);
        if (size < 4) {
          EXPECT_TRUE(decoded.untouched());
        } else if (!message.is_tree() && !decoded.untouched()) {
          expect_part_of(whole, decoded);
        }
      }
  });
}

TEST_F(EveryMessage, WithItsLastByteCutOffIsNotDecodedInFull) {
  each([](const message &message) {
    const owned_record whole = full_record(message);
    bytes layout = packed(message, whole.get());
    layout.pop_back();
    decoding decoded(message, layout);
    if (message.is_tree()) {
      EXPECT_FALSE(has_array(table_of(message), decoded.record()));
    } else {
      EXPECT_NE(difference(message, whole.get(), decoded.record()), "");
    }
  });
}

// ---- what a record owns

TEST_F(EveryMessage, ThatIsFlatAllocatesNothing) {
  each_flat([](const message &message) {
    for (const bytes &layout : full_layouts(message))
      EXPECT_TRUE(decoding(message, layout).calls.empty());
  });
}

TEST_F(EveryMessage, ThatIsFlatIsNotTouchedByItsRelease) {
  each_flat([](const message &message) {
    std::vector<uint64_t> record(message.record_size / 8 + 1, UINT64_C(0xA5A5A5A5A5A5A5A5));
    const std::vector<uint64_t> before = record;
    message.release(record.data());
    message.release(record.data());
    EXPECT_EQ(record, before);
    EXPECT_TRUE(fake_osal::calls().empty());
  });
}

TEST_F(EveryMessage, ReleasedWithoutARecordDoesNothing) {
  each([](const message &message) {
    message.release(nullptr);
    EXPECT_TRUE(fake_osal::calls().empty());
    EXPECT_TRUE(fake_osal::log_lines().empty());
  });
}

TEST_F(EveryMessage, ReleasedTwiceGivesItsBlocksBackOnceAndKeepsItsCounts) {
  each_tree([](const message &message) {
    decoding decoded(message, full_layouts(message).front());
    const size_t blocks = decoded.calls.size();
    EXPECT_GT(blocks, 0U);
    owned_record counts = full_record(message);
    fake_osal::reset();
    message.release(decoded.record());
    EXPECT_EQ(fake_osal::calls().size(), blocks);
    message.release(decoded.record());
    EXPECT_EQ(fake_osal::calls().size(), blocks);
    EXPECT_FALSE(has_array(table_of(message), decoded.record()));
    for (const field_descriptor &field : table_of(message).fields)
      if (field.is_vector()) {
        EXPECT_EQ(field.count(decoded.record()), field.count(counts.get()));
      }
  });
}

// A block that decoding asks for: how large, and the name that it is asked for and released under.
struct expected_block {
  uint32_t size;
  std::string owner;
  const char *decoder;
};

// In the order of the members; those of an embedded record bear its own name.
void append_blocks(const table_descriptor &table, const void *record, const char *decoder,
                   std::vector<expected_block> &blocks) {
  for (const field_descriptor &field : table.fields) {
    if (field.is_vector())
      blocks.push_back({field.count(record) * field.width, table.name, decoder});
    else if (field.kind == kind::table)
      append_blocks(*field.table, field.member(record), "_unpack_non_root", blocks);
  }
}

std::vector<expected_block> blocks_of(const message &message, const owned_record &record) {
  std::vector<expected_block> blocks;
  append_blocks(table_of(message), record.get(), "_unpack", blocks);
  return blocks;
}

void expect_call(const fake_osal::call &call, fake_osal::call_kind kind, uint32_t size,
                 const std::string &tag) {
  EXPECT_EQ(call.kind, kind) << call;
  EXPECT_EQ(call.size, size) << call;
  EXPECT_EQ(call.module, 12U) << call;
  EXPECT_EQ(call.caller, tag) << call;
}

TEST_F(EveryMessage, AsksForOneBlockPerVectorAndGivesEachBackUnderItsOwnersName) {
  using enum fake_osal::call_kind;
  each_tree([](const message &message) {
    const owned_record record = full_record(message);
    const std::vector<expected_block> blocks = blocks_of(message, record);
    decoding decoded(message, packed(message, record.get()));
    ASSERT_EQ(decoded.calls.size(), blocks.size());
    for (size_t i = 0; i < blocks.size(); i++)
      expect_call(decoded.calls[i], cache_alloc, blocks[i].size,
                  blocks[i].owner + blocks[i].decoder);
    fake_osal::reset();
    message.release(decoded.record());
    const auto released = fake_osal::calls();
    ASSERT_EQ(released.size(), blocks.size());
    for (size_t i = 0; i < blocks.size(); i++)
      expect_call(released[i], free, blocks[i].size, blocks[i].owner + "_free_unpacked");
  });
}

TEST_F(EveryMessage, WithoutMemoryForABlockSaysSoAndGivesTheOthersBack) {
  each_tree([](const message &message) {
    const owned_record record = full_record(message);
    const std::vector<expected_block> blocks = blocks_of(message, record);
    const bytes wire = packed(message, record.get());
    for (size_t failing = 0; failing < blocks.size(); failing++) {
      SCOPED_TRACE(failing);
      decoding decoded(message, wire, 0, static_cast<uint32_t>(failing + 1));
      expect_one_line(decoded.lines, blocks[failing].owner + blocks[failing].decoder,
                      log_format::allocation,
                      "[VARKO]:Malloc unpack data unsuccess, size(" +
                          std::to_string(blocks[failing].size) + ")",
                      12);
      EXPECT_EQ(decoded.calls.size(), 2 * failing + 1) << "asked, refused, the others given back";
      EXPECT_FALSE(has_array(table_of(message), decoded.record()));
    }
  });
}

} // namespace
