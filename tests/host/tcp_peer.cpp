// One end of a test between machines: `tcp_peer receive COUNT` or `tcp_peer send COUNT`.
//
// Room: tests. Without GoogleTest, to be started by a script in a network namespace.
#include "host/mesh_host.h"
#include "platform/mesh.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t number_id = 0x5A5A0003;
constexpr uint32_t destination = 7;

uint32_t unpack_number(const void *buffer, uint32_t length, void *record) {
  if (record != nullptr && length == sizeof(uint32_t))
    memcpy(record, buffer, sizeof(uint32_t));
  return sizeof(uint32_t);
}

void release_number(void *) {}

struct progress {
  uint32_t next = 0;
  bool in_order = true;
};

void handle_number(void *context, uint32_t, uint64_t, const void *record, uint32_t) {
  auto &so_far = *static_cast<progress *>(context);
  uint32_t number = 0;
  memcpy(&number, record, sizeof number);
  so_far.in_order = so_far.in_order && number == so_far.next;
  so_far.next++;
}

int complain(const char *what, uint32_t result) {
  fprintf(stderr, "tcp_peer: %s: %s\n", what, mesh_host_result_text(result));
  return 1;
}

int receive(uint32_t count) {
  mesh_host_receiver *receiver = nullptr;
  if (const uint32_t result = mesh_host_attach(destination, &receiver); result != 0)
    return complain("attach", result);
  progress so_far;
  while (so_far.next < count)
    if (mesh_host_poll(receiver, 10'000, handle_number, &so_far) <= 0)
      break;
  mesh_host_detach(receiver);
  printf("received %u %s\n", so_far.next, so_far.in_order ? "in order" : "out of order");
  return so_far.next == count && so_far.in_order ? 0 : 1;
}

int send(uint32_t count) {
  for (uint32_t number = 0; number < count; number++) {
    const msg_desc message{&number, number_id, sizeof number};
    if (const uint64_t result = MESH_SendMsg(destination, &message, 1); result != 0)
      return complain("send", static_cast<uint32_t>(result));
  }
  if (const uint32_t result = mesh_host_flush(destination, 10'000); result != 0)
    return complain("flush", result);
  printf("sent %u\n", count);
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: tcp_peer receive|send COUNT\n");
    return 2;
  }
  MESH_RegIDLFuncHook(number_id, unpack_number, release_number);
  const auto count = static_cast<uint32_t>(strtoul(argv[2], nullptr, 10));
  return strcmp(argv[1], "receive") == 0 ? receive(count) : send(count);
}
