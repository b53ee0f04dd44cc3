// fib6-demo: sends an IPv6 table from one process to another and proves that it arrived.
//
// Room: demo. Includes this folder only.
//
// Three processes. The sender and the receiver do what fib6-sender and fib6-receiver do, each
// writes the table that it has as text; this one, the judge, compares the two texts and adds up
// what the other two report. See route_model.h for what travels in which member.
#include "demo/child_process.h"
#include "demo/command_line.h"
#include "demo/program.h"
#include "demo/receiver.h"
#include "demo/sender.h"
#include "demo/table_receiver.h"
#include "demo/table_text.h"
#include "demo/temporary_directory.h"

#include <cinttypes>
#include <filesystem>

namespace demo {

namespace {

constexpr int answer_ms = 60'000; // to write down a table that has arrived
constexpr int interrupted_status = 130;

volatile std::sig_atomic_t interrupt = 0;
extern "C" void note_interrupt(int) {
  interrupt = 1;
}

struct demo_options {
  sender_options sender;
  bool spoil = false;
  std::string keep; // a directory for the tables; empty: they are not kept
};

// The text files of one run.
struct table_files {
  std::string sent, received, nothing, left;

  explicit table_files(const std::string &directory)
      : sent(directory + "/sent.txt"), received(directory + "/received.txt"),
        nothing(directory + "/nothing.txt"), left(directory + "/left.txt") {}
};

// What makes the run fail, beside exceptions. One line of text for each.
class verdict {
public:
  void require(bool good, const std::string &otherwise) {
    if (!good)
      complaints.push_back(otherwise);
  }
  bool good() const { return complaints.empty(); }
  void print() const {
    for (const std::string &complaint : complaints)
      complain("fib6-demo: %s\n", complaint.c_str());
  }

private:
  std::vector<std::string> complaints;
};

void print_row(const char *label, const std::string &text) {
  print("  %-18s %s\n", label, text.c_str());
}

// "12.3 million" and the like, for rates that nobody reads to the last digit.
std::string rate_text(double per_second, const char *unit) {
  if (per_second >= 1e6)
    return formatted("%.1f million %s/s", per_second / 1e6, unit);
  return formatted("%.0f %s/s", per_second, unit);
}

std::string coding_text(uint64_t nanoseconds, uint64_t routes, uint64_t bytes) {
  const double seconds = static_cast<double>(nanoseconds > 0 ? nanoseconds : 1) / 1e9;
  return rate_text(static_cast<double>(routes) / seconds, "routes") +
         formatted(", %.1f ns a route, %.0f MB/s", seconds * 1e9 / static_cast<double>(routes),
                   static_cast<double>(bytes) / seconds / 1e6);
}

std::string contents_text(const report &told) {
  return counted(told["routes"], "route") + ", " + counted(told["next_hops"], "next hop") + ", " +
         counted(told["groups"], "group");
}

void print_loaded(const sender_options &options, const report &loaded) {
  const std::string name = options.input == "-" ? "standard input" : options.input;
  print("%s: %s\n", name.c_str(), contents_text(loaded).c_str());
  if (loaded["duplicates"] > 0)
    print("%s overridden by a later line with the same prefix\n",
          counted(loaded["duplicates"], "route").c_str());
}

table_difference compare(const std::string &expected, const std::string &found) {
  table_difference result = compare_tables(expected, found);
  for (const std::string &text : result.texts)
    complain("%s\n", text.c_str());
  if (result.differences > result.texts.size())
    complain("%s in addition\n",
             counted(result.differences - result.texts.size(), "difference").c_str());
  return result;
}

// Zero leaks prove something only where blocks were counted at all.
void judge_memory(verdict &result, const char *process, const report &told) {
  const std::string who = std::string("the ") + process;
  result.require(told["allocations"] > 0, who + " allocated nothing that was counted");
  result.require(told["live_blocks"] == 0,
                 who + " leaked " + counted(told["live_blocks"], "block"));
  result.require(told["wrong_releases"] == 0,
                 who + " released " + counted(told["wrong_releases"], "block") + " wrongly");
}

void judge_receiver(verdict &result, const report &told, uint64_t sent_messages) {
  result.require(told["messages"] == sent_messages, "of " + grouped(sent_messages) + " messages " +
                                                        grouped(told["messages"]) + " arrived");
  for (const std::string &problem : problems_of(told))
    result.require(false, "the receiver: " + problem);
}

void print_summary(const report &loaded, const report &sent, const report &received,
                   const table_difference &difference) {
  const uint64_t routes = loaded["routes"];
  const double seconds = static_cast<double>(sent["send_ns"]) / 1e9;
  print("\nsummary\n");
  print_row("routes", grouped(routes));
  print_row("messages", grouped(sent["messages"]) + " (" + grouped(sent["route_messages"]) +
                            " of them with routes)");
  print_row("bytes on the wire", grouped(sent["bytes"]));
  print_row("bytes per route", formatted("%.1f", static_cast<double>(sent["route_bytes"]) /
                                                     static_cast<double>(routes)));
  print_row("encode", coding_text(sent["encode_ns"], routes, sent["encoded_bytes"]));
  print_row("decode", coding_text(sent["decode_ns"], routes, sent["encoded_bytes"]));
  print_row("end to end", rate_text(static_cast<double>(routes) / seconds, "routes") +
                              formatted(", %.3f s", seconds));
  print_row("differences", grouped(difference.differences) + " in " + grouped(difference.entries) +
                               " entries compared");
  print_row("blocks leaked", grouped(sent["live_blocks"] + received["live_blocks"]) + " of " +
                                 grouped(sent["allocations"] + received["allocations"]) +
                                 " in both processes");
  print("\n");
}

// The table is gone at the receiver, entry by entry, not only by its own count.
void judge_withdrawal(verdict &result, const table_files &files, const report &left) {
  write_table({}, files.nothing);
  const table_difference difference = compare(files.nothing, files.left);
  result.require(difference.differences == 0, "the receiver's table is not empty");
  if (difference.differences == 0)
    print("deleted: the receiver's table is empty, %s\n", contents_text(left).c_str());
}

void prepare_keep(const std::string &directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (error)
    throw failure("cannot make the directory " + directory + ": " + error.message());
}

int run_demo(const demo_options &options) {
  const temporary_directory scratch;
  if (!options.keep.empty())
    prepare_keep(options.keep);
  const table_files files(options.keep.empty() ? scratch.path() : options.keep);
  // The mesh of this run is nobody else's, so that runs side by side do not meet.
  setenv("MESH_HOST_DIR", (scratch.path() + "/mesh").c_str(), 1);

  sender_options sending = options.sender;
  sending.table_path = files.sent;
  receiver_options receiving;
  receiving.destination = sending.destination;
  receiving.spoil = options.spoil;
  receiving.table_path = files.received;
  receiving.withdrawn_table_path = files.left;

  child_process receiver("fib6-receiver",
                         [&](report_channel &judge) { return run_receiver(receiving, &judge); });
  receiver.expect("ready", {}, answer_ms);
  child_process sender("fib6-sender",
                       [&](report_channel &judge) { return run_sender(sending, &judge); },
                       {&receiver});
  print("sender: process %d, receiver: process %d\n", sender.pid(), receiver.pid());

  verdict result;
  const report loaded = sender.expect("loaded", {&receiver});
  print_loaded(sending, loaded);
  const report sent = sender.expect("sent", {&receiver});
  const report received = receiver.expect("table_sent", {&sender}, answer_ms);
  const table_difference difference = compare(files.sent, files.received);
  print_summary(loaded, sent, received, difference);
  result.require(difference.differences == 0,
                 counted(difference.differences, "difference") + " between the two tables");
  judge_receiver(result, received, sent["messages"]);
  judge_memory(result, "sender", sent);
  judge_memory(result, "receiver", received);

  sender.tell("withdraw");
  const report withdrawn = sender.expect("withdrawn", {&receiver});
  const report left = receiver.expect("table_withdrawn", {}, answer_ms);
  judge_withdrawal(result, files, left);
  judge_receiver(result, left, sent["messages"] + withdrawn["messages"]);
  judge_memory(result, "sender", withdrawn);
  judge_memory(result, "receiver", left);
  receiver.tell("end");
  // What they could not write they say in their exit status only.
  const int status = loaded["bad_lines"] == 0 ? 0 : bad_input_status;
  sender.expect_end(status, answer_ms);
  receiver.expect_end(0, answer_ms);

  result.print();
  if (!result.good())
    return failed_status;
  if (status != 0)
    complain("fib6-demo: %s of the input skipped\n",
             counted(loaded["bad_lines"], "bad line").c_str());
  return status;
}

void add_options(command_line &app, demo_options &options) {
  app.add_option(
      "TABLE", options.sender.input,
      "File of prefixes or of `ip -6 route` output, gzip or plain; - for standard input");
  app.add_number("--batch", options.sender.batch, {1, largest_batch_option}, "Routes a message");
  app.add_number("--vrf", options.sender.vrf, {}, "Routing instance of all routes");
  app.add_number("--destination", options.sender.destination, {}, "Where the receiver attaches");
  app.add_number("--pause", options.sender.pause_ms, {},
                 "Milliseconds between two calls that send, to have time to watch",
                 command_line::initial::hidden);
  app.add_option("--keep", options.keep, "Keep both tables as text in this directory",
                 command_line::initial::hidden);
  app.add_flag("--spoil", options.spoil,
               "Change one route at the receiver, to see that it is noticed");
}

int run(int argc, char **argv) {
  demo_options options;
  options.sender.input = FIB6_DEFAULT_TABLE;
  command_line app(
      "Sends an IPv6 table from one process to another, compares both tables entry by\n"
      "entry, and deletes it again.\n"
      "Exit status: 0 all is well, 1 failed or different, 2 wrong usage,\n"
      "3 all is well, but lines of the input were bad and skipped, 130 interrupted.");
  add_options(app, options);
  if (const auto status = app.parse(argc, argv))
    return *status;

  (void)std::signal(SIGINT, note_interrupt);
  (void)std::signal(SIGTERM, note_interrupt);
  child_process::interrupted = [] { return interrupt != 0; };
  return run_demo(options);
}

} // namespace

} // namespace demo

int main(int argc, char **argv) {
  const int status = demo::guarded("fib6-demo", [&] { return demo::run(argc, argv); });
  return demo::interrupt != 0 ? demo::interrupted_status : status;
}
