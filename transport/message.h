// What the transport needs to know of a message type beside its record: its identifier.
//
// Room: transport. May include wire/ and runtime/; knows no particular message.
#pragma once

#include "wire/format/schema.h"

#include <cstdint>

namespace mesh_fib6::transport {

// FNV-1a, 32 bits: http://www.isthe.com/chongo/tech/comp/fnv/
constexpr uint32_t fnv1a(const char *text, uint32_t hash = 0x811C9DC5) {
  for (; *text != 0; text++)
    hash = (hash ^ static_cast<uint8_t>(*text)) * 0x01000193;
  return hash;
}

// Where the message's part of a record's name, <namespace>_<message>, begins; 0 when the name is
// another.
constexpr uint32_t message_part(const char *name, const char *wire_namespace) {
  uint32_t at = 0;
  while (wire_namespace[at] != 0 && name[at] == wire_namespace[at])
    at++;
  return wire_namespace[at] == 0 && name[at] == '_' ? at + 1 : 0;
}

// Never defined: a call makes constant evaluation fail under this name.
void record_name_must_be_namespace_and_message();

// Identifier of Record's message: the hash of "<namespace>.<message>".
template <class Record>
consteval uint32_t message_id(const char *wire_namespace) {
  const char *const name = wire::schema<Record>::name;
  const uint32_t message = message_part(name, wire_namespace);
  if (message == 0)
    record_name_must_be_namespace_and_message();
  return fnv1a(name + message, fnv1a(".", fnv1a(wire_namespace)));
}

// What the send operations need of a message type; MESH_FIB6_EXPORT specialises it.
template <class Record>
struct exported;

} // namespace mesh_fib6::transport
