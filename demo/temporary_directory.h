// A private directory for the time of one run.
//
// Room: demo. Includes libc and this folder.
#pragma once

#include "demo/text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>

namespace demo {

// Below $TMPDIR or /tmp, readable by this user only, removed with everything in it.
class temporary_directory {
public:
  temporary_directory() {
    const char *const named = std::getenv("TMPDIR");
    path_ = std::string(named != nullptr && *named != '\0' ? named : "/tmp") + "/fib6-demo.XXXXXX";
    if (mkdtemp(path_.data()) == nullptr)
      throw failure("cannot make the directory " + path_ + ": " + error_text(errno));
  }
  ~temporary_directory() {
    std::error_code error;
    try {
      std::filesystem::remove_all(path_, error);
    } catch (const std::bad_alloc &) { // in spite of the argument
      error = std::make_error_code(std::errc::not_enough_memory);
    }
    if (error)
      complain("%s is left behind: %s\n", path_.c_str(), strerror(error.value()));
  }
  temporary_directory(const temporary_directory &) = delete;
  temporary_directory &operator=(const temporary_directory &) = delete;

  const std::string &path() const { return path_; }

private:
  std::string path_;
};

} // namespace demo
