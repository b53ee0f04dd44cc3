// A receiver's place on the mesh, for as long as it is there.
//
// Room: demo. Includes public headers, the development host and this folder.
#include "demo/attachment.h"

#include "demo/text.h"

#include <exception>

namespace demo {

namespace {

// What the mesh hands back to the handler. Exceptions must not pass through the mesh.
struct handler_context {
  const attachment::taker &take;
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

} // namespace

attachment::attachment(uint32_t destination, std::initializer_list<registration *> registrations) {
  uint32_t result = 0;
  for (registration *each : registrations)
    if (result == 0)
      result = each();
  mesh_host_receiver *attached = nullptr;
  if (result == 0)
    result = mesh_host_attach(destination, &attached);
  if (result != 0)
    throw failure(formatted("cannot receive as destination %u: ", destination) +
                  mesh_host_result_text(result));
  receiver.reset(attached);
}

bool attachment::poll(int timeout_ms, const taker &take) {
  handler_context context{take, nullptr};
  const int got = mesh_host_poll(receiver.get(), timeout_ms, hand_on, &context);
  if (context.error != nullptr)
    std::rethrow_exception(context.error);
  if (got < 0)
    throw failure("the mesh ended the receiver");
  return got > 0;
}

} // namespace demo
