// Packets that wait inside this process for the thread that polls.
//
// Room: host. Standard library, Linux's eventfd.
#pragma once

#include "host/descriptor.h"
#include "host/parcel.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace mesh_host {

class inbox : public parcel_sink {
public:
  inbox();

  bool is_open() const { return static_cast<bool>(event_); }
  int wake_descriptor() const { return event_.get(); }
  void wake();
  void clear_wake();

  bool push(std::unique_ptr<parcel> added) override;
  std::unique_ptr<parcel> pop();
  void close() override;
  bool is_closed();

private:
  std::mutex lock_;
  std::deque<std::unique_ptr<parcel>> waiting_;
  bool closed_ = false;
  descriptor event_;
};

} // namespace mesh_host
