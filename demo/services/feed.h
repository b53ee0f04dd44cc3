// What the service sends to one peer: answers, the whole table, changes.
//
// Room: demo. Includes public headers and the folder above.
#pragma once

#include "demo/services/agreement.h"
#include "demo/services/link.h"
#include "demo/services/table_owner.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

namespace demo {

// Who the service is.
struct service_identity {
  uint32_t destination = 0;
  uint32_t vrf = 0;
  uint64_t epoch = 0;
  std::chrono::milliseconds pause{0}; // between two calls with a table or changes for one peer
};

struct feed_counters {
  uint64_t messages = 0;     // accepted by the mesh
  uint64_t busy = 0;         // calls that are to be made again
  uint64_t losses = 0;       // times the mesh told that something never arrived
  uint64_t whole_tables = 0; // begun
};

// Sends what is due, a few calls at a time, and remembers how far it came: a call that was not
// accepted is made again, later, with nothing before it left out and nothing behind it sent.
class feed {
public:
  feed(uint32_t peer, const service_identity &service, const table_owner &table, link &way,
       feed_counters &counters);

  // A check of this peer: answered, and with the whole table where that is needed.
  void take(const check &asked);
  void take_query(const fib6_cfg_query_fib6_key &query);

  // Sends some of what is due. Whether something more could be sent at once.
  bool send_some();

  // A pause between two calls that was longer than it is to be now.
  void end_pause() { not_before = {}; }

  // The service ends: the last word, if the peer takes it.
  void take_leave();

private:
  struct synchronisation {
    uint32_t number = 0;
    std::shared_ptr<const whole_table> table;
    uint32_t next = 0; // 0: the context in front, then entries from 1
  };
  struct route_answer {
    fib6_cfg_query_fib6_rec record{};
    std::vector<fib6_cfg_query_fib6_item> items;
  };

  bool send_answers();
  bool send_table();
  bool send_changes();
  template <class Message, class Record>
  std::optional<sent> send_entries(const std::vector<Record> &records, uint32_t &before,
                                   uint32_t (*sendtomsg)(uint32_t, const Message *, uint32_t,
                                                         uint64_t));
  bool send_context(service_state state);
  template <class Change>
  bool send_alike();
  bool note(sent result, size_t messages);
  void begin_table();
  void check_settled();

  const uint32_t peer;
  const service_identity &service;
  const table_owner &owner;
  link &mesh;
  feed_counters &counts;

  std::deque<check_answer> check_answers;
  std::deque<route_answer> route_answers;
  std::optional<synchronisation> whole; // on its way
  std::optional<uint32_t> next_change;  // without it the peer gets no changes
  bool step_due = false;                // changes were sent, their digest was not
  bool unsettled = false;               // something was sent and not known to be handled
  uint32_t last_synchronisation = 0;
  unsigned tries_without_receiver = 0;
  std::chrono::steady_clock::time_point not_before{};
};

} // namespace demo
