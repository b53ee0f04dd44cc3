// Rebuilds a table from decoded records.
//
// Room: demo. Includes the public headers of module fib6 and this folder.
#include "demo/table_receiver.h"

#include "demo/text.h"

#include <iterator>
#include <utility>

namespace demo {

namespace {

// Whether the decoder took the whole message. It does not say so, but what it refuses has null
// pointers or is zero from some member on, and every message of this agreement has a number and
// something in it.
template <class Message>
bool is_whole(const Message &message) {
  return message.f0 != 0 && !entries_of(message).empty();
}

bool is_whole(const feiBrokerFib6_pidStateMsg &message) {
  return message.f0 != 0 && message.f1.f2 != 0; // the last member that is read
}

} // namespace

void table_receiver::take(uint32_t id, const void *record) {
  messages++;
  switch (id) {
  case route_update_id:
    return take_as<feiBrokerFib6_ipv6FwdUpdateMsg>(record);
  case route_delete_id:
    return take_as<feiBrokerFib6_ipv6FwdDelMsg>(record);
  case group_update_id:
    return take_as<feiBrokerFib6_nhp6GroupUpdateMsg>(record);
  case group_delete_id:
    return take_as<feiBrokerFib6_nhp6GroupDelMsg>(record);
  case next_hop_update_id:
    return take_as<feiBrokerFib6_nhp6UpdateMsg>(record);
  case next_hop_delete_id:
    return take_as<feiBrokerFib6_nhp6DelMsg>(record);
  case phase_id:
    return take_as<feiBrokerFib6_pidStateMsg>(record);
  default:
    rejected++; // registered, but not part of the demo's agreement
  }
}

// Every message begins with its sequence number.
template <class Message>
void table_receiver::take_as(const void *record) {
  const Message &message = *static_cast<const Message *>(record);
  follow_sequence(message.f0);
  if (is_whole(message))
    keep(message);
  else
    refused++;
}

void table_receiver::follow_sequence(uint32_t number) {
  if (number == 0) // refused before its number was read: taken for the one that was due
    number = expected_sequence;
  if (number == 1) // a new sender
    unfinished += in_phase ? 1 : 0;
  else if (number != expected_sequence)
    out_of_sequence++;
  expected_sequence = number + 1;
  in_phase = true;
}

void table_receiver::keep(const feiBrokerFib6_ipv6FwdUpdateMsg &message) {
  for (const feiBrokerFib6_ipv6Fwd &record : entries_of(message)) {
    route_key key;
    route entry;
    if (read_record(record, key, entry))
      // Senders that walk a sorted table make the hint right every time.
      table.routes.insert_or_assign(table.routes.end(), key, entry);
    else
      rejected++;
  }
}

void table_receiver::keep(const feiBrokerFib6_ipv6FwdDelMsg &message) {
  for (const feiBrokerFib6_ipv6FwdKey &record : entries_of(message)) {
    route_key key;
    if (!read_record(record, key) || table.routes.erase(key) == 0)
      rejected++;
  }
}

void table_receiver::keep(const feiBrokerFib6_nhp6GroupUpdateMsg &message) {
  uint32_t number = 0;
  next_hop_group members;
  if (read_record(message, number, members))
    table.groups[number] = std::move(members);
  else
    rejected++;
}

void table_receiver::keep(const feiBrokerFib6_nhp6GroupDelMsg &message) {
  for (const feiBrokerFib6_nhp6GroupKey &record : entries_of(message))
    if (table.groups.erase(record.f1) == 0)
      rejected++;
}

void table_receiver::keep(const feiBrokerFib6_nhp6UpdateMsg &message) {
  for (const feiBrokerFib6_nhp6Std &record : entries_of(message)) {
    uint32_t number = 0;
    next_hop hop;
    if (read_record(record, number, hop))
      table.next_hops[number] = hop;
    else
      rejected++;
  }
  // The agreement has no use for the other kinds of next hops.
  rejected += elements(message.f3, message.f3_count).size() +
              elements(message.f4, message.f4_count).size() +
              elements(message.f5, message.f5_count).size() +
              elements(message.f6, message.f6_count).size() +
              elements(message.f7, message.f7_count).size();
}

void table_receiver::keep(const feiBrokerFib6_nhp6DelMsg &message) {
  for (const feiBrokerFib6_nhp6Key &record : entries_of(message))
    if (table.next_hops.erase(record.f0) == 0)
      rejected++;
}

void table_receiver::keep(const feiBrokerFib6_pidStateMsg &message) {
  const auto now = static_cast<phase>(message.f1.f1);
  if (now != phase::table_sent && now != phase::table_withdrawn) {
    rejected++;
    return;
  }
  in_phase = false;
  phase_ended(*this, now);
}

void table_receiver::spoil_one_route() {
  if (!table.routes.empty())
    std::next(table.routes.begin(), static_cast<std::ptrdiff_t>(table.routes.size() / 2))
        ->second.metric++;
}

report table_receiver::told_as(std::string word) const {
  return {std::move(word),
          {{"messages", messages},
           {"routes", table.routes.size()},
           {"next_hops", table.next_hops.size()},
           {"groups", table.groups.size()},
           {"refused", refused},
           {"rejected", rejected},
           {"out_of_sequence", out_of_sequence},
           {"unfinished", unfinished + (in_phase ? 1 : 0)}}};
}

std::vector<std::string> problems_of(const report &told) {
  std::vector<std::string> problems;
  const auto add = [&](const char *name, std::string_view noun, const char *what) {
    if (const uint64_t count = told[name]; count > 0)
      problems.push_back(counted(count, noun) + what);
  };
  add("refused", "message", " refused by the decoder");
  add("out_of_sequence", "message", " out of sequence (others lost or repeated before)");
  add("unfinished", "sender", " ended in the middle");
  add("rejected", "item", " rejected");
  add("unusable", "message", " unusable to the mesh");
  return problems;
}

} // namespace demo
