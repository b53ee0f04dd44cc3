// Tells a receiver what has changed in the table.
//
// Room: fpm. Includes the public headers of module fib6, the development host, this folder and the
// demo's.
#pragma once

#include "demo/route_model.h"
#include "fpm/feed_table.h"
#include <mesh_fib6/fib6.h>

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace fpm {

// Keeps what the receiver was told, and sends where that differs from the table: what others refer
// to before those that do, deletions the other way round. A call that the mesh refuses is made
// again the next time; what was in it has not been told until then, and may have changed meanwhile.
// When the receiver is lost, whatever takes its place has no table: it is told everything.
class record_sender {
public:
  explicit record_sender(uint32_t destination) : destination_(destination) {}

  enum class outcome {
    told,    // the receiver has been sent the whole table
    refused, // not yet; problem() says why
  };
  // Settles the table and takes its changes. Throws demo::failure where trying again is of no use.
  outcome tell(feed_table &table);

  // The receiver is told everything the next time: it asked, or there is a new one.
  void begin_anew() { anew_ = true; }

  // Why the last tell() was refused.
  const std::string &problem() const { return problem_; }

  uint64_t messages() const { return messages_; }
  uint64_t routes_sent() const { return routes_sent_; }
  uint64_t refusals() const { return refusals_; }
  uint64_t whole_tables() const { return whole_tables_; }

private:
  template <class Message>
  using send_function = uint32_t(uint32_t, const Message *, uint32_t);

  // The send operation that was refused. Ends tell().
  struct send_refused {};

  template <class Message>
  void send(send_function<Message> *sendmsg, std::span<Message> messages);
  void send_phase(demo::phase now, const feed_table &table);
  void forget(feed_table &table);
  void refused(uint32_t result);

  void tell_updates(const feed_table &table, const changed_keys &changes);
  void tell_deletions(const feed_table &table, const changed_keys &changes);
  template <class Told, class Wanted, class Message, class Record>
  void tell_deletions_of(const std::set<typename Told::key_type> &keys, Told &told, Wanted wanted,
                         send_function<Message> *sendmsg,
                         Record (*record_of)(const typename Told::key_type &));
  void update_lists(const feed_table &table, const changed_keys &changes);
  void update_next_hops(const feed_table &table, const changed_keys &changes);
  void update_groups(const feed_table &table, const changed_keys &changes);
  void update_routes(const feed_table &table, const changed_keys &changes);

  uint32_t destination_;
  demo::route_table told_;
  bool anew_ = true;
  uint32_t last_sequence_ = 0;
  std::string problem_;
  uint64_t messages_ = 0;
  uint64_t routes_sent_ = 0;
  uint64_t refusals_ = 0;
  uint64_t whole_tables_ = 0;
};

} // namespace fpm
