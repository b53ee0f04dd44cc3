// Between records and what they mean here.
//
// Room: demo. Includes public headers and the folder above.
#include "demo/services/agreement.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace demo {

namespace {

constexpr uint32_t lower(uint64_t number) {
  return static_cast<uint32_t>(number);
}
constexpr uint32_t upper(uint64_t number) {
  return static_cast<uint32_t>(number >> 32);
}
constexpr uint64_t joined(uint32_t low, uint32_t high) {
  return uint64_t{high} << 32 | low;
}

// A vector of records is read, or the message breaks the agreement as a whole.
template <class Change, class Record, class Read>
std::vector<change> read_all(std::span<const Record> records, Read read) {
  std::vector<change> found;
  for (const Record &record : records) {
    Change next;
    if (!read(record, next))
      return {};
    found.emplace_back(std::move(next));
  }
  return found;
}

// Records of module fib6_sync are those of module fib6 with more members behind them, or the same.
template <class Longer, class Shorter>
Longer lengthened(const Shorter &record) {
  static_assert(sizeof(Longer) >= sizeof(Shorter));
  Longer longer{};
  std::memcpy(&longer, &record, sizeof record);
  return longer;
}

// What is cut off then.
bool rest_is_zero(const fib6Sync_ipv6Fwd &record) {
  return record.f14 == 0;
}
bool rest_is_zero(const fib6Sync_nhp6Std &record) {
  return record.f9 == 0;
}
constexpr bool rest_is_zero(const fib6Sync_nhp6Group &) {
  return true; // there is none
}
constexpr bool rest_is_zero(const fib6Sync_nhp6GroupNode &) {
  return true;
}

template <class Shorter, class Longer>
bool shorten(const Longer &record, Shorter &shorter) {
  std::memcpy(&shorter, &record, sizeof shorter);
  return rest_is_zero(record);
}

static_assert(offsetof(fib6Sync_ipv6Fwd, f13) == offsetof(feiBrokerFib6_ipv6Fwd, f13));
static_assert(offsetof(fib6Sync_nhp6Std, f8) == offsetof(feiBrokerFib6_nhp6Std, f8));
static_assert(sizeof(fib6Sync_nhp6Group) == sizeof(feiBrokerFib6_nhp6Group));
static_assert(sizeof(fib6Sync_nhp6GroupNode) == sizeof(feiBrokerFib6_nhp6GroupNode));

} // namespace

fib6Sync_svcCtxMsg record_of(const service_context &context) {
  return {{static_cast<uint32_t>(context.state), context.synchronisation},
          {context.speaker, lower(context.epoch), upper(context.epoch), context.last_change,
           context.entries, lower(context.digest), upper(context.digest), 0}};
}

std::optional<service_context> read_record(const fib6Sync_svcCtxMsg &record) {
  const auto state = static_cast<service_state>(record.f0.f0);
  const uint64_t epoch = joined(record.f1[1], record.f1[2]);
  // Without its words, an epoch is 0: what the decoder refused is not mistaken.
  if (state < service_state::table_begins || state > service_state::ending || epoch == 0 ||
      record.f1[7] != 0)
    return {};
  return service_context{state,
                         record.f0.f1,
                         record.f1[0],
                         epoch,
                         record.f1[3],
                         record.f1[4],
                         joined(record.f1[5], record.f1[6])};
}

fib6_cfg_query_fib6check_key record_of(const check &asked) {
  fib6_cfg_query_fib6check_key record{};
  record.f0.f0 = asked.answer_to;
  record.f0.f1 = asked.number;
  record.f1 = {static_cast<uint32_t>(asked.asked),
               asked.last_change,
               {lower(asked.epoch), upper(asked.epoch), lower(asked.digest), upper(asked.digest)}};
  return record;
}

std::optional<check> read_record(const fib6_cfg_query_fib6check_key &record) {
  const auto asked = static_cast<wish>(record.f1.f0);
  if (record.f0.f1 == 0 || (asked != wish::compare && asked != wish::whole_table))
    return {};
  const uint32_t(&words)[4] = record.f1.f2;
  return check{record.f0.f0,
               record.f0.f1,
               asked,
               record.f1.f1,
               joined(words[0], words[1]),
               joined(words[2], words[3])};
}

fib6_cfg_query_fib6check_rec record_of(const check_answer &answer) {
  fib6_cfg_query_fib6check_rec record{};
  record.f0.f0 = answer.number;
  record.f0.f1 = static_cast<uint32_t>(answer.found);
  record.f1.f0 = answer.last_change;
  record.f1.f2[0] = lower(answer.epoch);
  record.f1.f2[1] = upper(answer.epoch);
  record.f1.f2[2] = lower(answer.digest);
  record.f1.f2[3] = upper(answer.digest);
  record.f1.f2[4] = answer.entries;
  return record;
}

std::optional<check_answer> read_record(const fib6_cfg_query_fib6check_rec &record) {
  const auto found = static_cast<verdict>(record.f0.f1);
  const uint32_t(&words)[64] = record.f1.f2;
  const uint64_t epoch = joined(words[0], words[1]);
  if (epoch == 0 || (found != verdict::same && found != verdict::table_follows))
    return {};
  return check_answer{record.f0.f0, found, record.f1.f0, epoch, joined(words[2], words[3]),
                      words[4]};
}

whole_table::whole_table(const digested_table &table, uint32_t vrf, uint32_t its_last_change)
    : last_change(its_last_change), digest(table.digest()) {
  for (const auto &[number, hop] : table.contents().next_hops)
    next_hops.push_back(lengthened<fib6Sync_nhp6Std>(next_hop_record(number, hop)));
  for (const auto &[number, group] : table.contents().groups) {
    groups.push_back(lengthened<fib6Sync_nhp6Group>(group_record(vrf, number, group.size())));
    for (const group_member &member : group)
      members.push_back(lengthened<fib6Sync_nhp6GroupNode>(member_record(vrf, number, member)));
  }
  for (const auto &[key, entry] : table.contents().routes)
    routes.push_back(lengthened<fib6Sync_ipv6Fwd>(route_record(key, entry)));
}

bool table_assembly::take(const fib6Sync_nhp6Std &record) {
  feiBrokerFib6_nhp6Std read{};
  put_next_hop next;
  return shorten(record, read) && read_record(read, next.number, next.hop) && table.apply(next);
}

bool table_assembly::take(const fib6Sync_nhp6Group &record) {
  feiBrokerFib6_nhp6Group read{}, again{};
  if (!shorten(record, read) || read.f2 == 0)
    return false;
  again = group_record(read.f0, read.f1, read.f2);
  return std::memcmp(&again, &read, sizeof read) == 0 && sizes.try_emplace(read.f1, read.f2).second;
}

bool table_assembly::take(const fib6Sync_nhp6GroupNode &record) {
  feiBrokerFib6_nhp6GroupNode read{};
  if (!shorten(record, read))
    return false;
  const group_member member{read.f2, read.f3};
  const feiBrokerFib6_nhp6GroupNode again = member_record(read.f0, read.f1, member);
  groups[read.f1].push_back(member);
  return std::memcmp(&again, &read, sizeof read) == 0;
}

bool table_assembly::take(const fib6Sync_ipv6Fwd &record) {
  feiBrokerFib6_ipv6Fwd read{};
  put_route next;
  return shorten(record, read) && read_record(read, next.key, next.entry) && table.apply(next);
}

std::optional<digested_table> table_assembly::finish() {
  if (sizes.size() != groups.size())
    return {};
  for (auto &[number, members] : groups) {
    const auto size = sizes.find(number);
    if (size == sizes.end() || size->second != members.size())
      return {};
    table.apply(put_group{number, std::move(members)});
  }
  return std::move(table);
}

std::vector<change> changes_of(const feiBrokerFib6_ipv6FwdUpdateMsg &message) {
  return read_all<put_route>(entries_of(message), [](const auto &record, put_route &next) {
    return read_record(record, next.key, next.entry);
  });
}

std::vector<change> changes_of(const feiBrokerFib6_ipv6FwdDelMsg &message) {
  return read_all<drop_route>(entries_of(message), [](const auto &record, drop_route &next) {
    return read_record(record, next.key);
  });
}

std::vector<change> changes_of(const feiBrokerFib6_nhp6UpdateMsg &message) {
  // The agreement has no use for the other kinds of next hops.
  if (message.f3 != nullptr || message.f4 != nullptr || message.f5 != nullptr ||
      message.f6 != nullptr || message.f7 != nullptr)
    return {};
  return read_all<put_next_hop>(entries_of(message), [](const auto &record, put_next_hop &next) {
    return read_record(record, next.number, next.hop);
  });
}

std::vector<change> changes_of(const feiBrokerFib6_nhp6DelMsg &message) {
  return read_all<drop_next_hop>(entries_of(message), [](const auto &record, drop_next_hop &next) {
    next.number = record.f0;
    return true;
  });
}

std::vector<change> changes_of(const feiBrokerFib6_nhp6GroupUpdateMsg &message) {
  put_group next;
  if (!read_record(message, next.number, next.members))
    return {};
  return {next};
}

std::vector<change> changes_of(const feiBrokerFib6_nhp6GroupDelMsg &message) {
  return read_all<drop_group>(entries_of(message), [](const auto &record, drop_group &next) {
    next.number = record.f1;
    return true;
  });
}

} // namespace demo
