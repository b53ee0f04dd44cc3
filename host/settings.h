// What the environment and the configuration file say.
//
// Room: host. Standard library only.
#pragma once

#include "host/faults.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace mesh_host {

// Where a destination is: on this machine, or at a server.
struct place {
  std::string servers; // nats://ADDRESS:PORT, several with commas; empty for this machine
  std::string user, password_file, credentials; // who we are
  std::string inbox = "_INBOX"; // first word of the subjects on which the server speaks to us
  std::string authority, certificate, key; // files in PEM form; any of them makes it TLS
  uint32_t replicas = 1;
  bool on_disk = false;
  // What the server keeps for the destination before it refuses more.
  uint64_t kept_batches = 4096, kept_bytes = 64u << 20;

  bool is_local() const { return servers.empty(); }
};

struct settings {
  std::string directory;            // of the sockets, MESH_HOST_DIR
  std::map<uint32_t, place> places; // by destination, MESH_HOST_CONFIG
  place elsewhere;                  // of all other destinations
  int send_timeout_ms = 5000;       // MESH_HOST_SEND_TIMEOUT_MS
  uint64_t window_messages = 16384; // MESH_HOST_WINDOW_MESSAGES
  uint64_t window_bytes = 4u << 20; // MESH_HOST_WINDOW_BYTES
  uint64_t frame_limit = 64u << 20; // MESH_HOST_FRAME_LIMIT, of a message
  uint64_t batch_limit = 0;         // of a batch with the heads of its messages
  fault_settings faults;            // MESH_HOST_FAULT_...

  const place &place_of(uint32_t destination) const {
    const auto known = places.find(destination);
    return known != places.end() ? known->second : elsewhere;
  }
  // For complaints: the address that is tried.
  std::string where(uint32_t destination) const {
    const place &at = place_of(destination);
    return at.is_local() ? directory + "/" + std::to_string(destination) + ".sock" : at.servers;
  }
};

// Empty when something is wrong, which has then been told on stderr. `passes` says that it may be
// better next time: there was no descriptor or no memory for the file.
std::optional<settings> read_settings(bool &passes);

} // namespace mesh_host
