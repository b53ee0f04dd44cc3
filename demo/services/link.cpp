// The mesh as service and peers use it.
//
// Room: demo. Includes public headers, the development host and the folder above.
#include "demo/services/link.h"

#include <cstdlib>
#include <utility>

namespace demo {

namespace {

extern "C" void hand_gap_on(void *untyped, const mesh_host_gap *gap) {
  (*static_cast<link::gap_taker *>(untyped))(gap->sender);
}

attachment attached(uint32_t destination, std::initializer_list<registration *> registrations) {
  // One who takes nothing must not keep the others waiting: the same call is made again later.
  // The mesh reads it when it is first called.
  setenv("MESH_HOST_SEND_TIMEOUT_MS", "200", 0);
  return attachment(destination, registrations);
}

} // namespace

link::link(uint32_t destination, std::initializer_list<registration *> registrations)
    : receiver(attached(destination, registrations)) {}

void link::on_gap(gap_taker take) {
  take_gap = std::move(take);
  mesh_host_on_gap(receiver.get(), hand_gap_on, &take_gap);
}

uint64_t link::sender() const {
  mesh_host_origin origin{};
  mesh_host_get_origin(receiver.get(), &origin);
  return origin.sender;
}

sent link::settled(uint32_t destination) {
  return judged(destination, mesh_host_flush(destination, 0));
}

sent link::judged(uint32_t destination, uint32_t result) {
  switch (result) {
  case MESH_HOST_OK:
    return sent::accepted;
  case MESH_HOST_FULL:
  case MESH_FIB6_FAILED: // memory is short; what cannot be encoded is never sent here
    return sent::busy;
  case MESH_HOST_PEER_LOST:
    return sent::lost;
  case MESH_HOST_NO_RECEIVER:
    return sent::nobody;
  default:
    throw failure(formatted("cannot send to destination %u: ", destination) +
                  mesh_host_result_text(result));
  }
}

} // namespace demo
