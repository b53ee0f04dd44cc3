// The schemas as flatc compiled them, for reflection.
//
// Room: tests. Part of the peer; its users see flatbuffers_peer.h.
#pragma once

#include "tools/descriptors.h"

#include <flatbuffers/reflection.h>

#include <string>

namespace flatbuffers_peer {

// A schema and the message's table in it.
struct reflected {
  const reflection::Schema &schema;
  const reflection::Object &root;

  const reflection::Object &object_of(const reflection::Field &field) const {
    return *schema.objects()->Get(static_cast<uint32_t>(field.type()->index()));
  }
};

// Throws std::runtime_error when there is no such schema or it does not know the message.
reflected reflect(const mesh_fib6::tools::message_descriptor &message);

// Whether a number, or the numbers of a vector, are as wide in the schema as in the record. A
// record would hide the difference: small values fit either.
bool same_width(const reflection::Field &field, const mesh_fib6::tools::field_descriptor &member);

} // namespace flatbuffers_peer
