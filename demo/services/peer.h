// A peer: keeps the table of a service.
//
// Room: demo. Includes the C++ library only.
#pragma once

#include <cstdint>
#include <string>

namespace demo {

struct peer_options {
  uint32_t service = 9;     // where the service is
  uint32_t number = 1;      // which of its peers this is: its destination is that many behind
  uint32_t check_ms = 1000; // how long between two checks
  // How long a whole table may keep silent before it is asked for anew: longer each time, for it
  // may be this that keeps it from coming.
  uint32_t patience_ms = 2000;
};

// Until it is asked to end. The exit status.
int run_peer(const peer_options &options);

} // namespace demo
