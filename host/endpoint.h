// Where a destination is: a socket in the private directory, or a tcp:// endpoint.
//
// Room: host. Standard library, POSIX.
#pragma once

#include "host/settings.h"

#include <cstdint>
#include <string>

namespace mesh_host {

struct endpoint {
  std::string address;   // as ZeroMQ wants it
  std::string socket;    // path of the socket file, empty for tcp://
  std::string lock_file; // path of the file whose lock the receiver holds, empty for tcp://

  bool is_local() const { return !socket.empty(); }
};

// 0 or MESH_HOST_BAD_CONFIG, told on stderr. The private directory is made when it is not there,
// and refused when somebody else could read or write in it.
uint32_t find_endpoint(const settings &from, uint32_t destination, endpoint &found);

// Being the receiver of a destination on this machine: held through a lock of the operating system,
// which goes with the process however it ends. The socket file says nothing: it stays behind.
class receiver_lock {
public:
  receiver_lock() = default;
  ~receiver_lock();
  receiver_lock(const receiver_lock &) = delete;
  receiver_lock &operator=(const receiver_lock &) = delete;

  // 0, MESH_HOST_DUPLICATE or MESH_HOST_SYSTEM; the failures are told.
  uint32_t take(const endpoint &place, uint32_t destination);
  void give_back();

private:
  int file_ = -1;
};

// Whether some other process holds the lock now.
bool has_receiver(const endpoint &place);

} // namespace mesh_host
