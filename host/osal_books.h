// The books of the OSAL stand-in: which blocks are live, and what happened so far.
//
// Room: host. This folder's public header and the standard library.
//
// Blocks are known by address in a table beside the heap, not by a header in front of them: a
// header can only be read where there is one, and a wrong address may have none.
#pragma once

#include "host/osal_host.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace osal_host {

struct block {
  uint32_t size;
  uint32_t module;
  const std::string *tag; // null when tags are not kept
};

// The live blocks of one module and tag together.
struct remainder {
  uint32_t module;
  std::string tag;
  uint64_t blocks, bytes;
};

class books {
public:
  // With tags a report can tell whose the blocks are that are left. They cost a look-up each.
  explicit books(bool with_tags) : with_tags_(with_tags) {}

  // Throws std::bad_alloc, and the block is then not entered.
  void enter(const void *address, uint32_t size, uint32_t module, const char *caller);

  enum class entry { live, released_before, unknown };
  // Whether `address` is a live block; if so, `found` says which, and it is live no more.
  entry strike_out(const void *address, block &found);

  void count_failed_allocation() { failed_allocations_++; }
  void count_injected_failure() { injected_failures_++; }
  void count_wrong_release() { wrong_releases_++; }
  void count_overrun() { overruns_++; }
  void count_log_line();

  // A consistent look at all of it.
  osal_host_accounts accounts();
  // What is live, the most bytes first.
  std::vector<remainder> remainders();

  // All locks, always in one order; who holds one never asks for another.
  void lock();
  void unlock();

private:
  // One lock for a sixteenth of all addresses, so that threads seldom meet.
  struct shard {
    std::mutex lock;
    std::unordered_map<const void *, block> live;
    std::set<std::string, std::less<>> tags; // of blocks, live or not: a program has few
    // Only to word the complaint about a second release: addresses released lately. A ring in
    // place: nothing that a release needs can fail.
    std::array<const void *, 64> released{};
    size_t next_released = 0;
  };

  shard &shard_of(const void *address);

  const bool with_tags_;
  std::array<shard, 16> shards_;
  // What concerns blocks changes only while a shard's lock is held; a snapshot holds all of them.
  std::atomic<uint64_t> allocations_{0}, releases_{0}, live_blocks_{0}, live_bytes_{0};
  std::atomic<uint64_t> peak_blocks_{0}, peak_bytes_{0};
  std::atomic<uint64_t> failed_allocations_{0}, injected_failures_{0}, wrong_releases_{0};
  std::atomic<uint64_t> overruns_{0}, log_lines_{0};
};

} // namespace osal_host
