/* A C99 program that uses the installed library: encodes a route, decodes it, registers a module.
 *
 * Room: tests. Includes the public headers and libc. Prints what the mesh answered; the exit status
 * tells whether the route came back.
 */
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>
#include <mesh_fib6/fib6_sync.h>

#include <stdio.h>
#include <string.h>

static int comes_back(const feiBrokerFib6_ipv6FwdUpdateMsg *sent) {
  uint8_t bytes[512];
  uint32_t length = sizeof bytes;
  feiBrokerFib6_ipv6FwdUpdateMsg received;
  int same;

  memset(&received, 0, sizeof received);
  if (feiBrokerFib6_ipv6FwdUpdateMsg__pack(sent, bytes, &length) != 0)
    return 0;
  if (feiBrokerFib6_ipv6FwdUpdateMsg__unpack(bytes, length, &received) != sizeof received)
    return 0;
  same = received.f0 == sent->f0 && received.f1_count == sent->f1_count &&
         memcmp(received.f1, sent->f1, sent->f1_count * sizeof *sent->f1) == 0;
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&received);
  return same && received.f1 == NULL;
}

int main(void) {
  feiBrokerFib6_ipv6Fwd routes[2];
  feiBrokerFib6_ipv6FwdUpdateMsg update;

  memset(routes, 0, sizeof routes); /* padding as well: the comparison is of bytes */
  routes[0].f0 = 1;
  routes[0].f3[0] = 0xb80d0120;
  routes[0].f4 = 32;
  routes[1].f13 = 0xffffffff;
  update.f0 = 7;
  update.f1_count = 2;
  update.f1 = routes;

  printf("the mesh answers %u %u %u\n", (unsigned)fib6_recv_init(), (unsigned)fib6_cfg_recv_init(),
         (unsigned)fib6_sync_recv_init());
  return comes_back(&update) ? 0 : 1;
}
