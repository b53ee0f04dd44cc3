// The folder of a server; see server_folder.h.
//
// Room: tools.
#include "tools/cli/server_folder.h"

#include "host/directory.h"
#include "tools/cli/terminal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace mesh_fib6::tools::cli {
namespace {

constexpr char folder_name[] = "nats";
constexpr char lock_name[] = "lock";
constexpr char log_name[] = "server.log";

[[noreturn]] void fail(const std::string &path, const char *what) {
  throw failure(ending::refused, path + " " + what + ": " + strerror(errno));
}

// Made, if wanted, and checked: ours, of nobody else, and no symbolic link. Nothing when it is not
// there.
open_file open_private(int below, const char *name, const std::string &path, bool make) {
  if (make && mkdirat(below, name, 0700) != 0 && errno != EEXIST)
    fail("directory " + path, "cannot be made");
  open_file directory(openat(below, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!directory) {
    if (errno == ENOENT)
      return directory;
    fail(path, "is not a usable directory");
  }
  struct stat state {};
  if (fstat(directory.get(), &state) != 0)
    fail(path, "cannot be looked at");
  if (const std::string problem = mesh_host::why_not_private(path, state); !problem.empty())
    throw failure(ending::refused, problem);
  return directory;
}

bool is_file_of_ours(int file) {
  struct stat state {};
  return fstat(file, &state) == 0 && S_ISREG(state.st_mode) && state.st_uid == geteuid();
}

std::string end_of(int file) {
  constexpr off_t most = 1 << 16;
  struct stat state {};
  if (fstat(file, &state) != 0)
    return {};
  std::string text(static_cast<size_t>(std::min(most, state.st_size)), '\0');
  const ssize_t count =
      pread(file, text.data(), text.size(), std::max<off_t>(0, state.st_size - most));
  text.resize(count > 0 ? static_cast<size_t>(count) : 0);
  return text;
}

} // namespace

void open_file::close() {
  if (file_ >= 0)
    (void)::close(file_);
  file_ = -1;
}

std::string server_folder::absolute(const std::string &directory) {
  const std::filesystem::path path =
      mesh_host::without_tail(std::filesystem::absolute(mesh_host::without_tail(directory)));
  std::error_code error;
  const std::filesystem::path around = std::filesystem::canonical(path.parent_path(), error);
  return error ? path : around / path.filename();
}

std::optional<server_folder> server_folder::open(const std::string &directory, bool make) {
  const std::string path = absolute(directory);
  open_file outer = open_private(AT_FDCWD, path.c_str(), path, make);
  if (!outer)
    return std::nullopt;
  open_file folder = open_private(outer.get(), folder_name, path + "/" + folder_name, make);
  if (!folder)
    return std::nullopt;
  return server_folder(path, std::move(outer), std::move(folder));
}

open_file server_folder::open_lock() const {
  open_file file(openat(folder_.get(), lock_name,
                        O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  if (!file)
    fail(path_of(lock_name), "cannot be opened");
  if (!is_file_of_ours(file.get()))
    throw failure(ending::refused, path_of(lock_name) + " is not a file of ours");
  return file;
}

bool server_folder::take_lock() {
  for (;;) {
    open_file file = open_lock();
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno == EWOULDBLOCK)
        return false;
      fail(path_of(lock_name), "cannot be locked");
    }
    // Between the two, somebody may have erased it.
    struct stat locked {
    }, named{};
    if (fstat(file.get(), &locked) == 0 &&
        fstatat(folder_.get(), lock_name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
        locked.st_ino == named.st_ino && locked.st_dev == named.st_dev) {
      lock_ = std::move(file);
      return true;
    }
  }
}

std::optional<server_state> server_folder::state() const {
  std::istringstream text(read(lock_name));
  server_state found;
  std::string storage, end;
  std::getline(text, end);
  const bool is_whole = !text.eof();
  text.clear();
  text.str(end);
  if (!is_whole || !(text >> found.process >> found.port >> storage >> found.name) ||
      found.process <= 1 || found.port == 0)
    return std::nullopt;
  found.on_disk = storage == "file";
  return found;
}

std::string server_folder::text_of(const server_state &state) {
  return std::to_string(state.process) + " " + std::to_string(state.port) + " " +
         (state.on_disk ? "file" : "memory") + " " + state.name + "\n";
}

void server_folder::clear_state() {
  if (ftruncate(lock_.get(), 0) != 0)
    fail(path_of(lock_name), "cannot be written");
}

std::string server_folder::read(const char *name) const {
  const open_file file(openat(folder_.get(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return file && is_file_of_ours(file.get()) ? end_of(file.get()) : std::string();
}

void server_folder::write(const char *name, std::string_view text) const {
  const std::string unready = std::string(name) + ".new";
  (void)unlinkat(folder_.get(), unready.c_str(), 0);
  const open_file file(openat(folder_.get(), unready.c_str(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  const bool is_written =
      file && ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
  if (is_written && renameat(folder_.get(), unready.c_str(), folder_.get(), name) == 0)
    return;
  const int error = errno;
  (void)unlinkat(folder_.get(), unready.c_str(), 0);
  errno = error;
  fail(path_of(name), "cannot be written");
}

std::vector<std::string> server_folder::names() const {
  const std::unique_ptr<DIR, int (*)(DIR *)> listing(
      fdopendir(openat(folder_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)), closedir);
  if (listing == nullptr)
    fail(path_of(""), "cannot be listed");
  std::vector<std::string> found;
  for (;;) {
    errno = 0;
    const dirent *const entry = readdir(listing.get());
    if (entry == nullptr && errno != 0)
      fail(path_of(""), "cannot be listed");
    if (entry == nullptr)
      break;
    if (const std::string name = entry->d_name; name != "." && name != "..")
      found.push_back(name);
  }
  std::sort(found.begin(), found.end());
  return found;
}

// What is gone already need not be removed, and a folder stays that holds something else.
void server_folder::remove(const std::string &name, int how) const {
  if (unlinkat(folder_.get(), name.c_str(), how) != 0 && errno != ENOENT && errno != ENOTEMPTY &&
      errno != EEXIST)
    fail(path_of(name.c_str()), "cannot be removed");
}

void server_folder::remove_old_logs() const {
  for (const std::string &name : names())
    if (name.starts_with(std::string(log_name) + "."))
      remove(name);
}

std::vector<std::string> server_folder::erase() {
  remove_old_logs();
  for (const char *name : {"server.conf", "mesh.conf", "password", "output", log_name})
    remove(name);
  // The server's own folder in the store; links in it are removed, not followed.
  std::error_code error;
  std::filesystem::remove_all(path_of("store") + "/jetstream", error);
  if (error)
    throw failure(ending::refused,
                  path_of("store") + "/jetstream cannot be removed: " + error.message());
  remove("store", AT_REMOVEDIR);
  std::vector<std::string> left = names();
  left.erase(std::remove(left.begin(), left.end(), lock_name), left.end());
  remove(lock_name);
  lock_.close();
  if (left.empty() && unlinkat(outer_.get(), folder_name, AT_REMOVEDIR) != 0 && errno != ENOENT &&
      errno != ENOTEMPTY && errno != EEXIST) // somebody starts a server there
    fail(path_of(""), "cannot be removed");
  return left;
}

} // namespace mesh_fib6::tools::cli
