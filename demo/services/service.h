// The service: the owner of the forwarding information.
//
// Room: demo. Includes the C++ library only.
#pragma once

#include <cstdint>
#include <string>

namespace demo {

struct service_options {
  std::string table;         // what read_routes takes; empty: none
  std::string changes = "-"; // lines, from a file or standard input
  uint32_t destination = 9;  // where peers send to
  uint32_t vrf = 0;
  uint32_t pause_ms = 0; // between two calls with a table or changes for a peer
};

// Until it is asked to end. The exit status.
int run_service(const service_options &options);

} // namespace demo
