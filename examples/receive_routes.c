/* receive_routes: prints the routes that are sent to destination 7, until it is interrupted.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 */
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

enum { destination = 7, poll_ms = 200 };

static volatile sig_atomic_t stop;

static void ask_to_stop(int signal_number) {
  (void)signal_number;
  stop = 1;
}

/* `record` is the host's, and only until this returns. */
static void handle(void *context, uint32_t id, uint64_t target, const void *record, uint32_t size) {
  const feiBrokerFib6_ipv6FwdUpdateMsg *update = record;
  char address[INET6_ADDRSTRLEN];
  uint32_t i;

  (void)context, (void)target;
  if (id != feiBrokerFib6_ipv6FwdUpdateMsg_ID || size != sizeof *update)
    return; /* one of the module's other messages */
  /* The pointer, not the count, says whether there are routes: see message_api.h. */
  if (update->f1 == NULL)
    fprintf(stderr, "receive_routes: a message that was refused, or has no routes\n");
  for (i = 0; update->f1 != NULL && i < update->f1_count; i++)
    if (update->f1[i].f4 <= 128) /* values are the peer's as well */
      printf("%s/%u\n", inet_ntop(AF_INET6, update->f1[i].f3, address, sizeof address),
             (unsigned)update->f1[i].f4);
    else
      fprintf(stderr, "receive_routes: a route with prefix length %u\n", update->f1[i].f4);
  if (fflush(stdout) != 0)
    stop = 1;
}

int main(int argc, char **argv) {
  mesh_host_receiver *receiver;
  uint32_t result;
  int got = 0;

  (void)argv;
  if (argc != 1) {
    fprintf(stderr, "usage: receive_routes\n");
    return 2;
  }
  /* A socket must not get the number of a standard stream that is closed, and be printed to. */
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      perror("receive_routes: /dev/null");
      return 1;
    }
  close(got);
  signal(SIGINT, ask_to_stop);
  signal(SIGTERM, ask_to_stop);

  result = fib6_recv_init(); /* first: the mesh must know the messages before one arrives */
  if (result == 0)
    result = mesh_host_attach(destination, &receiver);
  if (result != 0) {
    fprintf(stderr, "receive_routes: cannot receive as destination %d: %s\n", destination,
            mesh_host_result_text(result));
    return 1;
  }
  while (!stop && got >= 0)
    got = mesh_host_poll(receiver, poll_ms, handle, NULL);
  mesh_host_detach(receiver);
  if (ferror(stdout))
    fprintf(stderr, "receive_routes: cannot write to standard output\n");
  return ferror(stdout) || got < 0 ? 1 : 0;
}
