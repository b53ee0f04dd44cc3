// The second codec's word on a message, for Python.
//
// Room: tests.
#include "tests/reference/decoder.h"

namespace {

using mesh_fib6::tools::message_descriptor;

const message_descriptor *message_of(uint32_t id) {
  const message_descriptor *found = nullptr;
  mesh_fib6::tools::for_each_message([&](const message_descriptor &message) {
    if (message.id == id)
      found = &message;
  });
  return found;
}

} // namespace

extern "C" {

// Whether a decoder reads all of the message; -1 when there is no such message.
[[gnu::visibility("default")]] int32_t reference_accepts(uint32_t id, const uint8_t *bytes,
                                                         uint32_t length);

// What the record takes in memory.
[[gnu::visibility("default")]] uint32_t reference_record_size(uint32_t id);

} // extern "C"

int32_t reference_accepts(uint32_t id, const uint8_t *bytes, uint32_t length) {
  const message_descriptor *const message = message_of(id);
  if (message == nullptr)
    return -1;
  if (length < 4)
    return 0;
  reference::decoder decoder;
  // The forms differ in what is left of what is refused, not in what is.
  const reference::expectation &expected =
      decoder.decode(*message->table, reference::root_form::header_first, {bytes, length, 0, 0});
  return expected.ending == reference::ending::decoded ? 1 : 0;
}

uint32_t reference_record_size(uint32_t id) {
  const message_descriptor *const message = message_of(id);
  return message != nullptr ? message->record_size : 0;
}
