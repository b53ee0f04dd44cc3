// What the thread checker must know of the programs that use ZeroMQ.
//
// Room: host. For executables; empty unless the build is one with the thread sanitizer.
#ifdef __SANITIZE_THREAD__

extern "C" const char *__tsan_default_suppressions();

// ZeroMQ as the system ships it is not instrumented: how its threads hand messages over cannot be
// seen, and every such message would look like a race.
const char *__tsan_default_suppressions() {
  return "called_from_lib:libzmq.so\n"
         "race:libzmq.so\n";
}

#endif
