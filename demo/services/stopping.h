// Ending when a signal asks for it.
//
// Room: demo. Includes libc only.
#pragma once

namespace demo {

// SIGINT and SIGTERM ask to stop, from now on.
void stop_on_signals();

bool stop_asked();

} // namespace demo
