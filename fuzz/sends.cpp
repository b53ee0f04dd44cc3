// Target: the four send operations, with memory that may be refused and a mesh that may answer
// anything.
//
// Room: attacks. Input: message, operation and circumstances, counts, answers, then what the
// records are made from.
//   bytes 0-3   the message's identifier (message_of in messages.h)
//   byte 4      bits 0-1 operation; bits 2-4 byte order; bit 5 memory is refused; bit 6 a target;
//               bit 7 no record (only where that is survived)
//   byte 5      how many records: see counts
//   bytes 6-13  the mesh's answer
//   bytes 14-21 the target
//   bytes 22-25 the destination
#include "fuzz/decode_check.h"
#include "fuzz/finding.h"
#include "fuzz/input.h"
#include "fuzz/platform.h"
#include "fuzz/record_maker.h"
#include "fuzz/target.h"
#include "tests/reference/encoder.h"
#include "tests/reference/mismatch.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace fuzz {
namespace {

constexpr uint32_t header_size = identifier_size + 22;
constexpr uint32_t failed = 0xFFFFFFFF;
constexpr uint32_t data_area = 65536; // of a batch of records with pointers
constexpr uint32_t max_real_count = 255;

// Mostly few. 255 large records overflow the data area. The four counts above that exceed what
// blocks may hold, all but the smallest of them 32 bits as well: no record is read then.
constexpr uint32_t counts[64] = {0,          1,          2, 3, 4, 5, 6, 7, 8, 9, 16, 17, 255,
                                 0x00100000, 0x0FFFFFFF, 0, 1, 2, 3, 4, 1, 1, 1, 1,  1,  0x10000000,
                                 0xFFFFFFFF, 1,          1, 1, 1, 1, 1, 1, 1, 1, 1,  1,  2,
                                 2,          2,          2, 2, 2, 2, 2, 2, 2, 2, 2,  2,  2,
                                 3,          3,          3, 3, 3, 3, 3, 3, 4, 4, 4,  4};

enum class operation : uint8_t { single, batch, msg, to_msg };

reference::encoder encoder;

struct scenario {
  const message *kind_of_message;
  fuzz::operation operation;
  uint32_t count; // as the operation is told
  uint32_t destination;
  uint64_t target, answer;
  bool has_records, refuses_memory;

  // Which of the made records the i-th is; more than made_records::max_count share their arrays.
  static uint32_t made(uint32_t i) { return i % made_records::max_count; }

  bool sends_single() const {
    return operation == operation::single || (operation != operation::batch && count == 1);
  }
  uint32_t messages() const { return operation == operation::single ? 1 : count; }
  uint64_t used_target() const { return operation == operation::msg ? 0 : target; }
  bool is_tree() const { return kind_of_message->is_tree(); }
};

// The encoded form of each made record.
struct encoded_form {
  uint8_t bytes[16384];
  uint32_t written, size;
};
encoded_form forms[made_records::max_count];

scenario current;

void encode(uint32_t which, const void *record, uint32_t byte_swap) {
  const message &message = *current.kind_of_message;
  const auto encoded = current.is_tree() ? encoder.compact(*message.table, record, byte_swap)
                                         : encoder.fixed(*message.table, record, byte_swap);
  encoded_form &form = forms[which];
  if (encoded.size > sizeof form.bytes) {
    found("%s: a record that encodes to %u bytes is too large for this target", message.name,
          encoded.size);
    return;
  }
  memcpy(form.bytes, encoded.bytes, encoded.written);
  memset(form.bytes + encoded.written, 0, encoded.size - encoded.written); // nothing of the heap
  form.written = encoded.written;
  form.size = encoded.size;
}

// What must become of the operation.
struct outcome {
  bool asks_for_memory;
  uint32_t requested; // 32-bit arithmetic, by contract
  bool is_sent;
};

outcome expected_outcome() {
  const uint32_t count = current.count;
  if (current.sends_single()) {
    if (!current.is_tree())
      return {false, 0, true};
    if (!current.has_records)
      return {false, 0, false};
    return {true, forms[0].size, !current.refuses_memory};
  }
  if (current.operation != operation::batch && count == 0)
    return {false, 0, false};
  const uint32_t share = current.is_tree() ? 16 : current.kind_of_message->fixed_image_size + 16;
  const uint64_t block = uint64_t{count} * share + (current.is_tree() ? data_area : 0);
  outcome result{true, static_cast<uint32_t>(block), !current.refuses_memory};
  if (block > platform::largest_block || (!current.has_records && count > 0))
    result.is_sent = false;
  if (!result.is_sent || !current.is_tree())
    return result;
  uint64_t used = 0;
  for (uint32_t i = 0; i < count; i++)
    used += forms[scenario::made(i)].size;
  result.is_sent = used <= data_area;
  return result;
}

// Inside the mesh call: blocks are live, descriptors and data lie in them, bytes are right.
void check_messages(const platform::send &call) {
  const message &message = *current.kind_of_message;
  const platform::block *const block =
      platform::now.block_count == 0 ? nullptr : &platform::now.blocks[0];
  if (block != nullptr && !block->live)
    return found("%s: the mesh is called when the block is gone", message.name);
  const auto *const first =
      block == nullptr ? nullptr : static_cast<const uint8_t *>(block->address);
  const uint32_t stride = current.is_tree() ? 0 : message.fixed_image_size;
  if (!current.sends_single()) {
    const uint32_t area = current.is_tree() ? data_area : call.count * stride;
    if (reinterpret_cast<const uint8_t *>(call.messages) != first + area)
      return found("%s: descriptors are not behind the data", message.name);
  }
  uint64_t used = 0;
  for (uint32_t i = 0; i < call.count; i++) {
    msg_desc descriptor; // may be unaligned
    memcpy(&descriptor, reinterpret_cast<const uint8_t *>(call.messages) + sizeof descriptor * i,
           sizeof descriptor);
    const encoded_form &form = forms[scenario::made(i)];
    if (descriptor.id != message.id || descriptor.length != form.size)
      return found("%s: descriptor %u has identifier 0x%08X and length %u, expected %u",
                   message.name, i, descriptor.id, descriptor.length, form.size);
    if (first != nullptr && descriptor.data != first + used)
      return found("%s: message %u is not where it should be", message.name, i);
    if (memcmp(descriptor.data, form.bytes, form.size) != 0)
      return found("%s: message %u has other bytes than its record", message.name, i);
    used += form.size;
  }
}

void on_send(const platform::send &call) {
  const message &message = *current.kind_of_message;
  const bool to = current.used_target() != 0;
  if (call.to != to || call.target != current.used_target() ||
      call.destination != current.destination || call.count != current.messages())
    return found("%s: the mesh is called with other arguments than the operation", message.name);
  check_messages(call);
}

uint32_t call_operation(const void *records) {
  const message &message = *current.kind_of_message;
  switch (current.operation) {
  case operation::single:
    return message.sendsingle(current.destination, records, current.count, current.target);
  case operation::batch:
    return message.sendbatch(current.destination, records, current.count, current.target);
  case operation::msg:
    return message.sendmsg(current.destination, records, current.count);
  case operation::to_msg:
    return message.sendtomsg(current.destination, records, current.count, current.target);
  }
  return 0;
}

void check_accounts(const outcome &expected, uint32_t result) {
  const message &message = *current.kind_of_message;
  const uint32_t expected_result =
      expected.is_sent ? static_cast<uint32_t>(current.answer) : failed;
  if (result != expected_result)
    found("%s: the operation gives 0x%08X, expected 0x%08X", message.name, result, expected_result);
  if (platform::now.sends != (expected.is_sent ? 1 : 0))
    found("%s: %u calls of the mesh", message.name, platform::now.sends);
  if (platform::now.line_count != 0)
    found("%s: sending logs something", message.name);
  if (platform::now.block_count != (expected.asks_for_memory ? 1 : 0))
    return found("%s: %u requests for memory", message.name, platform::now.block_count);
  if (!expected.asks_for_memory)
    return;
  const platform::block &block = platform::now.blocks[0];
  const char *const suffix = current.sends_single() ? "__sendsingle" : "__sendbatch";
  if (block.size != expected.requested || block.from_cache || block.module != 25088 ||
      !is_name(block.tag, message.name, suffix))
    found("%s: a request for %u bytes for module %u under %s, expected %u bytes", message.name,
          block.size, block.module, block.tag, expected.requested);
  if (block.live)
    found("%s: the block is leaked", message.name);
  if (block.address != nullptr && (block.release_module != 25088 || platform::now.releases != 1 ||
                                   !is_name(block.release_tag, message.name, suffix)))
    found("%s: the block is released for module %u under %s", message.name, block.release_module,
          block.release_tag);
}

// What went over the mesh is what its receiver gets.
class comparison final : public record_visitor {
public:
  explicit comparison(const void *original) : original_(original) {}
  bool was_made() const { return was_made_; }
  void visit(const void *record) override {
    was_made_ = true;
    const reference::mismatch different(*current.kind_of_message->table, original_, record);
    if (different.is_there())
      found("%s: the receiver has another record: %s", current.kind_of_message->name,
            different.text());
  }

private:
  const void *original_;
  bool was_made_ = false;
};

void check_receiver(const made_records &made, const circumstances &around) {
  comparison compared(made.at(0));
  check_decode(*current.kind_of_message, forms[0].bytes, forms[0].written, around, &compared);
  if (!compared.was_made())
    found("%s: what was sent is not decoded", current.kind_of_message->name);
}

scenario scenario_of(const uint8_t *data) {
  scenario result{};
  input head(data + identifier_size, header_size - identifier_size);
  result.kind_of_message = &message_of(data);
  const uint8_t bits = head.byte();
  result.operation = static_cast<operation>(bits & 3);
  result.refuses_memory = (bits & 0x20) != 0;
  result.count = counts[head.byte() % std::size(counts)];
  result.answer = head.number64();
  const uint64_t target = head.number64();
  result.target = (bits & 0x40) != 0 ? target : 0;
  result.destination = head.number(4);
  // A null flat record is not survived, unless no record is read.
  result.has_records = (bits & 0x80) == 0 || !result.is_tree();
  return result;
}

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  if (size < header_size)
    return nullptr;
  forget_findings();
  current = scenario_of(data);
  circumstances around{};
  around.byte_swap = byte_swap_of(data[identifier_size] >> 2);
  const message &message = *current.kind_of_message;
  message.set_byte_swap(around.byte_swap);

  const uint32_t count = current.messages();
  const uint32_t records = std::max(count <= max_real_count ? count : 1, 1U);
  const uint32_t different = std::min(records, made_records::max_count);
  input bytes(data + header_size, static_cast<uint32_t>(size) - header_size);
  const made_records made(message, different, bytes);
  for (uint32_t i = 0; i < different; i++)
    encode(i, made.at(i), around.byte_swap);
  auto *const array = static_cast<uint8_t *>(malloc(size_t{message.record_size} * records));
  for (uint32_t i = 0; i < records; i++)
    memcpy(array + size_t{message.record_size} * i, made.at(scenario::made(i)),
           message.record_size);

  platform::begin();
  platform::now.refused_request = current.refuses_memory ? 1 : 0;
  platform::now.send_result = current.answer;
  platform::now.on_send = on_send;
  const uint32_t result = call_operation(current.has_records ? array : nullptr);
  free(array);
  check_accounts(expected_outcome(), result);
  if (platform::now.sends != 0 && count != 0)
    check_receiver(made, around);
  return finding();
}

} // namespace fuzz
