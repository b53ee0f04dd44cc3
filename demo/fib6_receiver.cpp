// fib6-receiver: rebuilds the IPv6 table that a fib6-sender in another terminal sends.
//
// Room: demo. Includes this folder only.
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/receiver.h"

namespace {

int run(int argc, char **argv) {
  demo::receiver_options options;
  demo::command_line app(
      "Receives IPv6 tables until it is interrupted.\n"
      "Exit status: 0 ended when asked to, 1 failed, 2 wrong usage, 3 ended when\n"
      "asked to, but messages were lost, refused or of no use.");
  app.add_number("--destination", options.destination, {}, "Where to attach");
  app.add_option("--write-table", options.table_path, "Write a complete table to this file as text",
                 demo::command_line::initial::hidden);
  app.add_flag("--once", options.once, "End after the first table was withdrawn again");
  if (const auto status = app.parse(argc, argv))
    return *status;
  return demo::run_receiver(options, nullptr);
}

} // namespace

int main(int argc, char **argv) {
  return demo::guarded("fib6-receiver", [&] { return run(argc, argv); });
}
