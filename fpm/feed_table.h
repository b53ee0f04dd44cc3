// What the routing daemon has said so far: the truth that receivers are told.
//
// Room: fpm. Includes this folder and the demo's.
#pragma once

#include "demo/route_table.h"
#include "fpm/events.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace fpm {

// Something that several use: it has a number as long as somebody does.
template <class Value>
class shared_values {
public:
  struct entry {
    uint32_t number = 0;
    uint32_t users = 0;
  };
  // The number of a value, with one user more; `made` says whether it is new.
  uint32_t use(const Value &value, uint32_t &last_number, bool &made) {
    entry &found = entries_[value];
    made = found.users++ == 0;
    if (made)
      found.number = ++last_number;
    return found.number;
  }
  // One user less; its number when that was the last one.
  std::optional<uint32_t> release(const Value &value) {
    const auto found = entries_.find(value);
    if (--found->second.users > 0)
      return {};
    const uint32_t number = found->second.number;
    entries_.erase(found);
    return number;
  }
  const entry *find(const Value &value) const {
    const auto found = entries_.find(value);
    return found == entries_.end() ? nullptr : &found->second;
  }

private:
  std::map<Value, entry> entries_;
};

// Keys of entries that are not as a receiver may have been told.
struct changed_keys {
  std::set<uint32_t> segment_lists, next_hops, groups;
  std::set<demo::route_key> routes;

  size_t size() const {
    return segment_lists.size() + next_hops.size() + groups.size() + routes.size();
  }
};

struct table_counters {
  uint64_t announced = 0; // routes that were not there before
  uint64_t replaced = 0;  // routes that were
  uint64_t withdrawn = 0;
  uint64_t unknown_withdrawn = 0; // routes and objects that were not there
  uint64_t objects = 0;           // next hops and groups announced
  uint64_t swept = 0;             // routes that a daemon did not announce again
  uint64_t over_limit = 0;        // routes and objects for which there was no room
  uint64_t malformed = 0;
  std::array<uint64_t, skip_reasons> skipped{};
};

// Routes with what they need. Numbers of next hops, groups and segment lists are the table's own: a
// daemon that was started again uses the numbers of its objects for other things, while routes of
// the one before it may still be there.
//
// A daemon's connection is a session. What was announced in an earlier one is stale: it stays until
// sweep().
class feed_table {
public:
  // At most `limit` routes, and as many objects.
  explicit feed_table(size_t limit) : limit_(limit) {}

  void take(const event &said);

  void begin_session() { session_++; }
  // Deletes what is stale, and says how many routes that were.
  uint64_t sweep();
  uint64_t stale_routes() const;

  // Brings groups and routes up to date with the objects that they use. Before changes() and what
  // follows.
  void settle();

  // What has changed since it was last taken away.
  changed_keys &changes() { return changes_; }
  // How much that is, counting objects that settle() will look at as one.
  size_t change_count() const { return changes_.size() + (objects_changed_ ? 1 : 0); }
  // All that there is has changed: nobody has been told anything.
  void everything_changed();

  // What a receiver is to have under a key; null when it is to have nothing.
  const demo::segment_list *segment_list(uint32_t number) const;
  const demo::next_hop *next_hop(uint32_t number) const;
  const demo::next_hop_group *group(uint32_t number) const;
  std::optional<demo::route> route(const demo::route_key &key) const;

  // All of that as one table.
  demo::route_table resolved() const;

  size_t routes() const { return routes_.size(); }
  size_t resolved_routes() const { return routes_.size() - waiting_.size(); }
  size_t waiting_routes() const { return waiting_.size(); } // for an object that is not there
  const table_counters &counters() const { return counters_; }

private:
  struct object_key {
    uint32_t session = 0;
    uint32_t id = 0;
    auto operator<=>(const object_key &) const = default;
  };
  struct object {
    object_announced said;
    uint32_t number = 0; // of its next hop, and of its group
    // As of the last settle():
    bool usable = false;  // whether its routes may be sent
    bool hole = false;    // whether they are black holes
    bool touched = false; // whether that has changed for them; within settle() only
  };
  struct kept_route {
    demo::route entry; // its group is that of `members`, or not yet known
    uint32_t session = 0;
    uint32_t object = 0;
    demo::next_hop_group members; // of a route that names its next hops itself
  };
  using route_map = std::map<demo::route_key, kept_route>;

  void take_event(const route_announced &said);
  void take_event(const route_withdrawn &said);
  void take_event(const object_announced &said);
  void take_event(const object_withdrawn &said);
  void take_event(const skipped &said) { counters_.skipped[static_cast<size_t>(said.reason)]++; }
  void take_event(const malformed &) { counters_.malformed++; }

  uint32_t use_list(const demo::segment_list &segments);
  void release_list(uint32_t number);
  void use_hops(const std::vector<weighted_hop> &hops, kept_route &route);
  void release(const kept_route &route);
  void erase_route(route_map::iterator found);
  void erase_object(std::map<object_key, object>::iterator found);
  void set_hop(uint32_t number, const hop &to);
  void erase_hop(uint32_t number);
  enum class concerns { no_route, waiting_routes, all_routes };
  concerns settle_object(const object_key &key, object &settled);
  void touch_route(const demo::route_key &key, const kept_route &kept);
  void erase_use(const object_key &key);
  void set_group(uint32_t number, demo::next_hop_group members);
  void erase_group(uint32_t number);

  size_t limit_;
  uint32_t session_ = 0;
  uint32_t last_number_ = 0;
  route_map routes_;
  std::set<demo::route_key> waiting_;
  std::map<object_key, object> objects_;
  std::map<object_key, uint32_t> uses_; // how many routes use an object, whether it is there or not
  bool objects_changed_ = false;

  shared_values<demo::segment_list> shared_lists_;
  shared_values<demo::next_hop> shared_hops_;
  shared_values<demo::next_hop_group> shared_groups_;
  demo::route_table told_; // what is told but for the routes
  changed_keys changes_;
  table_counters counters_;
};

} // namespace fpm
