// The private directory and the locks in it.
//
// Room: host.
#include "host/claim.h"

#include "host/directory.h"
#include "host/mesh_host.h"
#include "host/tell.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace mesh_host {
namespace {

bool is_private(const char *path, const struct stat &state) {
  const std::string problem = why_not_private(path, state);
  if (!problem.empty())
    tell("%s", problem.c_str());
  return problem.empty();
}

// The holder's process id, which it wrote into the lock file; 0 when it is not there yet.
int holder_of(int file) {
  char text[16] = "";
  const ssize_t length = pread(file, text, sizeof text - 1, 0);
  return length > 0 ? static_cast<int>(strtol(text, nullptr, 10)) : 0;
}

} // namespace

uint32_t prepare_directory(const settings &from) {
  const char *path = from.directory.c_str();
  if (mkdir(path, 0700) != 0 && errno != EEXIST) {
    tell("directory %s cannot be made: %s", path, strerror(errno));
    return MESH_HOST_BAD_CONFIG;
  }
  // Not through a symbolic link: it could be turned elsewhere after the look. The settings have
  // taken off what would hide one, a slash or a dot at the end.
  const descriptor directory =
      descriptor::from([&] { return open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
  if (!directory) {
    const int why = errno;
    tell("%s is not a usable directory: %s", path, strerror(why));
    return is_shortage(why) ? MESH_HOST_SYSTEM : MESH_HOST_BAD_CONFIG;
  }
  struct stat state {};
  const bool good = fstat(directory.get(), &state) == 0 && is_private(path, state);
  return good ? MESH_HOST_OK : MESH_HOST_BAD_CONFIG;
}

uint32_t socket_path(const settings &from, uint32_t destination, std::string &path) {
  path = from.directory + "/" + std::to_string(destination) + ".sock";
  constexpr size_t longest = sizeof(sockaddr_un::sun_path) - 1;
  if (path.size() <= longest)
    return MESH_HOST_OK;
  tell("%s is too long for a socket: %zu characters, expected at most %zu (MESH_HOST_DIR)",
       path.c_str(), path.size(), longest);
  return MESH_HOST_BAD_CONFIG;
}

uint32_t claim::take(const settings &from, uint32_t destination) {
  const std::string path = from.directory + "/" + std::to_string(destination) + ".lock";
  file_ = descriptor::from(
      [&] { return open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600); });
  if (!file_) {
    tell("%s cannot be opened: %s", path.c_str(), strerror(errno));
    return MESH_HOST_SYSTEM;
  }
  if (flock(file_.get(), LOCK_EX | LOCK_NB) == 0) {
    const std::string own = std::to_string(getpid()) + "\n";
    // What cannot be written is only missing from a complaint.
    if (ftruncate(file_.get(), 0) != 0 || pwrite(file_.get(), own.data(), own.size(), 0) < 0)
      tell("%s cannot be written: %s", path.c_str(), strerror(errno));
    return MESH_HOST_OK;
  }
  const int error = errno;
  const int holder = holder_of(file_.get());
  give_back();
  if (error != EWOULDBLOCK) {
    tell("%s cannot be locked: %s", path.c_str(), strerror(error));
    return MESH_HOST_SYSTEM;
  }
  tell("destination %u has a receiver already, process %d", destination, holder);
  return MESH_HOST_DUPLICATE;
}

} // namespace mesh_host
