// The sending process.
//
// Room: demo. Includes public headers, the development host and this folder.
#include "demo/sender.h"

#include "demo/coding_rate.h"
#include "demo/progress.h"
#include "demo/route_feed.h"
#include "demo/route_model.h"
#include "demo/table_text.h"
#include "demo/text.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/host/osal_host.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <span>
#include <thread>
#include <unistd.h>

namespace demo {

namespace {

constexpr int flush_timeout_ms = 30'000;

// Calls that send take a few messages at a time, so that progress shows and a pause has an effect.
constexpr size_t most_messages_a_call = 16;

template <class Message>
using send_function = uint32_t(uint32_t, const Message *, uint32_t);

template <class Message>
size_t entry_count(const Message &message) {
  return entries_of(message).size();
}
size_t entry_count(const feiBrokerFib6_pidStateMsg &) {
  return 0;
}

// Numbers messages and sends them to one destination, in order.
class message_sender {
public:
  explicit message_sender(const sender_options &options)
      : destination(options.destination), pause(options.pause_ms), receiver(options.receiver) {}

  // Sends all of them in as few calls as their sizes allow: several messages of one call share a
  // buffer of limited size, while a single one may have any. `sent_entries` is called after each
  // call with the number of entries sent so far.
  template <class Message>
  void send(send_function<Message> *sendmsg, std::vector<Message> &all_messages,
            const std::function<void(uint64_t)> &sent_entries = {}) {
    uint64_t entries = 0;
    for (std::span<Message> left(all_messages); !left.empty();) {
      const std::span<Message> now = left.first(fitting(std::span<const Message>(left)));
      for (Message &message : now) {
        message.f0 = ++last_sequence;
        entries += entry_count(message);
      }
      check(last_sequence - now.size() + 1,
            [&] { return sendmsg(destination, now.data(), static_cast<uint32_t>(now.size())); });
      left = left.subspan(now.size());
      if (sent_entries)
        sent_entries(entries);
      if (pause.count() > 0)
        std::this_thread::sleep_for(pause);
    }
  }

  // Returns when the receiver has handled everything.
  void flush() const {
    check(last_sequence, [&] { return mesh_host_flush(destination, flush_timeout_ms); });
  }

  uint64_t messages() const { return last_sequence; }

private:
  // How many messages from the front go into one call, at least one.
  template <class Message>
  static size_t fitting(std::span<const Message> messages) {
    size_t count = 0, bytes = 0;
    for (; count < std::min(messages.size(), most_messages_a_call); count++) {
      bytes += largest_message_frame + entry_count(messages[count]) * largest_entry;
      if (bytes > largest_batch)
        break;
    }
    return std::max<size_t>(count, 1);
  }

  // Makes a call of the mesh that takes messages from number `first` on.
  template <class Call>
  void check(uint64_t first, Call call) const {
    const auto start = std::chrono::steady_clock::now();
    const uint32_t result = call();
    if (result == 0)
      return;
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
    const std::string reason = result == MESH_FIB6_FAILED
                                   ? "a message could not be encoded, or memory is short"
                                   : mesh_host_result_text(result);
    throw failure(formatted("sending to destination %u failed at message %s, after %.1f s: ",
                            destination, grouped(first).c_str(), waited.count()) +
                  reason + (result == MESH_HOST_NO_RECEIVER ? advice() : ""));
  }

  // How to start a receiver that this sender will find.
  std::string advice() const {
    if (receiver.empty())
      return {};
    std::string command;
    for (const char *name : {"MESH_HOST_DIR", "MESH_HOST_CONFIG"})
      if (const char *const value = std::getenv(name); value != nullptr && *value != '\0')
        command += std::string(name) + "=" + quoted(value) + " ";
    return "\nStart a receiver first, in another terminal:\n    " + command + quoted(receiver) +
           formatted(" --destination %u", destination);
  }

  uint32_t destination;
  std::chrono::milliseconds pause;
  std::string receiver;
  uint32_t last_sequence = 0;
};

// Cuts entries into messages of the form {sequence, count, entries}.
template <class Message, class Entry>
std::vector<Message> messages_of(std::vector<Entry> &entries, size_t batch) {
  std::vector<Message> messages;
  for (size_t at = 0; at < entries.size(); at += batch) {
    const size_t count = std::min(batch, entries.size() - at);
    messages.push_back({0, static_cast<uint32_t>(count), entries.data() + at});
  }
  return messages;
}

// Next-hop groups: one message each.
void send_groups(message_sender &sender, const route_table &table, uint32_t vrf) {
  std::vector<std::vector<feiBrokerFib6_nhp6GroupNode>> nodes;
  std::vector<feiBrokerFib6_nhp6GroupUpdateMsg> messages;
  for (const auto &[number, members] : table.groups) {
    auto &own = nodes.emplace_back();
    for (const group_member &member : members)
      own.push_back(member_record(vrf, number, member));
    messages.push_back(
        {0, group_record(vrf, number, own.size()), static_cast<uint32_t>(own.size()), own.data()});
  }
  sender.send(feiBrokerFib6_nhp6GroupUpdateMsg__sendmsg, messages);
}

void send_next_hops(message_sender &sender, const route_table &table, uint32_t vrf, size_t batch) {
  std::vector<feiBrokerFib6_nhp6Std> hops;
  for (const auto &[number, hop] : table.next_hops)
    hops.push_back(next_hop_record(number, hop));
  std::vector<feiBrokerFib6_nhp6UpdateMsg> messages;
  for (size_t at = 0; at < hops.size(); at += batch) {
    feiBrokerFib6_nhp6UpdateMsg message{};
    message.f1.f0 = vrf;
    message.f2_count = static_cast<uint32_t>(std::min(batch, hops.size() - at));
    message.f2 = hops.data() + at;
    messages.push_back(message);
  }
  sender.send(feiBrokerFib6_nhp6UpdateMsg__sendmsg, messages);
}

void send_phase(message_sender &sender, phase now, const route_table &table) {
  std::vector<feiBrokerFib6_pidStateMsg> message(1);
  message[0].f1 = {static_cast<uint32_t>(getpid()), static_cast<uint32_t>(now),
                   static_cast<uint32_t>(table.routes.size())};
  sender.send(feiBrokerFib6_pidStateMsg__sendmsg, message);
}

void send_deletions(message_sender &sender, const route_table &table,
                    const sender_options &options) {
  std::vector<feiBrokerFib6_ipv6FwdKey> routes;
  for (const auto &[key, entry] : table.routes)
    routes.push_back(key_record(key));
  std::vector<feiBrokerFib6_nhp6GroupKey> groups;
  for (const auto &[number, members] : table.groups)
    groups.push_back({options.vrf, number});
  std::vector<feiBrokerFib6_nhp6Key> hops;
  for (const auto &[number, hop] : table.next_hops)
    hops.push_back({number});

  auto route_messages = messages_of<feiBrokerFib6_ipv6FwdDelMsg>(routes, options.batch);
  auto group_messages = messages_of<feiBrokerFib6_nhp6GroupDelMsg>(groups, options.batch);
  auto hop_messages = messages_of<feiBrokerFib6_nhp6DelMsg>(hops, options.batch);

  progress bar("deleting", routes.size());
  sender.send(feiBrokerFib6_ipv6FwdDelMsg__sendmsg, route_messages,
              [&](uint64_t done) { bar.advance_to(done); });
  bar.finish();
  sender.send(feiBrokerFib6_nhp6GroupDelMsg__sendmsg, group_messages);
  sender.send(feiBrokerFib6_nhp6DelMsg__sendmsg, hop_messages);
}

uint64_t bytes_sent() {
  mesh_host_counters counters{};
  mesh_host_get_counters(&counters);
  return counters.bytes_sent;
}

void add_accounts(report &told) {
  osal_host_accounts accounts{};
  osal_host_get_accounts(&accounts);
  told.numbers["allocations"] = accounts.allocations;
  told.numbers["live_blocks"] = accounts.live_blocks;
  told.numbers["wrong_releases"] = accounts.wrong_releases;
}

report send_table(message_sender &sender, const route_table &table, const sender_options &options) {
  std::vector<feiBrokerFib6_ipv6Fwd> records;
  for (const auto &[key, entry] : table.routes)
    records.push_back(route_record(key, entry));
  auto messages = messages_of<feiBrokerFib6_ipv6FwdUpdateMsg>(records, options.batch);

  send_groups(sender, table, options.vrf);
  send_next_hops(sender, table, options.vrf, options.batch);
  sender.flush(); // so that the clock below times routes only

  const uint64_t bytes_before = bytes_sent();
  const auto start = std::chrono::steady_clock::now();
  progress bar("sending", records.size());
  sender.send(feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg, messages,
              [&](uint64_t done) { bar.advance_to(done); });
  sender.flush();
  const auto elapsed = std::chrono::steady_clock::now() - start;
  const uint64_t route_bytes = bytes_sent() - bytes_before;
  bar.finish();
  send_phase(sender, phase::table_sent, table);
  sender.flush();

  const uint64_t all_bytes = bytes_sent();
  const coding_rate rate = measure_coding(messages);
  report told{"sent", {}};
  told.numbers = {{"messages", sender.messages()},
                  {"route_messages", messages.size()},
                  {"bytes", all_bytes},
                  {"route_bytes", route_bytes},
                  {"send_ns", static_cast<uint64_t>(std::chrono::nanoseconds(elapsed).count())},
                  {"encoded_bytes", rate.bytes},
                  {"encode_ns", rate.encode_ns},
                  {"decode_ns", rate.decode_ns}};
  add_accounts(told);
  return told;
}

report withdraw_table(message_sender &sender, const route_table &table,
                      const sender_options &options) {
  const uint64_t messages_before = sender.messages();
  send_deletions(sender, table, options);
  send_phase(sender, phase::table_withdrawn, table);
  sender.flush();
  report told{"withdrawn", {{"messages", sender.messages() - messages_before}}};
  add_accounts(told);
  return told;
}

void name_bad_lines(const route_feed &feed) {
  for (const std::string &text : feed.bad_line_texts)
    complain("%s\n", text.c_str());
  const uint64_t unnamed = feed.bad_lines - feed.bad_line_texts.size();
  if (unnamed > 0)
    complain("%s: %s in addition\n", feed.name.c_str(), counted(unnamed, "bad line").c_str());
}

// Whether the table is to be deleted: the parent's word, or the option of one who runs alone.
bool asked_to_withdraw(const sender_options &options, report_channel *parent) {
  if (parent == nullptr)
    return options.withdraw;
  while (!parent->closed())
    if (const std::optional<report> heard = parent->hear(-1))
      return heard->word == "withdraw";
  return false;
}

void tell(report_channel *parent, const report &told) {
  if (parent != nullptr)
    parent->tell(told);
}

} // namespace

int run_sender(const sender_options &options, report_channel *parent) {
  const route_feed feed = read_routes(options.input);
  name_bad_lines(feed);
  if (feed.routes.empty())
    throw failure(feed.name + " holds no routes (" + counted(feed.lines, "line") + ", " +
                  grouped(feed.bad_lines) + " bad)");
  uint64_t duplicates = 0;
  const route_table table = build_table(feed, options.vrf, duplicates);
  if (!options.table_path.empty())
    write_table(table, options.table_path);
  tell(parent, {"loaded",
                {{"lines", feed.lines},
                 {"bad_lines", feed.bad_lines},
                 {"duplicates", duplicates},
                 {"routes", table.routes.size()},
                 {"next_hops", table.next_hops.size()},
                 {"groups", table.groups.size()}}});

  if (const uint32_t result = fib6_send_init(); result != 0)
    throw failure(std::string("the mesh refused the sender: ") + mesh_host_result_text(result));
  message_sender sender(options);
  const report sent = send_table(sender, table, options);
  if (parent == nullptr)
    print("sent %s in %s\n", counted(table.routes.size(), "route").c_str(),
          counted(sent["messages"], "message").c_str());
  tell(parent, sent);

  if (asked_to_withdraw(options, parent))
    tell(parent, withdraw_table(sender, table, options));
  return feed.bad_lines > 0 ? bad_input_status : 0;
}

} // namespace demo
