// The mesh stand-in's exported functions, and what they share: one context, the receivers and
// connections of this process, fork and exit.
//
// Room: host. Nothing of the library behind the hooks is known here.
#pragma GCC visibility push(default)
#include "host/mesh_host.h"
#include "platform/mesh.h"
#pragma GCC visibility pop

#include "host/connection.h"
#include "host/hooks.h"
#include "host/receiver.h"
#include "host/tell.h"

#include <atomic>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <set>
#include <unistd.h>
#include <vector>
#include <zmq.h>

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
  void *context = nullptr;
  std::map<uint32_t, std::shared_ptr<receiver>> receivers;
  std::map<uint32_t, std::shared_ptr<connection>> connections;
  std::set<uint32_t> lost; // destinations that left with messages of this process unhandled
  bool ending = false;
  mesh *abandoned = nullptr; // the parent's, in a child
};

// Never destroyed: other threads may still send while the process ends.
std::atomic<mesh *> current{nullptr};

void before_fork() {
  lock_hooks();
}
void after_fork_in_parent() {
  unlock_hooks();
}

// Sockets, their threads and perhaps taken locks belong to the parent. The child starts afresh,
// with the registered hooks.
void after_fork_in_child() {
  unlock_hooks();
  auto *fresh = new mesh;
  fresh->abandoned = current.load();
  current = fresh;
}

[[gnu::constructor]] void start() {
  current = new mesh;
  pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
}

// With the lock held. 0 when settings and context are there.
uint32_t prepare(mesh &self) {
  if (self.ending)
    return MESH_HOST_SYSTEM;
  if (!self.settings_read) {
    self.limits = read_settings();
    self.settings_read = true;
  }
  if (!self.limits)
    return MESH_HOST_BAD_CONFIG;
  if (self.context == nullptr)
    self.context = zmq_ctx_new();
  return self.context != nullptr ? MESH_HOST_OK : MESH_HOST_SYSTEM;
}

// Where messages to a destination go: to a receiver of this process, or through a connection.
struct route {
  const settings *limits = nullptr;
  std::shared_ptr<receiver> here;
  std::shared_ptr<connection> away;
};

uint32_t find_route(uint32_t destination, route &found) {
  mesh &self = *current.load();
  const std::lock_guard held(self.lock);
  if (const uint32_t result = prepare(self); result != MESH_HOST_OK)
    return result;
  if (self.lost.erase(destination) != 0)
    return MESH_HOST_PEER_LOST;
  found.limits = &*self.limits;
  if (const auto attached = self.receivers.find(destination); attached != self.receivers.end()) {
    found.here = attached->second;
    return MESH_HOST_OK;
  }
  if (const auto known = self.connections.find(destination); known != self.connections.end()) {
    found.away = known->second;
    return MESH_HOST_OK;
  }
  endpoint place;
  if (const uint32_t result = find_endpoint(*self.limits, destination, place);
      result != MESH_HOST_OK)
    return result;
  found.away =
      std::make_shared<connection>(self.context, *self.limits, destination, std::move(place));
  self.connections[destination] = found.away;
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

uint32_t push_here(receiver &to, const msg_desc *messages, uint32_t count, uint64_t target,
                   const settings &limits) {
  const uint32_t result =
      to.queue().push(messages, count, target, deadline_after(limits.send_timeout_ms));
  if (result != MESH_HOST_OK)
    return result;
  counts().sent += count;
  for (uint32_t i = 0; i < count; i++)
    counts().bytes_sent += messages[i].length;
  return MESH_HOST_OK;
}

uint32_t send(uint32_t destination, const msg_desc *messages, uint32_t count, uint64_t target) {
  if (count == 0)
    return MESH_HOST_OK;
  if (messages == nullptr)
    return MESH_HOST_BAD_ARGUMENT;
  route to;
  if (const uint32_t result = find_route(destination, to); result != MESH_HOST_OK)
    return result;
  if (const uint32_t result = check_messages(messages, count, *to.limits); result != MESH_HOST_OK)
    return result;
  if (to.here != nullptr)
    return push_here(*to.here, messages, count, target, *to.limits);
  return to.away->send(messages, count, target);
}

// Messages went to another process so far, and go to this one from now on.
void forget_connection(mesh &self, uint32_t destination) {
  const auto known = self.connections.find(destination);
  if (known == self.connections.end())
    return;
  if (known->second->flush(deadline_after(0)) != MESH_HOST_OK)
    self.lost.insert(destination);
  self.connections.erase(known);
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
  endpoint place;
  if (const uint32_t result = find_endpoint(*self.limits, destination, place);
      result != MESH_HOST_OK)
    return result;
  auto added =
      std::make_shared<receiver>(self.context, *self.limits, destination, std::move(place));
  if (const uint32_t result = added->open(); result != MESH_HOST_OK)
    return result;
  forget_connection(self, destination);
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
  const receiver::close_result result = leaving.close(deadline_after(-1), false);
  if (result == receiver::close_result::in_use) {
    tell("destination %u: a handler cannot detach its own receiver", destination);
    return;
  }
  {
    mesh &self = *current.load();
    const std::lock_guard held(self.lock);
    self.receivers.erase(destination);
    if (result == receiver::close_result::closed_with_unhandled)
      self.lost.insert(destination);
  }
  delete handle;
}

uint32_t flush(uint32_t destination, deadline until) {
  mesh &self = *current.load();
  std::shared_ptr<receiver> here;
  std::shared_ptr<connection> away;
  {
    const std::lock_guard held(self.lock);
    if (self.lost.erase(destination) != 0)
      return MESH_HOST_PEER_LOST;
    if (const auto found = self.receivers.find(destination); found != self.receivers.end())
      here = found->second;
    else if (const auto known = self.connections.find(destination); known != self.connections.end())
      away = known->second;
  }
  if (here != nullptr)
    return here->queue().flush(until);
  return away != nullptr ? away->flush(until) : static_cast<uint32_t>(MESH_HOST_OK);
}

uint32_t clean(deadline until) {
  std::vector<uint32_t> destinations;
  {
    mesh &self = *current.load();
    const std::lock_guard held(self.lock);
    destinations.assign(self.lost.begin(), self.lost.end());
    for (const auto &[destination, here] : self.receivers)
      destinations.push_back(destination);
    for (const auto &[destination, away] : self.connections)
      destinations.push_back(destination);
  }
  uint32_t first_failure = MESH_HOST_OK;
  for (const uint32_t destination : destinations)
    if (const uint32_t result = flush(destination, until); first_failure == MESH_HOST_OK)
      first_failure = result;
  call_clean_hooks();
  return first_failure;
}

// Receivers first: what they have handled is acknowledged, and nobody waits for us in vain. Then
// everything sent gets its last chance. A thread that is still inside keeps its sockets, and the
// context stays: ending it would wait for that thread.
[[gnu::destructor]] void finish() {
  mesh &self = *current.load();
  std::map<uint32_t, std::shared_ptr<receiver>> receivers;
  std::map<uint32_t, std::shared_ptr<connection>> connections;
  {
    const std::lock_guard held(self.lock);
    self.ending = true;
    receivers = self.receivers;
    connections = self.connections;
  }
  if (self.context == nullptr)
    return;
  const deadline until = deadline_after(self.limits->send_timeout_ms);
  bool all_closed = true;
  for (const auto &[destination, each] : receivers) {
    const receiver::close_result result = each->close(until, true);
    if (result == receiver::close_result::closed_with_unhandled)
      tell("process ends with messages to its own destination %u unhandled", destination);
    all_closed = all_closed && result != receiver::close_result::in_use;
  }
  for (const auto &[destination, each] : connections)
    all_closed = each->finish(until) && all_closed;
  if (all_closed)
    zmq_ctx_term(self.context);
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

void mesh_host_get_counters(mesh_host_counters *into) {
  if (into == nullptr)
    return;
  const counters &now = counts();
  into->sent = now.sent;
  into->delivered = now.delivered;
  into->bytes_sent = now.bytes_sent;
  into->bytes_received = now.bytes_received;
  into->unknown_identifier = now.unknown_identifier;
  into->oversize = now.oversize;
  into->malformed = now.malformed;
}

const char *mesh_host_result_text(uint32_t result) {
  switch (result) {
  case MESH_HOST_OK:
    return "done";
  case MESH_HOST_FULL:
    return "the receiver took nothing more within the time-out";
  case MESH_HOST_NO_RECEIVER:
    return "nobody received for this destination within the time-out";
  case MESH_HOST_PEER_LOST:
    return "the receiver went away with messages not acknowledged";
  case MESH_HOST_BAD_ARGUMENT:
    return "bad argument";
  case MESH_HOST_BAD_CONFIG:
    return "the configuration or the private directory is unusable";
  case MESH_HOST_TOO_LARGE:
    return "a message is above the frame limit";
  case MESH_HOST_DUPLICATE:
    return "the identifier or the destination is taken";
  case MESH_HOST_SYSTEM:
    return "the system refused memory or a socket";
  case UINT32_MAX:
    return "nothing was sent: the message could not be encoded";
  default:
    return "unknown result";
  }
}
