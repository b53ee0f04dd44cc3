// Receiving from other processes of this machine.
//
// Room: host.
#include "host/local_inlet.h"

#include "host/local_link.h"
#include "host/local_wire.h"
#include "host/mesh_host.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace mesh_host {
namespace {

// Datagrams read by one call of the system, and calls for one sender before the next has its turn.
constexpr unsigned datagrams_at_once = 16;
constexpr unsigned rounds_for_a_peer = 4;
// An acknowledgement for each message would be as many datagrams back as forth; a sender with a
// small window must not wait long for one either.
constexpr std::chrono::milliseconds acknowledge_every(5);
// The time of the kernel's last tick, some milliseconds old: looked at after each message, where a
// look at the exact one would cost as much as decoding a route.
deadline coarse_now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return deadline(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}
// How long to leave those waiting for whom there is no descriptor.
constexpr std::chrono::milliseconds pause_without_descriptors(100);

} // namespace

local_inlet::local_inlet(const settings &limits, uint32_t destination)
    : limits_(limits), destination_(destination) {}

local_inlet::~local_inlet() {
  acknowledge_all();
  if (bound_ && listener_)
    unlink(path_.c_str());
}

uint32_t local_inlet::open() {
  if (const uint32_t result = prepare_directory(limits_); result != MESH_HOST_OK)
    return result;
  if (const uint32_t result = socket_path(limits_, destination_, path_); result != MESH_HOST_OK)
    return result;
  if (const uint32_t result = claim_.take(limits_, destination_); result != MESH_HOST_OK)
    return result;
  buffers_.resize(datagrams_at_once * longest_datagram);
  return listen_at(path_);
}

uint32_t local_inlet::listen_at(const std::string &path) {
  unlink(path.c_str()); // of a receiver that died: the claim is ours
  listener_ = descriptor::from(
      [] { return ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); });
  epoll_ = descriptor::from([] { return epoll_create1(EPOLL_CLOEXEC); });
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  memcpy(name.sun_path, path.data(), path.size());
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = listener_.get();
  bound_ = listener_ &&
           ::bind(listener_.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0;
  if (bound_ && epoll_ && listen(listener_.get(), SOMAXCONN) == 0 &&
      epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, listener_.get(), &event) == 0)
    return MESH_HOST_OK;
  tell("destination %u: %s: %s", destination_, path.c_str(), strerror(errno));
  return MESH_HOST_SYSTEM;
}

bool local_inlet::take_some(taker &to) {
  if (!accepting_ && clock::now() >= accept_again_) {
    accepting_ = true;
    accept_all();
  }
  constexpr int most_events = 64;
  epoll_event events[most_events];
  acknowledge_at_ = coarse_now() + acknowledge_every;
  const int ready = epoll_wait(epoll_.get(), events, most_events, 0);
  for (int i = 0; i < ready; i++) {
    if (events[i].data.fd == listener_.get()) {
      accept_all();
      continue;
    }
    const auto known = peers_.find(events[i].data.fd);
    if (known == peers_.end())
      continue;
    const state now =
        (events[i].events & ~EPOLLOUT) != 0U ? read_or_cut_off(*known->second, to) : state::open;
    acknowledge(*known->second);
    if (now == state::ended)
      peers_.erase(known);
  }
  return ready > 0;
}

void local_inlet::accept_all() {
  try {
    accept_each();
  } catch (const std::bad_alloc &) {
    errno = ENOMEM;
    pause_accepting();
  }
}

void local_inlet::accept_each() {
  while (accepting_) {
    auto added = std::make_unique<peer>(destination_, limits_.batch_limit);
    added->socket = descriptor::from([this] {
      return accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    });
    if (!added->socket) {
      if (errno == EINTR || errno == ECONNABORTED)
        continue;
      if (errno != EAGAIN)
        pause_accepting();
      return;
    }
    set_socket_room(added->socket.get(), limits_);
    const int key = added->socket.get();
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = key;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, key, &event) == 0)
      peers_[key] = std::move(added);
    else
      tell("destination %u: a sender is turned away: %s", destination_, strerror(errno));
  }
}

// Those who wait stay in the listener's queue, and what they send in their sockets. Looking again
// at once would only burn the processor.
void local_inlet::pause_accepting() {
  if (uint64_t skipped = 0; no_descriptor_.pass(skipped))
    tell("destination %u: a sender has to wait: %s (%llu more not told)", destination_,
         strerror(errno), number(skipped));
  epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, listener_.get(), nullptr);
  accepting_ = false;
  accept_again_ = clock::now() + pause_without_descriptors;
}

int local_inlet::retry_after_ms() const {
  return accepting_ ? -1 : static_cast<int>(remaining_ms(accept_again_));
}

// What was read and could not be kept is gone: its sender is cut off, and so learns what is not
// handled.
local_inlet::state local_inlet::read_or_cut_off(peer &from, taker &to) {
  try {
    return read_from(from, to);
  } catch (const std::bad_alloc &) {
    tell("destination %u: no memory to take a packet; its sender is cut off", destination_);
    return state::ended;
  }
}

local_inlet::state local_inlet::read_from(peer &from, taker &to) {
  mmsghdr headers[datagrams_at_once];
  iovec parts[datagrams_at_once];
  for (unsigned round = 0; round < rounds_for_a_peer; round++) {
    for (unsigned i = 0; i < datagrams_at_once; i++) {
      parts[i] = {buffers_.data() + i * longest_datagram, longest_datagram};
      headers[i] = {};
      headers[i].msg_hdr.msg_iov = &parts[i];
      headers[i].msg_hdr.msg_iovlen = 1;
    }
    const int got = recvmmsg(from.socket.get(), headers, datagrams_at_once, MSG_DONTWAIT, nullptr);
    if (got < 0)
      return errno == EAGAIN || errno == EINTR ? state::open : state::ended;
    for (int i = 0; i < got; i++) {
      // A datagram of no bytes is how the kernel shows the end.
      if (headers[i].msg_len == 0)
        return state::ended;
      if ((headers[i].msg_hdr.msg_flags & MSG_TRUNC) != 0) {
        to.refuse_malformed("longer than any datagram of this protocol; its sender is cut off");
        return state::ended;
      }
      if (!take_datagram(from, buffers_.data() + static_cast<size_t>(i) * longest_datagram,
                         headers[i].msg_len, to))
        return state::ended;
    }
    if (got == 0)
      return state::ended;
    if (static_cast<unsigned>(got) < datagrams_at_once)
      return state::open;
  }
  return state::open;
}

bool local_inlet::take_datagram(peer &from, const uint8_t *at, size_t size, taker &to) {
  struct following {
    local_inlet *self;
    peer *from;
  } context{this, &from};
  return from.packets.take(
      at, size, to,
      [](void *known, uint64_t number) {
        const following &now = *static_cast<following *>(known);
        now.from->handled = number;
        if (coarse_now() >= now.self->acknowledge_at_)
          now.self->acknowledge(*now.from);
      },
      &context);
}

// A sender that reads none has room for none after a while. It is told as soon as it has.
void local_inlet::acknowledge(peer &to) {
  if (to.handled == to.acknowledged)
    return;
  uint8_t ack[ack_size];
  write_ack(ack, to.handled);
  const ssize_t sent = send(to.socket.get(), ack, sizeof ack, MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent >= 0)
    to.acknowledged = to.handled;
  if (to.waits_for_room != (sent < 0)) {
    to.waits_for_room = sent < 0;
    epoll_event event{};
    event.events = to.waits_for_room ? EPOLLIN | EPOLLOUT : EPOLLIN;
    event.data.fd = to.socket.get();
    epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, to.socket.get(), &event);
  }
  acknowledge_at_ = coarse_now() + acknowledge_every;
}

void local_inlet::acknowledge_all() {
  for (auto &[key, each] : peers_)
    acknowledge(*each);
}

} // namespace mesh_host
