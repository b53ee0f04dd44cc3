// The library reads what FlatBuffers wrote.
//
// Room: tests.
#include "tests/interop/exchange.h"

#include <mesh_fib6/fib6_cfg.h>

#include "fib6_cfg_generated.h"

#include <gtest/gtest.h>

namespace {

using namespace exchange;
using flatbuffers_peer::style;

class FlatBuffersWriter : public Exchange {};

void expect_understood(const message_descriptor &message, const void *record, const bytes &buffer) {
  unpacked seen(message, buffer);
  EXPECT_EQ(random_record::difference(*message.table, record, seen.get()), "");
  EXPECT_TRUE(fake_osal::log_lines().empty()) << fake_osal::log_lines().front();
}

TEST_F(FlatBuffersWriter, IsUnderstoodWhateverItsStyle) {
  each_random_record(
      [](const message_descriptor &message, const void *record, generator &random, uint32_t) {
        for (const bool force_defaults : {false, true}) {
          const style style = {.force_defaults = force_defaults,
                               .share_vtables = random_record::chance(random, 50),
                               .any_order = random_record::chance(random, 50),
                               .omit_zero = random_record::chance(random, 50),
                               .file_identifier = random_record::chance(random, 50)};
          const bytes buffer = flatbuffers_peer::write(message, record, style, random);
          // Aligned, unlike ours; and if this failed, nothing would be learnt from the rest.
          ASSERT_TRUE(flatbuffers_peer::verifies(message, buffer, true));
          expect_understood(message, record, buffer);
        }
      });
}

// Entries with the same members set: one vtable for all of them, or one each.
TEST_F(FlatBuffersWriter, IsUnderstoodWithSharedAndWithSeparateVtables) {
  const message_descriptor &message = mesh_fib6::tools::modules[0].messages[0];
  const auto &entries = message.table->fields[1];
  constexpr uint32_t count = 10;
  owned_record record(*message.table);
  entries.set_vector(record.get(), record.add_block(size_t{count} * entries.width), count);
  for (uint32_t i = 0; i < count; i++)
    entries.table->fields[0].set_number(entries.element(record.get(), i), 1 + i);

  generator random(1);
  const bytes shared =
      flatbuffers_peer::write(message, record.get(), {.share_vtables = true}, random);
  const bytes separate =
      flatbuffers_peer::write(message, record.get(), {.share_vtables = false}, random);
  constexpr uint32_t smallest_vtable = 4 + 2 * 3; // slot 2, an array, is the last one present
  EXPECT_GE(separate.size(), shared.size() + (count - 1) * smallest_vtable);
  expect_understood(message, record.get(), shared);
  expect_understood(message, record.get(), separate);
}

// A schema cannot forbid a peer to write this.
TEST_F(FlatBuffersWriter, IsRefusedAFixedArrayOfAnotherLength) {
  for (const size_t length : {0U, 3U, 5U}) {
    SCOPED_TRACE(length);
    flatbuffers::FlatBufferBuilder builder;
    const auto address = builder.CreateVector(std::vector<uint32_t>(length, 9));
    builder.Finish(fib6_cfg::Createcfg_ipv6_ttl_expired_forward(builder, 7, 0, 0, 0, address));
    const bytes buffer(builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
    unpacked seen(mesh_fib6::tools::modules[1].messages[4], buffer);
    const auto &record = *static_cast<const fib6_cfg_cfg_ipv6_ttl_expired_forward *>(seen.get());
    EXPECT_EQ(record.f0, 7U); // what was read before
    for (const uint32_t word : record.f4)
      EXPECT_EQ(word, 0U);
  }
}

} // namespace
