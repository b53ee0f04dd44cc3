// What the routing daemon has said so far: the truth that receivers are told.
//
// Room: fpm. Includes the kernel's headers, this folder and the demo's.
#include "fpm/feed_table.h"

#include <algorithm>
#include <linux/rtnetlink.h>
#include <utility>

namespace fpm {

namespace {

// The main table is the routing instance 0; others keep their numbers.
demo::route_key key_of(const destination &to) {
  return {to.table == RT_TABLE_MAIN ? 0 : to.table, to.prefix};
}

template <class Map>
auto *found_in(const Map &map, uint32_t number) {
  const auto found = map.find(number);
  return found == map.end() ? nullptr : &found->second;
}

} // namespace

void feed_table::take(const event &said) {
  std::visit([this](const auto &alternative) { take_event(alternative); }, said);
}

// ---- routes
// --------------------------------------------------------------------------------------

void feed_table::take_event(const route_announced &said) {
  const demo::route_key key = key_of(said.to);
  auto found = routes_.find(key);
  if (found == routes_.end() && routes_.size() >= limit_) {
    counters_.over_limit++;
    return;
  }
  kept_route route{{said.kind, 0, said.metric, 0, said.protocol}, session_, said.object, {}};
  // The new one's are in use before the old one's are given up: what is the same keeps its number.
  use_hops(said.hops, route);
  if (route.object != 0)
    uses_[{session_, route.object}]++;
  if (found == routes_.end()) {
    found = routes_.emplace(key, kept_route{}).first;
    counters_.announced++;
  } else {
    release(found->second);
    counters_.replaced++;
  }
  found->second = std::move(route);
  changes_.routes.insert(key);
}

void feed_table::take_event(const route_withdrawn &said) {
  const auto found = routes_.find(key_of(said.to));
  if (found == routes_.end()) {
    counters_.unknown_withdrawn += said.superseded ? 0 : 1;
    return;
  }
  counters_.withdrawn++;
  erase_route(found);
}

void feed_table::erase_route(route_map::iterator found) {
  release(found->second);
  changes_.routes.insert(found->first);
  waiting_.erase(found->first);
  routes_.erase(found);
}

uint32_t feed_table::use_list(const demo::segment_list &segments) {
  if (segments.empty())
    return 0;
  bool made = false;
  const uint32_t number = shared_lists_.use(segments, last_number_, made);
  if (made) {
    told_.segment_lists[number] = segments;
    changes_.segment_lists.insert(number);
  }
  return number;
}

void feed_table::release_list(uint32_t number) {
  if (number == 0)
    return;
  const auto found = told_.segment_lists.find(number);
  if (shared_lists_.release(found->second)) {
    changes_.segment_lists.insert(number);
    told_.segment_lists.erase(found);
  }
}

void feed_table::use_hops(const std::vector<weighted_hop> &hops, kept_route &route) {
  for (const weighted_hop &named : hops) {
    const demo::next_hop value{named.to.gateway, named.to.interface, use_list(named.to.segments)};
    bool made = false;
    const uint32_t number = shared_hops_.use(value, last_number_, made);
    if (made) {
      told_.next_hops[number] = value;
      changes_.next_hops.insert(number);
    } else {
      release_list(value.segment_list); // the hop that is there has it in use already
    }
    route.members.push_back({number, named.weight});
  }
  if (route.members.empty())
    return;
  bool made = false;
  route.entry.group = shared_groups_.use(route.members, last_number_, made);
  if (made)
    set_group(route.entry.group, route.members);
}

// Gives up what a route has in use.
void feed_table::release(const kept_route &route) {
  if (route.object != 0)
    erase_use({route.session, route.object});
  if (route.members.empty())
    return;
  if (const auto unused = shared_groups_.release(route.members))
    erase_group(*unused);
  for (const demo::group_member &member : route.members) {
    const demo::next_hop value = told_.next_hops.at(member.next_hop);
    if (shared_hops_.release(value))
      erase_hop(member.next_hop);
  }
}

void feed_table::erase_use(const object_key &key) {
  const auto used = uses_.find(key);
  if (--used->second == 0)
    uses_.erase(used);
}

// ---- objects
// -------------------------------------------------------------------------------------

void feed_table::take_event(const object_announced &said) {
  const object_key key{session_, said.id};
  auto found = objects_.find(key);
  if (found == objects_.end() && objects_.size() >= limit_) {
    counters_.over_limit++;
    return;
  }
  counters_.objects++;
  objects_changed_ = true;
  if (found == objects_.end()) {
    found = objects_.emplace(key, object{}).first;
    found->second.number = ++last_number_;
  }
  if (said.is == object_announced::kind::hop)
    set_hop(found->second.number, said.to);
  else
    erase_hop(found->second.number);
  found->second.said = said;
}

void feed_table::take_event(const object_withdrawn &said) {
  const auto found = objects_.find({session_, said.id});
  if (found == objects_.end())
    counters_.unknown_withdrawn += said.superseded ? 0 : 1;
  else
    erase_object(found);
}

void feed_table::erase_object(std::map<object_key, object>::iterator found) {
  objects_changed_ = true;
  erase_hop(found->second.number);
  erase_group(found->second.number);
  if (uses_.contains(found->first))
    for (const auto &[key, route] : routes_)
      if (route.object == found->first.id && route.session == found->first.session)
        changes_.routes.insert(key);
  objects_.erase(found);
}

void feed_table::set_hop(uint32_t number, const hop &to) {
  const demo::next_hop value{to.gateway, to.interface, use_list(to.segments)};
  const auto found = told_.next_hops.find(number);
  if (found == told_.next_hops.end()) {
    told_.next_hops.emplace(number, value);
    changes_.next_hops.insert(number);
    return;
  }
  release_list(found->second.segment_list);
  if (found->second != value)
    changes_.next_hops.insert(number);
  found->second = value;
}

void feed_table::erase_hop(uint32_t number) {
  const auto found = told_.next_hops.find(number);
  if (found == told_.next_hops.end())
    return;
  changes_.next_hops.insert(number);
  const uint32_t list = found->second.segment_list;
  told_.next_hops.erase(found);
  release_list(list);
}

void feed_table::set_group(uint32_t number, demo::next_hop_group members) {
  demo::next_hop_group &told = told_.groups[number];
  if (told == members)
    return;
  told = std::move(members);
  changes_.groups.insert(number);
}

void feed_table::erase_group(uint32_t number) {
  if (told_.groups.erase(number) > 0)
    changes_.groups.insert(number);
}

// A group can be told when all of its members are next hops. They may come after it. Says which
// routes that concerns.
feed_table::concerns feed_table::settle_object(const object_key &key, object &settled) {
  demo::next_hop_group members;
  bool complete = true;
  switch (settled.said.is) {
  case object_announced::kind::hop:
    members.push_back({settled.number, 1});
    break;
  case object_announced::kind::group:
    for (const demo::group_member &member : settled.said.members) {
      const auto found = objects_.find({key.session, member.next_hop});
      if (found == objects_.end() || found->second.said.is != object_announced::kind::hop)
        complete = false;
      else
        members.push_back({found->second.number, member.weight});
    }
    break;
  case object_announced::kind::blackhole:
    break;
  }
  const bool hole = settled.said.is == object_announced::kind::blackhole;
  const bool usable = hole || complete;
  if (usable && !hole)
    set_group(settled.number, std::move(members));
  else
    erase_group(settled.number);
  const bool was_usable = std::exchange(settled.usable, usable);
  const bool was_hole = std::exchange(settled.hole, hole);
  settled.touched = (usable != was_usable || hole != was_hole) && uses_.contains(key);
  if (!settled.touched)
    return concerns::no_route;
  return was_usable ? concerns::all_routes : concerns::waiting_routes;
}

// A route that uses an object of which something has changed has changed with it.
void feed_table::touch_route(const demo::route_key &key, const kept_route &kept) {
  const auto used = objects_.find({kept.session, kept.object});
  if (used != objects_.end() && used->second.touched)
    changes_.routes.insert(key);
}

void feed_table::settle() {
  auto most = concerns::no_route;
  if (std::exchange(objects_changed_, false))
    for (auto &[key, kept] : objects_)
      most = std::max(most, settle_object(key, kept));
  if (most == concerns::waiting_routes)
    for (const demo::route_key &key : waiting_) // to the others it has not been there
      touch_route(key, routes_.at(key));
  else if (most == concerns::all_routes)
    for (const auto &[key, kept] : routes_)
      touch_route(key, kept);
  for (const demo::route_key &key : changes_.routes)
    if (routes_.contains(key) && !route(key))
      waiting_.insert(key);
    else
      waiting_.erase(key);
}

// ---- sessions
// ------------------------------------------------------------------------------------

uint64_t feed_table::sweep() {
  uint64_t swept = 0;
  for (auto next = routes_.begin(); next != routes_.end();) {
    const auto at = next++;
    if (at->second.session != session_) {
      erase_route(at);
      swept++;
    }
  }
  for (auto next = objects_.begin(); next != objects_.end();) {
    const auto at = next++;
    if (at->first.session != session_)
      erase_object(at);
  }
  counters_.swept += swept;
  return swept;
}

uint64_t feed_table::stale_routes() const {
  return static_cast<uint64_t>(std::count_if(routes_.begin(), routes_.end(), [&](const auto &kept) {
    return kept.second.session != session_;
  }));
}

// ---- what is told
// --------------------------------------------------------------------------------

void feed_table::everything_changed() {
  for (const auto &[number, segments] : told_.segment_lists)
    changes_.segment_lists.insert(changes_.segment_lists.end(), number);
  for (const auto &[number, to] : told_.next_hops)
    changes_.next_hops.insert(changes_.next_hops.end(), number);
  for (const auto &[number, members] : told_.groups)
    changes_.groups.insert(changes_.groups.end(), number);
  for (const auto &[key, kept] : routes_)
    changes_.routes.insert(changes_.routes.end(), key);
}

const demo::segment_list *feed_table::segment_list(uint32_t number) const {
  return found_in(told_.segment_lists, number);
}

const demo::next_hop *feed_table::next_hop(uint32_t number) const {
  return found_in(told_.next_hops, number);
}

const demo::next_hop_group *feed_table::group(uint32_t number) const {
  return found_in(told_.groups, number);
}

std::optional<demo::route> feed_table::route(const demo::route_key &key) const {
  const auto found = routes_.find(key);
  if (found == routes_.end())
    return {};
  const kept_route &kept = found->second;
  if (kept.object == 0)
    return kept.entry;
  const auto used = objects_.find({kept.session, kept.object});
  if (used == objects_.end() || !used->second.usable)
    return {};
  demo::route entry = kept.entry;
  if (used->second.hole)
    entry.kind = demo::route_kind::blackhole;
  else
    entry.group = used->second.number;
  return entry;
}

demo::route_table feed_table::resolved() const {
  demo::route_table table{{}, told_.next_hops, told_.groups, told_.segment_lists};
  for (const auto &[key, kept] : routes_)
    if (const auto entry = route(key))
      table.routes.emplace_hint(table.routes.end(), key, *entry);
  return table;
}

} // namespace fpm
