// fib6-peer: keeps a table like that of a fib6-service in another terminal.
//
// Room: demo. Includes the folder above only.
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/services/peer.h"

namespace {

int run(int argc, char **argv) {
  demo::peer_options options;
  demo::command_line app(
      "Keeps the table of a fib6-service until it is asked to end. Lines of standard\n"
      "input ask:\n"
      "  digest         what the table is now, in a number to compare\n"
      "  ask ADDRESS    the service, for its routes to an address\n"
      "  sync           for the whole table\n"
      "  write FILE, quit\n"
      "Exit status: 0 ended when asked to, 1 failed, 2 wrong usage, 3 ended when\n"
      "asked to, but lines were bad or could not be read.");
  app.add_number("--service", options.service, {0, UINT32_MAX - 10}, "Where the service attached");
  app.add_number("--number", options.number, {1, 10}, "Which of its peers this is");
  app.add_number("--check-ms", options.check_ms, {10, 3'600'000},
                 "Milliseconds between two comparisons with the service");
  app.add_number(
      "--patience-ms", options.patience_ms, {10, 3'600'000},
      "Milliseconds that a table on its way may be silent\nbefore it is asked for again");
  if (const auto status = app.parse(argc, argv))
    return *status;
  return demo::run_peer(options);
}

} // namespace

int main(int argc, char **argv) {
  return demo::guarded("fib6-peer", [&] { return run(argc, argv); });
}
