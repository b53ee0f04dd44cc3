// The private directory and the locks in it.
//
// Room: host. Record locks (fcntl) rather than flock: a child of the receiver does not inherit
// them, so they are gone when the receiver itself is gone.
#include "host/endpoint.h"

#include "host/mesh_host.h"
#include "host/tell.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace mesh_host {
namespace {

bool is_private(const char *path, const struct stat &state) {
  if (state.st_uid != geteuid()) {
    tell("directory %s belongs to user %u, expected user %u", path, state.st_uid, geteuid());
    return false;
  }
  if ((state.st_mode & 077) != 0) {
    tell("directory %s has mode %04o, expected 0700: others could reach the sockets in it", path,
         state.st_mode & 07777);
    return false;
  }
  return true;
}

bool make_private_directory(const char *path) {
  if (mkdir(path, 0700) != 0 && errno != EEXIST) {
    tell("directory %s cannot be made: %s", path, strerror(errno));
    return false;
  }
  // Not through a symbolic link: it could be turned elsewhere after the look.
  const int directory = open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (directory < 0) {
    tell("%s is not a usable directory: %s", path, strerror(errno));
    return false;
  }
  struct stat state {};
  const bool good = fstat(directory, &state) == 0 && is_private(path, state);
  close(directory);
  return good;
}

struct flock whole_file(short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return lock;
}

} // namespace

uint32_t find_endpoint(const settings &from, uint32_t destination, endpoint &found) {
  const auto placed = from.endpoints.find(destination);
  if (placed != from.endpoints.end()) {
    found = {placed->second, "", ""};
    return MESH_HOST_OK;
  }
  const std::string stem = from.directory + "/" + std::to_string(destination);
  found = {"ipc://" + stem + ".sock", stem + ".sock", stem + ".lock"};
  constexpr size_t longest = sizeof(sockaddr_un::sun_path) - 1;
  if (found.socket.size() > longest) {
    tell("%s is too long for a socket: %zu characters, expected at most %zu (MESH_HOST_DIR)",
         found.socket.c_str(), found.socket.size(), longest);
    return MESH_HOST_BAD_CONFIG;
  }
  return make_private_directory(from.directory.c_str()) ? MESH_HOST_OK : MESH_HOST_BAD_CONFIG;
}

receiver_lock::~receiver_lock() {
  give_back();
}

uint32_t receiver_lock::take(const endpoint &place, uint32_t destination) {
  const char *path = place.lock_file.c_str();
  file_ = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (file_ < 0) {
    tell("%s cannot be opened: %s", path, strerror(errno));
    return MESH_HOST_SYSTEM;
  }
  struct flock lock = whole_file(F_WRLCK);
  if (fcntl(file_, F_SETLK, &lock) == 0)
    return MESH_HOST_OK;
  const int error = errno;
  struct flock holder = whole_file(F_WRLCK);
  const bool known = fcntl(file_, F_GETLK, &holder) == 0 && holder.l_type != F_UNLCK;
  give_back();
  if (error != EACCES && error != EAGAIN) {
    tell("%s cannot be locked: %s", path, strerror(error));
    return MESH_HOST_SYSTEM;
  }
  tell("destination %u has a receiver already, process %d", destination,
       known ? static_cast<int>(holder.l_pid) : 0);
  return MESH_HOST_DUPLICATE;
}

void receiver_lock::give_back() {
  if (file_ >= 0)
    close(file_); // the lock goes with it; the file stays, lest two processes lock different files
  file_ = -1;
}

bool has_receiver(const endpoint &place) {
  const int file = open(place.lock_file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
  if (file < 0)
    return false;
  struct flock lock = whole_file(F_WRLCK);
  const bool held = fcntl(file, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  close(file);
  return held;
}

} // namespace mesh_host
