// The way through a server, as the rest of the host knows it. Which server that is, and how it is
// spoken to, is in nats_way.cpp, a library of its own that is loaded when the configuration names a
// server: the ways without one do without its client library, too.
//
// Room: host. Standard library only.
#pragma once

#include "host/link.h"
#include "host/parcel.h"
#include "host/settings.h"

#include <cstdint>
#include <memory>

namespace mesh_host {

// Receives for a destination from a server into an inbox, until it is destroyed.
class feed {
public:
  virtual ~feed() = default;
};

struct server_way {
  // A sender::connector for a destination placed at a server.
  uint32_t (*make_link)(const settings &limits, const place &at, uint32_t destination,
                        uint64_t base, std::unique_ptr<link> &made);
  // Claims the destination and begins to receive. 0 or a mesh_host_result; told when it is not 0.
  uint32_t (*make_feed)(const settings &limits, const place &at, uint32_t destination,
                        std::shared_ptr<parcel_sink> into, std::unique_ptr<feed> &made);
};

// Null when it cannot be loaded, as was told.
const server_way *load_server_way();

// The name by which the library of the way is asked for its functions.
inline constexpr char server_way_symbol[] = "mesh_host_server_way";

} // namespace mesh_host
