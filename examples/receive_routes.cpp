// receive_routes_cpp: receive_routes.c in C++. Prints the routes that are sent to destination 7,
// until it is interrupted.
//
// Room: examples. Includes public headers, the development host's, POSIX and the standard library.
// C++17.
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/mesh_fib6.hpp>

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace {

constexpr std::uint32_t destination = 7;
constexpr int poll_ms = 200;

volatile std::sig_atomic_t stop;

void ask_to_stop(int) {
  stop = 1;
}

// What a message of one type is handled by: the type of the parameter says which.
void print(const feiBrokerFib6_ipv6FwdUpdateMsg &update) {
  // Empty where the pointer is null, whatever the count says.
  const auto routes = mesh_fib6::elements(update.f1, update.f1_count);
  if (routes.empty())
    std::cerr << "receive_routes_cpp: a message that was refused, or has no routes\n";
  for (const feiBrokerFib6_ipv6Fwd &route : routes) {
    char address[INET6_ADDRSTRLEN];
    if (route.f4 <= 128) // values are the peer's as well
      std::cout << inet_ntop(AF_INET6, route.f3, address, sizeof address) << '/' << +route.f4
                << '\n';
    else
      std::cerr << "receive_routes_cpp: a route with prefix length " << +route.f4 << '\n';
  }
  if (!std::cout.flush())
    stop = 1;
}

// `record` is the host's, and only until this returns. Nothing may be thrown through the host.
void handle(void *, std::uint32_t id, std::uint64_t, const void *record,
            std::uint32_t size) noexcept {
  mesh_fib6::visit_record(id, record, size, print); // false, and nothing done, of all other types
}

} // namespace

int main(int argc, char **) {
  if (argc != 1) {
    std::cerr << "usage: receive_routes_cpp\n";
    return 2;
  }
  // A socket must not get the number of a standard stream that is closed, and be printed to.
  int got = 0;
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      std::perror("receive_routes_cpp: /dev/null");
      return 1;
    }
  close(got);
  std::signal(SIGINT, ask_to_stop);
  std::signal(SIGTERM, ask_to_stop);

  mesh_host_receiver *attached = nullptr;
  std::uint32_t result =
      fib6_recv_init(); // first: the mesh must know the messages before one arrives
  if (result == 0)
    result = mesh_host_attach(destination, &attached);
  if (result != 0) {
    std::cerr << "receive_routes_cpp: cannot receive as destination " << destination << ": "
              << mesh_host_result_text(result) << '\n';
    return 1;
  }
  const std::unique_ptr<mesh_host_receiver, void (*)(mesh_host_receiver *)> receiver(
      attached, mesh_host_detach);
  while (!stop && got >= 0)
    got = mesh_host_poll(receiver.get(), poll_ms, handle, nullptr);
  if (!std::cout)
    std::cerr << "receive_routes_cpp: cannot write to standard output\n";
  return !std::cout || got < 0 ? 1 : 0;
}
