// The private directory, and the claim on a destination in it.
//
// Room: host. Standard library, POSIX.
#pragma once

#include "host/descriptor.h"
#include "host/settings.h"

#include <cstdint>
#include <string>

namespace mesh_host {

// 0 or MESH_HOST_BAD_CONFIG, told on stderr. The private directory is made when it is not there,
// and refused when somebody else could read or write in it.
uint32_t prepare_directory(const settings &from);

// Path of the socket that receives for a destination. 0 or MESH_HOST_BAD_CONFIG, told: the name is
// too long for a socket.
uint32_t socket_path(const settings &from, uint32_t destination, std::string &path);

// Being the receiver of a destination on this machine: a lock of the operating system (flock),
// which goes with the process however it ends. Forked children let go of it (descriptor.h); the
// file stays, and means nothing by itself.
class claim {
public:
  // 0, MESH_HOST_DUPLICATE or MESH_HOST_SYSTEM; the failures are told.
  uint32_t take(const settings &from, uint32_t destination);
  void give_back() { file_.close(); }

private:
  descriptor file_;
};

} // namespace mesh_host
