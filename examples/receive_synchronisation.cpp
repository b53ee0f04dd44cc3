// receive_synchronisation_cpp: receive_synchronisation.c in C++. Counts the routes that
// synchronise.c sends to destination 8 and says whether all have come, until it is interrupted.
// What members mean is told there.
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

constexpr std::uint32_t destination = 8;
constexpr int poll_ms = 200;
enum : std::uint32_t { begin = 1, route = 2, end = 3 };

volatile std::sig_atomic_t stop;

void ask_to_stop(int) {
  stop = 1;
}

// A visitor: what each type of message does to the table. Other types are none of its business.
class table {
public:
  void operator()(const fib6Sync_svcCtxMsg &context) {
    if (context.f0.f0 == begin && context.f0.f1 != 0) {
      break_off(); // its sender has died
      number = context.f0.f1;
    } else if (context.f0.f0 == end && number != 0 && context.f0.f1 == number) {
      std::cout << "synchronisation " << number << ": "
                << (routes == context.f1[0] ? "complete, " : "incomplete, ") << routes << " of "
                << context.f1[0] << " routes\n";
      number = routes = 0;
    } else {
      std::cerr << "receive_synchronisation_cpp: a context that was refused, or makes no sense\n";
    }
  }

  void operator()(const fib6Sync_ipv6FwdUpdateMsg &update) {
    if (update.f0.f0 == route && number != 0 && update.f0.f1 == number && update.f1.f4 <= 128)
      routes++; // a real receiver stores it apart, until the table is complete
    else
      std::cerr << "receive_synchronisation_cpp: a route that was refused, or makes no sense\n";
  }

  void break_off() {
    if (number != 0)
      std::cout << "synchronisation " << number << ": broken off after " << routes << " routes\n";
    number = routes = 0;
  }

private:
  std::uint32_t number = 0; // of the synchronisation that is going on; 0: none
  std::uint32_t routes = 0;
};

// Nothing may be thrown through the host.
void handle(void *context, std::uint32_t id, std::uint64_t, const void *record,
            std::uint32_t size) noexcept {
  mesh_fib6::visit_record(id, record, size, *static_cast<table *>(context));
  if (!std::cout.flush())
    stop = 1;
}

} // namespace

int main(int argc, char **) {
  if (argc != 1) {
    std::cerr << "usage: receive_synchronisation_cpp\n";
    return 2;
  }
  // A socket must not get the number of a standard stream that is closed, and be printed to.
  int got = 0;
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      std::perror("receive_synchronisation_cpp: /dev/null");
      return 1;
    }
  close(got);
  std::signal(SIGINT, ask_to_stop);
  std::signal(SIGTERM, ask_to_stop);

  mesh_host_receiver *attached = nullptr;
  std::uint32_t result = fib6_sync_recv_init(); // first, so that the mesh knows the messages
  if (result == 0)
    result = mesh_host_attach(destination, &attached);
  if (result != 0) {
    std::cerr << "receive_synchronisation_cpp: cannot receive as destination " << destination
              << ": " << mesh_host_result_text(result) << '\n';
    return 1;
  }
  table received;
  {
    const std::unique_ptr<mesh_host_receiver, void (*)(mesh_host_receiver *)> receiver(
        attached, mesh_host_detach);
    while (!stop && got >= 0)
      got = mesh_host_poll(receiver.get(), poll_ms, handle, &received);
  }
  received.break_off();
  if (!std::cout.flush()) {
    std::cerr << "receive_synchronisation_cpp: cannot write to standard output\n";
    return 1;
  }
  return got < 0 ? 1 : 0;
}
