// The receiving side of one destination.
//
// Room: host. ZeroMQ, the platform's mesh declarations, the standard library.
//
// Messages come from two sides, the queue inside the process and a ROUTER socket. All work is done
// on the thread that polls; only closing may come from elsewhere.
#pragma once

#include "host/endpoint.h"
#include "host/local_queue.h"
#include "host/mesh_host.h"
#include "host/settings.h"
#include "host/tell.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace mesh_host {

class receiver {
public:
  receiver(void *context, const settings &limits, uint32_t destination, endpoint place);
  ~receiver();
  receiver(const receiver &) = delete;
  receiver &operator=(const receiver &) = delete;

  // Takes the destination. 0 or a mesh_host_result; told when it is not 0.
  uint32_t open();

  // As mesh_host_poll.
  int poll(int timeout_ms, mesh_host_handler handler, void *context);

  enum class close_result { closed, closed_with_unhandled, in_use };
  // Ends the attachment; a poll in another thread is woken and waited for, until the deadline. From
  // inside a handler only when the process ends, since the handler then never returns.
  close_result close(deadline until, bool process_ends);

  local_queue &queue() { return queue_; }
  uint32_t destination() const { return destination_; }

private:
  struct peer {
    uint64_t handled = 0, acknowledged = 0;
  };
  using peers = std::unordered_map<std::string, peer>; // by routing id
  struct delivery {
    mesh_host_handler handler;
    void *context;
  };

  uint32_t bind();
  uint32_t bind_local();
  uint32_t bind_tcp();
  bool begin_poll();
  void end_poll();
  bool is_closing() const;
  int poll_until(deadline until, const delivery &to);
  int drain(const delivery &to);
  int drain_queue(const delivery &to);
  int drain_socket(const delivery &to);
  enum class taken { nothing, handled, refused, failed };
  taken take_message(const delivery &to);
  bool accept_frame(const uint8_t *at, size_t size, const delivery &to);
  bool deliver(uint32_t id, uint64_t target, const uint8_t *bytes, uint32_t length,
               const delivery &to);
  void refuse_frame(const char *why);
  void *zeroed_storage(uint32_t size);
  void owe(const uint8_t *routing_id, size_t size);
  void acknowledge_handled();
  bool acknowledge(const std::string &routing_id, peer &sender);
  void forget_dead_peers();

  void *const context_;
  const settings &limits_;
  const uint32_t destination_;
  const endpoint place_;
  receiver_lock lock_file_;
  local_queue queue_;
  void *socket_ = nullptr;

  peers peers_;
  std::vector<std::string> owed_; // peers with messages handled and not acknowledged
  size_t sweep_above_ = 1024;
  clock::time_point acknowledge_at_{};
  std::vector<std::max_align_t> storage_;

  mutable std::mutex state_lock_;
  std::condition_variable poll_ended_;
  bool polling_ = false;
  bool closing_ = false;
  std::thread::id poller_;

  rate_limit unknown_, oversize_, malformed_;
};

} // namespace mesh_host
