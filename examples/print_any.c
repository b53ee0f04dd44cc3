/* print_any: prints module, type and record size of whatever is sent to a destination, 7 unless its
 * argument says otherwise, until it is interrupted.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 */
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/messages.h>

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { poll_ms = 200 };

static volatile sig_atomic_t stop;

static void ask_to_stop(int signal_number) {
  (void)signal_number;
  stop = 1;
}

static void handle(void *context, uint32_t id, uint64_t target, const void *record, uint32_t size) {
  const mesh_fib6_message *type = mesh_fib6_find_message(id);

  (void)context, (void)target,
      (void)record; /* the type knows what to do with one, see messages.h */
  if (type == NULL || size != type->record_size)
    fprintf(stderr, "print_any: identifier %08x with a record of %u bytes: another library's\n",
            (unsigned)id, (unsigned)size);
  else
    printf("%s %s %u\n", type->module, type->name, (unsigned)type->record_size);
  if (fflush(stdout) != 0)
    stop = 1;
}

int main(int argc, char **argv) {
  const char *text = argc == 2 ? argv[1] : "7";
  const size_t digits = strspn(text, "0123456789");
  const unsigned long long destination = strtoull(text, NULL, 10);
  mesh_host_receiver *receiver;
  uint32_t result;
  int got = 0;

  if (argc > 2 || digits == 0 || text[digits] != '\0' || destination > UINT32_MAX) {
    fprintf(stderr, "usage: print_any [DESTINATION, at most 4294967295]\n");
    return 2;
  }
  /* A socket must not get the number of a standard stream that is closed, and be printed to. */
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      perror("print_any: /dev/null");
      return 1;
    }
  close(got);
  signal(SIGINT, ask_to_stop);
  signal(SIGTERM, ask_to_stop);

  result = fib6_recv_init(); /* of each module whose messages are to come */
  if (result == 0)
    result = fib6_cfg_recv_init();
  if (result == 0)
    result = fib6_sync_recv_init();
  if (result == 0)
    result = mesh_host_attach((uint32_t)destination, &receiver);
  if (result != 0) {
    fprintf(stderr, "print_any: cannot receive as destination %s: %s\n", text,
            mesh_host_result_text(result));
    return 1;
  }
  while (!stop && got >= 0)
    got = mesh_host_poll(receiver, poll_ms, handle, NULL);
  mesh_host_detach(receiver);
  if (ferror(stdout))
    fprintf(stderr, "print_any: cannot write to standard output\n");
  return ferror(stdout) || got < 0 ? 1 : 0;
}
