// One decoding and everything that must hold before, during and after it.
//
// Room: attacks. Uses the exported operations through the descriptors. What is wrong is found()
// (finding.h); a sanitizer that sees something ends the process.
#pragma once

#include "fuzz/messages.h"

#include <cstdint>

namespace fuzz {

struct circumstances {
  uint32_t byte_swap = 0;
  uint32_t refused_request = 0; // which request for memory fails, from 1; 0: none
  bool odd_address = false;     // where the buffer lies
  enum class misuse : uint8_t { none, null_record, null_buffer, negative_length } misuse;
};

// Called with a record that was decoded without a failure, before it is released.
struct record_visitor {
  virtual void visit(const void *record) = 0;

protected:
  ~record_visitor() = default;
};

// Decodes a copy of the bytes that ends where its memory does, compares record, blocks, requests
// for memory and log lines with the reference, releases, compares again. Counts on a fresh
// platform::begin(); leaves one behind.
void check_decode(const message &message, const uint8_t *bytes, uint32_t length,
                  const circumstances &around, record_visitor *visitor = nullptr);

// How deep the last decoding went.
enum class depth : uint8_t {
  parameters, // refused before a byte was read; no second decoder is needed to know the answer
  refused,    // its header; the record is untouched
  failed,     // behind it
  decoded,
};
struct outcome {
  const fuzz::message *message;
  fuzz::depth depth;
  uint32_t line, first, second; // what was logged: reference::line, and its numbers
  uint32_t requests;            // for memory
};
// That of the decoding since the last call; without a message when there was none.
outcome take_outcome();

} // namespace fuzz
