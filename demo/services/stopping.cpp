// Ending when a signal asks for it.
//
// Room: demo. Includes libc only.
#include "demo/services/stopping.h"

#include <csignal>

namespace demo {

namespace {

volatile std::sig_atomic_t service_stop_asked = 0;
extern "C" void ask_service_to_stop(int) {
  service_stop_asked = 1;
}

} // namespace

void stop_on_signals() {
  (void)std::signal(SIGINT, ask_service_to_stop);
  (void)std::signal(SIGTERM, ask_service_to_stop);
}

bool stop_asked() {
  return service_stop_asked != 0;
}

} // namespace demo
