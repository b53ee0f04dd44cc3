// What a peer makes of the service's words.
//
// Room: demo. Includes public headers and the folder above.
#include "demo/services/follower.h"

#include <utility>

namespace demo {

void follower::take(uint32_t id, uint64_t target, const void *record, uint32_t size) {
  if (target == 0 || target != service_epoch) {
    counted.strangers++;
    return;
  }
  switch (id) {
  case fib6Sync_svcCtxMsg_ID:
    return take_context(record, size);
  case fib6Sync_nhp6StdUpdateMsg_ID:
    return take_entry<fib6Sync_nhp6StdUpdateMsg>(record, size);
  case fib6Sync_nhp6GroupUpdateMsg_ID:
    return take_entry<fib6Sync_nhp6GroupUpdateMsg>(record, size);
  case fib6Sync_nhp6GroupNodeUpdateMsg_ID:
    return take_entry<fib6Sync_nhp6GroupNodeUpdateMsg>(record, size);
  case fib6Sync_ipv6FwdUpdateMsg_ID:
    return take_entry<fib6Sync_ipv6FwdUpdateMsg>(record, size);
  case feiBrokerFib6_ipv6FwdUpdateMsg_ID:
    return take_change<feiBrokerFib6_ipv6FwdUpdateMsg>(record, size);
  case feiBrokerFib6_ipv6FwdDelMsg_ID:
    return take_change<feiBrokerFib6_ipv6FwdDelMsg>(record, size);
  case feiBrokerFib6_nhp6UpdateMsg_ID:
    return take_change<feiBrokerFib6_nhp6UpdateMsg>(record, size);
  case feiBrokerFib6_nhp6DelMsg_ID:
    return take_change<feiBrokerFib6_nhp6DelMsg>(record, size);
  case feiBrokerFib6_nhp6GroupUpdateMsg_ID:
    return take_change<feiBrokerFib6_nhp6GroupUpdateMsg>(record, size);
  case feiBrokerFib6_nhp6GroupDelMsg_ID:
    return take_change<feiBrokerFib6_nhp6GroupDelMsg>(record, size);
  default:
    counted.refused++; // registered, but not part of the agreement
  }
}

void follower::take(const check_answer &answer) {
  ended = false;
  if (answer.epoch != service_epoch) { // another service: nothing is known of its table
    service_epoch = answer.epoch;
    go_astray();
  }
  if (answer.found != verdict::same || at != standing::in_step) {
    behind_at.reset();
    // A table that follows is announced by its context. One that is on its way already goes on.
    if (answer.found != verdict::same && at == standing::in_step)
      miss();
    return;
  }
  // The table was the service's at some time. It has to get on, or what it waits for was lost.
  if (answer.last_change == change_number)
    behind_at.reset();
  else if (behind_at == change_number)
    miss();
  else
    behind_at = change_number;
}

check follower::asking(uint32_t answer_to, uint32_t number) const {
  return {answer_to,     number,        at == standing::in_step ? wish::compare : wish::whole_table,
          change_number, service_epoch, kept.digest()};
}

template <class Message>
void follower::take_change(const void *record, uint32_t size) {
  const Message &message = *static_cast<const Message *>(record);
  if (size != sizeof message)
    return refuse();
  if (at != standing::in_step)
    return; // the whole table has it, too
  // A message that was refused may have lost its number as well: it is missing either way.
  const std::vector<change> changes = changes_of(message);
  if (message.f0 == 0 || changes.empty())
    return refuse();
  if (message.f0 <= change_number) {
    counted.repeated++;
    return;
  }
  if (message.f0 != change_number + 1)
    return miss();
  for (const change &next : changes)
    if (!kept.apply(next))
      return refuse();
  change_number = message.f0;
  counted.changes++;
}

template <class Message>
void follower::take_entry(const void *record, uint32_t size) {
  const Message &message = *static_cast<const Message *>(record);
  if (size != sizeof message)
    return refuse();
  // Of a table that was given up? A number of 0 is what a refused message has.
  if (at != standing::assembling || (message.f0.f0 != 0 && message.f0.f0 != synchronisation))
    return;
  if (message.f0.f1 != 0 && message.f0.f1 <= entry_number) {
    counted.repeated++;
    return;
  }
  if (message.f0.f1 != entry_number + 1 || !assembly.take(message.f1))
    return refuse();
  entry_number++;
}

void follower::take_context(const void *record, uint32_t size) {
  const auto &message = *static_cast<const fib6Sync_svcCtxMsg *>(record);
  const std::optional<service_context> context =
      size == sizeof message ? read_record(message) : std::nullopt;
  if (!context || context->epoch != service_epoch)
    return refuse();
  switch (context->state) {
  case service_state::table_begins:
    return begin_assembly(*context);
  case service_state::table_complete:
    return finish_assembly(*context);
  case service_state::in_step:
    return compare(*context);
  case service_state::ending:
    ended = true;
    return;
  }
}

void follower::begin_assembly(const service_context &context) {
  if (at == standing::assembling && context.synchronisation == synchronisation) {
    counted.repeated++;
    return;
  }
  assembly = {};
  synchronisation = context.synchronisation;
  entry_number = 0;
  at = standing::assembling;
}

void follower::finish_assembly(const service_context &context) {
  if (at != standing::assembling || context.synchronisation != synchronisation)
    return; // of a table that was given up
  std::optional<digested_table> whole = assembly.finish();
  assembly = {};
  if (!whole || entry_number != context.entries || whole->digest() != context.digest)
    return miss();
  kept = std::move(*whole);
  change_number = confirmed = context.last_change;
  behind_at.reset();
  at = standing::in_step;
  counted.whole_tables++;
}

void follower::compare(const service_context &context) {
  if (at != standing::in_step || context.last_change < change_number)
    return; // older than what came since
  if (context.last_change > change_number || context.digest != kept.digest())
    return miss();
  confirmed = change_number;
}

void follower::refuse() {
  counted.refused++;
  miss();
}

void follower::miss_something() {
  if (at != standing::astray)
    miss();
}

void follower::miss() {
  counted.gaps++;
  go_astray();
}

void follower::go_astray() {
  at = standing::astray;
  assembly = {};
  behind_at.reset();
}

} // namespace demo
