// The queue inside a process.
//
// Room: host.
#include "host/local_queue.h"

#include "host/mesh_host.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace mesh_host {

local_queue::local_queue(const settings &limits)
    : window_messages_(limits.window_messages), window_bytes_(limits.window_bytes),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

local_queue::~local_queue() {
  if (wake_ >= 0)
    ::close(wake_);
}

void local_queue::wake() {
  const uint64_t one = 1;
  const ssize_t written = write(wake_, &one, sizeof one);
  (void)written; // fails only when it is signalled to the brim already
}

void local_queue::clear_wake() {
  uint64_t seen = 0;
  const ssize_t got = read(wake_, &seen, sizeof seen);
  (void)got; // nothing to clear is as good
}

uint32_t local_queue::push(const msg_desc *messages, uint32_t count, uint64_t target,
                           deadline until) {
  std::vector<local_message> copies;
  copies.reserve(count);
  uint64_t bytes = 0;
  for (uint32_t i = 0; i < count; i++) {
    const auto *data = static_cast<const uint8_t *>(messages[i].data);
    const uint32_t length = messages[i].length;
    copies.push_back(
        {messages[i].id, target,
         length != 0 ? std::vector<uint8_t>(data, data + length) : std::vector<uint8_t>()});
    bytes += length;
  }

  std::unique_lock held(lock_);
  // A batch above the window is let in alone: a receiver that has nothing left is not full.
  const auto room = [&] {
    const uint64_t unhandled = pushed_ - handled_;
    return closed_ || unhandled == 0 ||
           (unhandled + count <= window_messages_ && bytes_ + bytes <= window_bytes_);
  };
  if (!changed_.wait_until(held, until, room))
    return MESH_HOST_FULL;
  if (closed_)
    return MESH_HOST_PEER_LOST;
  for (local_message &copy : copies)
    waiting_.push_back(std::move(copy));
  pushed_ += count;
  bytes_ += bytes;
  held.unlock();
  wake();
  return MESH_HOST_OK;
}

bool local_queue::pop(local_message &message) {
  const std::lock_guard held(lock_);
  if (waiting_.empty() || closed_)
    return false;
  message = std::move(waiting_.front());
  waiting_.pop_front();
  return true;
}

void local_queue::done(const local_message &message) {
  {
    const std::lock_guard held(lock_);
    handled_++;
    bytes_ -= message.bytes.size();
  }
  changed_.notify_all();
}

uint32_t local_queue::flush(deadline until) {
  std::unique_lock held(lock_);
  const uint64_t goal = pushed_;
  if (!changed_.wait_until(held, until, [&] { return closed_ || handled_ >= goal; }))
    return MESH_HOST_FULL;
  return handled_ >= goal ? MESH_HOST_OK : MESH_HOST_PEER_LOST;
}

bool local_queue::close() {
  bool unhandled = false;
  {
    const std::lock_guard held(lock_);
    closed_ = true;
    unhandled = handled_ < pushed_;
  }
  changed_.notify_all();
  return unhandled;
}

} // namespace mesh_host
