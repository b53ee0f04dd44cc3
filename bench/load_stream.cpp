// The bare way between two processes of a machine: one AF_UNIX stream socket for each receiver,
// messages with their lengths in front. What the development host's local way is measured beside.
//
// Room: bench. The library's functions, Linux.
//   load_stream send BOARD TABLE FOLDER RECEIVERS ROUTES BATCH codec|bytes
//   load_stream receive BOARD FOLDER NUMBER codec|bytes
// `codec` packs and decodes records. `bytes` sends what was packed before, and takes messages apart
// without looking into them.
#include "bench/load.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace bench;

namespace {

constexpr int window_bytes = 4 << 20; // as the development host's
constexpr size_t read_bytes = size_t{256} << 10;

sockaddr_un name_of(const char *folder, uint32_t number) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  const int length =
      snprintf(name.sun_path, sizeof name.sun_path, "%s/stream%u.sock", folder, number);
  if (length < 0 || static_cast<size_t>(length) >= sizeof name.sun_path)
    fail("%s: too long, expected a folder of less than %zu characters", folder,
         sizeof name.sun_path - 20);
  return name;
}

int make_socket() {
  const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (made < 0)
    fail("no socket: %s", strerror(errno));
  if (setsockopt(made, SOL_SOCKET, SO_SNDBUFFORCE, &window_bytes, sizeof window_bytes) != 0)
    setsockopt(made, SOL_SOCKET, SO_SNDBUF, &window_bytes, sizeof window_bytes);
  return made;
}

void give(int to, const uint8_t *at, size_t size) {
  while (size != 0) {
    const ssize_t sent = send(to, at, size, MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR)
      fail("sending failed: %s", strerror(errno));
    if (sent > 0) {
      at += sent;
      size -= static_cast<size_t>(sent);
    }
  }
}

int send_messages(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t receivers = parse_number(words[3], "RECEIVERS", 1, most_receivers);
  workload work(words[1], words[4], words[5]);
  wait_until_ready(shared, receivers);
  std::vector<int> sockets;
  for (uint32_t i = 0; i < receivers; i++) {
    const sockaddr_un name = name_of(words[2], i + 1);
    sockets.push_back(make_socket());
    if (connect(sockets.back(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0)
      fail("%s: %s", name.sun_path, strerror(errno));
  }
  std::vector<uint8_t> packed(2 * most_batch_bytes);
  if (strcmp(words[6], "codec") == 0) {
    serve_rounds(shared, receivers, work,
                 [&](uint32_t to, std::span<const route_message> messages) {
                   give(sockets[to], packed.data(), pack_framed(messages, packed));
                 });
    return 0;
  }
  const std::vector<std::vector<uint8_t>> ready = pack_all(work);
  size_t at = 0;
  serve_rounds(
      shared, receivers, work.routes,
      [&](uint64_t) {
        at = at + 1 < ready.size() ? at + 1 : 0;
        return step{work.batch, ready[at].size()};
      },
      [&](uint32_t to) { give(sockets[to], ready[at].data(), ready[at].size()); });
  return 0;
}

int receive_messages(char **words) {
  const uint32_t number = parse_number(words[2], "NUMBER", 1, most_receivers);
  board_slot &slot = open_board(words[0]).slots[number - 1];
  const bool decodes = strcmp(words[3], "codec") == 0;
  const sockaddr_un name = name_of(words[1], number);
  const int listener = make_socket();
  if (bind(listener, reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0 ||
      listen(listener, 1) != 0)
    fail("%s: %s", name.sun_path, strerror(errno));
  slot.ready = 1;
  const int from = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
  if (from < 0)
    return end_asked() ? 0 : 1;
  std::vector<uint8_t> buffer(read_bytes + 2 * most_batch_bytes);
  size_t held = 0;
  tally counted(slot);
  uint64_t messages = 0;
  uint64_t bytes = 0;
  for (;;) {
    const ssize_t got = recv(from, buffer.data() + held, buffer.size() - held, 0);
    if (got == 0 || end_asked())
      return 0;
    if (got < 0)
      fail("receiving failed: %s", strerror(errno));
    held += static_cast<size_t>(got);
    const size_t taken = each_framed(buffer.data(), held, [&](const uint8_t *at, uint32_t length) {
      if (decodes)
        return take_packed(counted, at, length);
      bytes += sizeof length + length;
      slot.sum.store(bytes, std::memory_order_relaxed);
      slot.messages.store(++messages, std::memory_order_release);
    });
    held -= taken;
    memmove(buffer.data(), buffer.data() + taken, held);
  }
}

} // namespace

int main(int count, char **words) {
  begin_process();
  const std::string role = count > 1 ? words[1] : "";
  const std::string last = words[count - 1];
  if (last == "codec" || last == "bytes") {
    if (role == "send" && count == 9)
      return send_messages(words + 2);
    if (role == "receive" && count == 6)
      return receive_messages(words + 2);
  }
  (void)fprintf(stderr,
                "usage: load_stream send BOARD TABLE FOLDER RECEIVERS ROUTES BATCH codec|bytes\n"
                "       load_stream receive BOARD FOLDER NUMBER codec|bytes\n");
  return 2;
}
