// A private directory for the time of one run.
//
// Room: demo. Includes libc and this folder.
#pragma once

#include "demo/text.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

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
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  temporary_directory(const temporary_directory &) = delete;
  temporary_directory &operator=(const temporary_directory &) = delete;

  const std::string &path() const { return path_; }

private:
  std::string path_;
};

} // namespace demo
