// Gives the routes of a feed their next hops.
//
// Room: demo. Includes this folder only; knows nothing of messages.
#include "demo/route_table.h"

#include "demo/next_hop_choice.h"

namespace demo {

route_table build_table(const route_feed &feed, uint32_t vrf, uint64_t &duplicates) {
  // Lines that lost must leave no next hop behind, so they are found first.
  std::map<route_key, const feed_route *> winners;
  for (const feed_route &line : feed.routes)
    winners[{vrf, line.destination}] = &line;
  duplicates = feed.routes.size() - winners.size();

  route_table table;
  next_hop_choice choice;
  for (const auto &[key, line] : winners) {
    const route entry{line->kind, choice.group_of(*line), line->metric.value_or(default_metric),
                      line->line};
    table.routes.emplace_hint(table.routes.end(), key, entry);
  }
  for (const auto &[hop, number] : choice.hops())
    table.next_hops[number] = hop;
  for (const auto &[members, number] : choice.groups())
    table.groups[number] = members;
  return table;
}

} // namespace demo
