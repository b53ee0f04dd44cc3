// The mesh as service and peers use it. The only file here, with link.cpp, that knows its calls.
//
// Room: demo. Includes public headers, the development host and the folder above.
#pragma once

#include "demo/text.h"
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/message_api.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <span>

namespace demo {

// What became of a call that sends.
enum class sent {
  accepted,
  busy,   // no room now: nothing of the call was sent, and the same call can be made again
  lost,   // nothing of the call was sent, and something of earlier ones never arrived
  nobody, // no receiver
};

// Which modules' messages are sent and received.
using registration = uint32_t();

class link {
public:
  // Registers and attaches. Throws failure.
  link(uint32_t destination, std::initializer_list<registration *> registrations);
  ~link();
  link(const link &) = delete;
  link &operator=(const link &) = delete;

  // What a message is handed to; `record` is the decoder's, who may have refused the message.
  using taker =
      std::function<void(uint32_t id, uint64_t target, const void *record, uint32_t size)>;

  // Waits up to `timeout_ms` for messages; whether there were any. What `take` throws comes out
  // here.
  bool poll(int timeout_ms, const taker &take);

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

  mesh_host_receiver *receiver = nullptr;
  gap_taker take_gap;
};

} // namespace demo
