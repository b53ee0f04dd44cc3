// fpm_receiver: keeps the table that an fpm_feed tells, and writes it down when it is asked to.
//
// Room: fpm. Includes libc, public headers, the development host, this folder and the demo's.
#include "demo/attachment.h"
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/route_model.h"
#include "demo/table_receiver.h"
#include "demo/text.h"
#include "fpm/route_text.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>

#include <chrono>
#include <csignal>
#include <unistd.h>
#include <utility>

namespace {

using clock = std::chrono::steady_clock;

constexpr int poll_ms = 100;
constexpr std::chrono::seconds between_requests{1};
// Whoever begins receiving while a feed tells changes hears the rest of them first.
constexpr int incomplete_status = 3;

volatile std::sig_atomic_t stop_asked = 0;
volatile std::sig_atomic_t dump_asked = 0;
extern "C" void note_receiver_signal(int number) {
  (number == SIGUSR1 ? dump_asked : stop_asked) = 1;
}

struct options {
  uint32_t destination = 6;
  uint32_t requests = 7;
  std::string dump_path;
};

// Asks the feed for the whole table. Where that fails, the next message of the feed shows the lack
// again.
void ask(const options &chosen) {
  feiBrokerFib6_pidStateMsg message{};
  message.f0 = 1;
  message.f1 = {static_cast<uint32_t>(getpid()), static_cast<uint32_t>(demo::phase::table_wanted),
                1};
  const uint32_t result = feiBrokerFib6_pidStateMsg__sendsingle(chosen.requests, &message, 0, 0);
  if (result != 0)
    demo::complain("fpm_receiver: cannot ask destination %u for the whole table: %s\n",
                   chosen.requests, mesh_host_result_text(result));
}

int run_receiver(const options &chosen) {
  for (const int number : {SIGINT, SIGTERM, SIGUSR1})
    (void)std::signal(number, note_receiver_signal);
  demo::attachment attached(chosen.destination, {fib6_recv_init, fib6_send_init});
  demo::print("receiving as destination %u\n", chosen.destination);

  size_t last_routes = 0;
  demo::table_receiver received([&](const demo::table_receiver &told, demo::phase) {
    const size_t routes = told.contents().routes.size();
    if (std::exchange(last_routes, routes) != routes)
      demo::print("%s\n", demo::counted(routes, "route").c_str());
  });
  clock::time_point ask_at = clock::now();
  while (stop_asked == 0) {
    attached.poll(poll_ms, [&](uint32_t id, uint64_t, const void *record, uint32_t) {
      received.take(id, record);
    });
    if (received.lacks_messages() && clock::now() >= ask_at) {
      ask(chosen);
      ask_at = clock::now() + between_requests;
    }
    if (std::exchange(dump_asked, 0) != 0 && !chosen.dump_path.empty())
      fpm::write_routes(received.contents(), chosen.dump_path);
  }
  if (!chosen.dump_path.empty())
    fpm::write_routes(received.contents(), chosen.dump_path);
  const demo::report told = received.told_as("ended");
  demo::print("%s after %s\n", demo::counted(told["routes"], "route").c_str(),
              demo::counted(told["messages"], "message").c_str());
  // Places where messages are missing were made up for, or the table still lacks them.
  for (const char *const wrong : {"refused", "rejected"})
    if (told[wrong] > 0)
      demo::complain("fpm_receiver: %s %s\n", demo::counted(told[wrong], "message").c_str(), wrong);
  if (received.lacks_messages())
    demo::complain("fpm_receiver: the table lacks messages\n");
  const bool complete = told["refused"] + told["rejected"] == 0 && !received.lacks_messages();
  return complete ? 0 : incomplete_status;
}

int run(int argc, char **argv) {
  options chosen;
  demo::command_line app(
      "Keeps the IPv6 table that an fpm_feed tells, until it is interrupted.\n"
      "Exit status: 0 ended when asked to, 1 failed, 2 wrong usage, 3 ended when asked to, but\n"
      "messages were refused, of no use or missing.");
  app.add_number("--destination", chosen.destination, {}, "Where to attach");
  app.add_number("--requests", chosen.requests, {}, "Where the feed takes requests");
  app.add_option("--dump", chosen.dump_path,
                 "Write the table to this file as text, on SIGUSR1 and at the end",
                 demo::command_line::initial::hidden);
  if (const auto status = app.parse(argc, argv))
    return *status;
  return run_receiver(chosen);
}

} // namespace

int main(int argc, char **argv) {
  return demo::guarded("fpm_receiver", [&] { return run(argc, argv); });
}
