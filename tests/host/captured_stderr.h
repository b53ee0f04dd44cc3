// What is written to stderr while an object of this lives, library and all.
//
// Room: tests.
#pragma once

#include <cstdio>
#include <string>
#include <unistd.h>

class captured_stderr {
public:
  captured_stderr() : before_(dup(STDERR_FILENO)), file_(tmpfile()) {
    dup2(fileno(file_), STDERR_FILENO);
  }
  ~captured_stderr() {
    dup2(before_, STDERR_FILENO);
    close(before_);
    fclose(file_);
  }
  captured_stderr(const captured_stderr &) = delete;
  captured_stderr &operator=(const captured_stderr &) = delete;

  std::string text() const {
    std::string found(static_cast<size_t>(lseek(fileno(file_), 0, SEEK_END)), '\0');
    const ssize_t got = pread(fileno(file_), found.data(), found.size(), 0);
    found.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return found;
  }

private:
  int before_;
  FILE *file_;
};
