// A process that has no descriptor left.
//
// Room: tests.
#pragma once

#include <sys/resource.h>
#include <unistd.h>
#include <vector>

// Takes all descriptors that this process may have, until it is destroyed.
class descriptor_hoard {
public:
  descriptor_hoard() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit few{64, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    for (int taken = dup(0); taken >= 0; taken = dup(0))
      taken_.push_back(taken);
  }
  ~descriptor_hoard() {
    for (const int each : taken_)
      close(each);
    setrlimit(RLIMIT_NOFILE, &before_);
  }
  descriptor_hoard(const descriptor_hoard &) = delete;
  descriptor_hoard &operator=(const descriptor_hoard &) = delete;

  void give_back() {
    for (const int each : taken_)
      close(each);
    taken_.clear();
  }

private:
  rlimit before_{};
  std::vector<int> taken_;
};
