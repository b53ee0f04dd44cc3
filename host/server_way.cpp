// Loading the way through a server.
//
// Room: host.
#include "host/tell.h"
#include "host/way.h"

#include <dlfcn.h>
#include <string>

namespace mesh_host {
namespace {

constexpr char library_name[] = "libmesh_host_nats.so";

// Beside this library first, as in a build tree; then wherever the loader looks.
void *open_library() {
  Dl_info own{};
  if (dladdr(reinterpret_cast<const void *>(&load_server_way), &own) != 0) {
    const std::string path = own.dli_fname;
    const size_t slash = path.rfind('/');
    if (slash != std::string::npos)
      if (void *found =
              dlopen((path.substr(0, slash + 1) + library_name).c_str(), RTLD_NOW | RTLD_LOCAL))
        return found;
  }
  return dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
}

} // namespace

// It stays loaded: its client has threads of its own.
const server_way *load_server_way() {
  void *const library = open_library();
  const char *problem = library == nullptr ? dlerror() : nullptr;
  void *const found = library != nullptr ? dlsym(library, server_way_symbol) : nullptr;
  if (found == nullptr)
    tell("nats:// needs %s, which cannot be loaded: %s", library_name,
         problem != nullptr ? problem : "it is of another version");
  return static_cast<const server_way *>(found);
}

} // namespace mesh_host
