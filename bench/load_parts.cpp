// Where the time of the development host's local way goes: clocks around what the library, the host
// and the kernel call of one another.
//
// Room: bench. Stands in front of functions of the mesh and of libc: what the libraries call is
// found in the executable first.
//   load_parts send BOARD TABLE FIRST ROUTES BATCH
//   load_parts receive BOARD FIRST look|table
// What the clock itself costs is measured first and taken off.
#include "bench/load.h"
#include "demo/table_receiver.h"

#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/platform/mesh.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

using namespace bench;

namespace {

constexpr uint32_t most_destination = 1'000'000;

// What is measured from outside to inside.
enum section : uint8_t { mesh, kernel, waiting, decode, handler, sections };
struct account {
  uint64_t ns;
  uint64_t times;
};
// Of the only thread that works. A receiver keeps its own in a second board, which its sender
// reads.
std::array<account, sections> own_accounts;
account *accounts = own_accounts.data();
double clock_ns = 0; // of one look at the clock

template <class Work>
auto timed(section of, Work work) {
  const uint64_t start = now_ns();
  auto result = work();
  accounts[of].ns += now_ns() - start;
  accounts[of].times++;
  return result;
}

// The function that this executable stands in front of.
template <class Function>
Function *behind(Function *, const char *name) {
  auto *found = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
  if (found == nullptr)
    fail("%s is nowhere behind this program", name);
  return found;
}

mesh_unpack_hook unpack_behind = nullptr;
mesh_free_hook free_behind = nullptr;

uint32_t unpack_timed(const void *buffer, uint32_t length, void *record) {
  return timed(decode, [&] { return unpack_behind(buffer, length, record); });
}
void free_timed(void *record) {
  timed(decode, [&] {
    free_behind(record);
    return 0;
  });
}

// The best of many tries: what disturbs the machine only adds.
void learn_clock() {
  constexpr int looks = 2'000;
  constexpr int tries = 50;
  for (int i = 0; i < tries; i++) {
    const uint64_t start = now_ns();
    for (int k = 0; k < looks; k++)
      (void)now_ns();
    const double found = static_cast<double>(now_ns() - start) / looks;
    clock_ns = i == 0 ? found : std::min(clock_ns, found);
  }
}

// The own time of sections: less what is inside them, and less the clock. A section has one look at
// the clock's worth too much in itself and leaves another one around itself.
double alone(const account &of) {
  return static_cast<double>(of.ns) - clock_ns * static_cast<double>(of.times);
}
double around(const account &outer, std::initializer_list<account> inner) {
  double left = alone(outer);
  for (const account &each : inner)
    left -= static_cast<double>(each.ns) + clock_ns * static_cast<double>(each.times);
  return left;
}

using all_accounts = std::array<account, sections>;
all_accounts since(const account *now, all_accounts &before) {
  all_accounts gone{};
  for (size_t i = 0; i < sections; i++) {
    gone[i] = {now[i].ns - before[i].ns, now[i].times - before[i].times};
    before[i] = now[i];
  }
  return gone;
}

static_assert(sizeof(all_accounts) <= sizeof(board_slot) * (most_receivers - 1));
// The receiver's accounts lie behind the slot of the only receiver.
account *accounts_on(board &shared) {
  return reinterpret_cast<account *>(&shared.slots[1]);
}

int send_messages(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t first = parse_number(words[2], "FIRST", 1, most_destination);
  workload work(words[1], words[3], words[4]);
  fib6_send_init();
  wait_until_ready(shared, 1);
  all_accounts before_sent{};
  all_accounts before_received{};
  account sending{}; // the library's call, with all that it calls
  account before_sending{};
  serve_rounds(
      shared, 1, work,
      [&](uint32_t, std::span<const route_message> messages) {
        const uint64_t start = now_ns();
        const uint32_t result =
            feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg(first, messages.data(), work.batch);
        sending.ns += now_ns() - start;
        sending.times++;
        if (result != MESH_HOST_OK)
          fail("sending: %s", mesh_host_result_text(result));
      },
      [&] {
        const all_accounts here = since(own_accounts.data(), before_sent);
        const all_accounts there = since(accounts_on(shared), before_received);
        const account calls{sending.ns - before_sending.ns, sending.times - before_sending.times};
        before_sending = sending;
        char text[512];
        (void)snprintf(
            text, sizeof text,
            ", \"parts_ns\": {\"pack\": %.0f, \"host send\": %.0f, \"kernel send\": %.0f, "
            "\"kernel receive\": %.0f, \"host receive\": %.0f, \"decode\": %.0f, "
            "\"handler\": %.0f}, \"clock_ns\": %.2f",
            around(calls, {here[mesh]}), around(here[mesh], {here[kernel], here[waiting]}),
            alone(here[kernel]), alone(there[kernel]),
            around(there[mesh], {there[kernel], there[waiting], there[decode], there[handler]}),
            alone(there[decode]), alone(there[handler]), clock_ns);
        return std::string(text);
      });
  return 0;
}

struct receiving {
  tally counted;
  std::unique_ptr<demo::table_receiver> table;
};

void handle(void *context, uint32_t id, uint64_t, const void *record, uint32_t) {
  receiving &self = *static_cast<receiving *>(context);
  timed(handler, [&] {
    if (self.table != nullptr)
      self.table->take(id, record);
    self.counted.take(*static_cast<const route_message *>(record));
    return 0;
  });
}

int receive_messages(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t first = parse_number(words[1], "FIRST", 1, most_destination);
  receiving self{tally(shared.slots[0]), nullptr};
  if (strcmp(words[2], "table") == 0)
    self.table = std::make_unique<demo::table_receiver>([](demo::table_receiver &, demo::phase) {});
  accounts = accounts_on(shared);
  fib6_recv_init();
  mesh_host_receiver *receiver = nullptr;
  if (const uint32_t result = mesh_host_attach(first, &receiver); result != MESH_HOST_OK)
    fail("attaching: %s", mesh_host_result_text(result));
  shared.slots[0].ready = 1;
  while (!end_asked())
    if (timed(mesh, [&] { return mesh_host_poll(receiver, 100, handle, &self); }) < 0)
      fail("the mesh ended the receiver");
  mesh_host_detach(receiver);
  return 0;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  static auto *const next = behind(&MESH_SendMsg, "MESH_SendMsg");
  return timed(mesh, [&] { return next(destination, messages, count); });
}

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  static auto *const next = behind(&MESH_RegIDLFuncHook, "MESH_RegIDLFuncHook");
  if (id != feiBrokerFib6_ipv6FwdUpdateMsg_ID)
    return next(id, unpack, release);
  unpack_behind = unpack;
  free_behind = release;
  return next(id, unpack_timed, free_timed);
}

ssize_t sendmsg(int socket, const msghdr *message, int flags) {
  static auto *const next = behind(&sendmsg, "sendmsg");
  return timed(kernel, [&] { return next(socket, message, flags); });
}
ssize_t send(int socket, const void *at, size_t size, int flags) {
  static auto *const next = behind(&send, "send");
  return timed(kernel, [&] { return next(socket, at, size, flags); });
}
ssize_t recv(int socket, void *at, size_t size, int flags) {
  static auto *const next = behind(&recv, "recv");
  return timed(kernel, [&] { return next(socket, at, size, flags); });
}
int recvmmsg(int socket, mmsghdr *messages, unsigned count, int flags, timespec *until) {
  static auto *const next = behind(&recvmmsg, "recvmmsg");
  return timed(kernel, [&] { return next(socket, messages, count, flags, until); });
}
int epoll_wait(int descriptor, epoll_event *events, int most, int timeout_ms) {
  static auto *const next = behind(&epoll_wait, "epoll_wait");
  return timed(kernel, [&] { return next(descriptor, events, most, timeout_ms); });
}
int poll(pollfd *items, nfds_t count, int timeout_ms) {
  static auto *const next = behind(&poll, "poll");
  return timed(waiting, [&] { return next(items, count, timeout_ms); });
}

} // extern "C"
#pragma GCC visibility pop

int main(int count, char **words) {
  begin_process();
  learn_clock();
  const std::string role = count > 1 ? words[1] : "";
  if (role == "send" && count == 7)
    return send_messages(words + 2);
  if (role == "receive" && count == 5)
    return receive_messages(words + 2);
  (void)fprintf(stderr, "usage: load_parts send BOARD TABLE FIRST ROUTES BATCH\n"
                        "       load_parts receive BOARD FIRST look|table\n");
  return 2;
}
