// The memory of one record at a time, and of what its pointers lead to.
//
// Room: tools.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mesh_fib6::tools {

// Blocks that the next record uses again.
class record_memory {
public:
  // Zeroed, aligned for any record; stays where it is while others are asked for.
  uint8_t *block(size_t size) {
    if (used_ == blocks_.size())
      blocks_.emplace_back();
    std::vector<uint64_t> &block = blocks_[used_++];
    block.assign(size / sizeof(uint64_t) + 1, 0);
    return reinterpret_cast<uint8_t *>(block.data());
  }

  // All of it is free again.
  void reset() { used_ = 0; }

private:
  std::vector<std::vector<uint64_t>> blocks_;
  size_t used_ = 0;
};

} // namespace mesh_fib6::tools
