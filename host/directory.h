// Where the host's private directory is, and what makes one private.
//
// Room: host. Standard library, POSIX. Also for tools beside the mesh, which link nothing of it.
#pragma once

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace mesh_host {

// A slash or a dot at the end would hide that the name is a link.
inline std::string without_tail(std::string path) {
  for (;;) {
    if (path.size() > 1 && path.ends_with("/"))
      path.pop_back();
    else if (path.size() > 2 && path.ends_with("/."))
      path.erase(path.size() - 2);
    else
      return path;
  }
}

inline std::string default_directory() {
  const char *runtime = getenv("XDG_RUNTIME_DIR");
  if (runtime != nullptr && runtime[0] != '\0')
    return std::string(runtime) + "/mesh-host";
  return "/tmp/mesh-host-" + std::to_string(geteuid());
}

// MESH_HOST_DIR, or the default.
inline std::string directory_of_environment() {
  const char *directory = getenv("MESH_HOST_DIR");
  return without_tail(directory != nullptr && directory[0] != '\0' ? directory
                                                                   : default_directory());
}

// Why others could reach what is in a directory; empty when they cannot.
inline std::string why_not_private(const std::string &path, const struct stat &state) {
  if (state.st_uid != geteuid())
    return "directory " + path + " belongs to user " + std::to_string(state.st_uid) +
           ", expected user " + std::to_string(geteuid());
  if ((state.st_mode & 077) == 0)
    return {};
  std::string mode;
  for (int shift = 9; shift >= 0; shift -= 3)
    mode += static_cast<char>('0' + (state.st_mode >> shift & 7));
  return "directory " + path + " has mode " + mode +
         ", expected 0700: others could reach what is in it";
}

} // namespace mesh_host
