// The way between processes of one machine: receiving.
//
// Room: host. POSIX, Linux's epoll. One thread at a time, the one that polls.
#pragma once

#include "host/assembler.h"
#include "host/claim.h"
#include "host/deadline.h"
#include "host/descriptor.h"
#include "host/settings.h"
#include "host/taker.h"
#include "host/tell.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace mesh_host {

class local_inlet {
public:
  local_inlet(const settings &limits, uint32_t destination);
  ~local_inlet();
  local_inlet(const local_inlet &) = delete;
  local_inlet &operator=(const local_inlet &) = delete;

  // Claims the destination and listens. 0 or a mesh_host_result; told when it is not 0.
  uint32_t open();
  // Becomes readable when there is something to take.
  int wait_descriptor() const { return epoll_.get(); }
  // Takes what is there, up to a bounded number of packets from each sender. False when there was
  // nothing.
  bool take_some(taker &to);
  // Acknowledges what was handled; also from inside a handler, when the process ends there.
  void acknowledge_all();
  // Milliseconds after which take_some is to be called though nothing is readable; -1 for none.
  int retry_after_ms() const;

private:
  struct peer {
    descriptor socket;
    uint64_t handled = 0, acknowledged = 0;
    bool waits_for_room = false; // for an acknowledgement
    assembler packets;
    peer(uint32_t destination, uint64_t batch_limit) : packets(destination, batch_limit) {}
  };
  enum class state { open, ended };

  uint32_t listen_at(const std::string &path);
  void accept_all();
  void accept_each();
  void pause_accepting();
  state read_from(peer &from, taker &to);
  state read_or_cut_off(peer &from, taker &to);
  bool take_datagram(peer &from, const uint8_t *at, size_t size, taker &to);
  void acknowledge(peer &to);

  const settings &limits_;
  const uint32_t destination_;
  claim claim_;
  std::string path_;
  bool bound_ = false;
  descriptor listener_, epoll_;
  std::unordered_map<int, std::unique_ptr<peer>> peers_; // by descriptor
  std::vector<uint8_t> buffers_;
  bool accepting_ = true;
  deadline accept_again_{};
  deadline acknowledge_at_{};
  rate_limit no_descriptor_;
};

} // namespace mesh_host
