// The public list and table of messages, against what peers expect and what the library registers.
//
// Room: tests.
#include "tests/catalogue/records.h"

#include <mesh_fib6/messages.h>

#include <string>
#include <vector>

using namespace catalogue;

namespace {

// In the table's order, the identifiers from the catalogue.
std::vector<uint32_t> catalogued_identifiers() {
  std::vector<uint32_t> all;
  for_each_message([&](const message &message, const module_row &) { all.push_back(message.id); });
  return all;
}

class MessageTable : public EveryMessage {
protected:
  static const mesh_fib6_message &row_of(const message &message) {
    const mesh_fib6_message *const found = mesh_fib6_find_message(message.id);
    if (found == nullptr)
      throw std::out_of_range(std::string("no type has the identifier of ") + message.name);
    return *found;
  }
};

TEST_F(MessageTable, HasTheIdentifiersThatAreRegisteredInTheirOrder) {
  std::vector<uint32_t> registered, in_table;
  for (const module_row &module : modules)
    EXPECT_EQ(module.recv_init(), 0U);
  for (const fake_mesh::registration &each : fake_mesh::registrations())
    registered.push_back(each.id);
  for (uint32_t i = 0; i < mesh_fib6_message_count; i++)
    in_table.push_back(mesh_fib6_messages()[i].id);
  EXPECT_EQ(in_table, registered);
  EXPECT_EQ(in_table, catalogued_identifiers());
}

TEST_F(MessageTable, HasNameModuleAndSizesOfEachMessage) {
  for_each_message([](const message &message, const module_row &module) {
    const mesh_fib6_message &row = row_of(message);
    EXPECT_EQ(row.id, message.id);
    EXPECT_STREQ(row.name, message.name);
    EXPECT_STREQ(row.module, module.name);
    EXPECT_EQ(row.record_size, message.record_size);
    EXPECT_EQ(row.image_size, message.is_tree() ? 0 : message.wire_size);
  });
}

TEST_F(MessageTable, FindsNothingUnderOtherIdentifiers) {
  for (const uint32_t id : catalogued_identifiers())
    for (const uint32_t other : {id ^ 1U, id ^ 0x80000000U, id + 2})
      EXPECT_EQ(mesh_fib6_find_message(other), nullptr) << other;
  EXPECT_EQ(mesh_fib6_find_message(0), nullptr);
  EXPECT_EQ(mesh_fib6_find_message(UINT32_MAX), nullptr);
}

TEST_F(MessageTable, PacksUnpacksAndReleasesAsTheMessagesOwnFunctionsDo) {
  each([](const message &message) {
    const mesh_fib6_message &row = row_of(message);
    const owned_record record = full_record(message);
    const bytes expected = packed(message, record.get());
    bytes wire(expected.size());
    auto length = static_cast<uint32_t>(wire.size());
    ASSERT_EQ(row.pack(record.get(), wire.data(), &length), 0U);
    EXPECT_EQ(wire, expected);

    guarded_buffer decoded(message.record_size);
    ASSERT_EQ(row.unpack(wire.data(), length, decoded.data()), message.record_size);
    EXPECT_EQ(difference(message, record.get(), decoded.data()), "");
    row.free_unpacked(decoded.data());
    EXPECT_EQ(fake_osal::live_blocks(), 0U);
  });
}

TEST_F(MessageTable, SendsAsTheMessagesOwnFunctionsDo) {
  each([](const message &message) {
    const mesh_fib6_message &row = row_of(message);
    const owned_record record = full_record(message);
    message.sendsingle(1, record.get(), 0, 9);
    message.sendbatch(2, record.get(), 1, 8);
    message.sendmsg(3, record.get(), 1);
    message.sendtomsg(4, record.get(), 1, 7);
    const std::vector<fake_mesh::send> expected = fake_mesh::sends();
    fake_mesh::reset();
    row.sendsingle(1, record.get(), 0, 9);
    row.sendbatch(2, record.get(), 1, 8);
    row.sendmsg(3, record.get(), 1);
    row.sendtomsg(4, record.get(), 1, 7);
    const std::vector<fake_mesh::send> sent = fake_mesh::sends();
    ASSERT_EQ(sent.size(), expected.size());
    for (size_t i = 0; i < sent.size(); i++) {
      EXPECT_EQ(sent[i].to, expected[i].to);
      EXPECT_EQ(sent[i].destination, expected[i].destination);
      EXPECT_EQ(sent[i].target, expected[i].target);
      ASSERT_EQ(sent[i].messages.size(), 1U);
      EXPECT_EQ(sent[i].messages[0].id, message.id);
      EXPECT_EQ(sent[i].messages[0].bytes, expected[i].messages[0].bytes);
    }
  });
}

// The form that a receiver uses.
const char *name_of(uint32_t id) {
  switch (id) {
  case feiBrokerFib6_ipv6FwdUpdateMsg_ID:
    return "routes";
  case fib6Sync_dod_rule_ID:
    return "rule";
  default:
    return "another";
  }
}

TEST(Identifiers, AreConstantsForASwitch) {
  EXPECT_STREQ(name_of(0x5026A923), "routes");
  EXPECT_STREQ(name_of(0x0863B261), "rule");
  EXPECT_STREQ(name_of(1), "another");
}

} // namespace
