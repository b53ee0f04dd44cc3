// A connection to NATS servers, and the stream that keeps a destination's messages there.
//
// Room: host. The NATS client library (https://nats.io), standard library.
//
//   stream MESH_<destination>, subject mesh.<destination>, retention by work queue: what is
//     acknowledged is removed, what is not stays until a receiver comes; refuses what is above its
//     limits
//   consumer "receiver", pushed: the one receiver of the destination, as long as its connection
//     lives
//   one message: one packet (packet.h)
//
// Messages bear no identifier (Nats-Msg-Id) by which the server would drop repetitions. It takes
// note of identifiers before it has stored what bears them, so one that it refused, or whose leader
// went away, is known to it and stored nowhere (seen with nats-server 2.9.10); and to keep them
// costs it a third of its rate of small messages. A packet says whose it is and where it belongs,
// which receivers look at anyway.
#pragma once

#include "host/settings.h"

#include <cstdint>
#include <memory>
#include <nats/nats.h>
#include <string>

namespace mesh_host {

// Objects of the client library, destroyed by its functions.
struct nats_deleter {
  void operator()(natsConnection *each) const { natsConnection_Destroy(each); }
  void operator()(natsOptions *each) const { natsOptions_Destroy(each); }
  void operator()(natsSubscription *each) const { natsSubscription_Destroy(each); }
  void operator()(natsMsg *each) const { natsMsg_Destroy(each); }
  void operator()(jsCtx *each) const { jsCtx_Destroy(each); }
  void operator()(jsStreamInfo *each) const { jsStreamInfo_Destroy(each); }
  void operator()(jsConsumerInfo *each) const { jsConsumerInfo_Destroy(each); }
};
template <class Object>
using nats_object = std::unique_ptr<Object, nats_deleter>;

inline std::string stream_name(uint32_t destination) {
  return "MESH_" + std::to_string(destination);
}
inline std::string subject_name(uint32_t destination) {
  return "mesh." + std::to_string(destination);
}
inline constexpr char consumer_name[] = "receiver";

// What the client library says about a failure.
std::string reason(natsStatus status);

class nats_session {
public:
  nats_session() = default;
  // Ends the client's reading thread before what it reads for is destroyed: it holds no reference
  // to the subscription of the message in its hands, and the stream's answers have one.
  ~nats_session() { natsConnection_Close(connection_.get()); }
  nats_session(const nats_session &) = delete;
  nats_session &operator=(const nats_session &) = delete;

  // 0, MESH_HOST_NO_RECEIVER when no server answers, MESH_HOST_BAD_CONFIG when they refuse us or a
  // file of ours, told.
  uint32_t open(const settings &limits, const place &at, uint32_t destination, jsOptions &options);

  // The stream is there, made if need be. 0 or a mesh_host_result, told; MESH_HOST_NO_RECEIVER and
  // MESH_HOST_FULL (the server has no room for one more stream) may pass. `made_at` is when it was
  // made, by the server's clock: a stream that was made anew is another one.
  uint32_t ensure_stream(int64_t &made_at);

  natsConnection *connection() const { return connection_.get(); }
  jsCtx *stream() const { return stream_.get(); }
  bool is_connected() const; // now
  bool is_closed() const;    // for good

private:
  uint32_t set_identity(natsOptions *options);

  const place *at_ = nullptr;
  uint32_t destination_ = 0;
  nats_object<natsConnection> connection_;
  nats_object<jsCtx> stream_;
};

} // namespace mesh_host
