// What the service sends to one peer.
//
// Room: demo. Includes public headers and the folder above.
#include "demo/services/feed.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

namespace demo {

namespace {

using namespace std::chrono_literals;

constexpr auto pause_when_busy = 10ms;
constexpr auto pause_without_receiver = 100ms;
constexpr unsigned most_tries_without_receiver = 3; // then the peer has to say that it is there
constexpr size_t most_answers = 16;

// Of one call. Small enough that a peer which is slow to take them does not hold up the others.
constexpr size_t most_entries_a_call = 250;
constexpr size_t most_changes_a_call = 64;

// What a change is as a message of module fib6; its entry lies beside it.
struct route_update {
  using message = feiBrokerFib6_ipv6FwdUpdateMsg;
  static constexpr auto sendtomsg = feiBrokerFib6_ipv6FwdUpdateMsg__sendtomsg;
  std::vector<feiBrokerFib6_ipv6Fwd> entries;
  route_update(const put_route &made, uint32_t) : entries{route_record(made.key, made.entry)} {}
  message numbered(uint32_t number) { return {number, 1, entries.data()}; }
};
struct route_deletion {
  using message = feiBrokerFib6_ipv6FwdDelMsg;
  static constexpr auto sendtomsg = feiBrokerFib6_ipv6FwdDelMsg__sendtomsg;
  std::vector<feiBrokerFib6_ipv6FwdKey> entries;
  route_deletion(const drop_route &made, uint32_t) : entries{key_record(made.key)} {}
  message numbered(uint32_t number) { return {number, 1, entries.data()}; }
};
struct next_hop_update {
  using message = feiBrokerFib6_nhp6UpdateMsg;
  static constexpr auto sendtomsg = feiBrokerFib6_nhp6UpdateMsg__sendtomsg;
  uint32_t vrf;
  std::vector<feiBrokerFib6_nhp6Std> entries;
  next_hop_update(const put_next_hop &made, uint32_t its_vrf)
      : vrf(its_vrf), entries{next_hop_record(made.number, made.hop)} {}
  message numbered(uint32_t number) {
    message made{};
    made.f0 = number;
    made.f1.f0 = vrf;
    made.f2_count = 1;
    made.f2 = entries.data();
    return made;
  }
};
struct next_hop_deletion {
  using message = feiBrokerFib6_nhp6DelMsg;
  static constexpr auto sendtomsg = feiBrokerFib6_nhp6DelMsg__sendtomsg;
  std::vector<feiBrokerFib6_nhp6Key> entries;
  next_hop_deletion(const drop_next_hop &made, uint32_t) : entries{{made.number}} {}
  message numbered(uint32_t number) { return {number, 1, entries.data()}; }
};
struct group_update {
  using message = feiBrokerFib6_nhp6GroupUpdateMsg;
  static constexpr auto sendtomsg = feiBrokerFib6_nhp6GroupUpdateMsg__sendtomsg;
  feiBrokerFib6_nhp6Group header;
  std::vector<feiBrokerFib6_nhp6GroupNode> entries;
  group_update(const put_group &made, uint32_t vrf)
      : header(group_record(vrf, made.number, made.members.size())) {
    for (const group_member &member : made.members)
      entries.push_back(member_record(vrf, made.number, member));
  }
  message numbered(uint32_t number) {
    return {number, header, static_cast<uint32_t>(entries.size()), entries.data()};
  }
};
struct group_deletion {
  using message = feiBrokerFib6_nhp6GroupDelMsg;
  static constexpr auto sendtomsg = feiBrokerFib6_nhp6GroupDelMsg__sendtomsg;
  std::vector<feiBrokerFib6_nhp6GroupKey> entries;
  group_deletion(const drop_group &made, uint32_t vrf) : entries{{vrf, made.number}} {}
  message numbered(uint32_t number) { return {number, 1, entries.data()}; }
};

template <class Change>
struct carrier;
template <>
struct carrier<put_route> : std::type_identity<route_update> {};
template <>
struct carrier<drop_route> : std::type_identity<route_deletion> {};
template <>
struct carrier<put_next_hop> : std::type_identity<next_hop_update> {};
template <>
struct carrier<drop_next_hop> : std::type_identity<next_hop_deletion> {};
template <>
struct carrier<put_group> : std::type_identity<group_update> {};
template <>
struct carrier<drop_group> : std::type_identity<group_deletion> {};

} // namespace

feed::feed(uint32_t its_peer, const service_identity &its_service, const table_owner &table,
           link &way, feed_counters &counters)
    : peer(its_peer), service(its_service), owner(table), mesh(way), counts(counters) {}

void feed::take(const check &asked) {
  const bool known = asked.asked == wish::compare && asked.epoch == service.epoch &&
                     owner.had(asked.last_change, asked.digest);
  if (!known)
    begin_table();
  else if (!whole && !next_change) // it was given up, or its service was told to forget it
    next_change = asked.last_change + 1;
  tries_without_receiver = 0;
  not_before = {};
  // One answer is enough: the peer goes by the latest.
  check_answers.assign(1, {asked.number, whole ? verdict::table_follows : verdict::same,
                           owner.last_change(), service.epoch, owner.table().digest(),
                           static_cast<uint32_t>(owner.table().entries())});
}

void feed::take_query(const fib6_cfg_query_fib6_key &query) {
  if (route_answers.size() == most_answers)
    route_answers.pop_front(); // who asks so much does not wait for each answer
  route_answer &answer = route_answers.emplace_back();
  answer.record.f0.f0 = query.f0.f1;
  answer.record.f0.f1 = query.f1.f0 != 1; // refused: nobody knows what is asked
  if (answer.record.f0.f1 != 0)
    return;
  ipv6_address address;
  static_assert(sizeof address == sizeof query.f1.f1);
  std::copy_n(reinterpret_cast<const uint8_t *>(query.f1.f1), address.size(), address.begin());
  const route_table &table = owner.table().contents();
  for (uint8_t length = 0; length <= 128; length++) {
    const auto found = table.routes.find({service.vrf, {masked(address, length), length}});
    if (found == table.routes.end())
      continue;
    fib6_cfg_query_fib6_item &item = answer.items.emplace_back();
    const auto store = [](uint32_t(&words)[4], const ipv6_address &bytes) {
      std::copy(bytes.begin(), bytes.end(), reinterpret_cast<uint8_t *>(words));
    };
    store(item.f0, found->first.destination.address);
    item.f5 = length;
    if (found->second.group != 0) {
      const group_member &first = table.groups.at(found->second.group).front();
      store(item.f1, table.next_hops.at(first.next_hop).gateway);
    }
  }
  answer.record.f0.f2 = static_cast<uint32_t>(answer.items.size());
}

bool feed::send_some() {
  if (std::chrono::steady_clock::now() < not_before)
    return false;
  if (!check_answers.empty() || !route_answers.empty())
    return send_answers();
  if (whole)
    return send_table();
  if (next_change && (*next_change <= owner.last_change() || step_due))
    return send_changes();
  check_settled();
  return false;
}

bool feed::send_answers() {
  if (!check_answers.empty()) {
    const fib6_cfg_query_fib6check_rec record = record_of(check_answers.front());
    const sent result = mesh.send(peer, std::span(&record, 1), service.epoch,
                                  fib6_cfg_query_fib6check_rec__sendtomsg);
    if (!note(result, 1))
      return false;
    check_answers.pop_front();
    not_before = {}; // the pause is for tables and changes
    return true;
  }
  route_answer &answer = route_answers.front();
  answer.record.f1_count = static_cast<uint32_t>(answer.items.size());
  answer.record.f1 = answer.items.empty() ? nullptr : answer.items.data();
  const std::span<const fib6_cfg_query_fib6_rec> one(&answer.record, 1);
  if (!note(mesh.send(peer, one, service.epoch, fib6_cfg_query_fib6_rec__sendtomsg), 1))
    return false;
  route_answers.pop_front();
  not_before = {};
  return true;
}

// Sends the entries that are due when those are among `records`. `before` is how many entries the
// kinds in front of this one have; it is moved on. Nothing: they are of another kind.
template <class Message, class Record>
std::optional<sent> feed::send_entries(const std::vector<Record> &records, uint32_t &before,
                                       uint32_t (*sendtomsg)(uint32_t, const Message *, uint32_t,
                                                             uint64_t)) {
  const uint32_t first = before;
  before += static_cast<uint32_t>(records.size());
  if (whole->next - 1 >= before)
    return {};
  const size_t begin = whole->next - 1 - first;
  const size_t count = std::min(records.size() - begin, most_entries_a_call);
  std::vector<Message> messages(count);
  for (size_t i = 0; i < count; i++) {
    messages[i].f0 = {whole->number, whole->next + static_cast<uint32_t>(i)};
    messages[i].f1 = records[begin + i];
  }
  const sent result = mesh.send(peer, std::span<const Message>(messages), service.epoch, sendtomsg);
  if (note(result, count))
    whole->next += static_cast<uint32_t>(count);
  return result;
}

bool feed::send_table() {
  if (whole->table == nullptr)
    whole->table =
        std::make_shared<const whole_table>(owner.table(), service.vrf, owner.last_change());
  if (whole->next == 0) {
    if (!send_context(service_state::table_begins))
      return false;
    counts.whole_tables++;
    whole->next = 1;
    return true;
  }
  const std::shared_ptr<const whole_table> table = whole->table;
  uint32_t before = 0;
  std::optional<sent> result =
      send_entries(table->next_hops, before, fib6Sync_nhp6StdUpdateMsg__sendtomsg);
  if (!result)
    result = send_entries(table->groups, before, fib6Sync_nhp6GroupUpdateMsg__sendtomsg);
  if (!result)
    result = send_entries(table->members, before, fib6Sync_nhp6GroupNodeUpdateMsg__sendtomsg);
  if (!result)
    result = send_entries(table->routes, before, fib6Sync_ipv6FwdUpdateMsg__sendtomsg);
  if (result)
    return *result == sent::accepted;
  if (!send_context(service_state::table_complete))
    return false;
  next_change = table->last_change + 1;
  whole.reset();
  return true;
}

// How many changes from the next one on are of a kind and go into one call, and their carriers.
template <class Carrier, class Change>
static std::vector<Carrier> carriers_from(const table_owner &owner, uint32_t first, uint32_t vrf) {
  std::vector<Carrier> found;
  size_t bytes = 0;
  for (uint32_t number = first; found.size() < most_changes_a_call && number <= owner.last_change();
       number++) {
    const Change *const next = std::get_if<Change>(&owner.logged(number));
    if (next == nullptr)
      break;
    Carrier carrier(*next, vrf);
    bytes += largest_message_frame + carrier.entries.size() * largest_entry;
    if (bytes > largest_batch && !found.empty())
      break;
    found.push_back(std::move(carrier));
  }
  return found;
}

template <class Change>
bool feed::send_alike() {
  using carrying = typename carrier<Change>::type;
  using message = typename carrying::message;
  auto carriers = carriers_from<carrying, Change>(owner, *next_change, service.vrf);
  std::vector<message> messages;
  messages.reserve(carriers.size());
  for (carrying &each : carriers)
    messages.push_back(each.numbered(*next_change + static_cast<uint32_t>(messages.size())));
  const sent result =
      mesh.send(peer, std::span<const message>(messages), service.epoch, carrying::sendtomsg);
  if (!note(result, messages.size()))
    return false;
  *next_change += static_cast<uint32_t>(messages.size());
  step_due = true;
  return true;
}

bool feed::send_changes() {
  if (*next_change > owner.last_change()) {
    if (!send_context(service_state::in_step))
      return false;
    step_due = false;
    return true;
  }
  if (!owner.is_logged(*next_change)) { // too far behind
    begin_table();
    return true;
  }
  return std::visit(
      [this](const auto &first) { return send_alike<std::decay_t<decltype(first)>>(); },
      owner.logged(*next_change));
}

bool feed::send_context(service_state state) {
  service_context context{
      state, 0, service.destination, service.epoch, owner.last_change(), 0, owner.table().digest()};
  if (whole) {
    context.synchronisation = whole->number;
    context.last_change = whole->table->last_change;
    context.entries = whole->table->entries();
    context.digest = whole->table->digest;
  }
  const fib6Sync_svcCtxMsg record = record_of(context);
  return note(mesh.send(peer, std::span(&record, 1), service.epoch, fib6Sync_svcCtxMsg__sendtomsg),
              1);
}

// Whether the call was accepted; if not, when and how it goes on.
bool feed::note(sent result, size_t messages) {
  const auto now = std::chrono::steady_clock::now();
  switch (result) {
  case sent::accepted:
    counts.messages += messages;
    unsettled = true;
    tries_without_receiver = 0;
    not_before = now + service.pause;
    return true;
  case sent::busy:
    counts.busy++;
    not_before = now + pause_when_busy;
    return false;
  case sent::lost:
    counts.losses++;
    unsettled = false;
    if (whole || next_change)
      begin_table();
    return false;
  case sent::nobody:
    not_before = now + pause_without_receiver;
    if (++tries_without_receiver < most_tries_without_receiver)
      return false;
    whole.reset();
    next_change.reset();
    step_due = false;
    check_answers.clear();
    route_answers.clear();
    return false;
  }
  return false;
}

void feed::begin_table() {
  whole = synchronisation{++last_synchronisation, nullptr, 0};
  next_change.reset();
  step_due = false;
}

// With nothing more to send, nobody else would tell of what was lost.
void feed::check_settled() {
  if (!unsettled)
    return;
  const sent result = link::settled(peer);
  if (result == sent::accepted)
    unsettled = false;
  else if (result != sent::busy)
    note(result, 0);
}

void feed::take_leave() {
  if (whole && whole->table == nullptr)
    return; // nothing of it was sent: the peer knows nothing of this service
  if (whole || next_change)
    send_context(service_state::ending);
}

} // namespace demo
