// The messages as targets see them: what their descriptors say, and what only peers know.
//
// Room: attacks. Includes descriptors and the units of the modules. Everything is worked out once,
// before the first execution.
#pragma once

#include "runtime/unit.h"
#include "tests/reference/decoder.h"
#include "tools/descriptors.h"

#include <cstdint>
#include <span>

namespace fuzz {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::kind;
using mesh_fib6::tools::message_descriptor;
using mesh_fib6::tools::table_descriptor;

using mesh_fib6::tools::message_count;

inline constexpr uint32_t max_record_size =
    reference::most([](const message_descriptor &message) { return message.record_size; });

struct message : message_descriptor {
  reference::root_form form;
  mesh_fib6::runtime::unit *recv_unit, *send_unit;
  reference::vector_list vectors;
  void *storage; // a heap block of exactly record_size bytes, for the record under test

  bool is_tree() const { return shape == mesh_fib6::tools::shape::tree; }

  // Decoding n bytes allocates at most this many times n.
  uint32_t amplification() const { return reference::amplification(*table); }

  // What the byte_swap flags of both of its units hold.
  void set_byte_swap(uint32_t flag) const;
};

// In the order of registration.
std::span<const message, message_count> all_messages();

// The message that an input is about: its first bytes are an identifier, the low byte first. So an
// input keeps its meaning when messages come, go or change places. Where no message has the
// identifier, which is what chance makes, it is the one whose identifier differs in the least
// significant bits: the smallest number when the two are combined by exclusive or.
inline constexpr uint32_t identifier_size = 4;
const message &message_of(const uint8_t *input);

// Whether `text` is `name` followed by `suffix`.
bool is_name(const char *text, const char *name, const char *suffix);

} // namespace fuzz
