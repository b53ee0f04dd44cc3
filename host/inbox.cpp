// The queue inside the process.
//
// Room: host.
#include "host/inbox.h"

#include <cerrno>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace mesh_host {

inbox::inbox() : event_(descriptor::from([] { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); })) {}

void inbox::wake() {
  const uint64_t one = 1;
  const ssize_t written = write(event_.get(), &one, sizeof one);
  (void)written; // at its limit it is awake
}

void inbox::clear_wake() {
  uint64_t count = 0;
  const ssize_t got = read(event_.get(), &count, sizeof count);
  (void)got; // nothing to clear is as well
}

bool inbox::push(std::unique_ptr<parcel> added) {
  {
    const std::lock_guard held(lock_);
    if (closed_)
      return false;
    waiting_.push_back(std::move(added));
    if (waiting_.size() > 1)
      return true; // whoever pushed the first has woken the reader
  }
  wake();
  return true;
}

std::unique_ptr<parcel> inbox::pop() {
  const std::lock_guard held(lock_);
  if (waiting_.empty() || closed_)
    return nullptr;
  std::unique_ptr<parcel> first = std::move(waiting_.front());
  waiting_.pop_front();
  return first;
}

void inbox::close() {
  {
    const std::lock_guard held(lock_);
    if (std::exchange(closed_, true))
      return;
  }
  // Not into another queue, which would have to be allocated: nobody else looks at a closed one.
  waiting_.clear();
  wake();
}

bool inbox::is_closed() {
  const std::lock_guard held(lock_);
  return closed_;
}

} // namespace mesh_host
