/* synchronise: sends a table of routes to destination 8, in batches between a begin and an end.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 *
 * What members mean is between the two; receive_synchronisation.c goes by this as well:
 *   header   f0.f0 1: begin, 2: a route, 3: end. Not 0, which is what a refused message looks like.
 *            f0.f1 the number of the synchronisation, not 0: what one that was broken off has left
 *            on its way is not taken for the next one's
 *   end      f1[0] how many routes were sent
 *   route    f1.f3 its address, f1.f4 its prefix length
 */
#include <mesh_fib6/fib6_sync.h>
#include <mesh_fib6/host/mesh_host.h>

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum {
  destination = 8,
  batch_size = 250,
  most_tries = 5,
  most_routes = 1000000,
  timeout_ms = 5000
};
enum { begin = 1, route = 2, end = 3 };

/* A mesh without room refuses a call as a whole, so that it can be made again. This one has waited
 * for room by itself before it said so; a device's mesh has another result for it. */
static int is_to_be_repeated(uint32_t result, int *tries) {
  if (result != MESH_HOST_FULL || ++*tries == most_tries)
    return 0;
  fprintf(stderr, "synchronise: no room at destination %d, trying again\n", destination);
  return 1;
}

static uint32_t send_context(uint32_t kind, uint32_t number, uint32_t count) {
  fib6Sync_svcCtxMsg context = {{0, 0}, {0}};
  uint32_t result;
  int tries = 0;

  context.f0.f0 = kind;
  context.f0.f1 = number;
  context.f1[0] = count;
  do
    result = fib6Sync_svcCtxMsg__sendmsg(destination, &context, 1);
  while (is_to_be_repeated(result, &tries));
  return result;
}

/* The table is 2001:db8:0:0::/64, 2001:db8:0:1::/64 and so on. */
static uint32_t send_routes(uint32_t number, uint32_t count) {
  fib6Sync_ipv6FwdUpdateMsg batch[batch_size];
  uint32_t result = 0, sent, i;

  memset(batch, 0, sizeof batch);
  for (sent = 0; result == 0 && sent < count; sent += i) {
    int tries = 0;
    for (i = 0; i < batch_size && sent + i < count; i++) {
      batch[i].f0.f0 = route;
      batch[i].f0.f1 = number;
      batch[i].f1.f3[0] = htonl(0x20010db8);
      batch[i].f1.f3[1] = htonl(sent + i);
      batch[i].f1.f4 = 64;
    }
    do
      result = fib6Sync_ipv6FwdUpdateMsg__sendbatch(destination, batch, i, 0);
    while (is_to_be_repeated(result, &tries));
  }
  return result;
}

int main(int argc, char **argv) {
  const char *text = argc == 2 ? argv[1] : "5000";
  const size_t digits = strspn(text, "0123456789");
  const unsigned long count = strtoul(text, NULL, 10);
  const uint32_t number = (uint32_t)getpid();
  uint32_t result;

  if (argc > 2 || digits == 0 || digits > 7 || text[digits] != '\0' || count > most_routes) {
    fprintf(stderr, "usage: synchronise [NUMBER OF ROUTES, at most %d]\n", most_routes);
    return 2;
  }
  result = fib6_sync_send_init(); /* once a process */
  if (result == 0)
    result = send_context(begin, number, 0);
  if (result == 0)
    result = send_routes(number, (uint32_t)count);
  if (result == 0)
    result = send_context(end, number, (uint32_t)count);
  if (result == 0)
    result = mesh_host_flush(destination, timeout_ms); /* until all of it was handled */
  if (result != 0) {
    fprintf(stderr, "synchronise: broken off, to be begun anew: destination %d: %s\n", destination,
            mesh_host_result_text(result));
    return 1;
  }
  return 0;
}
