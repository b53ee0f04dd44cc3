// The receiving side of one destination.
//
// Room: host. The platform's mesh declarations, the standard library, POSIX.
//
// Packets come from two sides, the inbox inside the process, into which the way through a server
// puts them as well, and the sockets of this machine. All work is done on the thread that polls;
// only closing may come from elsewhere.
#pragma once

#include "host/deadline.h"
#include "host/faults.h"
#include "host/hooks.h"
#include "host/inbox.h"
#include "host/local_inlet.h"
#include "host/mesh_host.h"
#include "host/order.h"
#include "host/settings.h"
#include "host/status_file.h"
#include "host/taker.h"
#include "host/tell.h"
#include "host/way.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace mesh_host {

class receiver final : private taker {
public:
  receiver(const settings &limits, uint32_t destination, mesh_host_status_row &row);
  ~receiver();
  receiver(const receiver &) = delete;
  receiver &operator=(const receiver &) = delete;

  // Takes the destination. 0 or a mesh_host_result; told when it is not 0.
  uint32_t open();

  // As mesh_host_poll.
  int poll(int timeout_ms, mesh_host_handler handler, void *context);

  void on_gap(mesh_host_gap_handler handler, void *context);
  mesh_host_origin origin() const { return origin_; }

  enum class close_result { closed, in_use };
  // Ends the attachment; a poll in another thread is woken and waited for, until the deadline. From
  // inside a handler only when the process ends, since the handler then never returns.
  close_result close(deadline until, bool process_ends);

  const std::shared_ptr<inbox> &waiting() const { return inbox_; }
  uint32_t destination() const { return destination_; }

private:
  bool begin_poll();
  void end_poll();
  bool is_closing() const;
  int poll_until(deadline until);
  bool take_some();
  bool take_parcels();
  bool take_soon(deadline until);
  bool wait(deadline until);

  bool take(const packet_header &header, const uint8_t *body, size_t size, progress handled,
            void *context) override;
  void refuse_malformed(const char *why) override;
  void refuse_oversize(const packet_header &header) override;
  void tell_gap(const packet_header &header, uint64_t from);
  void deliver(const packed_message &message, uint64_t target);
  void hand_over(const packed_message &message, uint64_t target);
  message_hooks *hooks_of(uint32_t id);
  void *zeroed_storage(uint32_t size);

  const settings &limits_;
  const uint32_t destination_;
  mesh_host_status_row &row_;
  const std::shared_ptr<inbox> inbox_;
  std::unique_ptr<local_inlet> inlet_;
  std::unique_ptr<feed> feed_;

  // Of the poll that is under way.
  mesh_host_handler handler_ = nullptr;
  void *context_ = nullptr;
  int handled_ = 0;
  mesh_host_origin origin_{};

  uint32_t last_id_ = 0;
  message_hooks *last_hooks_ = nullptr;

  mesh_host_gap_handler gap_handler_ = nullptr;
  void *gap_context_ = nullptr;
  order order_;
  faults faults_;
  std::vector<std::max_align_t> storage_;

  mutable std::mutex state_lock_;
  std::condition_variable poll_ended_;
  bool polling_ = false;
  bool closing_ = false;
  std::thread::id poller_;

  rate_limit unknown_, oversize_, malformed_;
};

} // namespace mesh_host
