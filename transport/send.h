// The send operations: encode one record or many, hand them to the mesh in one call, give the
// buffers back.
//
// Room: transport. May include wire/ and runtime/; knows no particular message. Nothing is kept
// between calls and nothing is logged. No lock is held while the mesh runs.
//
// Tree records (with pointers) travel in the compact arrangement, each as long as its contents;
// flat records as a fixed image of constant length. The operations are compiled once for all
// messages: what differs between messages is in a constant per message. Only the single send of a
// flat record, which is little more than a copy of its image, is compiled per message.
#pragma once

#include "platform/mesh.h"
#include "transport/message.h"
#include "wire/codec.h"

namespace mesh_fib6::transport {

inline constexpr uint32_t send_failed = 0xFFFFFFFF;

// Data area of a batch of tree records. Its descriptors lie behind it in the same block.
inline constexpr uint32_t arena_size = 65536;

// Data area of a single flat send, on the stack.
inline constexpr uint32_t single_area_size = 1024;

// A message type whose records hold pointers.
struct tree_message {
  runtime::unit &unit;
  uint32_t id;
  uint32_t record_size;
  uint32_t (*size)(const void *record); // 0: cannot be encoded
  // Writes a record of `size` encoded bytes.
  void (*write)(runtime::unit &unit, uint8_t *buffer, uint32_t size, const void *record);
  // Does both; returns the encoded size. 0: cannot be encoded, or not in so many bytes.
  uint32_t (*encode)(runtime::unit &unit, uint8_t *buffer, uint32_t room, const void *record);
  const char *single_tag; // tags of the operations' allocations
  const char *batch_tag;
};

// A message type whose records hold none.
struct flat_message {
  runtime::unit &unit;
  uint32_t id;
  uint32_t record_size;
  uint32_t image_size;
  void (*write)(runtime::unit &unit, uint8_t *slot, const void *record);
  const char *batch_tag;
};

template <class Record>
constexpr auto describe(runtime::unit &unit, uint32_t id) {
  using names = wire::names<Record>;
  if constexpr (wire::is_tree<Record>()) {
    return tree_message{unit,
                        id,
                        sizeof(Record),
                        wire::message_size<Record>,
                        wire::write_measured<Record>,
                        wire::encode<Record>,
                        names::sendsingle.text,
                        names::sendbatch.text};
  } else {
    static_assert(wire::fixed_image_size<Record> <= single_area_size);
    return flat_message{unit,
                        id,
                        sizeof(Record),
                        wire::fixed_image_size<Record>,
                        wire::write_fixed<Record>,
                        names::sendbatch.text};
  }
}

// Hands messages to the mesh, with a target unless it is 0; the low 32 bits of its answer.
inline uint32_t hand_over(uint32_t destination, const msg_desc *messages, uint32_t count,
                          uint64_t target) {
  const uint64_t result = target != 0 ? MESH_SendToMsg(destination, messages, count, target)
                                      : MESH_SendMsg(destination, messages, count);
  return static_cast<uint32_t>(result);
}

// The operations; `record` and `records` point to the message's own records. Contracts:
// M__sendsingle and M__sendbatch in mesh_fib6/message_api.h. The message comes last: the caller's
// arguments stay where they are.
uint32_t send_block_of_one(uint32_t destination, const void *record, uint64_t target,
                           const tree_message &message);
uint32_t send_batch(uint32_t destination, const void *records, uint32_t count, uint64_t target,
                    const tree_message &message);
uint32_t send_batch(uint32_t destination, const void *records, uint32_t count, uint64_t target,
                    const flat_message &message);

// What send_image() leaves to the general codec. `area` is the caller's, so that there is one on
// the stack and not two.
uint32_t send_image_rarely(uint32_t destination, const void *record, uint64_t target,
                           const flat_message &message, uint8_t *area);

// The image of one flat record, from the stack. Message is exported<Record>::message.
template <class Record, const auto &Message>
[[gnu::noinline]] uint32_t send_image(uint32_t destination, const Record *record, uint64_t target) {
  uint8_t area[single_area_size];
  if (!wire::is_common(Message.unit))
    return send_image_rarely(destination, record, target, Message, area);
  wire::write_image(area, *record);
  const msg_desc descriptor{area, Message.id, Message.image_size};
  return hand_over(destination, &descriptor, 1, target);
}

// One record.
template <class Record, const auto &Message>
uint32_t send_single(uint32_t destination, const Record *record, uint64_t target) {
  if constexpr (wire::is_tree<Record>())
    return send_block_of_one(destination, record, target, Message);
  else
    return send_image<Record, Message>(destination, record, target);
}

// None, one or many, without or with a target.
template <class Record, const auto &Message>
uint32_t send_counted(uint32_t destination, const Record *records, uint32_t count,
                      uint64_t target) {
  if (__builtin_expect(count == 1, true))
    return send_single<Record, Message>(destination, records, target);
  if (count == 0)
    return send_failed;
  return send_batch(destination, records, count, target, Message);
}

} // namespace mesh_fib6::transport
