// The table of the service: what lines make of it, and the log of what was changed.
//
// Room: demo. Includes this folder and the one above only; knows nothing of messages.
#pragma once

#include "demo/next_hop_choice.h"
#include "demo/route_feed.h"
#include "demo/services/change.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

namespace demo {

// Every change has a number, from 1, in the order in which they were made.
class table_owner {
public:
  table_owner(const route_feed &initial, uint32_t vrf);

  // One line: "+ ROUTE" as `ip -6 route` prints it, adds or changes; "- PREFIX" deletes. Empty, or
  // what is wrong with it; the table is then as it was.
  std::string take_line(std::string_view line, uint32_t number);

  const digested_table &table() const { return owned; }
  uint32_t last_change() const { return first_logged + static_cast<uint32_t>(log.size()) - 1; }

  // Whether `number` and all behind it are in the log, which keeps the latest ones.
  bool is_logged(uint32_t number) const {
    return number >= first_logged && number <= last_change();
  }
  const change &logged(uint32_t number) const { return log[number - first_logged].made; }

  // Whether a table that had this digest after change `number` is one that this owner once had
  // there. What the log has no word of any more is not.
  bool had(uint32_t number, uint64_t digest) const;

private:
  struct log_entry {
    change made;
    uint64_t digest; // after it
  };

  void put(const feed_route &line);
  void drop(const route_key &key);
  void take_group(uint32_t number);
  void leave_group(uint32_t number);
  void make(change next);

  uint32_t vrf;
  next_hop_choice choice;
  digested_table owned;
  std::map<uint32_t, uint32_t> group_uses, hop_uses; // what nobody uses is deleted
  std::deque<log_entry> log;
  uint32_t first_logged = 1;
  uint64_t digest_before_log = 0;
};

} // namespace demo
