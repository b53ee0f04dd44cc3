// The mesh as service and peers use it.
//
// Room: demo. Includes public headers, the development host and the folder above.
#include "demo/services/link.h"

#include <cstdlib>
#include <utility>

namespace demo {

namespace {

// What the mesh hands back to the handler. Exceptions must not pass through the mesh.
struct handler_context {
  const link::taker &take;
  std::exception_ptr error;
};

extern "C" void hand_on(void *untyped, uint32_t id, uint64_t target, const void *record,
                        uint32_t size) {
  auto &context = *static_cast<handler_context *>(untyped);
  try {
    if (context.error == nullptr)
      context.take(id, target, record, size);
  } catch (...) {
    context.error = std::current_exception();
  }
}

extern "C" void hand_gap_on(void *untyped, const mesh_host_gap *gap) {
  (*static_cast<link::gap_taker *>(untyped))(gap->sender);
}

} // namespace

link::link(uint32_t destination, std::initializer_list<registration *> registrations) {
  // One who takes nothing must not keep the others waiting: the same call is made again later.
  setenv("MESH_HOST_SEND_TIMEOUT_MS", "200", 0);
  uint32_t result = 0;
  for (registration *each : registrations)
    if (result == 0)
      result = each();
  if (result == 0)
    result = mesh_host_attach(destination, &receiver);
  if (result != 0)
    throw failure(formatted("cannot receive as destination %u: ", destination) +
                  mesh_host_result_text(result));
}

link::~link() {
  mesh_host_detach(receiver);
}

bool link::poll(int timeout_ms, const taker &take) {
  handler_context context{take, nullptr};
  const int got = mesh_host_poll(receiver, timeout_ms, hand_on, &context);
  if (context.error != nullptr)
    std::rethrow_exception(context.error);
  if (got < 0)
    throw failure("the mesh ended the receiver");
  return got > 0;
}

void link::on_gap(gap_taker take) {
  take_gap = std::move(take);
  mesh_host_on_gap(receiver, hand_gap_on, &take_gap);
}

uint64_t link::sender() const {
  mesh_host_origin origin{};
  mesh_host_get_origin(receiver, &origin);
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
