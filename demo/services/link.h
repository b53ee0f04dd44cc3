// The mesh as service and peers use it. The only file here, with link.cpp, that knows its calls.
//
// Room: demo. Includes public headers, the development host and the folder above.
#pragma once

#include "demo/attachment.h"
#include "demo/text.h"
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/message_api.h>

#include <cstdint>
#include <functional>
#include <span>

namespace demo {

// What became of a call that sends.
enum class sent {
  accepted,
  busy,   // no room now: nothing of the call was sent, and the same call can be made again
  lost,   // nothing of the call was sent, and something of earlier ones never arrived
  nobody, // no receiver
};

class link {
public:
  // Registers and attaches. Throws failure.
  link(uint32_t destination, std::initializer_list<registration *> registrations);
  link(const link &) = delete;
  link &operator=(const link &) = delete;

  bool poll(int timeout_ms, const attachment::taker &take) {
    return receiver.poll(timeout_ms, take);
  }

  // What is called when messages of a sender are missing, before the next one of it is taken.
  using gap_taker = std::function<void(uint64_t sender)>;
  void on_gap(gap_taker take);

  // Who has sent the message that is being taken: a number that each process draws.
  uint64_t sender() const;

  // Sends all of them or none. Throws failure for what no repetition can mend.
  template <class Message>
  sent send(uint32_t destination, std::span<const Message> messages, uint64_t target,
            uint32_t (*sendtomsg)(uint32_t, const Message *, uint32_t, uint64_t)) {
    return judged(destination, sendtomsg(destination, messages.data(),
                                         static_cast<uint32_t>(messages.size()), target));
  }

  // Whether all that was sent has been handled (accepted), is on its way (busy), or was lost.
  static sent settled(uint32_t destination);

private:
  static sent judged(uint32_t destination, uint32_t result);

  gap_taker take_gap;
  attachment receiver; // ends first: its gaps are handed to the above
};

} // namespace demo
