// What a command reads and writes, and how it ends.
//
// Room: tools. Knows POSIX files.
#pragma once

#include "tools/byte_source.h"

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mesh_fib6::tools::cli {

// Exit statuses. The worst of several counts.
enum class ending : int {
  good = 0,
  refused = 1, // a buffer that the library refuses; of host: what it should use cannot be used
  usage = 2,
  input = 3, // what was read is not what was expected, or a file cannot be read or written
};

// Ends a command: what is wrong, for a person.
struct failure : std::runtime_error {
  failure(ending how, const std::string &what) : std::runtime_error(what), status(how) {}
  ending status;
};

// Standard output, written in large pieces. A reader that has gone away ends the program without a
// word; whatever else goes wrong is a failure.
class output {
public:
  explicit output(int file) : file_(file) {}

  void write(std::string_view text) {
    text_.append(text);
    if (text_.size() >= largest)
      flush();
  }
  void flush();

private:
  static constexpr size_t largest = size_t{1} << 18;

  int file_;
  std::string text_;
};

// A file or standard input ("-"), open as long as this lives.
class input {
public:
  // Throws a failure that says why the file cannot be read.
  explicit input(const std::string &path);
  ~input();
  input(const input &) = delete;
  input &operator=(const input &) = delete;

  byte_source &source() { return source_; }
  const byte_source &source() const { return source_; }
  // How long the file is; 0 when it is none.
  uint64_t size() const;
  // Throws a failure when reading came to a bad end.
  void check() const;

private:
  int file_;
  byte_source source_;
};

// How much of a long input was read, on standard error, while that is a terminal and what is
// written goes elsewhere. Nothing of it stays.
class progress {
public:
  explicit progress(const input &of);
  ~progress() { clear(); }
  progress(const progress &) = delete;
  progress &operator=(const progress &) = delete;

  // To be called often: it looks at the clock now and then only.
  void show() {
    if (is_wanted_ && ++calls_ % 256 == 0)
      draw();
  }
  static void clear();

private:
  using clock = std::chrono::steady_clock;

  void draw();

  const input &of_;
  bool is_wanted_;
  uint64_t size_ = 0; // 0 of a pipe
  uint32_t calls_ = 0;
  clock::time_point begin_, next_;
};

// How the bytes of a message are written down.
enum class notation : uint8_t { guessed, binary, hexadecimal };

// All of an input, as bytes. Throws a failure: "FILE: line 2, column 5: expected ..., found ...".
std::vector<uint8_t> read_message(const std::string &path, notation notation);

// Whether output of people is wanted in colours: `always`, `never` or, when it is a terminal and
// NO_COLOR is not set, `auto`.
bool wants_colours(const std::string &when, int file);

// "mesh-fib6: what", on standard error, in the place of a progress that is shown there.
void complain(std::string_view what);

} // namespace mesh_fib6::tools::cli
