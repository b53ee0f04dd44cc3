// A peer that knows the schemas and FlatBuffers, and nothing of this library: it verifies, reads
// and writes messages. Records are only what it reads into and writes from.
//
// Room: tests. Slots, types and nesting come from what flatc made of schemas/*.fbs; descriptors say
// where in a record a value belongs.
#pragma once

#include "tests/support/random_record.h"
#include "tools/descriptors.h"

#include <cstdint>
#include <vector>

namespace flatbuffers_peer {

using bytes = std::vector<uint8_t>;
using mesh_fib6::tools::message_descriptor;

// What FlatBuffers' own verifier says of a buffer, by the generated class of the message.
bool verifies(const message_descriptor &message, const bytes &buffer, bool check_alignment = false);

// The record in a verified buffer. What the library always writes (fixed arrays of exactly their
// length, sub-tables) and does not is a test failure, told by member.
random_record::owned_record read(const message_descriptor &message, const bytes &buffer);

// The liberties that a FlatBuffers writer has.
struct style {
  bool force_defaults = false;  // zero scalars are stored, empty vectors too
  bool share_vtables = true;    // tables with the same fields at the same places
  bool any_order = false;       // fields not sorted by width
  bool omit_zero = false;       // zero arrays and empty sub-tables are left out
  bool file_identifier = false; // four bytes between root offset and the rest
};

bytes write(const message_descriptor &message, const void *record, const style &style,
            random_record::generator &random);

} // namespace flatbuffers_peer
