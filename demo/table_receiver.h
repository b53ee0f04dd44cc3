// Rebuilds a table from decoded records, whoever sent them.
//
// Room: demo. Includes the public headers of module fib6 and this folder; knows nothing of how
// records arrive.
#pragma once

#include "demo/report.h"
#include "demo/route_model.h"
#include "demo/route_table.h"
#include <mesh_fib6/fib6.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace demo {

// Takes the records of one sender and keeps the table. What it cannot use it counts:
//   refused           messages that the decoder refused, or that are as empty as those
//   rejected          entries and messages that break the agreement, deletions of nothing
//   out_of_sequence   places where messages are missing or come twice
//   unfinished        senders that began to send or delete and never said that they were done
class table_receiver {
public:
  explicit table_receiver(std::function<void(table_receiver &, phase)> at_phase_end)
      : phase_ended(std::move(at_phase_end)) {}

  // One message: a record as the decoder left it.
  void take(uint32_t id, const void *record);

  void spoil_one_route();

  const route_table &contents() const { return table; }

  // Whether messages are missing that the table would have to be made of, so that its sender must
  // send all of it anew. Over when one does.
  bool lacks_messages() const { return lacking; }

  report told_as(std::string word) const;

private:
  template <class Message>
  void take_as(const void *record);
  void follow_sequence(uint32_t number);

  void keep(const feiBrokerFib6_ipv6FwdUpdateMsg &message);
  void keep(const feiBrokerFib6_ipv6FwdDelMsg &message);
  void keep(const feiBrokerFib6_nhp6GroupUpdateMsg &message);
  void keep(const feiBrokerFib6_nhp6GroupDelMsg &message);
  void keep(const feiBrokerFib6_nhp6UpdateMsg &message);
  void keep(const feiBrokerFib6_nhp6DelMsg &message);
  void keep(const feiBrokerFib6_srv6SrListUpdateMsg &message);
  void keep(const feiBrokerFib6_srv6SrListDelMsg &message);
  void keep(const feiBrokerFib6_pidStateMsg &message);

  template <class Change>
  void change(Change make);

  std::function<void(table_receiver &, phase)> phase_ended;
  route_table table;
  std::optional<route_table> announced; // what was sent since table_begins, until table_whole
  uint64_t messages = 0;
  uint64_t refused = 0;
  uint64_t rejected = 0;
  uint64_t out_of_sequence = 0;
  uint64_t unfinished = 0; // those that a next sender followed
  bool in_phase = false;   // somebody sends or deletes
  bool lacking = false;    // see lacks_messages
  uint32_t expected_sequence = 1;
};

// What a receiver's report says went wrong, one text each; none when every message was used.
std::vector<std::string> problems_of(const report &told);

} // namespace demo
