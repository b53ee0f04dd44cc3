// A packet that has arrived, and where it is put for the thread that polls.
//
// Room: host. Standard library only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace mesh_host {

// A packet, and whoever wants to know how far it was handled.
class parcel {
public:
  virtual ~parcel() = default;
  virtual const uint8_t *bytes() const = 0;
  virtual size_t size() const = 0;
  // The handler has returned from the message of this number.
  virtual void handled(uint64_t number) = 0;
  // Nothing more will be handled of it.
  virtual void done() = 0;
};

class parcel_sink {
public:
  virtual ~parcel_sink() = default;
  // Any thread. False when it is closed.
  virtual bool push(std::unique_ptr<parcel> added) = 0;
  // Nothing more will come: the receiver ends.
  virtual void close() = 0;
};

} // namespace mesh_host
