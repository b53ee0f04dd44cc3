// A lock that can be waited for until a deadline.
//
// Room: host. Standard library only. Used like std::timed_mutex, which thread checkers do not
// follow.
#pragma once

#include "host/deadline.h"

#include <condition_variable>
#include <mutex>

namespace mesh_host {

class turn {
public:
  bool try_lock_until(deadline until) {
    std::unique_lock held(lock_);
    if (!free_again_.wait_until(held, until, [this] { return !taken_; }))
      return false;
    taken_ = true;
    return true;
  }

  void unlock() {
    {
      const std::lock_guard held(lock_);
      taken_ = false;
    }
    free_again_.notify_one();
  }

private:
  std::mutex lock_;
  std::condition_variable free_again_;
  bool taken_ = false;
};

} // namespace mesh_host
