// Tells a receiver what has changed in the table.
//
// Room: fpm. Includes the public headers of module fib6, the development host, this folder and the
// demo's.
#include "fpm/record_sender.h"

#include "demo/text.h"
#include <mesh_fib6/host/mesh_host.h>

#include <functional>
#include <unistd.h>
#include <utility>

namespace fpm {

namespace {

// Entries a message, and messages a call that have one entry each.
constexpr size_t batch = 600;
constexpr size_t most_messages_a_call = 64;

constexpr uint32_t vrf = 0; // of everything but routes, as in the kernel

// Entries wait here until there are enough for a message, which `send_them` makes and sends.
template <class Entry>
class cut_into_messages {
public:
  using send_function = std::function<void(std::vector<Entry> &)>;
  explicit cut_into_messages(send_function send_them) : send_(std::move(send_them)) {
    waiting_.reserve(batch);
  }
  void add(Entry entry) {
    waiting_.push_back(std::move(entry));
    if (waiting_.size() == batch)
      finish();
  }
  void finish() {
    if (!waiting_.empty())
      send_(waiting_);
    waiting_.clear();
  }

private:
  send_function send_;
  std::vector<Entry> waiting_;
};

// What a receiver is to have under a key and has not been told, or null.
template <class Map, class Value>
bool is_news(const Map &told, const typename Map::key_type &key, const Value &wanted) {
  if (!wanted)
    return false;
  const auto found = told.find(key);
  return found == told.end() || found->second != *wanted;
}

} // namespace

record_sender::outcome record_sender::tell(feed_table &table) {
  table.settle();
  if (std::exchange(anew_, false))
    forget(table);
  changed_keys &changes = table.changes();
  try {
    if (last_sequence_ == 0) {
      send_phase(demo::phase::table_begins, table);
      whole_tables_++;
    }
    tell_updates(table, changes);
    tell_deletions(table, changes);
    send_phase(demo::phase::table_whole, table);
  } catch (const send_refused &) {
    return outcome::refused; // what was told is no news the next time
  }
  changes = {};
  return outcome::told;
}

void record_sender::forget(feed_table &table) {
  told_ = {};
  last_sequence_ = 0;
  table.changes() = {};
  table.everything_changed();
}

void record_sender::tell_updates(const feed_table &table, const changed_keys &changes) {
  update_lists(table, changes);
  update_next_hops(table, changes);
  update_groups(table, changes);
  update_routes(table, changes);
}

void record_sender::update_lists(const feed_table &table, const changed_keys &changes) {
  using entry = std::pair<uint32_t, const demo::segment_list *>;
  cut_into_messages<entry> cut([&](auto &entries) {
    std::vector<feiBrokerFib6_srv6SrList> records;
    records.reserve(entries.size());
    for (const auto &[number, segments] : entries)
      records.push_back(demo::list_record(vrf, number, *segments));
    feiBrokerFib6_srv6SrListUpdateMsg message{0, static_cast<uint32_t>(records.size()),
                                              records.data()};
    send(feiBrokerFib6_srv6SrListUpdateMsg__sendmsg, std::span(&message, 1));
    for (const auto &[number, segments] : entries)
      told_.segment_lists[number] = *segments;
  });
  for (const uint32_t number : changes.segment_lists)
    if (const auto *const wanted = table.segment_list(number);
        is_news(told_.segment_lists, number, wanted))
      cut.add({number, wanted});
  cut.finish();
}

void record_sender::update_next_hops(const feed_table &table, const changed_keys &changes) {
  using entry = std::pair<uint32_t, const demo::next_hop *>;
  cut_into_messages<entry> cut([&](auto &entries) {
    std::vector<feiBrokerFib6_nhp6Std> records;
    records.reserve(entries.size());
    for (const auto &[number, hop] : entries)
      records.push_back(demo::next_hop_record(number, *hop));
    feiBrokerFib6_nhp6UpdateMsg message{};
    message.f1.f0 = vrf;
    message.f2_count = static_cast<uint32_t>(records.size());
    message.f2 = records.data();
    send(feiBrokerFib6_nhp6UpdateMsg__sendmsg, std::span(&message, 1));
    for (const auto &[number, hop] : entries)
      told_.next_hops[number] = *hop;
  });
  for (const uint32_t number : changes.next_hops)
    if (const auto *const wanted = table.next_hop(number); is_news(told_.next_hops, number, wanted))
      cut.add({number, wanted});
  cut.finish();
}

// A message each; several go into one call as long as they share its buffer.
void record_sender::update_groups(const feed_table &table, const changed_keys &changes) {
  std::vector<uint32_t> numbers;
  std::vector<std::vector<feiBrokerFib6_nhp6GroupNode>> nodes;
  size_t bytes = 0;
  const auto send_them = [&] {
    std::vector<feiBrokerFib6_nhp6GroupUpdateMsg> messages;
    for (size_t i = 0; i < numbers.size(); i++)
      messages.push_back({0, demo::group_record(vrf, numbers[i], nodes[i].size()),
                          static_cast<uint32_t>(nodes[i].size()), nodes[i].data()});
    if (!messages.empty())
      send(feiBrokerFib6_nhp6GroupUpdateMsg__sendmsg, std::span(messages));
    for (const uint32_t number : numbers)
      told_.groups[number] = *table.group(number);
    numbers.clear();
    nodes.clear();
    bytes = 0;
  };
  for (const uint32_t number : changes.groups) {
    const demo::next_hop_group *const wanted = table.group(number);
    if (!is_news(told_.groups, number, wanted))
      continue;
    const size_t more = demo::largest_message_frame + wanted->size() * demo::largest_entry;
    if (numbers.size() == most_messages_a_call || bytes + more > demo::largest_batch)
      send_them();
    bytes += more;
    numbers.push_back(number);
    auto &own = nodes.emplace_back();
    for (const demo::group_member &member : *wanted)
      own.push_back(demo::member_record(vrf, number, member));
  }
  send_them();
}

void record_sender::update_routes(const feed_table &table, const changed_keys &changes) {
  using entry = std::pair<demo::route_key, demo::route>;
  std::vector<feiBrokerFib6_ipv6Fwd> records;
  cut_into_messages<entry> cut([&](auto &entries) {
    records.clear();
    for (const auto &[key, route] : entries)
      records.push_back(demo::route_record(key, route));
    feiBrokerFib6_ipv6FwdUpdateMsg message{0, static_cast<uint32_t>(records.size()),
                                           records.data()};
    send(feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg, std::span(&message, 1));
    routes_sent_ += entries.size();
    for (const auto &[key, route] : entries)
      told_.routes.insert_or_assign(told_.routes.end(), key, route);
  });
  for (const demo::route_key &key : changes.routes)
    if (const auto wanted = table.route(key); is_news(told_.routes, key, wanted))
      cut.add({key, *wanted});
  cut.finish();
}

// Of one kind: those that were told and are gone.
template <class Told, class Wanted, class Message, class Record>
void record_sender::tell_deletions_of(const std::set<typename Told::key_type> &keys, Told &told,
                                      Wanted wanted, send_function<Message> *sendmsg,
                                      Record (*record_of)(const typename Told::key_type &)) {
  using key_type = typename Told::key_type;
  cut_into_messages<key_type> cut([&](std::vector<key_type> &entries) {
    std::vector<Record> records;
    records.reserve(entries.size());
    for (const key_type &key : entries)
      records.push_back(record_of(key));
    Message message{0, static_cast<uint32_t>(records.size()), records.data()};
    send(sendmsg, std::span(&message, 1));
    for (const key_type &key : entries)
      told.erase(key);
  });
  for (const key_type &key : keys)
    if (!wanted(key) && told.contains(key))
      cut.add(key);
  cut.finish();
}

void record_sender::tell_deletions(const feed_table &table, const changed_keys &changes) {
  tell_deletions_of(
      changes.routes, told_.routes, [&](const auto &key) { return table.route(key).has_value(); },
      feiBrokerFib6_ipv6FwdDelMsg__sendmsg,
      +[](const demo::route_key &key) { return demo::key_record(key); });
  tell_deletions_of(
      changes.groups, told_.groups, [&](uint32_t number) { return table.group(number) != nullptr; },
      feiBrokerFib6_nhp6GroupDelMsg__sendmsg,
      +[](const uint32_t &number) {
        return feiBrokerFib6_nhp6GroupKey{vrf, number};
      });
  tell_deletions_of(
      changes.next_hops, told_.next_hops,
      [&](uint32_t number) { return table.next_hop(number) != nullptr; },
      feiBrokerFib6_nhp6DelMsg__sendmsg,
      +[](const uint32_t &number) { return feiBrokerFib6_nhp6Key{number}; });
  tell_deletions_of(
      changes.segment_lists, told_.segment_lists,
      [&](uint32_t number) { return table.segment_list(number) != nullptr; },
      feiBrokerFib6_srv6SrListDelMsg__sendmsg,
      +[](const uint32_t &number) { return demo::list_key_record(vrf, number); });
}

void record_sender::send_phase(demo::phase now, const feed_table &table) {
  feiBrokerFib6_pidStateMsg message{};
  message.f1 = {static_cast<uint32_t>(getpid()), static_cast<uint32_t>(now),
                static_cast<uint32_t>(table.resolved_routes()) + 1};
  send(feiBrokerFib6_pidStateMsg__sendmsg, std::span(&message, 1));
}

// Numbers messages and makes one call. Numbers of a call that is refused are given out again.
template <class Message>
void record_sender::send(send_function<Message> *sendmsg, std::span<Message> messages) {
  const uint32_t before = last_sequence_;
  for (Message &message : messages)
    message.f0 = ++last_sequence_;
  const uint32_t result =
      sendmsg(destination_, messages.data(), static_cast<uint32_t>(messages.size()));
  if (result == 0) {
    messages_ += messages.size();
    return;
  }
  last_sequence_ = before;
  refused(result);
  throw send_refused{};
}

void record_sender::refused(uint32_t result) {
  refusals_++;
  problem_ = result == MESH_FIB6_FAILED ? "a message could not be encoded, or memory is short"
                                        : mesh_host_result_text(result);
  switch (result) {
  case MESH_HOST_NO_RECEIVER:
  case MESH_HOST_PEER_LOST:
    begin_anew();
    return;
  case MESH_HOST_BAD_ARGUMENT:
  case MESH_HOST_BAD_CONFIG:
  case MESH_HOST_TOO_LARGE:
    throw demo::failure(demo::formatted("cannot send to destination %u: ", destination_) +
                        problem_);
  default: // the receiver is busy, or memory is short: it may take it the next time
    return;
  }
}

} // namespace fpm
