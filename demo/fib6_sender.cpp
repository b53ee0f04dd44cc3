// fib6-sender: sends an IPv6 table to a receiver that is attached already, in another terminal.
//
// Room: demo. Includes this folder only.
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/sender.h"

#include <filesystem>

namespace {

int run(int argc, char **argv) {
  demo::sender_options options;
  options.input = FIB6_DEFAULT_TABLE;
  demo::command_line app(
      "Sends an IPv6 table: next-hop groups, next hops and routes.\n"
      "Exit status: 0 sent, 1 failed, 2 wrong usage, 3 sent, but the input had bad lines.");
  app.add_option(
      "TABLE", options.input,
      "File of prefixes or of `ip -6 route` output, gzip or plain; - for standard input");
  app.add_number("--destination", options.destination, {}, "Where the receiver is attached");
  app.add_number("--batch", options.batch, {1, demo::largest_batch_option}, "Entries a message");
  app.add_number("--vrf", options.vrf, {}, "Routing instance of all routes");
  app.add_number("--pause", options.pause_ms, {}, "Milliseconds between two calls that send",
                 demo::command_line::initial::hidden);
  app.add_option("--write-table", options.table_path, "Write the table to this file as text",
                 demo::command_line::initial::hidden);
  app.add_flag("--withdraw", options.withdraw, "Delete everything again at the end");
  if (const auto status = app.parse(argc, argv))
    return *status;
  options.receiver = std::filesystem::path(argv[0]).replace_filename("fib6-receiver");
  return demo::run_sender(options, nullptr);
}

} // namespace

int main(int argc, char **argv) {
  return demo::guarded("fib6-sender", [&] { return run(argc, argv); });
}
