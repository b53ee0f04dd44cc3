// Sending to another process.
//
// Room: host.
#include "host/connection.h"

#include "host/frame.h"
#include "host/mesh_host.h"
#include "host/zmq_part.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>
#include <zmq.h>

namespace mesh_host {
namespace {

// The messages of one call, copied before the first is sent: a lack of memory must not cut a batch
// in two.
class outgoing {
public:
  outgoing() = default;
  ~outgoing() {
    for (zmq_msg_t &message : messages_)
      zmq_msg_close(&message);
  }
  outgoing(const outgoing &) = delete;
  outgoing &operator=(const outgoing &) = delete;

  bool copy(const msg_desc *messages, uint32_t count, uint32_t destination, uint64_t target) {
    messages_.reserve(count);
    for (uint32_t i = 0; i < count; i++)
      if (!add(messages[i], destination, target))
        return false;
    return true;
  }

  std::vector<zmq_msg_t> &messages() { return messages_; }

private:
  bool add(const msg_desc &from, uint32_t destination, uint64_t target) {
    zmq_msg_t message;
    if (zmq_msg_init_size(&message, message_header_size + from.length) != 0)
      return false;
    auto *at = static_cast<uint8_t *>(zmq_msg_data(&message));
    write_header(at, {destination, target, from.id, from.length});
    if (from.length != 0)
      memcpy(at + message_header_size, from.data, from.length);
    messages_.push_back(message); // zmq_msg_t may be moved bytewise until it is sent
    return true;
  }

  std::vector<zmq_msg_t> messages_;
};

uint64_t total_bytes(const msg_desc *messages, uint32_t count) {
  uint64_t bytes = 0;
  for (uint32_t i = 0; i < count; i++)
    bytes += messages[i].length;
  return bytes;
}

} // namespace

connection::connection(void *context, const settings &limits, uint32_t destination, endpoint place)
    : context_(context), limits_(limits), destination_(destination), place_(std::move(place)) {}

connection::~connection() {
  close_sockets();
}

uint32_t connection::send(const msg_desc *messages, uint32_t count, uint64_t target) {
  const deadline until = deadline_after(limits_.send_timeout_ms);
  const guard held(lock_, until);
  if (!held.owns_lock())
    return MESH_HOST_FULL;
  if (socket_ != nullptr)
    take_news();
  if (lost())
    return report_loss();
  if (!connected_)
    if (const uint32_t result = connect(until); result != MESH_HOST_OK)
      return result;
  if (const uint32_t result = wait_for_room(count, total_bytes(messages, count), until);
      result != MESH_HOST_OK)
    return result;
  return transmit(messages, count, target);
}

uint32_t connection::flush(deadline until) {
  const guard held(lock_, until);
  if (!held.owns_lock())
    return MESH_HOST_FULL;
  return wait_until_handled(sent_, until);
}

bool connection::finish(deadline until) {
  const guard held(lock_, until);
  if (!held.owns_lock())
    return false;
  wait_until_handled(sent_, until);
  if (!in_flight_.empty())
    tell("process ends with %zu messages to destination %u not known to be handled",
         in_flight_.size(), destination_);
  close_sockets();
  return true;
}

// Tries until somebody answers: the receiver may be about to start.
uint32_t connection::connect(deadline until) {
  constexpr std::chrono::milliseconds pause(20);
  for (;;) {
    close_sockets();
    if (!open_sockets()) {
      close_sockets();
      return MESH_HOST_SYSTEM;
    }
    if (await_handshake(until))
      return MESH_HOST_OK;
    if (clock::now() + pause >= until)
      break;
    std::this_thread::sleep_for(pause);
  }
  close_sockets();
  if (uint64_t skipped = 0; no_receiver_.pass(skipped))
    tell("nobody receives for destination %u: tried %s for %d ms (MESH_HOST_SEND_TIMEOUT_MS; %llu "
         "more not told)",
         destination_, place_.address.c_str(), limits_.send_timeout_ms,
         static_cast<unsigned long long>(skipped));
  return MESH_HOST_NO_RECEIVER;
}

bool connection::open_sockets() {
  static std::atomic<uint64_t> serial{0};
  const std::string events = "inproc://mesh-host-events-" + std::to_string(serial++);
  constexpr int wanted = ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL |
                         ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL | ZMQ_EVENT_HANDSHAKE_FAILED_AUTH |
                         ZMQ_EVENT_CLOSED | ZMQ_EVENT_CONNECT_RETRIED | ZMQ_EVENT_DISCONNECTED;
  // ZeroMQ knows no "never" that leaves acknowledgements readable after a loss; a day is never.
  constexpr int no_reconnect_ms = 24 * 3600 * 1000;

  socket_ = zmq_socket(context_, ZMQ_DEALER);
  monitor_ = zmq_socket(context_, ZMQ_PAIR);
  if (socket_ == nullptr || monitor_ == nullptr) {
    tell("destination %u: no socket: %s", destination_, zmq_strerror(errno));
    return false;
  }
  set_option(socket_, ZMQ_LINGER, 0);
  set_option(socket_, ZMQ_SNDHWM, 0); // the window is the limit
  set_option(socket_, ZMQ_RCVHWM, 0);
  set_option(socket_, ZMQ_IPV6, 1);
  set_option(socket_, ZMQ_RECONNECT_IVL, no_reconnect_ms);
  if (!place_.is_local())
    set_option(socket_, ZMQ_HEARTBEAT_IVL, limits_.heartbeat_ms);
  set_option(monitor_, ZMQ_LINGER, 0);
  if (zmq_socket_monitor(socket_, events.c_str(), wanted) != 0 ||
      zmq_connect(monitor_, events.c_str()) != 0) {
    tell("destination %u: no monitor: %s", destination_, zmq_strerror(errno));
    return false;
  }
  if (zmq_connect(socket_, place_.address.c_str()) != 0) {
    tell("destination %u: %s: %s", destination_, place_.address.c_str(), zmq_strerror(errno));
    return false;
  }
  return true;
}

namespace {

// The next event of a monitor socket; false when there is none.
bool next_event(void *monitor, uint16_t &event) {
  zmq_part number;
  if (!number.receive(monitor))
    return false;
  // The first part begins with the event's number, the second is an address.
  for (bool more = number.more(); more;) {
    zmq_part address;
    more = address.receive(monitor) && address.more();
  }
  if (number.size() < sizeof event)
    return false;
  memcpy(&event, number.data(), sizeof event);
  return true;
}

} // namespace

bool connection::await_handshake(deadline until) {
  for (;;) {
    uint16_t event = 0;
    while (next_event(monitor_, event)) {
      if (event != ZMQ_EVENT_HANDSHAKE_SUCCEEDED)
        return false;
      connected_ = true;
      next_look_ = clock::now();
      was_unlocked_ = false;
      return true;
    }
    const long wait = remaining_ms(until);
    if (wait == 0)
      return false;
    zmq_pollitem_t item{monitor_, 0, ZMQ_POLLIN, 0};
    zmq_poll(&item, 1, wait);
  }
}

void connection::close_sockets() {
  if (socket_ != nullptr) {
    zmq_socket_monitor(socket_, nullptr, 0);
    zmq_close(socket_);
  }
  if (monitor_ != nullptr)
    zmq_close(monitor_);
  socket_ = nullptr;
  monitor_ = nullptr;
  connected_ = false;
  sent_ = 0;
  handled_ = 0;
  in_flight_.clear();
  bytes_in_flight_ = 0;
}

// A batch above the window is let through alone: one call is accepted or refused as a whole.
bool connection::has_room(uint64_t count, uint64_t bytes) const {
  if (in_flight_.empty())
    return true;
  return in_flight_.size() + count <= limits_.window_messages &&
         bytes_in_flight_ + bytes <= limits_.window_bytes;
}

uint32_t connection::wait_for_room(uint64_t count, uint64_t bytes, deadline until) {
  while (!has_room(count, bytes)) {
    if (clock::now() >= until)
      return MESH_HOST_FULL;
    wait_for_news(until);
    if (lost())
      return report_loss();
  }
  return MESH_HOST_OK;
}

uint32_t connection::wait_until_handled(uint64_t goal, deadline until) {
  if (socket_ == nullptr)
    return MESH_HOST_OK;
  take_news();
  while (handled_ < goal) {
    if (lost())
      return report_loss();
    if (clock::now() >= until)
      return MESH_HOST_FULL;
    wait_for_news(until);
  }
  return MESH_HOST_OK;
}

uint32_t connection::report_loss() {
  tell("the receiver of destination %u went away, %zu messages may not have been handled",
       destination_, in_flight_.size());
  close_sockets();
  return MESH_HOST_PEER_LOST;
}

void connection::wait_for_news(deadline until) {
  constexpr long look_every_ms = 200;
  zmq_pollitem_t items[] = {{socket_, 0, ZMQ_POLLIN, 0}, {monitor_, 0, ZMQ_POLLIN, 0}};
  zmq_poll(items, 2, remaining_ms(until, look_every_ms)); // interrupted: the caller comes back
  take_news();
  if (connected_ && place_.is_local() && clock::now() >= next_look_) {
    next_look_ = clock::now() + std::chrono::milliseconds(look_every_ms);
    look_at_lock();
  }
}

// Events first: an acknowledgement that came before the end of the connection is there when the
// event is, and must count.
void connection::take_news() {
  take_events();
  take_acks();
}

void connection::take_events() {
  uint16_t event = 0;
  while (next_event(monitor_, event))
    if (event == ZMQ_EVENT_DISCONNECTED)
      connected_ = false;
}

void connection::take_acks() {
  uint64_t newest = handled_;
  uint8_t frame[ack_size + 1];
  for (int size; (size = zmq_recv(socket_, frame, sizeof frame, ZMQ_DONTWAIT)) >= 0;) {
    uint64_t handled = 0;
    uint64_t skipped = 0;
    if (read_ack(frame, static_cast<size_t>(size), handled) && handled <= sent_)
      newest = handled > newest ? handled : newest;
    else if (bad_ack_.pass(skipped))
      tell("destination %u sent an acknowledgement that makes no sense (%llu more not told)",
           destination_, static_cast<unsigned long long>(skipped));
  }
  for (; handled_ < newest; handled_++) {
    bytes_in_flight_ -= in_flight_.front();
    in_flight_.pop_front();
  }
}

// A receiver that was killed leaves its connection open when a child of its own has inherited it.
// Its lock it cannot leave behind. Two looks in a row, since a receiver that ends in good order
// gives the lock back while its last acknowledgements are on their way.
void connection::look_at_lock() {
  const bool unlocked = !has_receiver(place_);
  if (unlocked && was_unlocked_)
    connected_ = false;
  was_unlocked_ = unlocked;
}

uint32_t connection::transmit(const msg_desc *messages, uint32_t count, uint64_t target) {
  outgoing batch;
  if (!batch.copy(messages, count, destination_, target)) {
    tell("destination %u: no memory for %u messages", destination_, count);
    return MESH_HOST_SYSTEM;
  }
  for (uint32_t i = 0; i < count; i++) {
    if (zmq_msg_send(&batch.messages()[i], socket_, ZMQ_DONTWAIT) < 0) {
      connected_ = false; // the socket has no limit of its own: it refuses only without a peer
      return lost() ? report_loss() : static_cast<uint32_t>(MESH_HOST_NO_RECEIVER);
    }
    sent_++;
    in_flight_.push_back(messages[i].length);
    bytes_in_flight_ += messages[i].length;
  }
  counts().sent += count;
  counts().bytes_sent += total_bytes(messages, count);
  return MESH_HOST_OK;
}

} // namespace mesh_host
