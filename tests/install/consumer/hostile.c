/* Sends destination 7 what no library has written: a route update cut at every byte, with every
 * byte turned over, and an identifier that nobody knows. Then waits until all of it was handled.
 *
 * Room: tests. Includes the public headers, the platform's, the development host's and libc's.
 */
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/platform/mesh.h>

#include <stdio.h>
#include <string.h>

enum { destination = 7, timeout_ms = 60000 };

static int sent(uint32_t id, const uint8_t *bytes, uint32_t length) {
  msg_desc message;

  message.data = bytes;
  message.id = id;
  message.length = length;
  return MESH_SendMsg(destination, &message, 1) == 0;
}

int main(void) {
  feiBrokerFib6_ipv6Fwd routes[2];
  feiBrokerFib6_ipv6FwdUpdateMsg update;
  uint8_t bytes[512], spoiled[512];
  uint32_t length = sizeof bytes, i;
  int good = 1;

  memset(routes, 0, sizeof routes);
  memset(&update, 0, sizeof update);
  update.f0 = 1;
  update.f1_count = 2;
  update.f1 = routes;
  if (feiBrokerFib6_ipv6FwdUpdateMsg__pack(&update, bytes, &length) != 0)
    return 1;
  for (i = 4; i < length; i++) {
    memcpy(spoiled, bytes, length);
    spoiled[i] = (uint8_t)~spoiled[i];
    good &= sent(feiBrokerFib6_ipv6FwdUpdateMsg_ID, bytes, i);
    good &= sent(feiBrokerFib6_ipv6FwdUpdateMsg_ID ^ 1, bytes, i);
    good &= sent(feiBrokerFib6_ipv6FwdUpdateMsg_ID, spoiled, length);
  }
  if (!good || mesh_host_flush(destination, timeout_ms) != 0) {
    fprintf(stderr, "hostile: the host does not take it\n");
    return 1;
  }
  return 0;
}
