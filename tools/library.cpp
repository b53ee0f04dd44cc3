// Calls the library; see library.h.
//
// Room: tools.
#include "tools/library.h"

#include "platform/mesh.h"

#include <new>

namespace mesh_fib6::tools {
namespace {

std::vector<uint8_t> handed_over; // by the send that is going on

// Not 0 when there is no memory: nothing may be thrown through the library.
uint64_t keep(const msg_desc *messages, uint32_t count) {
  try {
    for (uint32_t i = 0; i < count; i++) {
      const auto *const bytes = static_cast<const uint8_t *>(messages[i].data);
      handed_over.insert(handed_over.end(), bytes, bytes + messages[i].length);
    }
    return 0;
  } catch (const std::bad_alloc &) {
    return 1;
  }
}

// Whether a vector has a count and no array: what a failed allocation leaves.
bool is_incomplete(const table_descriptor &table, const void *record) {
  for (const field_descriptor &field : table.fields) {
    if (field.is_vector() && field.count(record) != 0 && field.pointer(record) == nullptr)
      return true;
    if (field.kind == kind::table && is_incomplete(*field.table, field.member(record)))
      return true;
  }
  return false;
}

} // namespace

decoded_record::decoded_record(const message_descriptor &message)
    : message_(message), storage_(message.record_size / sizeof(uint64_t) + 1) {}

decoded_record::~decoded_record() {
  release();
}

void decoded_record::release() {
  message_.free_unpacked(storage_.data());
}

bool decoded_record::read(std::span<const uint8_t> bytes) {
  release();
  message_.unpack(bytes.data(), static_cast<uint32_t>(bytes.size()), storage_.data());
  return !is_incomplete(*message_.table, storage_.data());
}

std::optional<std::vector<uint8_t>> packed(const message_descriptor &message, const void *record) {
  uint32_t size = UINT32_MAX;
  if (message.pack(record, nullptr, &size) != 0)
    return std::nullopt;
  std::vector<uint8_t> bytes(size);
  if (message.pack(record, bytes.data(), &size) != 0)
    return std::nullopt;
  return bytes;
}

std::vector<uint8_t> fixed_image(const message_descriptor &message, const void *record) {
  handed_over.clear();
  if (message.sendsingle(0, record, 0, 0) != 0)
    throw std::bad_alloc();
  return std::move(handed_over);
}

} // namespace mesh_fib6::tools

extern "C" {

uint64_t MESH_SendMsg(uint32_t, const msg_desc *messages, uint32_t count) {
  return mesh_fib6::tools::keep(messages, count);
}

uint64_t MESH_SendToMsg(uint32_t, const msg_desc *messages, uint32_t count, uint64_t) {
  return mesh_fib6::tools::keep(messages, count);
}

uint32_t MESH_RegIDLFuncHook(uint32_t, mesh_unpack_hook, mesh_free_hook) {
  return 0;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook) {
  return 0;
}

} // extern "C"
