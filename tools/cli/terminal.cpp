// Reads and writes; see terminal.h.
//
// Room: tools.
#include "tools/cli/terminal.h"

#include "tools/hex_text.h"
#include "tools/words.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace mesh_fib6::tools::cli {
namespace {

std::string name_of_input(const std::string &path) {
  return path == "-" ? "standard input" : path;
}

int open_input(const std::string &path) {
  if (path == "-")
    return STDIN_FILENO;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0)
    throw failure(ending::input, "cannot open " + path + ": " + strerror(errno));
  return file;
}

bool is_progress_shown = false; // in the last line of the terminal

} // namespace

void output::flush() {
  std::string_view rest = text_;
  while (!rest.empty()) {
    const ssize_t count = ::write(file_, rest.data(), rest.size());
    if (count < 0 && errno == EINTR)
      continue;
    if (count < 0 && errno == EPIPE) {
      // Where SIGPIPE is ignored: as if it were not.
      (void)signal(SIGPIPE, SIG_DFL);
      (void)raise(SIGPIPE);
    }
    if (count < 0) {
      const int error = errno;
      text_.clear();
      throw failure(ending::input, std::string("cannot write: ") + strerror(error));
    }
    rest.remove_prefix(static_cast<size_t>(count));
  }
  text_.clear();
}

input::input(const std::string &path)
    : file_(open_input(path)), source_(file_, name_of_input(path)) {}

input::~input() {
  if (file_ != STDIN_FILENO)
    (void)close(file_);
}

void input::check() const {
  if (source_.error() != 0)
    throw failure(ending::input,
                  "cannot read " + source_.name() + ": " + strerror(source_.error()));
}

uint64_t input::size() const {
  struct stat status {};
  const bool is_file = fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
  return is_file ? static_cast<uint64_t>(status.st_size) : 0;
}

// A second is no long time; below, a tenth of one is as often as an eye follows.
progress::progress(const input &of)
    : of_(of), is_wanted_(isatty(STDERR_FILENO) != 0 && isatty(STDOUT_FILENO) == 0),
      size_(of.size()), begin_(clock::now()), next_(begin_ + std::chrono::seconds(1)) {}

void progress::draw() {
  const clock::time_point now = clock::now();
  if (now < next_)
    return;
  next_ = now + std::chrono::milliseconds(100);
  is_progress_shown = true;
  constexpr double mebibyte = 1 << 20;
  constexpr uint64_t width = 30;
  const uint64_t read = of_.source().taken();
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  std::string bar;
  if (size_ != 0) {
    const uint64_t done = std::min(width, width * read / size_);
    bar = "[" + std::string(done, '#') + std::string(width - done, ' ') + "] " +
          std::to_string(std::min<uint64_t>(100, 100 * read / size_)) + " % ";
  }
  (void)fprintf(stderr, "\r\033[K%s%.0f MiB, %.0f MiB/s", bar.c_str(),
                static_cast<double>(read) / mebibyte,
                static_cast<double>(read) / mebibyte / seconds);
  (void)fflush(stderr);
}

void progress::clear() {
  if (is_progress_shown)
    (void)fprintf(stderr, "\r\033[K");
  is_progress_shown = false;
}

std::vector<uint8_t> read_message(const std::string &path, notation notation) {
  input from(path);
  std::vector<uint8_t> bytes = from.source().take_bytes(SIZE_MAX);
  from.check();
  const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
  if (notation == notation::binary || (notation == notation::guessed && !looks_like_text(text)))
    return bytes;
  hex_bytes read = read_hex(text);
  if (read.problem)
    throw failure(ending::input, from.source().name() + ": line " +
                                     std::to_string(read.problem->line) + ", column " +
                                     std::to_string(read.problem->column) + ": " +
                                     read.problem->what);
  return std::move(read.bytes);
}

bool wants_colours(const std::string &when, int file) {
  if (when != "auto")
    return when == "always";
  const char *const no_colour = getenv("NO_COLOR");
  return isatty(file) != 0 && (no_colour == nullptr || *no_colour == '\0');
}

void complain(std::string_view what) {
  progress::clear();
  try {
    const std::string text = "mesh-fib6: " + printable(what) + "\n";
    (void)fwrite(text.data(), 1, text.size(), stderr);
  } catch (const std::bad_alloc &) { // which is what is to be said, more often than not
    (void)fputs("mesh-fib6: there is not enough memory\n", stderr);
  }
}

} // namespace mesh_fib6::tools::cli
