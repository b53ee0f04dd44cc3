/* receive_synchronisation: counts the routes that synchronise.c sends to destination 8 and says
 * whether all have come, until it is interrupted. What members mean is told there.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 */
#include <mesh_fib6/fib6_sync.h>
#include <mesh_fib6/host/mesh_host.h>

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

enum { destination = 8, poll_ms = 200 };
enum { begin = 1, route = 2, end = 3 };

struct table {
  uint32_t number; /* of the synchronisation that is going on; 0: none */
  uint32_t routes;
};

static volatile sig_atomic_t stop;

static void ask_to_stop(int signal_number) {
  (void)signal_number;
  stop = 1;
}

static void break_off(struct table *table) {
  if (table->number != 0)
    printf("synchronisation %u: broken off after %u routes\n", (unsigned)table->number,
           (unsigned)table->routes);
  table->number = table->routes = 0;
}

static void take_context(struct table *table, const fib6Sync_svcCtxMsg *context) {
  if (context->f0.f0 == begin && context->f0.f1 != 0) {
    break_off(table); /* its sender has died */
    table->number = context->f0.f1;
  } else if (context->f0.f0 == end && context->f0.f1 != 0 && context->f0.f1 == table->number) {
    printf("synchronisation %u: %s, %u of %u routes\n", (unsigned)table->number,
           table->routes == context->f1[0] ? "complete" : "incomplete", (unsigned)table->routes,
           (unsigned)context->f1[0]);
    table->number = table->routes = 0;
  } else {
    fprintf(stderr, "receive_synchronisation: a context that was refused, or makes no sense\n");
  }
}

static void take_route(struct table *table, const fib6Sync_ipv6FwdUpdateMsg *update) {
  if (update->f0.f0 == route && update->f0.f1 == table->number && table->number != 0 &&
      update->f1.f4 <= 128)
    table->routes++; /* a real receiver stores it apart, until the table is complete */
  else
    fprintf(stderr, "receive_synchronisation: a route that was refused, or makes no sense\n");
}

static void handle(void *context, uint32_t id, uint64_t target, const void *record, uint32_t size) {
  (void)target;
  switch (id) {
  case fib6Sync_svcCtxMsg_ID:
    if (size == sizeof(fib6Sync_svcCtxMsg))
      take_context(context, record);
    break;
  case fib6Sync_ipv6FwdUpdateMsg_ID:
    if (size == sizeof(fib6Sync_ipv6FwdUpdateMsg))
      take_route(context, record);
    break;
  default: /* one of the module's other messages */
    break;
  }
  if (fflush(stdout) != 0)
    stop = 1;
}

int main(int argc, char **argv) {
  struct table table = {0, 0};
  mesh_host_receiver *receiver;
  uint32_t result;
  int got = 0;

  (void)argv;
  if (argc != 1) {
    fprintf(stderr, "usage: receive_synchronisation\n");
    return 2;
  }
  /* A socket must not get the number of a standard stream that is closed, and be printed to. */
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      perror("receive_synchronisation: /dev/null");
      return 1;
    }
  close(got);
  signal(SIGINT, ask_to_stop);
  signal(SIGTERM, ask_to_stop);

  result = fib6_sync_recv_init(); /* first: the mesh must know the messages before one arrives */
  if (result == 0)
    result = mesh_host_attach(destination, &receiver);
  if (result != 0) {
    fprintf(stderr, "receive_synchronisation: cannot receive as destination %d: %s\n", destination,
            mesh_host_result_text(result));
    return 1;
  }
  while (!stop && got >= 0)
    got = mesh_host_poll(receiver, poll_ms, handle, &table);
  mesh_host_detach(receiver);
  break_off(&table);
  if (ferror(stdout) | (fclose(stdout) != 0)) {
    fprintf(stderr, "receive_synchronisation: cannot write to standard output\n");
    return 1;
  }
  return got < 0 ? 1 : 0;
}
