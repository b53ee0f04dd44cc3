// Decodes an update, sends a batch to itself, and says what came of it: a program whose allocations
// can be made to fail.
//
// Room: tests. Not a test itself: run by osal_fault_test.cpp.
#include "host/mesh_host.h"
#include "host/osal_host.h"
#include <mesh_fib6/fib6.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t destination = 7;

// How many routes there are to be had, whatever the count says.
void print_routes(const feiBrokerFib6_ipv6FwdUpdateMsg &update) {
  printf("%u of %u", update.f1 != nullptr ? update.f1_count : 0, update.f1_count);
}

unsigned received = 0;

void handle(void *, uint32_t, uint64_t, const void *record, uint32_t size) {
  feiBrokerFib6_ipv6FwdUpdateMsg update;
  if (size != sizeof update)
    return;
  memcpy(&update, record, sizeof update);
  printf(received++ == 0 ? "received " : ", ");
  print_routes(update);
}

} // namespace

int main() {
  mesh_host_receiver *receiver = nullptr;
  if (fib6_recv_init() != 0 || fib6_send_init() != 0 ||
      mesh_host_attach(destination, &receiver) != 0)
    return 1;

  feiBrokerFib6_ipv6Fwd routes[2] = {};
  routes[0].f4 = 32;
  routes[1].f4 = 48;
  feiBrokerFib6_ipv6FwdUpdateMsg update{};
  update.f1_count = 2;
  update.f1 = routes;
  uint8_t bytes[512];
  uint32_t length = sizeof bytes;
  if (feiBrokerFib6_ipv6FwdUpdateMsg__pack(&update, bytes, &length) != 0)
    return 1;

  feiBrokerFib6_ipv6FwdUpdateMsg decoded{};
  feiBrokerFib6_ipv6FwdUpdateMsg__unpack(bytes, length, &decoded);
  printf("decoded ");
  print_routes(decoded);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&decoded);

  const feiBrokerFib6_ipv6FwdUpdateMsg batch[3] = {update, update, update};
  const uint32_t sent = feiBrokerFib6_ipv6FwdUpdateMsg__sendbatch(destination, batch, 3, 0);
  printf("\nsent %" PRIx32 "\n", sent);
  while (sent == 0 && received < 3)
    if (mesh_host_poll(receiver, 10'000, handle, nullptr) <= 0)
      return 1;
  mesh_host_detach(receiver);

  osal_host_accounts now;
  osal_host_get_accounts(&now);
  printf("%s\ninjected %" PRIu64 ", left %" PRIu64 ", wrong releases %" PRIu64 ", overruns %" PRIu64
         "\n",
         received == 0 ? "received nothing" : "", now.injected_failures, now.live_blocks,
         now.wrong_releases, now.overruns);
  return 0;
}
