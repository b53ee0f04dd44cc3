// print_any_cpp: print_any.c in C++. Prints module, type and record size of whatever is sent to
// destination 7, until it is interrupted.
//
// Room: examples. Includes public headers, the development host's, POSIX and the standard library.
// C++17.
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/mesh_fib6.hpp>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace {

constexpr std::uint32_t destination = 7;
constexpr int poll_ms = 200;

volatile std::sig_atomic_t stop;

void ask_to_stop(int) {
  stop = 1;
}

// One for all types: what it needs of them are the traits. Has no look at the members.
template <class M>
void print(const M &) {
  using traits = mesh_fib6::message_traits<M>;
  std::cout << traits::module << ' ' << traits::name << ' ' << sizeof(M) << '\n';
}

// Nothing may be thrown through the host.
void handle(void *, std::uint32_t id, std::uint64_t, const void *record,
            std::uint32_t size) noexcept {
  mesh_fib6::visit_record(id, record, size, [](const auto &message) { print(message); });
  if (!std::cout.flush())
    stop = 1;
}

} // namespace

int main(int argc, char **) {
  if (argc != 1) {
    std::cerr << "usage: print_any_cpp\n";
    return 2;
  }
  // A socket must not get the number of a standard stream that is closed, and be printed to.
  int got = 0;
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      std::perror("print_any_cpp: /dev/null");
      return 1;
    }
  close(got);
  std::signal(SIGINT, ask_to_stop);
  std::signal(SIGTERM, ask_to_stop);

  mesh_host_receiver *attached = nullptr;
  std::uint32_t result = 0;
  for (const auto init : {fib6_recv_init, fib6_cfg_recv_init, fib6_sync_recv_init})
    if (result == 0)
      result = init(); // of each module whose messages are to come
  if (result == 0)
    result = mesh_host_attach(destination, &attached);
  if (result != 0) {
    std::cerr << "print_any_cpp: cannot receive as destination " << destination << ": "
              << mesh_host_result_text(result) << '\n';
    return 1;
  }
  const std::unique_ptr<mesh_host_receiver, void (*)(mesh_host_receiver *)> receiver(
      attached, mesh_host_detach);
  while (!stop && got >= 0)
    got = mesh_host_poll(receiver.get(), poll_ms, handle, nullptr);
  if (!std::cout)
    std::cerr << "print_any_cpp: cannot write to standard output\n";
  return !std::cout || got < 0 ? 1 : 0;
}
