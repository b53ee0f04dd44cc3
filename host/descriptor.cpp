// The list of this process's descriptors.
//
// Room: host.
#include "host/descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <mutex>
#include <new>
#include <unistd.h>
#include <vector>

namespace mesh_host {
namespace {

struct list {
  std::mutex lock;
  std::vector<int> values;
};

// Never destroyed: descriptors may be closed while the process ends. In place: a fork that is the
// first to ask cannot tell that there is no memory.
list &all() {
  alignas(list) static std::byte place[sizeof(list)];
  static list *const the_list = new (place) list;
  return *the_list;
}

} // namespace

void descriptor::close() {
  if (value_ < 0)
    return;
  const int error = errno; // callers tell why something failed after they let go of it
  lock_all();
  std::vector<int> &values = all().values;
  const auto found = std::find(values.begin(), values.end(), value_);
  // Not in the list: this object is the parent's, and the child has closed it already.
  if (found != values.end()) {
    values.erase(found);
    ::close(value_);
  }
  unlock_all();
  value_ = -1;
  errno = error;
}

bool descriptor::enter(int value) {
  try {
    all().values.push_back(value);
  } catch (const std::bad_alloc &) {
    return false;
  }
  return true;
}

int descriptor::refuse(int value) {
  ::close(value);
  errno = ENOMEM;
  return -1;
}

void descriptor::lock_all() {
  all().lock.lock();
}

void descriptor::unlock_all() {
  all().lock.unlock();
}

void descriptor::close_all_in_child() {
  for (const int value : all().values)
    ::close(value);
  all().values.clear();
  unlock_all();
}

void descriptor::close_all() {
  lock_all();
  close_all_in_child();
}

} // namespace mesh_host
