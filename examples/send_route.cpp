// send_route_cpp: send_route.c in C++. Sends one route, 2001:db8::/32, to whoever receives as
// destination 7.
//
// Room: examples. Includes public headers, the development host's, POSIX and the standard library.
// C++17.
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/mesh_fib6.hpp>

#include <arpa/inet.h>
#include <iostream>

namespace {

constexpr std::uint32_t destination = 7;
constexpr int timeout_ms = 2000;

} // namespace

int main(int argc, char **) {
  if (argc != 1) {
    std::cerr << "usage: send_route_cpp\n";
    return 2;
  }

  // What members mean is between sender and receiver, see send_route.c.
  feiBrokerFib6_ipv6Fwd route{};
  inet_pton(AF_INET6, "2001:db8::", route.f3);
  route.f4 = 32;
  feiBrokerFib6_ipv6FwdUpdateMsg update{};
  update.f1 = &route; // stays ours
  update.f1_count = 1;

  std::uint32_t result = fib6_send_init(); // once a process
  if (result == 0)
    result = mesh_fib6::send(destination, update); // the type says which message it is
  if (result == 0)
    result = mesh_host_flush(destination, timeout_ms); // until it was handled
  if (result != 0) {
    std::cerr << "send_route_cpp: not sent to destination " << destination << ": "
              << mesh_host_result_text(result) << '\n';
    return 1;
  }
  return 0;
}
