// fpm_feed: sends what a routing daemon has in its forwarding table to a receiver on the mesh.
//
// Room: fpm. Includes this folder and the demo's.
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/text.h"
#include "fpm/feed.h"

namespace {

int run(int argc, char **argv) {
  fpm::feed_options options;
  demo::command_line app(
      "A Forwarding Plane Manager: takes IPv6 routes, next hops and segment lists from a\n"
      "routing daemon (FRR's zebra -M dplane_fpm_nl) and keeps a receiver on the mesh told.\n"
      "SIGUSR1 writes the table down; SIGINT and SIGTERM end it with a summary.\n"
      "Exit status: 0 ended when asked to, 1 failed, 2 wrong usage, 3 ended when asked to, but\n"
      "something that a daemon said could not be understood.");
  app.add_option("--listen", options.listen,
                 "ADDRESS:PORT where daemons connect; whoever can, can set routes");
  app.add_number("--to", options.destination, {}, "Where the receiver is attached");
  app.add_number("--requests", options.requests, {},
                 "Where to attach for receivers that ask for the whole table");
  app.add_number("--grace", options.grace_seconds, {0, 86'400},
                 "Seconds that a daemon has after it has connected again to announce what it had\n"
                 "announced before; what it does not is deleted then");
  app.add_number("--limit", options.limit, {1, 100'000'000},
                 "The most routes, and next-hop objects, that are taken");
  app.add_option("--dump", options.dump_path,
                 "Write the table to this file as text, on SIGUSR1 and at the end",
                 demo::command_line::initial::hidden);
  if (const auto status = app.parse(argc, argv))
    return *status;
  if (const std::string problem = fpm::parse_listen_address(options.listen, options.address);
      !problem.empty()) {
    demo::complain("fpm_feed: --listen: %s\n", problem.c_str());
    return demo::usage_status;
  }
  return fpm::run_feed(options);
}

} // namespace

int main(int argc, char **argv) {
  return demo::guarded("fpm_feed", [&] { return run(argc, argv); });
}
