// Messages from this process to a receiver in this process.
//
// Room: host. The platform's mesh declarations and the standard library. The same window and the
// same promises as between processes, without a socket.
#pragma once

#include "host/deadline.h"
#include "host/settings.h"
#include "platform/mesh.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace mesh_host {

struct local_message {
  uint32_t id;
  uint64_t target;
  std::vector<uint8_t> bytes; // a copy: the sender's are its own again when the call returns
};

class local_queue {
public:
  explicit local_queue(const settings &limits);
  ~local_queue();
  local_queue(const local_queue &) = delete;
  local_queue &operator=(const local_queue &) = delete;

  bool is_open() const { return wake_ >= 0; } // false: the system gave no event descriptor
  int wake_descriptor() const { return wake_; }
  void wake();
  void clear_wake();

  // All messages or none. 0, MESH_HOST_FULL, or MESH_HOST_PEER_LOST when the receiver left.
  uint32_t push(const msg_desc *messages, uint32_t count, uint64_t target, deadline until);

  bool pop(local_message &message);
  // The message popped last was handled: its room is free.
  void done(const local_message &message);

  // Waits until everything pushed so far was handled. Results as for push.
  uint32_t flush(deadline until);

  // The receiver leaves. True when messages stay unhandled.
  bool close();

private:
  const uint64_t window_messages_, window_bytes_;
  const int wake_;
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<local_message> waiting_;
  uint64_t pushed_ = 0, handled_ = 0; // messages
  uint64_t bytes_ = 0;                // not yet handled
  bool closed_ = false;
};

} // namespace mesh_host
