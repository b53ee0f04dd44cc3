/* send_route: sends one route, 2001:db8::/32, to whoever receives as destination 7.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 */
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>

#include <arpa/inet.h>
#include <stdio.h>

enum { destination = 7, timeout_ms = 2000 };

int main(int argc, char **argv) {
  feiBrokerFib6_ipv6Fwd route = {0};
  feiBrokerFib6_ipv6FwdUpdateMsg update = {0};
  uint32_t result;

  (void)argv;
  if (argc != 1) {
    fprintf(stderr, "usage: send_route\n");
    return 2;
  }

  /* What members mean is between sender and receiver. Here f3 is the address as it stands in
   * memory, in network byte order, f4 the prefix length. */
  inet_pton(AF_INET6, "2001:db8::", route.f3);
  route.f4 = 32;
  update.f1 = &route; /* stays ours */
  update.f1_count = 1;

  result = fib6_send_init(); /* once a process */
  if (result == 0)
    result = feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg(destination, &update, 1);
  /* That was accepted, which is not yet handled. Asking is the development host's own; a device's
   * mesh has another way. */
  if (result == 0)
    result = mesh_host_flush(destination, timeout_ms);
  if (result != 0) {
    fprintf(stderr, "send_route: not sent to destination %d: %s\n", destination,
            mesh_host_result_text(result));
    return 1;
  }
  return 0;
}
