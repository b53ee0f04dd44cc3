// Target: a buffer from anywhere is taken in by the header for C++.
//
// Room: attacks. Input as in decode.cpp, whose corpus is this one's too; of the circumstances only
// bit 0. What the visitor sees is what the C functions give; everything is released once.
#include "fuzz/exact_copy.h"
#include "fuzz/finding.h"
#include "fuzz/messages.h"
#include "fuzz/platform.h"
#include "fuzz/target.h"
#include "tests/reference/mismatch.h"

#include <mesh_fib6/mesh_fib6.hpp>
#include <mesh_fib6/messages.h>

#include <cstring>

namespace fuzz {
namespace {

constexpr uint32_t header_size = identifier_size + 1;

// Makes counts 0 where there is no array, as a receiver has to take them; false where another
// record has other counts or arrays where this one has none.
bool settle_counts(const table_descriptor &table, void *record, void *other) {
  for (const field_descriptor &field : table.fields) {
    if (field.kind == kind::table &&
        !settle_counts(*field.table, field.member(record), field.member(other)))
      return false;
    if (!field.is_vector())
      continue;
    if (field.count(record) != field.count(other) ||
        (field.pointer(record) == nullptr) != (field.pointer(other) == nullptr))
      return false;
    if (field.pointer(record) == nullptr) {
      field.set_vector(record, nullptr, 0);
      field.set_vector(other, nullptr, 0);
    }
  }
  return true;
}

void check_record(const message &message, const void *expected, const void *actual) {
  alignas(8) uint8_t copies[2][max_record_size];
  memcpy(copies[0], expected, message.record_size);
  memcpy(copies[1], actual, message.record_size);
  if (!settle_counts(*message.table, copies[0], copies[1]))
    return found("%s: visited with other counts", message.name);
  const reference::mismatch difference(*message.table, copies[0], copies[1]);
  if (difference.is_there())
    found("%s: visited: %s", message.name, difference.text());
}

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  if (size < header_size)
    return nullptr;
  forget_findings();
  const message &message = message_of(data);
  const auto length = static_cast<uint32_t>(size) - header_size;
  const exact_copy wire(data + header_size, length, (data[identifier_size] & 1) != 0);
  message.set_byte_swap(0);

  platform::begin();
  const platform::accounts &accounts = platform::now;
  memset(message.storage, 0, message.record_size);
  message.unpack(wire.bytes(), length, message.storage);

  uint32_t calls = 0;
  const auto look = [&]<class M>(const M &record) {
    calls++;
    check_record(message, message.storage, &record);
    if (mesh_fib6::message_traits<M>::id != message.id)
      found("%s: visited as %s", message.name, mesh_fib6::message_traits<M>::name);
  };
  if (!mesh_fib6::visit(message.id, wire.bytes(), length, look) || calls != 1)
    found("%s: visited %u times", message.name, calls);
  if (!mesh_fib6::visit_record(message.id, message.storage, message.record_size, look) ||
      calls != 2)
    found("%s: its record is visited %u times, with visit() before", message.name, calls);

  const mesh_fib6_message *const row = mesh_fib6_find_message(message.id);
  if (row == nullptr || strcmp(row->name, message.name) != 0)
    found("%s: is not in the table", message.name);

  // An identifier as it comes: most are nobody's, and then nothing is done.
  uint32_t any = 0;
  for (uint32_t i = 0; i < identifier_size; i++)
    any |= uint32_t{data[i]} << (8 * i);
  const uint32_t requests = accounts.block_count;
  if (any != message.id &&
      (mesh_fib6::visit(any, wire.bytes(), length, look) ||
       mesh_fib6_find_message(any) != nullptr || calls != 2 || accounts.block_count != requests))
    found("0x%08x: is nobody's identifier, and something is done", any);

  message.free_unpacked(message.storage);
  if (accounts.live_blocks() != 0)
    found("%s: %u blocks are left", message.name, accounts.live_blocks());
  return finding();
}

} // namespace fuzz
