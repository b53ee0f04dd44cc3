// The platform around one execution: an OSAL and a mesh that keep accounts in a static table.
//
// Room: attacks. Knows the platform's declarations, nothing of the library. Not thread-safe and
// made for millions of executions a minute: unlike the doubles of tests/support it copies nothing
// and remembers one execution only.
#pragma once

#include "platform/mesh.h"

#include <cstdint>

namespace fuzz::platform {

// One request for memory, granted or not.
struct block {
  void *address; // null: refused
  uint32_t size;
  uint32_t module;
  bool from_cache; // VRX_OsalMemCacheAlloc rather than VRX_OsalMemAlloc
  bool live;
  uint32_t release_module;
  const char *tag;
  const char *release_tag; // null: not released yet
};

struct log_line {
  uint32_t category;
  const char *function;
  const char *format;
  uint32_t first, second;          // the numbers of the format, in order; unused ones are 0
  bool buffer_given, record_given; // what a line about parameters says of the pointers
};

struct send {
  bool to; // MESH_SendToMsg rather than MESH_SendMsg
  uint32_t destination;
  const msg_desc *messages;
  uint32_t count;
  uint64_t target; // 0 for MESH_SendMsg
};

inline constexpr uint32_t max_blocks = 16;
// Larger requests are refused, as a device short of memory would.
inline constexpr uint32_t largest_block = 4u << 20;

struct accounts {
  block blocks[max_blocks];
  uint32_t block_count;
  uint32_t releases;
  log_line line; // the last one
  uint32_t line_count;
  uint32_t sends;

  // What the execution decides.
  uint32_t refused_request; // 1: the next request for memory; 0: none
  uint64_t send_result;
  void (*on_send)(const send &); // called inside the mesh call

  uint32_t live_blocks() const;
  const block *block_at(const void *address) const; // null: no such live block
};
extern accounts now;

// Forgets everything. A block that is still live is a finding of the execution before.
void begin();

} // namespace fuzz::platform
