// The mesh stand-in's exported functions, and what they share: the settings, the receivers and
// senders of this process, fork and exit.
//
// Room: host. Nothing of the library behind the hooks is known here.
#pragma GCC visibility push(default)
#include "host/mesh_host.h"
#include "platform/mesh.h"
#pragma GCC visibility pop

#include "host/descriptor.h"
#include "host/faults.h"
#include "host/hooks.h"
#include "host/inside_link.h"
#include "host/local_link.h"
#include "host/receiver.h"
#include "host/sender.h"
#include "host/status.h"
#include "host/tell.h"
#include "host/way.h"

#include <atomic>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <vector>

// What a receiving program holds.
struct mesh_host_receiver {
  std::shared_ptr<mesh_host::receiver> held;
  pid_t owner; // a child of the process has no use for its parent's sockets
};

namespace mesh_host {
namespace {

struct mesh {
  std::mutex lock;
  bool settings_read = false;
  std::optional<settings> limits; // empty although read: unusable, as was told
  std::optional<faults> injected;
  std::map<uint32_t, std::shared_ptr<receiver>> receivers;
  std::map<uint32_t, std::shared_ptr<sender>> senders; // once there, a sender stays
  bool ending = false;
  mesh *abandoned = nullptr; // the parent's, in a child
};

// Never destroyed: other threads may still send while the process ends.
std::atomic<mesh *> current{nullptr};

void before_fork() {
  lock_hooks();
  lock_status();
  descriptor::lock_all();
}
void after_fork_in_parent() {
  descriptor::unlock_all();
  unlock_status();
  unlock_hooks();
}

// Sockets, threads and perhaps taken locks belong to the parent. The child starts afresh, with the
// registered hooks. Without memory in the place of what was the parent's: a child has no other
// threads, and what that held is not given back.
void after_fork_in_child() {
  descriptor::close_all_in_child();
  renew_status_in_child();
  unlock_hooks();
  mesh *const parents = current.load();
  if (auto *const fresh = new (std::nothrow) mesh) {
    fresh->abandoned = parents;
    current = fresh;
  } else {
    new (parents) mesh;
  }
}

[[gnu::constructor]] void start() {
  alignas(mesh) static std::byte place[sizeof(mesh)];
  current = new (place) mesh;
  pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
}

// With the lock held. 0 when the settings are there.
uint32_t prepare(mesh &self) {
  if (self.ending)
    return MESH_HOST_SYSTEM;
  if (!self.settings_read) {
    bool passes = false;
    self.limits = read_settings(passes);
    if (passes)
      return MESH_HOST_SYSTEM;
    if (self.limits)
      self.injected.emplace(self.limits->faults);
    self.settings_read = true;
  }
  return self.limits ? MESH_HOST_OK : MESH_HOST_BAD_CONFIG;
}

// How a sender gets a link: to a receiver of this process, or by the way that the settings name.
uint32_t connect(mesh &self, uint32_t destination, uint64_t base, std::unique_ptr<link> &made) {
  {
    const std::lock_guard held(self.lock);
    if (const auto here = self.receivers.find(destination); here != self.receivers.end()) {
      made = make_inside_link(here->second->waiting(), base);
      return MESH_HOST_OK;
    }
  }
  const place &at = self.limits->place_of(destination);
  if (at.is_local())
    return make_local_link(*self.limits, destination, base, made);
  const server_way *way = load_server_way();
  return way != nullptr ? way->make_link(*self.limits, at, destination, base, made)
                        : static_cast<uint32_t>(MESH_HOST_BAD_CONFIG);
}

// Makes the private directory as well, where the status file goes.
uint32_t find_row(const settings &limits, uint32_t destination, mesh_host_role role,
                  mesh_host_status_row *&row) {
  if (const uint32_t result = prepare_directory(limits); result != MESH_HOST_OK)
    return result;
  row = &status_row(limits.directory, destination, role);
  return MESH_HOST_OK;
}

uint32_t find_sender(mesh &self, uint32_t destination, std::shared_ptr<sender> &found) {
  const std::lock_guard held(self.lock);
  if (const uint32_t result = prepare(self); result != MESH_HOST_OK)
    return result;
  std::shared_ptr<sender> &known = self.senders[destination];
  if (known == nullptr) {
    mesh_host_status_row *row = nullptr;
    if (const uint32_t result = find_row(*self.limits, destination, MESH_HOST_SENDS, row);
        result != MESH_HOST_OK)
      return result;
    known =
        std::make_shared<sender>(*self.limits, destination, *row,
                                 [&self, destination](uint64_t base, std::unique_ptr<link> &made) {
                                   return connect(self, destination, base, made);
                                 });
  }
  found = known;
  return MESH_HOST_OK;
}

uint32_t check_messages(const msg_desc *messages, uint32_t count, const settings &limits) {
  for (uint32_t i = 0; i < count; i++) {
    if (messages[i].data == nullptr && messages[i].length != 0)
      return MESH_HOST_BAD_ARGUMENT;
    if (messages[i].length > limits.frame_limit)
      return MESH_HOST_TOO_LARGE;
  }
  return MESH_HOST_OK;
}

uint32_t send(uint32_t destination, const msg_desc *messages, uint32_t count, uint64_t target) {
  if (count == 0)
    return MESH_HOST_OK;
  if (messages == nullptr)
    return MESH_HOST_BAD_ARGUMENT;
  mesh &self = *current.load();
  std::shared_ptr<sender> to;
  if (const uint32_t result = find_sender(self, destination, to); result != MESH_HOST_OK)
    return result;
  if (const uint32_t result = check_messages(messages, count, *self.limits); result != MESH_HOST_OK)
    return result;
  if (self.injected->refuses())
    return MESH_HOST_FULL;
  if (const uint32_t delay = self.injected->delay_ms(); delay != 0)
    std::this_thread::sleep_for(std::chrono::milliseconds(delay));
  return to->send(messages, count, target);
}

uint32_t attach(uint32_t destination, mesh_host_receiver **handle) {
  mesh &self = *current.load();
  const std::lock_guard held(self.lock);
  if (const uint32_t result = prepare(self); result != MESH_HOST_OK)
    return result;
  if (self.receivers.contains(destination)) {
    tell("destination %u has a receiver already, in this process", destination);
    return MESH_HOST_DUPLICATE;
  }
  mesh_host_status_row *row = nullptr;
  if (const uint32_t result = find_row(*self.limits, destination, MESH_HOST_RECEIVES, row);
      result != MESH_HOST_OK)
    return result;
  auto added = std::make_shared<receiver>(*self.limits, destination, *row);
  if (const uint32_t result = added->open(); result != MESH_HOST_OK)
    return result;
  *handle = new mesh_host_receiver{added, getpid()};
  self.receivers[destination] = std::move(added);
  return MESH_HOST_OK;
}

void detach(mesh_host_receiver *handle) {
  if (handle->owner != getpid()) {
    delete handle;
    return;
  }
  receiver &leaving = *handle->held;
  const uint32_t destination = leaving.destination();
  mesh &self = *current.load();
  if (leaving.close(deadline_after(-1), false) == receiver::close_result::in_use) {
    tell("destination %u: a handler cannot detach its own receiver", destination);
    return;
  }
  {
    const std::lock_guard held(self.lock);
    self.receivers.erase(destination);
  }
  delete handle;
}

std::shared_ptr<sender> known_sender(uint32_t destination) {
  mesh &self = *current.load();
  const std::lock_guard held(self.lock);
  const auto found = self.senders.find(destination);
  return found != self.senders.end() ? found->second : nullptr;
}

uint32_t flush(uint32_t destination, deadline until) {
  const std::shared_ptr<sender> to = known_sender(destination);
  return to != nullptr ? to->flush(until) : static_cast<uint32_t>(MESH_HOST_OK);
}

uint32_t clean(deadline until) {
  std::vector<std::shared_ptr<sender>> all;
  {
    mesh &self = *current.load();
    const std::lock_guard held(self.lock);
    for (const auto &[destination, each] : self.senders)
      if (each != nullptr)
        all.push_back(each);
  }
  uint32_t first_failure = MESH_HOST_OK;
  for (const std::shared_ptr<sender> &each : all)
    if (const uint32_t result = each->flush(until); first_failure == MESH_HOST_OK)
      first_failure = result;
  call_clean_hooks();
  return first_failure;
}

// Receivers first: what they have handled is acknowledged, and nobody waits for us in vain. Then
// everything sent gets its last chance. A thread that is still inside keeps its descriptors. Also
// when the library is unloaded: then it leaves nothing open.
bool finish_all() {
  mesh &self = *current.load();
  std::map<uint32_t, std::shared_ptr<receiver>> receivers;
  std::map<uint32_t, std::shared_ptr<sender>> senders;
  {
    const std::lock_guard held(self.lock);
    self.ending = true;
    try {
      receivers = self.receivers;
      senders = self.senders;
    } catch (const std::bad_alloc &) { // other threads then find none any more
      receivers.swap(self.receivers);
      senders.swap(self.senders);
    }
  }
  if (!self.limits)
    return true;
  const deadline until = deadline_after(self.limits->send_timeout_ms);
  bool all_closed = true;
  for (const auto &[destination, each] : receivers)
    all_closed = each->close(until, true) == receiver::close_result::closed && all_closed;
  for (const auto &[destination, each] : senders)
    if (each != nullptr)
      all_closed = each->finish(until) && all_closed;
  remove_status_file();
  if (all_closed)
    descriptor::close_all();
  return all_closed;
}

// Nothing is thrown through a C function.
template <class Result, class Work>
Result guarded(Result when_failed, Work work) {
  try {
    return work();
  } catch (const std::exception &problem) {
    tell("%s", problem.what());
    return when_failed;
  }
}

[[gnu::destructor]] void finish() {
  guarded(false, finish_all);
}

constexpr uint32_t system_failure = MESH_HOST_SYSTEM;

} // namespace
} // namespace mesh_host

using namespace mesh_host;

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  return guarded(system_failure, [&] { return send(destination, messages, count, 0); });
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  return guarded(system_failure, [&] { return send(destination, messages, count, target); });
}

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  return guarded(system_failure, [&] { return register_hooks(id, unpack, release); });
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean_hook) {
  return guarded(system_failure, [&] { return register_clean_hook(clean_hook); });
}

uint32_t mesh_host_attach(uint32_t destination, mesh_host_receiver **receiver) {
  if (receiver == nullptr)
    return MESH_HOST_BAD_ARGUMENT;
  return guarded(system_failure, [&] { return attach(destination, receiver); });
}

int mesh_host_poll(mesh_host_receiver *receiver, int timeout_ms, mesh_host_handler handler,
                   void *context) {
  if (receiver == nullptr || handler == nullptr)
    return -1;
  if (receiver->owner != getpid()) {
    tell("destination %u was attached by process %d, which alone can poll it",
         receiver->held->destination(), static_cast<int>(receiver->owner));
    return -1;
  }
  // A detach in another thread takes the handle away as soon as it has seen the poll end.
  const std::shared_ptr<mesh_host::receiver> polled = receiver->held;
  return guarded(-1, [&] { return polled->poll(timeout_ms, handler, context); });
}

void mesh_host_detach(mesh_host_receiver *receiver) {
  if (receiver == nullptr)
    return;
  guarded(0, [&] {
    detach(receiver);
    return 0;
  });
}

uint32_t mesh_host_flush(uint32_t destination, int timeout_ms) {
  return guarded(system_failure, [&] { return flush(destination, deadline_after(timeout_ms)); });
}

uint32_t mesh_host_clean(int timeout_ms) {
  return guarded(system_failure, [&] { return clean(deadline_after(timeout_ms)); });
}

void mesh_host_on_gap(mesh_host_receiver *receiver, mesh_host_gap_handler handler, void *context) {
  if (receiver != nullptr)
    receiver->held->on_gap(handler, context);
}

void mesh_host_get_origin(const mesh_host_receiver *receiver, mesh_host_origin *into) {
  if (into != nullptr)
    *into = receiver != nullptr ? receiver->held->origin() : mesh_host_origin{};
}

void mesh_host_get_progress(uint32_t destination, mesh_host_progress *into) {
  if (into == nullptr)
    return;
  *into = {};
  guarded(0, [&] {
    if (const std::shared_ptr<sender> to = known_sender(destination); to != nullptr)
      to->get_progress(*into);
    return 0;
  });
}

void mesh_host_get_counters(mesh_host_counters *into) {
  if (into != nullptr)
    *into = sum_of_counters();
}

const char *mesh_host_result_text(uint32_t result) {
  switch (result) {
  case MESH_HOST_OK:
    return "done";
  case MESH_HOST_FULL:
    return "there was no room for more within the time-out";
  case MESH_HOST_NO_RECEIVER:
    return "nobody received for this destination within the time-out";
  case MESH_HOST_PEER_LOST:
    return "accepted messages were lost, or may be: their receiver went away";
  case MESH_HOST_BAD_ARGUMENT:
    return "bad argument";
  case MESH_HOST_BAD_CONFIG:
    return "the configuration or the private directory is unusable";
  case MESH_HOST_TOO_LARGE:
    return "a message or a batch is above the limit";
  case MESH_HOST_DUPLICATE:
    return "the identifier or the destination is taken";
  case MESH_HOST_SYSTEM:
    return "the system refused memory, a descriptor or a server";
  case UINT32_MAX:
    return "nothing was sent: the message could not be encoded";
  default:
    return "unknown result";
  }
}
