// A C++20 program that uses the installed library and the installed development host: sends itself
// a route.
//
// Room: tests. Includes the installed headers and the standard library.
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/host/osal_host.h>

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace {

constexpr uint32_t destination = 7;

void require(bool condition, std::string_view what) {
  if (condition)
    return;
  std::cerr << "not so: " << what << '\n';
  std::exit(1);
}

void take(void *prefix_length, uint32_t, uint64_t, const void *record, uint32_t size) {
  require(size == sizeof(feiBrokerFib6_ipv6FwdUpdateMsg), "the record is of the type sent");
  const auto &update = *static_cast<const feiBrokerFib6_ipv6FwdUpdateMsg *>(record);
  require(update.f1_count == 1, "the record holds one route");
  *static_cast<uint32_t *>(prefix_length) = update.f1[0].f4;
}

} // namespace

int main() {
  feiBrokerFib6_ipv6Fwd route = {};
  route.f4 = 48;
  const feiBrokerFib6_ipv6FwdUpdateMsg update = {.f0 = 1, .f1_count = 1, .f1 = &route};
  uint32_t received = 0;
  mesh_host_receiver *receiver = nullptr;

  require(fib6_recv_init() == 0, "the mesh takes the registration");
  require(mesh_host_attach(destination, &receiver) == 0, "the destination is free");
  require(feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg(destination, &update, 1) == 0, "the mesh sends");
  require(mesh_host_poll(receiver, 10000, take, &received) == 1, "one message arrives");
  mesh_host_detach(receiver);
  require(received == 48, "the route is the one that was sent");

  osal_host_accounts accounts;
  osal_host_get_accounts(&accounts);
  require(accounts.allocations > 0, "the library takes its memory from the OSAL");
  require(accounts.live_blocks == 0, "and gives it back");
  std::cout << "delivered\n";
}
