// The receiving process.
//
// Room: examples. Includes public headers, the development host and this folder.
#include "examples/receiver.h"

#include "examples/route_model.h"
#include "examples/table_text.h"
#include "examples/text.h"
#include "host/mesh_host.h"
#include "host/osal_host.h"
#include "modules/fib6/fib6.h"

#include <csignal>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

namespace example {

namespace {

constexpr int poll_ms = 100; // how long the parent's word or a signal may wait

volatile std::sig_atomic_t stop_asked = 0;
extern "C" void ask_to_stop(int) {
  stop_asked = 1;
}

// Takes the records of one sender and keeps the table.
class table_receiver {
public:
  explicit table_receiver(std::function<void(table_receiver &, phase)> at_phase_end)
      : phase_ended(std::move(at_phase_end)) {}

  // One message.
  void take(uint32_t id, const void *record) {
    messages++;
    switch (id) {
    case route_update_id:
      return take_routes(as<feiBrokerFib6_ipv6FwdUpdateMsg>(record));
    case route_delete_id:
      return delete_routes(as<feiBrokerFib6_ipv6FwdDelMsg>(record));
    case group_update_id:
      return take_group(as<feiBrokerFib6_nhp6GroupUpdateMsg>(record));
    case group_delete_id:
      return delete_groups(as<feiBrokerFib6_nhp6GroupDelMsg>(record));
    case next_hop_update_id:
      return take_next_hops(as<feiBrokerFib6_nhp6UpdateMsg>(record));
    case next_hop_delete_id:
      return delete_next_hops(as<feiBrokerFib6_nhp6DelMsg>(record));
    case phase_id:
      return take_phase(as<feiBrokerFib6_pidStateMsg>(record));
    default:
      rejected++; // registered, but not part of this example's agreement
    }
  }

  void spoil_one_route() {
    if (!table.routes.empty())
      std::next(table.routes.begin(), static_cast<std::ptrdiff_t>(table.routes.size() / 2))
          ->second.metric++;
  }

  const route_table &contents() const { return table; }

  report told_as(std::string word) const {
    return {std::move(word),
            {{"messages", messages},
             {"routes", table.routes.size()},
             {"next_hops", table.next_hops.size()},
             {"groups", table.groups.size()},
             {"rejected", rejected},
             {"out_of_sequence", out_of_sequence}}};
  }

private:
  // Every message begins with its sequence number. A message that could not be decoded has 0 or
  // leaves a gap.
  template <class Message>
  const Message &as(const void *record) {
    const Message &message = *static_cast<const Message *>(record);
    if (message.f0 != expected_sequence && message.f0 != 1) // 1: a new sender
      out_of_sequence++;
    expected_sequence = message.f0 + 1;
    return message;
  }

  void take_routes(const feiBrokerFib6_ipv6FwdUpdateMsg &message) {
    for (uint32_t i = 0; i < message.f1_count; i++) {
      route_key key;
      route entry;
      if (read_record(message.f1[i], key, entry))
        // Senders that walk a sorted table make the hint right every time.
        table.routes.insert_or_assign(table.routes.end(), key, entry);
      else
        rejected++;
    }
  }

  void delete_routes(const feiBrokerFib6_ipv6FwdDelMsg &message) {
    for (uint32_t i = 0; i < message.f1_count; i++) {
      route_key key;
      if (!read_record(message.f1[i], key) || table.routes.erase(key) == 0)
        rejected++;
    }
  }

  void take_group(const feiBrokerFib6_nhp6GroupUpdateMsg &message) {
    uint32_t number = 0;
    next_hop_group members;
    if (read_record(message, number, members))
      table.groups[number] = members;
    else
      rejected++;
  }

  void delete_groups(const feiBrokerFib6_nhp6GroupDelMsg &message) {
    for (uint32_t i = 0; i < message.f1_count; i++)
      if (table.groups.erase(message.f1[i].f1) == 0)
        rejected++;
  }

  void take_next_hops(const feiBrokerFib6_nhp6UpdateMsg &message) {
    for (uint32_t i = 0; i < message.f2_count; i++) {
      uint32_t number = 0;
      next_hop hop;
      if (read_record(message.f2[i], number, hop))
        table.next_hops[number] = hop;
      else
        rejected++;
    }
  }

  void delete_next_hops(const feiBrokerFib6_nhp6DelMsg &message) {
    for (uint32_t i = 0; i < message.f1_count; i++)
      if (table.next_hops.erase(message.f1[i].f0) == 0)
        rejected++;
  }

  void take_phase(const feiBrokerFib6_pidStateMsg &message) {
    const auto now = static_cast<phase>(message.f1.f1);
    if (now == phase::table_sent || now == phase::table_withdrawn)
      phase_ended(*this, now);
    else
      rejected++;
  }

  std::function<void(table_receiver &, phase)> phase_ended;
  route_table table;
  uint64_t messages = 0;
  uint64_t rejected = 0; // entries and messages that break the agreement, deletions of nothing
  uint64_t out_of_sequence = 0;
  uint32_t expected_sequence = 1;
};

// What the mesh hands back to the handler. Exceptions must not pass through the mesh.
struct handler_context {
  table_receiver received;
  std::exception_ptr error;
};

extern "C" void handle_message(void *untyped, uint32_t id, uint64_t, const void *record, uint32_t) {
  auto &context = *static_cast<handler_context *>(untyped);
  try {
    if (context.error == nullptr)
      context.received.take(id, record);
  } catch (...) {
    context.error = std::current_exception();
  }
}

struct detacher {
  void operator()(mesh_host_receiver *receiver) const { mesh_host_detach(receiver); }
};
using attachment = std::unique_ptr<mesh_host_receiver, detacher>;

attachment attach(uint32_t destination) {
  mesh_host_receiver *receiver = nullptr;
  uint32_t result = fib6_recv_init(); // the mesh must know the messages before the first arrives
  if (result == 0)
    result = mesh_host_attach(destination, &receiver);
  if (result != 0)
    throw failure(formatted("cannot receive as destination %u: ", destination) +
                  mesh_host_result_text(result));
  return attachment(receiver);
}

void add_counters(report &told) {
  mesh_host_counters counters{};
  mesh_host_get_counters(&counters);
  told.numbers["unusable"] = counters.unknown_identifier + counters.oversize + counters.malformed;
  osal_host_accounts accounts{};
  osal_host_get_accounts(&accounts);
  told.numbers["allocations"] = accounts.allocations;
  told.numbers["live_blocks"] = accounts.live_blocks;
  told.numbers["wrong_releases"] = accounts.wrong_releases;
}

// Writes the table down and says how large it is. Runs before the phase message is acknowledged, so
// a sender that has flushed knows that the table is on disk.
void end_phase(phase ended, table_receiver &received, const receiver_options &options,
               report_channel *parent) {
  const bool sent = ended == phase::table_sent;
  if (sent && options.spoil)
    received.spoil_one_route();
  const std::string &path = sent ? options.table_path : options.withdrawn_table_path;
  if (!path.empty())
    write_table(received.contents(), path);

  report told = received.told_as(sent ? "table_sent" : "table_withdrawn");
  add_counters(told);
  if (parent != nullptr)
    return parent->tell(told);
  print("%s: %s, %s, %s after %s\n", sent ? "table complete" : "table withdrawn",
        counted(told["routes"], "route").c_str(), counted(told["next_hops"], "next hop").c_str(),
        counted(told["groups"], "group").c_str(), counted(told["messages"], "message").c_str());
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
  const attachment attached = attach(options.destination);
  if (parent != nullptr)
    parent->tell({"ready", {}});
  else
    print("receiving as destination %u\n", options.destination);

  bool done = false;
  handler_context context{table_receiver([&](table_receiver &received, phase ended) {
                            end_phase(ended, received, options, parent);
                            done = options.once && ended == phase::table_withdrawn;
                          }),
                          nullptr};
  while (!done && stop_asked == 0 && !parent_has_ended(parent)) {
    if (mesh_host_poll(attached.get(), poll_ms, handle_message, &context) < 0)
      throw failure("the mesh ended the receiver");
    if (context.error != nullptr)
      std::rethrow_exception(context.error);
  }
  return 0;
}

} // namespace example
