// How the processes of the programs of the demo begin and end.
//
// Room: demo. Includes libc and this folder.
#pragma once

#include "demo/text.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace demo {

inline constexpr int failed_status = 1;

// A program may be started with standard descriptors closed. What it opens next would take their
// numbers and be mistaken for them, so each is filled with something that fails cleanly when used.
// Where that cannot be had (no /dev/null, no descriptors), the process ends before it has done
// anything.
inline void occupy_standard_descriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; descriptor++)
    if (fcntl(descriptor, F_GETFD) < 0) {
      const int wrong_way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
      if (open("/dev/null", wrong_way) != descriptor) {
        complain("cannot open /dev/null for descriptor %d, which is closed\n", descriptor);
        _exit(failed_status);
      }
    }
}

// Runs the body of a process and turns whatever it throws into a message and an exit status.
template <class Body>
int guarded(const char *program, Body body) noexcept {
  occupy_standard_descriptors();
  // A closed pipe and a file that may not grow are errors to report, not reasons to vanish.
  (void)std::signal(SIGPIPE, SIG_IGN);
  (void)std::signal(SIGXFSZ, SIG_IGN);
  int status = failed_status;
  try {
    status = body();
  } catch (const std::bad_alloc &) {
    complain("%s: not enough memory\n", program);
  } catch (const std::exception &error) {
    complain("%s: %s\n", program, error.what());
  }
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
    return status;
  complain("%s: cannot write to standard output\n", program);
  return failed_status;
}

} // namespace demo
