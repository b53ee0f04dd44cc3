// The receiving process.
//
// Room: demo. Includes public headers, the development host and this folder.
#include "demo/receiver.h"

#include "demo/attachment.h"
#include "demo/table_receiver.h"
#include "demo/table_text.h"
#include "demo/text.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/host/osal_host.h>

#include <csignal>
#include <optional>
#include <utility>

namespace demo {

namespace {

constexpr int poll_ms = 100; // how long the parent's word or a signal may wait

volatile std::sig_atomic_t stop_asked = 0;
extern "C" void ask_to_stop(int) {
  stop_asked = 1;
}

// What the receiver and the host around it have counted so far.
report counted_as(std::string word, const table_receiver &received) {
  report told = received.told_as(std::move(word));
  mesh_host_counters counters{};
  mesh_host_get_counters(&counters);
  told.numbers["unusable"] = counters.unknown_identifier + counters.oversize + counters.malformed;
  osal_host_accounts accounts{};
  osal_host_get_accounts(&accounts);
  told.numbers["allocations"] = accounts.allocations;
  told.numbers["live_blocks"] = accounts.live_blocks;
  told.numbers["wrong_releases"] = accounts.wrong_releases;
  return told;
}

// What was lost or refused must not stay unsaid. True when there was nothing of the kind.
bool tell_problems(const report &told) {
  const std::vector<std::string> problems = problems_of(told);
  if (problems.empty())
    return true;
  std::string text;
  for (const std::string &problem : problems)
    text += (text.empty() ? "" : ", ") + problem;
  complain("fib6-receiver: of %s: %s\n", counted(told["messages"], "message").c_str(),
           text.c_str());
  return false;
}

// Writes the table down and says how large it is. Runs before the phase message is acknowledged:
// when a sender has flushed, the table is on disk or this receiver ends with an error.
void end_phase(phase ended, table_receiver &received, const receiver_options &options,
               report_channel *parent) {
  const bool sent = ended != phase::table_withdrawn;
  if (sent && options.spoil)
    received.spoil_one_route();
  const std::string &path = sent ? options.table_path : options.withdrawn_table_path;
  if (!path.empty())
    write_table(received.contents(), path);

  const report told = counted_as(sent ? "table_sent" : "table_withdrawn", received);
  if (parent != nullptr)
    return parent->tell(told);
  print("%s: %s, %s, %s after %s\n", sent ? "table complete" : "table withdrawn",
        counted(told["routes"], "route").c_str(), counted(told["next_hops"], "next hop").c_str(),
        counted(told["groups"], "group").c_str(), counted(told["messages"], "message").c_str());
  tell_problems(told);
}

// Whether the parent said that it is over, or is gone itself.
bool parent_has_ended(report_channel *parent) {
  if (parent == nullptr)
    return false;
  const std::optional<report> heard = parent->hear(0);
  return parent->closed() || (heard && heard->word == "end");
}

} // namespace

int run_receiver(const receiver_options &options, report_channel *parent) {
  (void)std::signal(SIGINT, ask_to_stop);
  (void)std::signal(SIGTERM, ask_to_stop);
  attachment attached(options.destination, {fib6_recv_init});
  if (parent != nullptr)
    parent->tell({"ready", {}});
  else
    print("receiving as destination %u\n", options.destination);

  bool done = false;
  table_receiver received([&](table_receiver &table, phase ended) {
    end_phase(ended, table, options, parent);
    done = options.once && ended == phase::table_withdrawn;
  });
  while (!done && stop_asked == 0 && !parent_has_ended(parent))
    attached.poll(poll_ms, [&](uint32_t id, uint64_t, const void *record, uint32_t) {
      received.take(id, record);
    });
  if (parent != nullptr)
    return 0; // the reports told everything
  return tell_problems(counted_as("ended", received)) ? 0 : incomplete_status;
}

} // namespace demo
