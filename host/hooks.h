// The decode and release hooks by identifier, and the clean hooks.
//
// Room: host. The platform's mesh declarations and the standard library.
#pragma once

#include "platform/mesh.h"

#include <atomic>
#include <cstdint>

namespace mesh_host {

struct message_hooks {
  mesh_unpack_hook unpack;
  mesh_free_hook release;
  std::atomic<int64_t> record_size{-1}; // not asked yet

  message_hooks(mesh_unpack_hook with_unpack, mesh_free_hook with_release)
      : unpack(with_unpack), release(with_release) {}
};

// 0 or a mesh_host_result. The same hooks again are no news and no error.
uint32_t register_hooks(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release);
uint32_t register_clean_hook(mesh_clean_hook clean);

// Null when nobody registered the identifier; otherwise valid for the life of the process.
message_hooks *find_hooks(uint32_t id);

// The size of the records that `hooks` decode to, asked of the decoder itself at the first message.
uint32_t record_size(message_hooks &hooks, const void *buffer, uint32_t length);

void call_clean_hooks();

// Around fork: no other thread may be inside when the process is copied.
void lock_hooks();
void unlock_hooks();

} // namespace mesh_host
