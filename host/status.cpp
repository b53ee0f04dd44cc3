// The status file.
//
// Room: host.
#include "host/status.h"

#include "host/descriptor.h"
#include "host/tell.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <list>
#include <memory>
#include <mutex>
#include <new>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <time.h>
#include <unistd.h>

namespace mesh_host {
namespace {

constexpr size_t file_size =
    sizeof(mesh_host_status_head) + MESH_HOST_STATUS_ROWS * sizeof(mesh_host_status_row);
constexpr char suffix[] = ".status";

static_assert(sizeof(mesh_host_status_head) == 64);
static_assert(sizeof(mesh_host_status_row) == 192);

uint64_t draw_number() {
  uint64_t drawn = 0;
  if (getrandom(&drawn, sizeof drawn, 0) != sizeof drawn) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    drawn = static_cast<uint64_t>(now.tv_sec) << 32 ^ static_cast<uint64_t>(now.tv_nsec) ^
            static_cast<uint64_t>(getpid()) << 40;
  }
  return drawn | 1; // never 0, which means nobody
}

struct status {
  std::mutex lock;
  uint64_t sender = draw_number();
  bool tried = false;
  std::string path;
  descriptor file;
  mesh_host_status_head *head = nullptr;  // of the mapped file
  std::list<mesh_host_status_row> unseen; // rows that no file has room for; they never move
  status *abandoned = nullptr;            // the parent's, in a child
};

// Never destroyed: other threads may still count while the process ends. In place, for forks that
// are the first to ask.
status *&current() {
  alignas(status) static std::byte place[sizeof(status)];
  static status *the_status = new (place) status;
  return the_status;
}

mesh_host_status_row *rows_of(mesh_host_status_head *head) {
  return reinterpret_cast<mesh_host_status_row *>(head + 1);
}

descriptor open_file(const std::string &path, int flags) {
  return descriptor::from([&] { return open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0600); });
}

// Files of processes that were killed.
void remove_left_behind(const std::string &directory) {
  struct closing {
    void operator()(DIR *open) const { closedir(open); }
  };
  const std::unique_ptr<DIR, closing> listing(opendir(directory.c_str()));
  if (listing == nullptr)
    return;
  while (const dirent *entry = readdir(listing.get())) {
    const std::string name = entry->d_name;
    if (!name.ends_with(suffix))
      continue;
    std::string path = directory;
    path += '/';
    path += name;
    const descriptor file = open_file(path, O_RDWR);
    if (file && flock(file.get(), LOCK_EX | LOCK_NB) == 0)
      unlink(path.c_str());
  }
}

// Made under another name and locked before it gets its own: nobody takes it for one left behind.
bool make_file(status &self, const std::string &directory) {
  const std::string path = directory + "/" + std::to_string(getpid()) + suffix;
  const std::string unready = path + ".new";
  unlink(unready.c_str());
  self.file = open_file(unready, O_RDWR | O_CREAT | O_EXCL);
  if (!self.file || flock(self.file.get(), LOCK_EX | LOCK_NB) != 0 ||
      ftruncate(self.file.get(), file_size) != 0 ||
      posix_fallocate(self.file.get(), 0, file_size) != 0)
    return false;
  void *const mapped =
      mmap(nullptr, file_size, PROT_READ | PROT_WRITE, MAP_SHARED, self.file.get(), 0);
  if (mapped == MAP_FAILED)
    return false;
  self.head = static_cast<mesh_host_status_head *>(mapped);
  self.head->magic = MESH_HOST_STATUS_MAGIC;
  self.head->process = static_cast<uint32_t>(getpid());
  self.head->sender = self.sender;
  if (rename(unready.c_str(), path.c_str()) != 0) {
    munmap(mapped, file_size);
    self.head = nullptr;
    return false;
  }
  self.path = path;
  return true;
}

void try_file(status &self, const std::string &directory) {
  if (self.tried || directory.empty())
    return;
  self.tried = true;
  remove_left_behind(directory);
  if (make_file(self, directory))
    return;
  tell("%s cannot be written: %s; nobody else sees what this process counts", directory.c_str(),
       strerror(errno));
  unlink((directory + "/" + std::to_string(getpid()) + suffix + ".new").c_str());
  self.file.close();
}

template <class Visit>
void for_each_row(status &self, Visit visit) {
  if (self.head != nullptr)
    for (uint32_t i = 0; i < self.head->rows; i++)
      visit(rows_of(self.head)[i]);
  for (mesh_host_status_row &each : self.unseen)
    visit(each);
}

} // namespace

mesh_host_status_row &status_row(const std::string &directory, uint32_t destination,
                                 mesh_host_role role) {
  status &self = *current();
  const std::lock_guard held(self.lock);
  try_file(self, directory);
  mesh_host_status_row *found = nullptr;
  for_each_row(self, [&](mesh_host_status_row &row) {
    if (row.destination == destination && row.role == role)
      found = &row;
  });
  if (found != nullptr)
    return *found;
  if (self.head != nullptr && self.head->rows < MESH_HOST_STATUS_ROWS) {
    found = &rows_of(self.head)[self.head->rows];
    found->destination = destination;
    found->role = role;
    __atomic_store_n(&self.head->rows, self.head->rows + 1, __ATOMIC_RELEASE);
    return *found;
  }
  mesh_host_status_row &added = self.unseen.emplace_back();
  added.destination = destination;
  added.role = role;
  return added;
}

uint64_t own_sender_number() {
  return current()->sender;
}

mesh_host_counters sum_of_counters() {
  status &self = *current();
  const std::lock_guard held(self.lock);
  mesh_host_counters sum{};
  for_each_row(self, [&](mesh_host_status_row &row) {
    sum.accepted += value_of(row.accepted);
    sum.handled += value_of(row.handled);
    sum.refused += value_of(row.refused);
    sum.lost += value_of(row.lost);
    sum.bytes_sent += value_of(row.bytes_sent);
    sum.most_messages_under_way =
        std::max(sum.most_messages_under_way, value_of(row.most_messages_under_way));
    sum.most_bytes_under_way =
        std::max(sum.most_bytes_under_way, value_of(row.most_bytes_under_way));
    sum.delivered += value_of(row.delivered);
    sum.redelivered += value_of(row.redelivered);
    sum.bytes_received += value_of(row.bytes_received);
    sum.gaps += value_of(row.gaps);
    sum.unknown_identifier += value_of(row.unknown_identifier);
    sum.oversize += value_of(row.oversize);
    sum.malformed += value_of(row.malformed);
  });
  return sum;
}

void lock_status() {
  current()->lock.lock();
}

void unlock_status() {
  current()->lock.unlock();
}

// The parent's rows stay mapped: threads' leftovers in the child may hold references. Without
// memory the child's is made where the parent's was, which nobody else uses here; what that held is
// not given back.
void renew_status_in_child() {
  status *const parents = current();
  parents->lock.unlock();
  if (auto *const fresh = new (std::nothrow) status) {
    fresh->abandoned = parents;
    current() = fresh;
  } else {
    new (parents) status;
  }
}

void remove_status_file() {
  status &self = *current();
  const std::lock_guard held(self.lock);
  if (!self.path.empty())
    unlink(self.path.c_str());
  self.path.clear();
  self.file.close();
}

} // namespace mesh_host
