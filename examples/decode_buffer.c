/* decode_buffer: reads one encoded route update from a file or standard input, prints its routes.
 *
 * Room: examples. Includes public headers and libc's. C99 and POSIX.
 */
#include <mesh_fib6/fib6.h>

#include <arpa/inet.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

enum { largest = 64 << 20 }; /* bytes; what the development host carries at most */
static uint8_t bytes[largest + 1];

static int fail(const char *name, const char *reason) {
  fprintf(stderr, "decode_buffer: %s: %s\n", name, reason);
  return 1;
}

int main(int argc, char **argv) {
  const char *name = argc == 2 ? argv[1] : "-";
  feiBrokerFib6_ipv6FwdUpdateMsg update = {0}; /* one that is refused early is not touched */
  char address[INET6_ADDRSTRLEN];
  FILE *in = stdin;
  size_t size;
  uint32_t i;
  int status = 0;

  if (argc > 2 || (name[0] == '-' && name[1] != '\0')) {
    fprintf(stderr, "usage: decode_buffer [FILE]\n");
    return 2;
  }
  if (strcmp(name, "-") != 0)
    in = fopen(name, "rb");
  else
    name = "standard input";
  if (in == NULL)
    return fail(name, strerror(errno));
  size = fread(bytes, 1, sizeof bytes, in);
  if (ferror(in))
    return fail(name, strerror(errno));
  if (size > largest)
    return fail(name, "larger than a message can be");

  feiBrokerFib6_ipv6FwdUpdateMsg__unpack(bytes, (uint32_t)size, &update);
  /* The result tells nothing. The pointer does, and the count does not: see message_api.h. */
  if (update.f1 == NULL)
    return fail(name, "not a feiBrokerFib6_ipv6FwdUpdateMsg, or one without routes");
  for (i = 0; i < update.f1_count; i++)
    if (update.f1[i].f4 <= 128) /* values are the peer's as well */
      printf("%s/%u\n", inet_ntop(AF_INET6, update.f1[i].f3, address, sizeof address),
             (unsigned)update.f1[i].f4);
    else
      status = fail(name, "a route with a prefix length above 128");
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&update);

  if (ferror(stdout) | (fclose(stdout) != 0))
    return fail("standard output", "cannot be written to");
  return status;
}
