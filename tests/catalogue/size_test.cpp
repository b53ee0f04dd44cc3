// What packing promises of every message: sizes, refusals, what is present and what is left out.
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

// Packs into `capacity` bytes and expects them and the length word as they were.
void expect_refused(const message &message, const void *record, uint32_t capacity) {
  constexpr uint8_t canary = 0xC7;
  guarded_buffer buffer(bytes(capacity, canary));
  uint32_t length = capacity;
  EXPECT_EQ(message.pack(record, buffer.data(), &length), failed);
  EXPECT_EQ(length, capacity);
  EXPECT_EQ(buffer.bytes(), bytes(capacity, canary));
  EXPECT_TRUE(fake_osal::log_lines().empty());
  EXPECT_TRUE(fake_osal::calls().empty());
}

TEST_F(EveryMessage, WithoutABufferTellsItsSizeAndLogsThatUnderItsPackName) {
  each([](const message &message) {
    for (uint32_t round = 0; round < 4; round++) {
      const owned_record record = some_record(message, round);
      const auto size = static_cast<uint32_t>(packed(message, record.get()).size());
      for (const uint32_t capacity : {size, UINT32_MAX}) {
        fake_osal::reset();
        uint32_t length = capacity;
        EXPECT_EQ(message.pack(record.get(), nullptr, &length), 0U);
        EXPECT_EQ(length, size);
        expect_one_line(fake_osal::log_lines(), std::string(message.name) + "_pack",
                        log_format::pack_parameters,
                        "[VARKO]:Param invalid(null, " + std::to_string(capacity) + ", nonNull)");
      }
    }
  });
}

TEST_F(EveryMessage, WithoutABufferAndWithTooLittleCapacityFailsSilently) {
  each([](const message &message) {
    const owned_record record = full_record(message);
    const auto size = static_cast<uint32_t>(packed(message, record.get()).size());
    uint32_t length = size - 1;
    EXPECT_EQ(message.pack(record.get(), nullptr, &length), failed);
    EXPECT_EQ(length, size - 1);
    EXPECT_TRUE(fake_osal::log_lines().empty());
  });
}

TEST_F(EveryMessage, IsPackedIntoExactlyItsSizeAndNotIntoLess) {
  each([](const message &message) {
    const owned_record record = full_record(message);
    const bytes wire = packed(message, record.get()); // ends at an inaccessible page
    const auto size = static_cast<uint32_t>(wire.size());
    for (const uint32_t capacity : {size - 1, size / 2, 4U, 3U, 0U})
      expect_refused(message, record.get(), capacity);
  });
}

TEST_F(EveryMessage, OfANullRecordIsNotPacked) {
  each([](const message &message) { expect_refused(message, nullptr, 600); });
}

TEST_F(EveryMessage, WithPointersAndWithoutValuesTakesItsBaseSize) {
  each_tree([](const message &message) {
    const owned_record zero(table_of(message));
    EXPECT_EQ(packed(message, zero.get()).size(), message.wire_size);
  });
}

TEST_F(EveryMessage, ThatIsFlatIsShorterPackedThanSentWhenItsScalarsAreZero) {
  each_flat([](const message &message) {
    const owned_record zero(table_of(message));
    const wire_builder wire(packed(message, zero.get()));
    EXPECT_LT(wire.here(), message.wire_size);
    EXPECT_EQ(sent(message, zero.get()).size(), message.wire_size);
    owned_record record(table_of(message));
    for (const visited_table &table : tables_in(message, record, wire))
      for (const field_descriptor &field : table.descriptor->fields)
        EXPECT_EQ(image::entry_at(wire, table.at, field.slot) == 0, field.kind == kind::scalar)
            << table.descriptor->name << '.' << field.name;
  });
}

TEST_F(EveryMessage, OfZerosIsSentWithEverySlotOfEveryTableSet) {
  each_flat([](const message &message) {
    owned_record zero(table_of(message));
    const wire_builder wire(sent(message, zero.get()));
    for (const visited_table &table : tables_in(message, zero, wire)) {
      EXPECT_EQ(image::slots_of(wire, table.at), table.descriptor->fields.size());
      for (const field_descriptor &field : table.descriptor->fields)
        EXPECT_NE(image::entry_at(wire, table.at, field.slot), 0U)
            << table.descriptor->name << '.' << field.name;
    }
  });
}

// A fixed array is written whole, in both layouts and as an element's member too, whatever it
// holds.
TEST_F(EveryMessage, CarriesItsFixedArraysInFullEvenWhenTheyAreZero) {
  each([](const message &message) {
    owned_record record = full_record(message);
    for (const field_descriptor &field : table_of(message).fields) {
      if (field.table != nullptr)
        clear_from(*field.table, field.element(record.get(), 0), 0);
      else
        clear_member(table_of(message), record.get(), field.slot);
    }
    for (const bytes &layout : {packed(message, record.get()), sent(message, record.get())}) {
      const wire_builder wire(layout);
      for (const visited_table &table : tables_in(message, record, wire))
        for (const field_descriptor &field : table.descriptor->fields) {
          if (!field.is_fixed_array())
            continue;
          SCOPED_TRACE(std::string(table.descriptor->name) + "." + field.name);
          ASSERT_NE(image::entry_at(wire, table.at, field.slot), 0U);
          const uint32_t vector =
              image::target_of(wire, image::field_of(wire, table.at, field.slot));
          EXPECT_EQ(wire.u32_at(vector), field.length);
          const auto first = wire.bytes().begin() + vector + 4;
          EXPECT_EQ(bytes(first, first + field.length * field.width),
                    bytes(field.length * field.width, 0));
        }
    }
  });
}

// The vtables of an encoding of ours are never trimmed and never shared.
TEST_F(EveryMessage, GivesEachTableAVtableOfItsOwnWithAllSlots) {
  each([](const message &message) {
    owned_record record = full_record(message);
    for (const bytes &layout : {packed(message, record.get()), sent(message, record.get())}) {
      const wire_builder wire(layout);
      std::vector<uint32_t> vtables;
      for (const visited_table &table : tables_in(message, record, wire)) {
        EXPECT_EQ(image::slots_of(wire, table.at), table.descriptor->fields.size());
        vtables.push_back(image::vtable_of(wire, table.at));
      }
      std::sort(vtables.begin(), vtables.end());
      EXPECT_EQ(std::adjacent_find(vtables.begin(), vtables.end()), vtables.end());
    }
  });
}

} // namespace
