// A buffer taken apart: what each of its bytes is, what the library reads from it, and where and
// why the library would refuse it.
//
// Room: tools. Knows descriptors, nothing of the codec: the rules of mesh_fib6/message_api.h and
// docs/wire-format.md are written down here once more, as a walk that says what it sees.
//
// Any bytes are survived, whatever they say. The buffer has to outlive its anatomy; nothing is
// shared, so different threads may take buffers apart at once.
#pragma once

#include "tools/descriptors.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mesh_fib6::tools {

// What is longer the library refuses.
inline constexpr uint32_t longest_message = std::numeric_limits<int32_t>::max();

// A thing that was found in a buffer: the root's table, a member, an element of a vector.
struct node {
  static constexpr uint32_t no_element = std::numeric_limits<uint32_t>::max();

  const field_descriptor *field; // null for the root and for elements
  const table_descriptor *table; // of the root, an embedded record or an element, otherwise null
  uint32_t parent;               // the root is its own
  uint32_t element;              // which one of its vector, no_element otherwise
  uint32_t at;     // of a scalar; of a table's first word; of a vector's or array's count
  uint32_t number; // a scalar's value; the count of a vector or array

  bool is_element() const { return element != no_element; }
};

// What a run of bytes is to the format.
enum class role : uint8_t {
  root_offset,
  soffset, // a table's first word
  vtable_size,
  table_size,
  entry,       // a vtable's, of a slot that the schema knows
  spare_entry, // of one that it does not: a newer peer's
  vtable_rest, // a vtable's last byte, when its size is odd
  uoffset,
  scalar,
  count, // in front of the items of an array or a vector
  items, // of an array or of a vector of bytes
};

// A run of bytes that the library looks at.
struct part {
  uint32_t at;
  uint32_t size;
  tools::role role;
  uint32_t node; // what it belongs to or leads to
  uint32_t slot; // of an entry
};

// Why the library refuses a buffer. The names are what `verify` prints.
enum class rule : uint8_t {
  length,        // fewer than 4 bytes, or 2^31 and more
  table_offset,  // leads to no table
  vtable_offset, // leads to no vtable
  vtable_size,   // ends behind the buffer
  entry,         // leads to a member behind the end
  uoffset,       // leads behind the end
  item_count,    // more items than there are bytes
  array_count,   // not as many items as the array has
  block_size,    // more than a block of memory can hold
};

struct refusal {
  tools::rule rule;
  uint32_t node; // of what it cannot be read
  uint32_t at;   // of the bytes that are to blame
  uint32_t size;
  std::string expected;
  std::string found;
};

const char *name_of(rule rule);
const char *name_of(role role);

// What a position is, when every byte is to be accounted for.
enum class standing : uint8_t {
  used,         // one part has it
  shared,       // several parts have the whole run: a vtable of several tables, say
  overlapping,  // several parts have it that are not of one mind
  unreferenced, // nothing leads there
  unreached,    // the buffer was refused before
};

// A run of bytes of one standing.
struct stretch {
  static constexpr size_t most_named = 8;

  uint32_t at;
  uint32_t size;
  tools::standing standing;
  std::vector<uint32_t> parts; // the first of them, as indexes, in the order in which they are read
  size_t part_count;           // how many there are
  std::string padding;         // of unreferenced zeros that the fixed arrangement puts there: why
};

const char *name_of(standing standing);

// Whether the library takes a buffer: as an anatomy without a refusal says, but nothing is
// remembered. `byte_swap` is the flag of the unit that would decode.
bool is_sound(const message_descriptor &message, std::span<const uint8_t> bytes,
              uint32_t byte_swap = 0);

class anatomy {
public:
  // What may be remembered of a buffer. Many offsets can lead to one table, so there may be far
  // more nodes than bytes; beyond the limit the walk goes on, without remembering.
  static constexpr size_t largest = 1u << 22;

  // `byte_swap` is the flag of the unit that would decode.
  anatomy(const message_descriptor &message, std::span<const uint8_t> bytes, uint32_t byte_swap = 0,
          size_t most_nodes = largest);

  const message_descriptor &message() const { return message_; }
  std::span<const uint8_t> bytes() const { return bytes_; }

  // The root comes first, and each node's parent before it. Empty when there was no room to look
  // for a root.
  const std::vector<tools::node> &nodes() const { return nodes_; }
  // In the order in which they are read.
  const std::vector<tools::part> &parts() const { return parts_; }
  // Nothing, when the library takes the buffer.
  const std::optional<tools::refusal> &refusal() const { return refusal_; }
  // Whether there was more than may be remembered.
  bool is_cut() const { return is_cut_; }

  // `f1[0].f3`; "root" for the root.
  std::string path_of(uint32_t node) const;
  // What a part says, as a golden file would: `uoffset 36: f1[0] at 64`.
  std::string meaning_of(const tools::part &part) const;
  // A scalar of that many bytes: decimal below 256, hexadecimal otherwise.
  static std::string number_text(uint32_t value, uint32_t width);
  // Items `first` to `last` of an array or of a vector of bytes, with their path.
  std::string items_text(const tools::part &part, uint32_t first, uint32_t last) const;
  // The value of an item, `width` bytes wide.
  uint32_t item(const tools::part &part, uint32_t index) const;
  // How wide an item of `items` is.
  uint32_t item_width(const tools::part &part) const;

  // Each byte once, in the order of positions.
  std::vector<stretch> stretches() const;

private:
  struct notes;
  class gaps;

  // The bytes of a part as a number.
  uint32_t number(const tools::part &part) const;
  void explain_padding(std::vector<stretch> &stretches) const;

  const message_descriptor &message_;
  std::span<const uint8_t> bytes_;
  uint32_t byte_swap_;
  size_t most_nodes_;
  std::vector<tools::node> nodes_;
  std::vector<tools::part> parts_;
  std::optional<tools::refusal> refusal_;
  bool is_cut_ = false;
};

} // namespace mesh_fib6::tools
