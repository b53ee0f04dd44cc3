/* answer_queries: answers what ask_routes.c asks, from a table of its own, as destination 9, until
 * it is interrupted. What members mean is told there.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 */
#define _POSIX_C_SOURCE 200809L
#include <mesh_fib6/fib6_cfg.h>
#include <mesh_fib6/host/mesh_host.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { answerer = 9, first_asker = 10, last_asker = 19, poll_ms = 200, routes = 4 };

static const struct {
  const char *address;
  uint8_t length;
  const char *next_hop;
} table[routes] = {{"2001:db8::", 32, "fe80::1"},
                   {"2001:db8:1::", 48, "fe80::2"},
                   {"2001:db8:1:8000::", 49, "fe80::3"},
                   {"fd00::", 8, "fe80::1"}};

static volatile sig_atomic_t stop;

static void ask_to_stop(int signal_number) {
  (void)signal_number;
  stop = 1;
}

static int is_route_to(const uint32_t address[4], const fib6_cfg_query_fib6_item *route) {
  const uint8_t *bytes = (const uint8_t *)address, *prefix = (const uint8_t *)route->f0;
  unsigned bit;

  for (bit = 0; bit < route->f5; bit++)
    if ((bytes[bit / 8] ^ prefix[bit / 8]) & 0x80u >> bit % 8)
      return 0;
  return 1;
}

static void handle(void *context, uint32_t id, uint64_t target, const void *record, uint32_t size) {
  const fib6_cfg_query_fib6_key *query = record;
  fib6_cfg_query_fib6_item found[routes];
  fib6_cfg_query_fib6_rec answer = {0};
  uint32_t result;
  int i;

  (void)context, (void)target;
  if (id != fib6_cfg_query_fib6_key_ID || size != sizeof *query)
    return;
  /* It is the peer who says where the answer goes: only to those who ask. */
  if (query->f0.f0 < first_asker || query->f0.f0 > last_asker) {
    fprintf(stderr, "answer_queries: a query that is cut, or is to be answered to destination %u\n",
            (unsigned)query->f0.f0);
    return;
  }
  memset(found, 0, sizeof found);
  answer.f0.f0 = query->f0.f1;
  answer.f0.f1 = query->f1.f0 != 1; /* refused: we do not know what is asked */
  for (i = 0; i < routes && answer.f0.f1 == 0; i++) {
    fib6_cfg_query_fib6_item *item = &found[answer.f1_count];
    inet_pton(AF_INET6, table[i].address, item->f0);
    inet_pton(AF_INET6, table[i].next_hop, item->f1);
    item->f5 = table[i].length;
    if (is_route_to(query->f1.f1, item))
      answer.f1_count++;
  }
  answer.f0.f2 = answer.f1_count;
  answer.f1 = answer.f1_count != 0 ? found : NULL;
  result = fib6_cfg_query_fib6_rec__sendmsg(query->f0.f0, &answer, 1);
  if (result != 0) /* his affair: we go on */
    fprintf(stderr, "answer_queries: cannot answer to destination %u: %s\n", (unsigned)query->f0.f0,
            mesh_host_result_text(result));
}

int main(int argc, char **argv) {
  mesh_host_receiver *receiver;
  uint32_t result;
  int got = 0;

  (void)argv;
  if (argc != 1) {
    fprintf(stderr, "usage: answer_queries\n");
    return 2;
  }
  /* A socket must not get the number of a standard stream that is closed, and be printed to. */
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      perror("answer_queries: /dev/null");
      return 1;
    }
  close(got);
  signal(SIGINT, ask_to_stop);
  signal(SIGTERM, ask_to_stop);
  /* Who does not wait for his answer must not keep the others waiting for long. */
  setenv("MESH_HOST_SEND_TIMEOUT_MS", "500", 0);

  result = fib6_cfg_send_init(); /* we do both */
  if (result == 0)
    result = fib6_cfg_recv_init();
  if (result == 0)
    result = mesh_host_attach(answerer, &receiver);
  if (result != 0) {
    fprintf(stderr, "answer_queries: cannot receive as destination %d: %s\n", answerer,
            mesh_host_result_text(result));
    return 1;
  }
  while (!stop && got >= 0)
    got = mesh_host_poll(receiver, poll_ms, handle, NULL);
  mesh_host_detach(receiver);
  return got < 0 ? 1 : 0;
}
