// A recording OSAL for tests: the five functions the library looks up by name.
//
// Room: tests. Linked into a test executable (whose symbols CMake exports), it is what the library
// binds to. It records every call in order, can make the n-th allocation fail, formats log lines,
// and knows which block came from which allocator. VRX_OsalMemUseFlagGet answers 1 unless told
// otherwise before the first binding. Thread-safe. Release poisons and, under a sanitizer, really
// frees, so that use after free is seen; new blocks hold garbage, so that a byte nobody wrote
// shows. A block ends at an inaccessible page: whoever writes or reads behind it faults, and a
// write before it fails the test when the block is released.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace fake_osal {

enum class call_kind { alloc, cache_alloc, free, use_flag_get };

struct call {
  call_kind kind;
  uint32_t size;      // alloc, cache_alloc: requested bytes; free: bytes of the block; else 0
  uint32_t module;    // as passed
  std::string caller; // as passed; empty for use_flag_get
  void *block;        // result of an allocation (null when it failed) or the block freed
  bool operator==(const call &) const = default;
};
std::ostream &operator<<(std::ostream &, const call &);

struct log_line {
  std::string module_name, submodule_name; // read through the descriptor
  uint32_t mem_module_id;                  // likewise
  uint32_t level, category;
  std::string text; // the fourth argument, expected empty
  uint32_t line;
  std::string function;
  std::string format;  // as passed
  std::string message; // formatted with the trailing arguments
  size_t calls_before; // how many calls had been recorded when the line was written
};
std::ostream &operator<<(std::ostream &, const log_line &);

// What a new block is full of.
inline constexpr uint8_t fresh_byte = 0xA5;

// Forgets calls, log lines and planned failures. Live blocks stay known.
void reset();

std::vector<call> calls();                  // everything since reset()
std::vector<call> calls_of(call_kind kind); // in order
std::vector<log_line> log_lines();

// The n-th allocation from now (1 = the next one, both allocators counted together) returns null,
// once. 0 turns it off.
void fail_allocation(uint32_t n);
// Every allocation of more than this many bytes returns null. UINT32_MAX turns it off.
void refuse_above(uint32_t bytes);

void set_use_flag(uint32_t answer);

size_t live_blocks();
// Blocks freed twice, unknown, or with a module other than the one they were allocated with.
size_t wrong_frees();

} // namespace fake_osal
