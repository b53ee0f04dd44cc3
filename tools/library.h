// The library as programs here use it: records and bytes of messages that are known by descriptor.
//
// Room: tools. Knows descriptors and the public operations behind them; implements the mesh, which
// sends nothing but keeps what it is handed. One thread at a time.
#pragma once

#include "tools/descriptors.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace mesh_fib6::tools {

// A record that the library reads from bytes, and what it allocated for it.
class decoded_record {
public:
  explicit decoded_record(const message_descriptor &message);
  ~decoded_record();
  decoded_record(const decoded_record &) = delete;
  decoded_record &operator=(const decoded_record &) = delete;

  // Reads bytes that is_sound() approves of; those of the record before are given back. False when
  // there is no memory.
  bool read(std::span<const uint8_t> bytes);
  const void *get() const { return storage_.data(); }

private:
  void release();

  const message_descriptor &message_;
  std::vector<uint64_t> storage_;
};

// A record in the compact arrangement; nothing when it would have 4 GiB or more.
std::optional<std::vector<uint8_t>> packed(const message_descriptor &message, const void *record);

// A flat record as the fixed image that is sent.
std::vector<uint8_t> fixed_image(const message_descriptor &message, const void *record);

} // namespace mesh_fib6::tools
