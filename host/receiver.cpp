// Receiving: sockets, decoding, acknowledging.
//
// Room: host.
#include "host/receiver.h"

#include "host/frame.h"
#include "host/hooks.h"
#include "host/zmq_part.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace mesh_host {
namespace {

// At most this many messages from each side in one poll, so that a caller of poll gets its turn.
constexpr int most_per_poll = 128;
// An acknowledgement for each message would be as many frames back as forth; a sender with a small
// window must not wait long for one either.
constexpr std::chrono::milliseconds acknowledge_every(5);
// How long the last acknowledgements may take to leave after the socket was closed.
constexpr int linger_ms = 1000;

} // namespace

receiver::receiver(void *context, const settings &limits, uint32_t destination, endpoint place)
    : context_(context), limits_(limits), destination_(destination), place_(std::move(place)),
      queue_(limits) {}

receiver::~receiver() {
  if (socket_ != nullptr)
    zmq_close(socket_);
}

uint32_t receiver::open() {
  if (place_.is_local())
    if (const uint32_t result = lock_file_.take(place_, destination_); result != MESH_HOST_OK)
      return result;
  socket_ = zmq_socket(context_, ZMQ_ROUTER);
  if (socket_ == nullptr || !queue_.is_open()) {
    tell("destination %u: no socket: %s", destination_, zmq_strerror(errno));
    return MESH_HOST_SYSTEM;
  }
  set_option(socket_, ZMQ_LINGER, linger_ms);
  set_option(socket_, ZMQ_SNDHWM, 0);
  // No limit here: senders keep their windows, and a receiver that stopped reading would not answer
  // heartbeats either and be taken for dead.
  set_option(socket_, ZMQ_RCVHWM, 0);
  set_option(socket_, ZMQ_ROUTER_MANDATORY, 1); // tells which senders are gone
  set_option(socket_, ZMQ_IPV6, 1);
  // Above the frame limit on purpose: a frame that ZeroMQ cuts off could be neither told nor
  // acknowledged. Nothing a sender can describe is longer than this.
  const int64_t longest =
      static_cast<int64_t>(UINT32_MAX) + static_cast<int64_t>(message_header_size);
  zmq_setsockopt(socket_, ZMQ_MAXMSGSIZE, &longest, sizeof longest);
  return bind();
}

uint32_t receiver::bind() {
  return place_.is_local() ? bind_local() : bind_tcp();
}

// The socket is made here and given to ZeroMQ, which would otherwise remove the file at some later
// time in a thread of its own, when it may be the next receiver's.
uint32_t receiver::bind_local() {
  const char *path = place_.socket.c_str();
  unlink(path); // of a receiver that died: the lock is ours
  const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  memcpy(name.sun_path, path, place_.socket.size()); // its length was checked with the directory's
  constexpr int backlog = 128;
  if (listening >= 0 &&
      ::bind(listening, reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0 &&
      listen(listening, backlog) == 0 &&
      zmq_setsockopt(socket_, ZMQ_USE_FD, &listening, sizeof listening) == 0 &&
      zmq_bind(socket_, place_.address.c_str()) == 0)
    return MESH_HOST_OK;
  tell("destination %u: %s: %s", destination_, path, zmq_strerror(errno));
  if (listening >= 0)
    ::close(listening);
  return MESH_HOST_SYSTEM;
}

uint32_t receiver::bind_tcp() {
  // A receiver that has just been detached leaves its port a moment later, in ZeroMQ's own thread.
  const deadline until = deadline_after(200);
  while (zmq_bind(socket_, place_.address.c_str()) != 0) {
    const int error = errno;
    if (error == EADDRINUSE && clock::now() < until) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      continue;
    }
    tell("destination %u: cannot receive at %s: %s", destination_, place_.address.c_str(),
         zmq_strerror(error));
    return error == EADDRINUSE ? MESH_HOST_DUPLICATE : MESH_HOST_BAD_CONFIG;
  }
  return MESH_HOST_OK;
}

int receiver::poll(int timeout_ms, mesh_host_handler handler, void *context) {
  if (!begin_poll())
    return -1;
  const int handled = poll_until(deadline_after(timeout_ms), {handler, context});
  end_poll();
  return handled;
}

bool receiver::begin_poll() {
  const std::lock_guard held(state_lock_);
  if (polling_)
    tell("destination %u is being polled already, expected one poll at a time", destination_);
  if (polling_ || closing_)
    return false;
  polling_ = true;
  poller_ = std::this_thread::get_id();
  return true;
}

void receiver::end_poll() {
  {
    const std::lock_guard held(state_lock_);
    polling_ = false;
  }
  poll_ended_.notify_all();
}

bool receiver::is_closing() const {
  const std::lock_guard held(state_lock_);
  return closing_;
}

int receiver::poll_until(deadline until, const delivery &to) {
  for (;;) {
    if (is_closing())
      return -1;
    if (const int handled = drain(to); handled != 0)
      return handled;
    const long wait = remaining_ms(until);
    if (wait == 0)
      return 0;
    zmq_pollitem_t items[] = {{socket_, 0, ZMQ_POLLIN, 0},
                              {nullptr, queue_.wake_descriptor(), ZMQ_POLLIN, 0}};
    if (zmq_poll(items, 2, wait) < 0) {
      if (errno == EINTR)
        return 0; // a signal: the program may want to look at its flags
      tell("destination %u: waiting failed: %s", destination_, zmq_strerror(errno));
      return -1;
    }
    if (items[1].revents != 0)
      queue_.clear_wake();
  }
}

int receiver::drain(const delivery &to) {
  const int from_queue = drain_queue(to);
  const int from_socket = drain_socket(to);
  acknowledge_handled();
  return from_socket < 0 ? -1 : from_queue + from_socket;
}

int receiver::drain_queue(const delivery &to) {
  int handled = 0;
  local_message message;
  for (int i = 0; i < most_per_poll && queue_.pop(message); i++) {
    const auto length = static_cast<uint32_t>(message.bytes.size());
    counts().bytes_received += length;
    if (deliver(message.id, message.target, message.bytes.data(), length, to))
      handled++;
    queue_.done(message);
  }
  return handled;
}

int receiver::drain_socket(const delivery &to) {
  int handled = 0;
  for (int i = 0; i < most_per_poll; i++) {
    const taken result = take_message(to);
    if (result == taken::failed)
      return -1;
    if (result == taken::nothing)
      break;
    if (result == taken::handled)
      handled++;
    if (clock::now() >= acknowledge_at_)
      acknowledge_handled();
  }
  return handled;
}

receiver::taken receiver::take_message(const delivery &to) {
  zmq_part routing_id;
  if (!routing_id.receive(socket_)) {
    if (errno == EAGAIN || errno == EINTR)
      return taken::nothing;
    tell("destination %u: receiving failed: %s", destination_, zmq_strerror(errno));
    return taken::failed;
  }
  // ZeroMQ gives all parts of a message at once or none.
  zmq_part frame;
  const bool has_frame = routing_id.more() && frame.receive(socket_);
  bool more = has_frame && frame.more();
  const bool single = has_frame && !more;
  while (more) {
    zmq_part surplus;
    more = surplus.receive(socket_) && surplus.more();
  }
  bool handled = false;
  if (single)
    handled = accept_frame(frame.data(), frame.size(), to);
  else
    refuse_frame("not one part");
  owe(routing_id.data(), routing_id.size());
  return handled ? taken::handled : taken::refused;
}

// False when the frame was refused.
bool receiver::accept_frame(const uint8_t *at, size_t size, const delivery &to) {
  message_header header{};
  if (const char *why = read_header(at, size, destination_, header); why != nullptr) {
    refuse_frame(why);
    return false;
  }
  counts().bytes_received += header.length;
  if (header.length > limits_.frame_limit) {
    counts().oversize++;
    if (uint64_t skipped = 0; oversize_.pass(skipped))
      tell("destination %u: message 0x%08X of %u bytes refused, the limit is %llu "
           "(MESH_HOST_FRAME_LIMIT; %llu more not told)",
           destination_, header.id, header.length,
           static_cast<unsigned long long>(limits_.frame_limit),
           static_cast<unsigned long long>(skipped));
    return false;
  }
  return deliver(header.id, header.target, at + message_header_size, header.length, to);
}

void receiver::refuse_frame(const char *why) {
  counts().malformed++;
  if (uint64_t skipped = 0; malformed_.pass(skipped))
    tell("destination %u: frame refused, %s (%llu more not told)", destination_, why,
         static_cast<unsigned long long>(skipped));
}

bool receiver::deliver(uint32_t id, uint64_t target, const uint8_t *bytes, uint32_t length,
                       const delivery &to) {
  message_hooks *hooks = find_hooks(id);
  if (hooks == nullptr) {
    counts().unknown_identifier++;
    if (uint64_t skipped = 0; unknown_.pass(skipped))
      tell("destination %u: message of unknown identifier 0x%08X refused (%llu more not told)",
           destination_, id, static_cast<unsigned long long>(skipped));
    return false;
  }
  const uint32_t size = record_size(*hooks, bytes, length);
  void *record = zeroed_storage(size);
  hooks->unpack(bytes, length, record);
  counts().delivered++;
  to.handler(to.context, id, target, record, size);
  hooks->release(record);
  return true;
}

// Zeroed each time: a decoder that refuses early leaves the storage as it finds it, and the handler
// must not see the previous record there.
void *receiver::zeroed_storage(uint32_t size) {
  constexpr size_t unit = sizeof(std::max_align_t);
  const size_t units = std::max<size_t>(1, (size + unit - 1) / unit);
  if (storage_.size() < units)
    storage_.resize(units);
  memset(storage_.data(), 0, size);
  return storage_.data();
}

void receiver::owe(const uint8_t *routing_id, size_t size) {
  std::string name(reinterpret_cast<const char *>(routing_id), size);
  peer &sender = peers_[name];
  if (sender.handled++ == sender.acknowledged)
    owed_.push_back(std::move(name));
}

void receiver::acknowledge_handled() {
  for (const std::string &routing_id : owed_) {
    const auto sender = peers_.find(routing_id);
    if (sender != peers_.end() && !acknowledge(routing_id, sender->second))
      peers_.erase(sender);
  }
  owed_.clear();
  acknowledge_at_ = clock::now() + acknowledge_every;
  if (peers_.size() > sweep_above_)
    forget_dead_peers();
}

// False when the sender is gone.
bool receiver::acknowledge(const std::string &routing_id, peer &sender) {
  uint8_t frame[ack_size];
  write_ack(frame, sender.handled);
  sender.acknowledged = sender.handled;
  if (zmq_send(socket_, routing_id.data(), routing_id.size(), ZMQ_SNDMORE | ZMQ_DONTWAIT) < 0)
    return false;
  return zmq_send(socket_, frame, sizeof frame, ZMQ_DONTWAIT) >= 0;
}

// ZeroMQ does not say when a sender leaves, but it does say so when one is written to. An
// acknowledgement given twice says nothing new.
void receiver::forget_dead_peers() {
  for (auto known = peers_.begin(); known != peers_.end();)
    known = acknowledge(known->first, known->second) ? std::next(known) : peers_.erase(known);
  sweep_above_ = std::max<size_t>(1024, 2 * peers_.size());
}

receiver::close_result receiver::close(deadline until, bool process_ends) {
  std::unique_lock held(state_lock_);
  const bool in_handler = polling_ && poller_ == std::this_thread::get_id();
  if (in_handler && !process_ends)
    return close_result::in_use;
  closing_ = true;
  queue_.wake();
  if (in_handler)
    acknowledge_handled();
  else if (!poll_ended_.wait_until(held, until, [this] { return !polling_; }))
    return close_result::in_use;
  zmq_close(socket_);
  socket_ = nullptr;
  if (place_.is_local())
    unlink(place_.socket.c_str());
  lock_file_.give_back();
  return queue_.close() ? close_result::closed_with_unhandled : close_result::closed;
}

} // namespace mesh_host
