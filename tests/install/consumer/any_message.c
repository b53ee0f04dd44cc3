/* A C99 program that treats messages alike, by the installed table of them.
 *
 * Room: tests. Includes the public headers and libc. Prints what it is told under two identifiers.
 */
#include <mesh_fib6/messages.h>

#include <stdio.h>
#include <stdlib.h>

static void tell(uint32_t id, const uint8_t *bytes, uint32_t length) {
  const mesh_fib6_message *type = mesh_fib6_find_message(id);
  void *record;

  if (type == NULL) {
    puts("unknown");
    return;
  }
  record = calloc(1, type->record_size);
  if (record == NULL)
    exit(1);
  printf("%s, %u bytes\n", type->name, (unsigned)type->unpack(bytes, length, record));
  type->free_unpacked(record);
  free(record);
}

int main(void) {
  /* An update without routes: root offset, vtable of two slots, table. */
  static const uint8_t bytes[16] = {12, 0, 0, 0, 8, 0, 4, 0, 0, 0, 0, 0, 8, 0, 0, 0};

  tell(feiBrokerFib6_ipv6FwdUpdateMsg_ID, bytes, sizeof bytes);
  tell(feiBrokerFib6_ipv6FwdUpdateMsg_ID ^ 1, bytes, sizeof bytes);
  return 0;
}
