// A receiver's place on the mesh, for as long as it is there.
//
// Room: demo. Includes public headers, the development host and this folder.
#pragma once

#include <mesh_fib6/host/mesh_host.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>

namespace demo {

// Which modules' messages are sent and received.
using registration = uint32_t();

class attachment {
public:
  // Registers, then attaches: the mesh must know the messages before the first arrives. Throws
  // failure.
  attachment(uint32_t destination, std::initializer_list<registration *> registrations);

  // What a message is handed to; `record` is the decoder's, who may have refused the message.
  using taker =
      std::function<void(uint32_t id, uint64_t target, const void *record, uint32_t size)>;

  // Waits up to `timeout_ms` for messages; whether there were any. What `take` throws comes out
  // here, and after it nothing more is taken.
  bool poll(int timeout_ms, const taker &take);

  mesh_host_receiver *get() const { return receiver.get(); }

private:
  struct detacher {
    void operator()(mesh_host_receiver *attached) const { mesh_host_detach(attached); }
  };
  std::unique_ptr<mesh_host_receiver, detacher> receiver;
};

} // namespace demo
