// Target: a record is encoded, the bytes are decoded, and the record is back.
//
// Room: attacks. Input: message, circumstances, then what the record is made from.
//   bytes 0-3  the message's identifier (message_of in messages.h)
//   byte 4     bit 0 odd address; bits 1-3 byte order
#include "fuzz/decode_check.h"
#include "fuzz/finding.h"
#include "fuzz/input.h"
#include "fuzz/platform.h"
#include "fuzz/record_maker.h"
#include "fuzz/target.h"
#include "tests/reference/encoder.h"
#include "tests/reference/mismatch.h"

#include <cstdlib>
#include <cstring>

namespace fuzz {
namespace {

constexpr uint32_t header_size = identifier_size + 1;
constexpr uint8_t unwritten = 0xA5;
constexpr uint32_t destination = 0x0A0B0C0D;

reference::encoder encoder;
const message *current; // for the mesh, which is told nothing else
uint8_t sent[reference::max_encoded];
uint32_t sent_size;

// Where the library encodes to: a block of the heap of exactly so many bytes.
class output {
public:
  output(uint32_t size, bool odd_address)
      : block_(static_cast<uint8_t *>(malloc(size_t{size} + (odd_address ? 1 : 0)))),
        bytes_(block_ + (odd_address ? 1 : 0)) {
    memset(bytes_, unwritten, size);
  }
  ~output() { free(block_); }
  output(const output &) = delete;
  output &operator=(const output &) = delete;
  uint8_t *bytes() { return bytes_; }

private:
  uint8_t *block_;
  uint8_t *bytes_;
};

bool is_unwritten(const uint8_t *bytes, uint32_t size) {
  for (uint32_t i = 0; i < size; i++)
    if (bytes[i] != unwritten)
      return false;
  return true;
}

void expect_no_requests(const char *what) {
  if (platform::now.block_count != 0 || platform::now.line_count != 0 || platform::now.sends != 0)
    found("%s: packing %s asks the platform for something", current->name, what);
}

void check_bytes(const uint8_t *bytes, const reference::encoder::encoded &expected,
                 const char *what) {
  for (uint32_t i = 0; i < expected.written; i++)
    if (bytes[i] != expected.bytes[i])
      return found("%s: byte %u of %s is 0x%02X, expected 0x%02X", current->name, i, what, bytes[i],
                   expected.bytes[i]);
  if (!is_unwritten(bytes + expected.written, expected.size - expected.written))
    found("%s: bytes behind the end of %s are written", current->name, what);
}

void check_pack(const void *record, const reference::encoder::encoded &expected, bool odd_address) {
  platform::begin();
  output exact(expected.size, odd_address);
  uint32_t length = expected.size;
  const uint32_t result = current->pack(record, exact.bytes(), &length);
  if (result != 0 || length != expected.size)
    return found("%s: packing into %u bytes gives %u, length %u", current->name, expected.size,
                 result, length);
  check_bytes(exact.bytes(), expected, "the packed record");
  expect_no_requests("a record");
}

void check_pack_without_room(const void *record, const reference::encoder::encoded &expected,
                             bool odd_address) {
  platform::begin();
  output small(expected.size - 1, odd_address);
  uint32_t length = expected.size - 1;
  const uint32_t result = current->pack(record, small.bytes(), &length);
  if (result != 0xFFFFFFFF || length != expected.size - 1)
    found("%s: packing %u bytes into one less gives %u, length %u", current->name, expected.size,
          result, length);
  if (!is_unwritten(small.bytes(), expected.size - 1))
    found("%s: packing without room writes", current->name);
  expect_no_requests("without room");
}

void check_size_query(const void *record, uint32_t expected) {
  platform::begin();
  uint32_t length = UINT32_MAX;
  const uint32_t result = current->pack(record, nullptr, &length);
  if (result != 0 || length != expected)
    found("%s: asked for the size, it says %u, length %u, expected %u", current->name, result,
          length, expected);
  const platform::log_line &line = platform::now.line;
  if (platform::now.line_count != 1 || line.category != 22 || line.first != UINT32_MAX ||
      line.buffer_given || !line.record_given || !is_name(line.function, current->name, "_pack") ||
      strcmp(line.format, "[VARKO]:Param invalid(%s, %u, %s)") != 0)
    found("%s: a question for the size is logged in other words", current->name);
}

// A record that came back: the same values, and the same bytes when it is encoded once more.
class comparison final : public record_visitor {
public:
  comparison(const void *original, const reference::encoder::encoded &compact)
      : original_(original), compact_(compact) {}

  bool was_made() const { return was_made_; }

  void visit(const void *record) override {
    was_made_ = true;
    const reference::mismatch different(*current->table, original_, record);
    if (different.is_there())
      found("%s: the decoded record is not the encoded one: %s", current->name, different.text());
    // Pointers to nothing do not come back, nor the bytes that they add to the size.
    output again(compact_.written, false);
    uint32_t length = compact_.written;
    const uint32_t result = current->pack(record, again.bytes(), &length);
    if (result != 0 || length != compact_.written)
      found("%s: packing the decoded record gives %u, length %u, expected %u", current->name,
            result, length, compact_.written);
    else
      check_bytes(again.bytes(), {compact_.bytes, compact_.written, compact_.written},
                  "the record packed again");
  }

private:
  const void *original_;
  const reference::encoder::encoded &compact_;
  bool was_made_ = false;
};

void check_return(const void *record, const reference::encoder::encoded &compact,
                  const uint8_t *bytes, uint32_t size, const circumstances &around) {
  comparison compared(record, compact);
  check_decode(*current, bytes, size, around, &compared);
  if (!compared.was_made())
    found("%s: its own bytes are not decoded", current->name);
}

void keep_sent(const platform::send &call) {
  if (call.count == 1 && call.messages->length <= sizeof sent) {
    sent_size = call.messages->length;
    memcpy(sent, call.messages->data, sent_size);
  }
}

// What a send hands to the mesh is left in `sent`.
void send(const void *record) {
  platform::begin();
  platform::now.on_send = keep_sent;
  sent_size = 0;
  const uint32_t result = current->sendsingle(destination, record, 0, 0);
  if (result != 0 || platform::now.sends != 1)
    found("%s: sending one record gives %u after %u calls of the mesh", current->name, result,
          platform::now.sends);
}

// Twice: nothing of what was on the stack before is in the image.
void check_fixed_image(const void *record, const reference::encoder::encoded &expected) {
  for (int i = 0; i < 2; i++) {
    send(record);
    if (sent_size != expected.size || sent_size != current->fixed_image_size)
      return found("%s: the image is %u bytes long, expected %u", current->name, sent_size,
                   expected.size);
    check_bytes(sent, expected, "the fixed image");
    if (platform::now.block_count != 0)
      found("%s: sending one flat record asks for memory", current->name);
  }
}

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  if (size < header_size)
    return nullptr;
  forget_findings();
  current = &message_of(data);
  const uint32_t bits = data[identifier_size];
  circumstances around{};
  around.odd_address = (bits & 1) != 0;
  around.byte_swap = byte_swap_of(bits >> 1);
  current->set_byte_swap(around.byte_swap);

  input bytes(data + header_size, static_cast<uint32_t>(size) - header_size);
  const made_records made(*current, 1, bytes);
  const void *const record = made.at(0);

  if (!current->is_tree()) {
    check_fixed_image(record, encoder.fixed(*current->table, record, around.byte_swap));
    const auto compact = encoder.compact(*current->table, record, around.byte_swap);
    check_return(record, compact, sent, sent_size, around);
  }
  const auto compact = encoder.compact(*current->table, record, around.byte_swap);
  check_pack(record, compact, around.odd_address);
  check_pack_without_room(record, compact, around.odd_address);
  check_size_query(record, compact.size);
  check_return(record, compact, compact.bytes, compact.written, around);
  return finding();
}

} // namespace fuzz
