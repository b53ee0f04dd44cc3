// What a message is: its row, its identifier, its record and what a decode always answers.
//
// Room: tests.
#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"

#include <set>
#include <string>
#include <vector>

using namespace catalogue;

namespace {

TEST_F(EveryMessage, HasOneRowWithAnIdentifierOfItsOwn) {
  std::set<std::string> names;
  std::set<uint32_t> identifiers;
  for_each_message([&](const message &message, const module_row &) {
    EXPECT_TRUE(names.insert(message.name).second);
    EXPECT_TRUE(identifiers.insert(message.id).second);
  });
  mesh_fib6::tools::for_each_message([](const message_descriptor &descriptor) {
    EXPECT_NE(find_row(descriptor.name), nullptr)
        << "tests/catalogue/catalogue.h has no row for " << descriptor.name;
  });
}

TEST_F(EveryMessage, IsInTheSchemaWhatItIsInTheTable) {
  for_each_message([](const message &message, const module_row &module) {
    const message_descriptor &descriptor = descriptor_of(message);
    EXPECT_STREQ(descriptor.module, module.name);
    EXPECT_EQ(std::string(descriptor.wire_namespace) + "." + descriptor.message, message.hashed);
    EXPECT_EQ(descriptor.id, message.id);
    EXPECT_EQ(descriptor.record_size, message.record_size);
    EXPECT_EQ(descriptor.shape == mesh_fib6::tools::shape::tree, message.is_tree());
    EXPECT_EQ(descriptor.fixed_image_size, message.is_tree() ? 0 : message.wire_size);
    EXPECT_EQ(message.type_size, message.record_size);
  });
}

TEST_F(EveryMessage, HasItsSubTablesWhereTheTableSaysSo) {
  each([](const message &message) {
    std::vector<std::string> in_schema, in_table;
    for (const field_descriptor &field : table_of(message).fields)
      if (field.table != nullptr)
        in_schema.push_back(std::to_string(field.slot) + " " + field.table->name +
                            (field.is_vector() ? "[]" : ""));
    for (const sub_table &table : message.sub_tables())
      in_table.push_back(std::to_string(table.slot) + " " + table.name +
                         (table.held == held::in_vector ? "[]" : ""));
    EXPECT_EQ(in_schema, in_table);
  });
}

TEST_F(EveryMessage, AnswersADecodeWithItsRecordSizeWhenItSucceeds) {
  each([](const message &message) {
    const owned_record record = full_record(message);
    for (const bytes &wire : full_layouts(message)) {
      decoding decoded(message, wire); // compares the answer
      EXPECT_EQ(difference(message, record.get(), decoded.record()), "");
      EXPECT_TRUE(decoded.lines.empty());
    }
  });
}

TEST_F(EveryMessage, AnswersADecodeWithItsRecordSizeWhenItFails) {
  each([](const message &message) {
    for (const uint8_t filler : bytes{0x00, 0x04, 0x7F, 0xFF})
      for (const uint32_t size : {4U, 5U, 8U, 64U, 600U}) {
        decoding decoded(message, bytes(size, filler));
        EXPECT_TRUE(decoded.untouched() || decoded.zeroed());
      }
  });
}

TEST_F(EveryMessage, AnswersADecodeWithoutARecordWithTheRecordSize) {
  each([](const message &message) {
    const owned_record zero(table_of(message));
    const bytes wire = packed(message, zero.get());
    const auto size = static_cast<uint32_t>(wire.size());
    EXPECT_EQ(message.unpack(wire.data(), size, nullptr), message.record_size);
    EXPECT_EQ(message.unpack(nullptr, 0, nullptr), message.record_size);
    EXPECT_TRUE(fake_osal::calls().empty());
  });
}

// Two message types with the same bytes.
struct twins {
  const char *one, *other;
};
constexpr twins look_alikes[] = {
    {"fib6Sync_glbCfg", "fib6Sync_dod_enable"},
    {"feiBrokerFib6_dod_rule", "fib6Sync_dod_rule"},
    {"feiBrokerFib6_dod_aging", "fib6Sync_dod_aging"},
    {"feiBrokerFib6_special_ip", "fib6Sync_special_ip"},
};

TEST_F(EveryMessage, WithATwinDiffersFromItInItsIdentifierOnly) {
  for (const auto &[name, twin_name] : look_alikes) {
    SCOPED_TRACE(name);
    const message &message = row_of(name), &twin = row_of(twin_name);
    EXPECT_NE(message.id, twin.id);
    ASSERT_EQ(message.record_size, twin.record_size);
    for (uint32_t round = 0; round < 8; round++) {
      const owned_record record = some_record(message, round);
      const bytes image = sent(message, record.get());
      EXPECT_EQ(image, sent(twin, record.get()));
      EXPECT_EQ(packed(message, record.get()), packed(twin, record.get()));
      decoding decoded(twin, image);
      EXPECT_EQ(difference(message, record.get(), decoded.record()), "");
    }
  }
}

} // namespace
