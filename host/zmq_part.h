// One part of a received ZeroMQ message, and the options of a socket.
//
// Room: host.
#pragma once

#include "host/tell.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <zmq.h>

namespace mesh_host {

class zmq_part {
public:
  zmq_part() { zmq_msg_init(&message_); }
  ~zmq_part() { zmq_msg_close(&message_); }
  zmq_part(const zmq_part &) = delete;
  zmq_part &operator=(const zmq_part &) = delete;

  // Does not wait. False when nothing is there or on an error, with errno of ZeroMQ.
  bool receive(void *socket) { return zmq_msg_recv(&message_, socket, ZMQ_DONTWAIT) >= 0; }
  bool more() const { return zmq_msg_more(&message_) != 0; }
  const uint8_t *data() { return static_cast<const uint8_t *>(zmq_msg_data(&message_)); }
  size_t size() const { return zmq_msg_size(&message_); }

private:
  zmq_msg_t message_;
};

inline void set_option(void *socket, int option, int value) {
  if (zmq_setsockopt(socket, option, &value, sizeof value) != 0)
    tell("socket option %d: %s", option, zmq_strerror(errno));
}

} // namespace mesh_host
