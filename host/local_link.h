// The way between processes of one machine: sending.
//
// Room: host. POSIX, Linux.
#pragma once

#include "host/link.h"
#include "host/settings.h"

#include <cstdint>
#include <memory>

namespace mesh_host {

// A sender::connector for the socket of a destination.
uint32_t make_local_link(const settings &limits, uint32_t destination, uint64_t base,
                         std::unique_ptr<link> &made);

// Lets as much be under way on a socket as the settings want and the system allows.
void set_socket_room(int socket, const settings &limits);

} // namespace mesh_host
