// Target: what a routing daemon's connection brings is read, kept and told.
//
// Room: attacks. Input: the bytes of a connection, after one that says how they arrive.
//   byte 0     low seven bits: how many arrive at a time, 0 all at once; the highest: the
//   connection is
//              lost in the middle and the rest is what the next one brings
// However bytes arrive, the events are the same ones. What the table says that a receiver is to
// have holds together: a route's group is there, its members are, and their segment lists; a
// receiver that is told of each change only has the table in the end. What is withdrawn and swept
// leaves nothing.
#include "fuzz/exact_copy.h"
#include "fuzz/finding.h"
#include "fuzz/target.h"

#include "demo/route_model.h"
#include "fpm/feed_table.h"
#include "fpm/frame_reader.h"
#include "fpm/netlink_parser.h"

#include <algorithm>
#include <span>
#include <utility>

namespace fuzz {
namespace {

using fpm::event;
using fpm::frame_reader;

constexpr size_t table_limit = 64;

// The events of all frames of a connection, of which `step` bytes arrive at a time.
std::vector<event> read_connection(std::span<const uint8_t> bytes, size_t step) {
  frame_reader frames;
  std::vector<event> events;
  for (size_t at = 0; at < bytes.size(); at += step) {
    frames.take(bytes.subspan(at, std::min(step, bytes.size() - at)));
    while (frames.next() == frame_reader::outcome::frame) {
      const auto payload = frames.payload();
      // A block of its own, whose end is watched.
      const exact_copy copy(payload.data(), static_cast<uint32_t>(payload.size()), false);
      if (frames.type() == fpm::netlink_frame)
        fpm::parse_messages({copy.bytes(), payload.size()}, events);
    }
  }
  return events;
}

bool same_kinds(const std::vector<event> &left, const std::vector<event> &right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](const event &a, const event &b) { return a.index() == b.index(); });
}

void check_event(const event &said) {
  const auto sound = [](const demo::prefix &prefix) {
    return prefix.length <= 128 && demo::masked(prefix.address, prefix.length) == prefix.address;
  };
  if (const auto *const route = std::get_if<fpm::route_announced>(&said)) {
    if (!sound(route->to.prefix))
      found("a route to no prefix");
    if (demo::needs_next_hop(route->kind) && route->object == 0 && route->hops.empty())
      found("a route that leads nowhere");
    for (const fpm::weighted_hop &hop : route->hops)
      if (hop.weight == 0 || hop.to.segments.size() > demo::most_segments)
        found("a next hop that no record can hold");
  } else if (const auto *const object = std::get_if<fpm::object_announced>(&said)) {
    if (object->id == 0)
      found("an object without a number");
    if ((object->is == fpm::object_announced::kind::group) == object->members.empty())
      found("an object that is no group and has members, or the other way round");
  } else if (const auto *const wrong = std::get_if<fpm::malformed>(&said)) {
    if (wrong->what.empty())
      found("something malformed without a word");
  }
}

void check_whole(const demo::route_table &table) {
  for (const auto &[key, route] : table.routes)
    if (route.group != 0 ? !table.groups.contains(route.group) : demo::needs_next_hop(route.kind))
      found("a route without its group");
  for (const auto &[number, members] : table.groups) {
    if (members.empty())
      found("a group of nobody");
    for (const demo::group_member &member : members)
      if (!table.next_hops.contains(member.next_hop))
        found("a group without its next hop");
  }
  for (const auto &[number, hop] : table.next_hops)
    if (hop.segment_list != 0 && !table.segment_lists.contains(hop.segment_list))
      found("a next hop without its segment list");
}

// What a receiver has that hears of changes only.
template <class Keys, class Map, class Wanted>
void follow(const Keys &keys, Map &map, Wanted wanted) {
  for (const auto &key : keys) {
    if (const auto value = wanted(key))
      map.insert_or_assign(key, *value);
    else
      map.erase(key);
  }
}

void follow_changes(fpm::feed_table &table, demo::route_table &receiver) {
  table.settle();
  const fpm::changed_keys changes = std::exchange(table.changes(), {});
  follow(changes.segment_lists, receiver.segment_lists,
         [&](uint32_t number) { return table.segment_list(number); });
  follow(changes.next_hops, receiver.next_hops,
         [&](uint32_t number) { return table.next_hop(number); });
  follow(changes.groups, receiver.groups, [&](uint32_t number) { return table.group(number); });
  follow(changes.routes, receiver.routes,
         [&](const demo::route_key &key) { return table.route(key); });
  const demo::route_table whole = table.resolved();
  check_whole(whole);
  if (whole.routes != receiver.routes || whole.next_hops != receiver.next_hops ||
      whole.groups != receiver.groups || whole.segment_lists != receiver.segment_lists)
    found("a receiver that hears of changes has another table");
  if (whole.routes.size() != table.resolved_routes())
    found("%zu routes are counted, there are %zu", table.resolved_routes(), whole.routes.size());
}

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  if (size == 0)
    return nullptr;
  forget_findings();
  const std::span<const uint8_t> bytes(data + 1, size - 1);
  const size_t step = data[0] % 128 == 0 ? std::max<size_t>(bytes.size(), 1) : data[0] % 128;
  const std::vector<event> events = read_connection(bytes, step);
  if (!same_kinds(events, read_connection(bytes, std::max<size_t>(bytes.size(), 1))))
    found("bytes that arrive otherwise say something else");

  fpm::feed_table table(table_limit);
  demo::route_table receiver;
  table.begin_session();
  const size_t lost_at = data[0] >= 128 ? events.size() / 2 : events.size();
  for (size_t i = 0; i < events.size(); i++) {
    if (i == lost_at)
      table.begin_session();
    check_event(events[i]);
    table.take(events[i]);
    if (i % 3 == 0)
      follow_changes(table, receiver);
  }
  table.sweep();
  follow_changes(table, receiver);
  if (table.routes() > table_limit)
    found("more routes than the limit");
  // Nobody announces anything again.
  table.begin_session();
  table.sweep();
  follow_changes(table, receiver);
  if (!receiver.empty() || table.routes() != 0)
    found("something is left of what was swept");
  return finding();
}

} // namespace fuzz
