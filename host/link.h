// One connection of this process to the receiver of one destination. A way to travel is a kind of
// link (local_link.h, inside_link.h, nats_link.h); everything else of sending is in sender.h.
//
// Room: host. Standard library, the platform's mesh declarations.
#pragma once

#include "host/deadline.h"
#include "host/packet.h"

#include <cstdint>

namespace mesh_host {

class link {
public:
  virtual ~link() = default;

  enum class outcome {
    done,      // the packet is on its way
    full,      // no room until the deadline
    gone,      // the receiver is not there any more
    failed,    // this machine is short of something, which was told
    too_large, // for this way, which was told
  };
  // Hands over one packet as a whole, or, when it is not done, nothing of it.
  virtual outcome put(const packet_header &header, const msg_desc *messages, deadline until) = 0;

  // Takes what news there are. After that settled() and gone() are as new as they can be.
  virtual void take_news() = 0;
  // Waits for news, not beyond the deadline.
  virtual void wait(deadline until) = 0;

  // The number up to which the sender has nothing to care for any more: the messages were handled,
  // or are kept by somebody who will see to that.
  virtual uint64_t settled() const = 0;
  // No more news will come.
  virtual bool gone() const = 0;
  // When it is gone: the number from which messages are not known to be handled.
  virtual uint64_t doubtful_from() const { return settled() + 1; }
  // Whether all messages up to this one were handled. Who has to ask somebody for that waits for
  // the answer, not much beyond the deadline.
  virtual bool handled(uint64_t number, deadline) { return settled() >= number; }
};

} // namespace mesh_host
