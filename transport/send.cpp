// The send operations, for all messages.
//
// Room: transport. May include wire/ and runtime/; knows no particular message.
#include "transport/send.h"

namespace mesh_fib6::transport {
namespace {

static_assert(sizeof(msg_desc) == 16 && alignof(msg_desc) <= 16);

// A block of the send unit that is given back at the end of the operation.
class send_block {
public:
  send_block(runtime::unit &unit, uint32_t size, const char *caller)
      : unit_(unit), caller_(caller) {
    runtime::bind_general(unit_);
    bytes_ =
        static_cast<uint8_t *>(unit_.runtime.mem_alloc(size, unit_.runtime.mem_module_id, caller_));
  }
  ~send_block() {
    if (bytes_ != nullptr)
      unit_.runtime.mem_free(bytes_, unit_.runtime.mem_module_id, caller_);
  }
  send_block(const send_block &) = delete;
  send_block &operator=(const send_block &) = delete;

  uint8_t *bytes() const { return bytes_; }

private:
  runtime::unit &unit_;
  const char *caller_;
  uint8_t *bytes_;
};

// The i-th record of a caller's array, whose type only the message knows.
const void *record_at(const void *records, uint32_t record_size, uint32_t i) {
  return records == nullptr ? nullptr
                            : static_cast<const uint8_t *>(records) + size_t{record_size} * i;
}

// The i-th descriptor of an array that lies in a block of bytes, perhaps unaligned.
void store_descriptor(uint8_t *descriptors, uint32_t i, const msg_desc &descriptor) {
  memcpy(descriptors + sizeof(msg_desc) * i, &descriptor, sizeof descriptor);
}

} // namespace

uint32_t send_block_of_one(uint32_t destination, const void *record, uint64_t target,
                           const tree_message &message) {
  const uint32_t size = message.size(record);
  if (size == 0)
    return send_failed;
  const send_block block(message.unit, size, message.single_tag);
  if (block.bytes() == nullptr)
    return send_failed;
  message.write(message.unit, block.bytes(), size, record);
  const msg_desc descriptor{block.bytes(), message.id, size};
  return hand_over(destination, &descriptor, 1, target);
}

uint32_t send_batch(uint32_t destination, const void *records, uint32_t count, uint64_t target,
                    const tree_message &message) {
  const uint32_t block_size = count * static_cast<uint32_t>(sizeof(msg_desc)) + arena_size;
  const send_block block(message.unit, block_size, message.batch_tag);
  // A size that wrapped has no room for the descriptors. Such a batch could never succeed: every
  // message takes at least 16 bytes of the arena, which holds no more than 4,096 of them.
  if (block.bytes() == nullptr || block_size < arena_size ||
      (block_size - arena_size) / sizeof(msg_desc) != count)
    return send_failed;
  uint8_t *const descriptors = block.bytes() + arena_size;
  uint32_t used = 0;
  for (uint32_t i = 0; i < count; i++) {
    if (used >= arena_size) // no message is empty, so the next record is not looked at
      return send_failed;
    const void *const record = record_at(records, message.record_size, i);
    uint8_t *const data = block.bytes() + used;
    const uint32_t size = message.encode(message.unit, data, arena_size - used, record);
    if (size == 0)
      return send_failed;
    store_descriptor(descriptors, i, {data, message.id, size});
    used += size;
  }
  return hand_over(destination, reinterpret_cast<const msg_desc *>(descriptors), count, target);
}

uint32_t send_image_rarely(uint32_t destination, const void *record, uint64_t target,
                           const flat_message &message, uint8_t *area) {
  message.write(message.unit, area, record);
  const msg_desc descriptor{area, message.id, message.image_size};
  return hand_over(destination, &descriptor, 1, target);
}

uint32_t send_batch(uint32_t destination, const void *records, uint32_t count, uint64_t target,
                    const flat_message &message) {
  const uint32_t share = message.image_size + static_cast<uint32_t>(sizeof(msg_desc));
  const uint32_t block_size = count * share;
  const send_block block(message.unit, block_size, message.batch_tag);
  // A size that wrapped is too small for the batch.
  if (block.bytes() == nullptr || block_size / share != count)
    return send_failed;
  uint8_t *const descriptors = block.bytes() + size_t{message.image_size} * count;
  for (uint32_t i = 0; i < count; i++) {
    uint8_t *const slot = block.bytes() + size_t{message.image_size} * i;
    message.write(message.unit, slot, record_at(records, message.record_size, i));
    store_descriptor(descriptors, i, {slot, message.id, message.image_size});
  }
  return hand_over(destination, reinterpret_cast<const msg_desc *>(descriptors), count, target);
}

} // namespace mesh_fib6::transport
