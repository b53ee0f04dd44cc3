// fib6-service: owns a table of IPv6 routes and keeps its peers' tables like it.
//
// Room: demo. Includes the folder above only.
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/services/service.h"

namespace {

int run(int argc, char **argv) {
  demo::service_options options;
  demo::command_line app(
      "Serves a table of IPv6 routes to fib6-peer processes until it is asked to end.\n"
      "Lines of the input change it while it runs:\n"
      "  + 2001:db8::/32 via fe80::1 dev eth0    adds or changes a route\n"
      "  - 2001:db8::/32                         deletes one\n"
      "  pause MS                                as --pause, from now on\n"
      "  digest, write FILE, quit\n"
      "Exit status: 0 ended when asked to, 1 failed, 2 wrong usage, 3 ended when\n"
      "asked to, but lines were bad and skipped, or could not be read.");
  app.add_option("table", options.table,
                 "File of prefixes or of `ip -6 route` output, gzip or plain; none: no routes",
                 demo::command_line::initial::hidden);
  app.add_option("--changes", options.changes, "Where lines come from; - for standard input");
  app.add_number("--destination", options.destination, {0, UINT32_MAX - 10}, "Where to attach");
  app.add_number("--vrf", options.vrf, {}, "Routing instance of all routes");
  app.add_number("--pause", options.pause_ms, {0, 60'000},
                 "Milliseconds between two calls with a table or\nchanges for a peer",
                 demo::command_line::initial::hidden);
  if (const auto status = app.parse(argc, argv))
    return *status;
  return demo::run_service(options);
}

} // namespace

int main(int argc, char **argv) {
  return demo::guarded("fib6-service", [&] { return run(argc, argv); });
}
