// The sending side of one destination in another process.
//
// Room: host. ZeroMQ, the platform's mesh declarations, the standard library.
//
// A DEALER socket that never reconnects by itself: what it has queued belongs to one receiver, and
// must not reach the next one after its loss was reported. A monitor socket tells when the receiver
// goes. One thread at a time inside, so that messages keep their order; the others wait for the
// lock as they would for room.
#pragma once

#include "host/deadline.h"
#include "host/endpoint.h"
#include "host/settings.h"
#include "host/tell.h"
#include "host/turn.h"
#include "platform/mesh.h"

#include <cstdint>
#include <deque>
#include <mutex>

namespace mesh_host {

class connection {
public:
  connection(void *context, const settings &limits, uint32_t destination, endpoint place);
  ~connection();
  connection(const connection &) = delete;
  connection &operator=(const connection &) = delete;

  // All messages or none, unless the receiver dies meanwhile. 0 or a mesh_host_result.
  uint32_t send(const msg_desc *messages, uint32_t count, uint64_t target);

  // Waits until everything sent was handled. MESH_HOST_OK, _FULL after the deadline or _PEER_LOST.
  uint32_t flush(deadline until);

  // The last flush of a process that ends: tells what was not handled, then closes the sockets.
  // False when another thread is inside and the sockets had to stay open.
  bool finish(deadline until);

private:
  using guard = std::unique_lock<turn>;

  uint32_t connect(deadline until);
  bool open_sockets();
  bool await_handshake(deadline until);
  void close_sockets();

  bool has_room(uint64_t count, uint64_t bytes) const;
  uint32_t wait_for_room(uint64_t count, uint64_t bytes, deadline until);
  uint32_t wait_until_handled(uint64_t goal, deadline until);
  void wait_for_news(deadline until);
  void take_news();
  void take_acks();
  void take_events();
  void look_at_lock();
  bool lost() const { return !connected_ && !in_flight_.empty(); }
  uint32_t report_loss();
  uint32_t transmit(const msg_desc *messages, uint32_t count, uint64_t target);

  void *const context_;
  const settings &limits_;
  const uint32_t destination_;
  const endpoint place_;

  turn lock_;
  void *socket_ = nullptr;
  void *monitor_ = nullptr;
  bool connected_ = false;

  // Of this connection, since it began.
  uint64_t sent_ = 0, handled_ = 0;
  std::deque<uint32_t> in_flight_; // lengths of the messages not acknowledged
  uint64_t bytes_in_flight_ = 0;
  clock::time_point next_look_{};
  bool was_unlocked_ = false;
  rate_limit bad_ack_, no_receiver_;
};

} // namespace mesh_host
