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
  case list_update_id:
    return take_as<feiBrokerFib6_srv6SrListUpdateMsg>(record);
  case list_delete_id:
    return take_as<feiBrokerFib6_srv6SrListDelMsg>(record);
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
  else {
    refused++;
    lacking = true;
  }
}

void table_receiver::follow_sequence(uint32_t number) {
  if (number == 0) // refused before its number was read: taken for the one that was due
    number = expected_sequence;
  if (number == 1) { // a new sender, or one that begins anew
    unfinished += in_phase ? 1 : 0;
    announced.reset();
    lacking = false;
  } else if (number != expected_sequence) {
    out_of_sequence++;
    lacking = true;
  }
  expected_sequence = number + 1;
  in_phase = true;
}

// Makes a change in the table, and in the one that is to take its place. A deletion says whether
// there was what it deletes.
template <class Change>
void table_receiver::change(Change make) {
  if (!make(table))
    rejected++;
  if (announced)
    make(*announced);
}

void table_receiver::keep(const feiBrokerFib6_ipv6FwdUpdateMsg &message) {
  for (const feiBrokerFib6_ipv6Fwd &record : entries_of(message)) {
    route_key key;
    route entry;
    const bool good = read_record(record, key, entry);
    change([&](route_table &changed) {
      // Senders that walk a sorted table make the hint right every time.
      if (good)
        changed.routes.insert_or_assign(changed.routes.end(), key, entry);
      return good;
    });
  }
}

void table_receiver::keep(const feiBrokerFib6_ipv6FwdDelMsg &message) {
  for (const feiBrokerFib6_ipv6FwdKey &record : entries_of(message)) {
    route_key key;
    const bool good = read_record(record, key);
    change([&](route_table &changed) { return good && changed.routes.erase(key) != 0; });
  }
}

void table_receiver::keep(const feiBrokerFib6_nhp6GroupUpdateMsg &message) {
  uint32_t number = 0;
  next_hop_group members;
  const bool good = read_record(message, number, members);
  change([&](route_table &changed) {
    if (good)
      changed.groups[number] = members;
    return good;
  });
}

void table_receiver::keep(const feiBrokerFib6_nhp6GroupDelMsg &message) {
  for (const feiBrokerFib6_nhp6GroupKey &record : entries_of(message))
    change([&](route_table &changed) { return changed.groups.erase(record.f1) != 0; });
}

void table_receiver::keep(const feiBrokerFib6_nhp6UpdateMsg &message) {
  for (const feiBrokerFib6_nhp6Std &record : entries_of(message)) {
    uint32_t number = 0;
    next_hop hop;
    const bool good = read_record(record, number, hop);
    change([&](route_table &changed) {
      if (good)
        changed.next_hops[number] = hop;
      return good;
    });
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
    change([&](route_table &changed) { return changed.next_hops.erase(record.f0) != 0; });
}

void table_receiver::keep(const feiBrokerFib6_srv6SrListUpdateMsg &message) {
  for (const feiBrokerFib6_srv6SrList &record : entries_of(message)) {
    uint32_t number = 0;
    segment_list segments;
    const bool good = read_record(record, number, segments);
    change([&](route_table &changed) {
      if (good)
        changed.segment_lists[number] = segments;
      return good;
    });
  }
}

void table_receiver::keep(const feiBrokerFib6_srv6SrListDelMsg &message) {
  for (const feiBrokerFib6_srv6SrListKey &record : entries_of(message)) {
    uint32_t number = 0;
    const bool good = read_record(record, number);
    change([&](route_table &changed) { return good && changed.segment_lists.erase(number) != 0; });
  }
}

void table_receiver::keep(const feiBrokerFib6_pidStateMsg &message) {
  const auto now = static_cast<phase>(message.f1.f1);
  switch (now) {
  case phase::table_begins:
    announced.emplace();
    return;
  case phase::table_whole:
    if (announced)
      table = std::move(*announced);
    announced.reset();
    lacking = lacking || table.routes.size() + 1 != message.f1.f2;
    break;
  case phase::table_sent:
  case phase::table_withdrawn:
    break;
  default:
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
