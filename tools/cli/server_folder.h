// The folder of the development host's server, <directory>/nats: private, and locked as long as a
// server runs on it.
//
// Room: tools. Knows POSIX files.
//
//   lock         locked (flock) by the server's own process, which inherits the descriptor: the
//                claim goes with it, however it ends; and who the server is
//   server.conf  what the server reads
//   mesh.conf    what programs read, MESH_HOST_CONFIG
//   password     of the user that programs are
//   server.log   and, full, server.log.<time>
//   output       what the server says before it has its log, or when it crashes
//   store/       what it keeps on disk
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mesh_fib6::tools::cli {

// A descriptor that is closed.
class open_file {
public:
  open_file() = default;
  explicit open_file(int file) : file_(file) {}
  ~open_file() { close(); }
  open_file(open_file &&other) noexcept : file_(std::exchange(other.file_, -1)) {}
  open_file &operator=(open_file &&other) noexcept {
    std::swap(file_, other.file_);
    return *this;
  }

  int get() const { return file_; }
  explicit operator bool() const { return file_ >= 0; }
  void close();

private:
  int file_ = -1;
};

// Of a server that runs, or ran.
struct server_state {
  int process = 0;
  uint16_t port = 0;
  bool on_disk = false; // what mesh.conf asks for
  std::string name;     // by which it is told from whatever else answers at the port
};

class server_folder {
public:
  // Of a directory that is named somehow; only its last part may be a symbolic link, which open
  // refuses.
  static std::string absolute(const std::string &directory);
  // Opens it; throws a failure when it cannot be used, or is not private. Nothing when it is not
  // there; with `make`, it is made, and the directory around it.
  static std::optional<server_folder> open(const std::string &directory, bool make);

  const std::string &directory() const { return directory_; } // absolute
  std::string path_of(const char *name) const { return directory_ + "/nats/" + name; }

  // False while a server has the lock, or somebody who is about to start one.
  bool take_lock();
  void leave_lock_to_child() { lock_.close(); }
  int lock() const { return lock_.get(); }

  // Of who has the lock or had it last; nothing while that is not written.
  std::optional<server_state> state() const;
  // As the lock file says it.
  static std::string text_of(const server_state &state);
  void clear_state();

  // Text of a file of ours, empty when there is none. Not more than 64 KiB, from the end.
  std::string read(const char *name) const;
  // Whole, or a failure. For nobody else's eyes.
  void write(const char *name, std::string_view text) const;

  // Full logs.
  void remove_old_logs() const;
  // All that is made here, with the lock. What is left is told.
  std::vector<std::string> erase();

private:
  server_folder(std::string directory, open_file outer, open_file folder)
      : directory_(std::move(directory)), outer_(std::move(outer)), folder_(std::move(folder)) {}

  open_file open_lock() const;
  std::vector<std::string> names() const;
  void remove(const std::string &name, int how = 0) const;

  std::string directory_;
  open_file outer_, folder_, lock_;
};

} // namespace mesh_fib6::tools::cli
