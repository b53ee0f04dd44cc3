// Records made from the bytes of an input.
//
// Room: attacks. Walks descriptors; knows no message in particular.
#pragma once

#include "fuzz/input.h"
#include "fuzz/messages.h"

#include <cstdint>

namespace fuzz {

// Some records and the arrays behind their pointers; each array is a block of exactly its size.
class made_records {
public:
  static constexpr uint32_t max_count = 4;

  // `count` consecutive records of the message.
  made_records(const message &message, uint32_t count, input &input);
  ~made_records();
  made_records(const made_records &) = delete;
  made_records &operator=(const made_records &) = delete;

  const void *at(uint32_t i) const { return records_ + size_t{message_.record_size} * i; }

private:
  void *add_block(size_t size);
  void fill(const table_descriptor &table, void *record);
  void fill_vector(const field_descriptor &field, void *record);
  uint32_t some_number(uint32_t width);

  const message &message_;
  input &input_;
  uint32_t block_count_ = 0; // before what adds the first one
  void *blocks_[max_count * reference::max_vectors + 1];
  uint8_t *records_;
};

} // namespace fuzz
