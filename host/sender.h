// The sending side of one destination: numbers, windows, reports of losses.
//
// Room: host. The platform's mesh declarations and the standard library.
//
// It outlives the links on which the messages travel: the numbers go on when a receiver dies and
// the next one comes. One thread at a time is inside, so that messages keep their order; the others
// wait for their turn as they would for room.
#pragma once

#include "host/deadline.h"
#include "host/link.h"
#include "host/mesh_host.h"
#include "host/settings.h"
#include "host/status_file.h"
#include "host/tell.h"
#include "host/turn.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace mesh_host {

class sender {
public:
  // What a connect makes of a destination: a link, or the reason why there is none, as a
  // mesh_host_result. `base` is the number of the last message so far. Does not wait.
  using connector = std::function<uint32_t(uint64_t base, std::unique_ptr<link> &made)>;

  sender(const settings &limits, uint32_t destination, mesh_host_status_row &row,
         connector connect);

  // All messages or none. 0 or a mesh_host_result.
  uint32_t send(const msg_desc *messages, uint32_t count, uint64_t target);

  // As mesh_host_flush.
  uint32_t flush(deadline until);

  // The last flush of a process that ends: tells what is not settled, then closes the link. False
  // when another thread is inside and the link had to stay open.
  bool finish(deadline until);

  void get_progress(mesh_host_progress &into);

private:
  using guard = std::unique_lock<turn>;
  struct batch {
    uint64_t last; // number of its last message
    uint64_t bytes;
    uint64_t thread;
  };

  uint32_t send_in_turn(const packet_header &header, const msg_desc *messages, uint64_t bytes,
                        deadline until);
  uint32_t connect(deadline until);
  bool has_room(uint64_t count, uint64_t bytes) const;
  uint32_t wait_for_room(uint64_t count, uint64_t bytes, deadline until);
  void look();
  void settle(uint64_t number);
  void note_loss();
  bool owes_report(uint64_t thread) const { return owed_.contains(thread); }
  uint32_t report(uint64_t thread);
  link::outcome put(const packet_header &header, const msg_desc *messages, uint64_t bytes,
                    uint64_t thread, deadline until);
  void note_accepted(const packet_header &header, uint64_t bytes);
  uint32_t refused(uint32_t count, uint32_t why);

  const settings &limits_;
  const uint32_t destination_;
  mesh_host_status_row &row_;
  const connector connect_;

  turn lock_;
  std::unique_ptr<link> link_;
  uint64_t accepted_ = 0, settled_ = 0;
  std::deque<batch> under_way_;
  uint64_t bytes_under_way_ = 0;
  unsigned batches_since_look_ = 0;

  uint64_t losses_ = 0, lost_first_ = 0, lost_last_ = 0;
  std::set<uint64_t> threads_;           // that have sent
  std::set<uint64_t> owed_;              // threads that had messages in a loss and were not told
  std::map<uint64_t, uint64_t> told_to_; // by thread: the loss that it was told last
  rate_limit no_receiver_;
};

} // namespace mesh_host
