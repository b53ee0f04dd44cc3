/* own_host: a program that is its own message bus and its own OS-abstraction layer. Sends itself a
 * message and one that is cut short, decodes both, and gives back what that took.
 *
 * Room: examples. Includes public headers, the platform's declarations and libc's. C99 and POSIX.
 * To be linked with -rdynamic: the library looks the OSAL's functions up by name.
 */
#include <mesh_fib6/messages.h>
#include <mesh_fib6/platform/mesh.h>
#include <mesh_fib6/platform/osal.h>

#include <arpa/inet.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

enum { myself = 7, most_registered = 64 };
enum {
  mesh_full = 1,
  mesh_duplicate,
  mesh_unknown,
  mesh_no_memory
}; /* what it says; 0 is success */

/* ---- The OSAL. Another one locks what it counts: any thread may come. ---- */

static long live_blocks, allocations;
static unsigned log_lines;

/* The format's arguments follow it; `text` is empty. */
void VRX_OsalLogWrite(const void *descriptor, uint32_t level, uint32_t category, const char *text,
                      uint32_t line, const char *function, const char *format, ...) {
  const char *const *module = descriptor;
  va_list arguments;

  (void)level, (void)text;
  log_lines++;
  printf("log of %s, category %u, %s:%u: ", module[0], (unsigned)category, function,
         (unsigned)line);
  va_start(arguments, format);
  vprintf(format, arguments);
  va_end(arguments);
  printf("\n");
}

void *VRX_OsalMemAlloc(uint32_t size, uint32_t module, const char *caller) {
  void *block = malloc(size);

  (void)module, (void)caller; /* for books that are kept by them */
  allocations += block != NULL;
  live_blocks += block != NULL;
  return block;
}

void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t module, const char *caller) {
  return VRX_OsalMemAlloc(size, module, caller);
}

void VRX_OsalMemFree(void *block, uint32_t module, const char *caller) {
  (void)module, (void)caller;
  live_blocks -= block != NULL;
  free(block);
}

/* Decoded records are to come from VRX_OsalMemCacheAlloc. */
uint32_t VRX_OsalMemUseFlagGet(uint32_t module) {
  (void)module;
  return 1;
}

/* ---- The bus: all that is sent arrives here, at once. ---- */

static struct {
  uint32_t id;
  mesh_unpack_hook unpack;
  mesh_free_hook release;
} registered[most_registered];
static uint32_t registrations;

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  uint32_t i;

  for (i = 0; i < registrations; i++)
    if (registered[i].id == id)
      return mesh_duplicate;
  if (registrations == most_registered)
    return mesh_full;
  registered[registrations].id = id;
  registered[registrations].unpack = unpack;
  registered[registrations++].release = release;
  return 0;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean) {
  (void)clean; /* to be called when the sending side is cleaned; this one never is */
  return 0;
}

static unsigned routes; /* that have arrived */

static void handle(uint32_t id, const void *record) {
  const feiBrokerFib6_ipv6FwdUpdateMsg *update = record;
  char address[INET6_ADDRSTRLEN];
  uint32_t i;

  if (id != feiBrokerFib6_ipv6FwdUpdateMsg_ID)
    return;
  if (update->f1 == NULL) /* the pointer, not the count: see message_api.h */
    printf("a message that was refused, or has no routes\n");
  for (i = 0; update->f1 != NULL && i < update->f1_count; i++, routes++)
    printf("a route to %s/%u\n", inet_ntop(AF_INET6, update->f1[i].f3, address, sizeof address),
           update->f1[i].f4);
}

/* Decodes a message and hands it on. The record is zeroed first: one that is refused early is not
 * touched. */
static uint64_t deliver(const msg_desc *message) {
  const mesh_fib6_message *type = mesh_fib6_find_message(message->id);
  uint32_t i;

  for (i = 0; type != NULL && i < registrations; i++)
    if (registered[i].id == message->id) {
      void *record = calloc(1, type->record_size);
      if (record == NULL)
        return mesh_no_memory;
      registered[i].unpack(message->data, message->length, record);
      handle(message->id, record);
      registered[i].release(record);
      free(record);
      return 0;
    }
  return mesh_unknown;
}

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  uint64_t result = 0;
  uint32_t i;

  for (i = 0; i < count && result == 0; i++) {
    printf("%u bytes for destination %u\n", (unsigned)messages[i].length, (unsigned)destination);
    result = deliver(&messages[i]); /* another bus copies: the bytes are the sender's */
  }
  return result;
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  (void)target; /* whom behind the destination it is for */
  return MESH_SendMsg(destination, messages, count);
}

/* ---- The program, which uses the library as any other does. ---- */

int main(int argc, char **argv) {
  feiBrokerFib6_ipv6Fwd route = {0};
  feiBrokerFib6_ipv6FwdUpdateMsg update = {0};
  uint8_t bytes[256];
  msg_desc cut = {bytes, feiBrokerFib6_ipv6FwdUpdateMsg_ID, sizeof bytes};
  uint64_t result;

  (void)argv;
  if (argc != 1) {
    fprintf(stderr, "usage: own_host\n");
    return 2;
  }
  inet_pton(AF_INET6, "2001:db8::", route.f3);
  route.f4 = 32;
  update.f1 = &route;
  update.f1_count = 1;

  result = fib6_recv_init();
  if (result == 0)
    result = fib6_send_init();
  if (result == 0)
    result = feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg(myself, &update, 1);
  if (result == 0)
    result = feiBrokerFib6_ipv6FwdUpdateMsg__pack(&update, bytes, &cut.length);
  cut.length /= 2; /* the second half has got lost */
  if (result == 0)
    result = MESH_SendMsg(myself, &cut, 1);
  printf("%ld blocks taken, %ld of them live\n", allocations, live_blocks);
  if (ferror(stdout) | (fclose(stdout) != 0)) {
    fprintf(stderr, "own_host: cannot write to standard output\n");
    return 1;
  }
  if (result != 0)
    fprintf(stderr, "own_host: the bus says %lu\n", (unsigned long)result);
  if (allocations == 0 || log_lines == 0)
    fprintf(stderr, "own_host: the library has not found the OSAL: is it linked with -rdynamic?\n");
  if (result == 0 && routes != 1)
    fprintf(stderr, "own_host: %u routes have arrived, expected the one that was sent whole\n",
            routes);
  return result != 0 || routes != 1 || allocations == 0 || log_lines == 0 || live_blocks != 0;
}
