// What the environment and the configuration file say.
//
// Room: host. Standard library only.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace mesh_host {

struct settings {
  std::string directory;                     // of the sockets, MESH_HOST_DIR
  std::map<uint32_t, std::string> endpoints; // tcp:// by destination, MESH_HOST_CONFIG
  int send_timeout_ms = 5000;                // MESH_HOST_SEND_TIMEOUT_MS
  uint64_t window_messages = 1024;           // MESH_HOST_WINDOW_MESSAGES
  uint64_t window_bytes = 16u << 20;         // MESH_HOST_WINDOW_BYTES
  uint64_t frame_limit = 64u << 20;          // MESH_HOST_FRAME_LIMIT
  int heartbeat_ms = 2000;                   // MESH_HOST_HEARTBEAT_MS, tcp:// only
};

// Empty when something is wrong; every mistake has then been told on stderr.
std::optional<settings> read_settings();

} // namespace mesh_host
