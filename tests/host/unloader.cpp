// Loads the mesh stand-in, attaches, sends, and unloads it, as a plug-in of some program would.
// Exit status 0 when no descriptor and no mapping of the library is left.
//
// Room: tests. Does not link the stand-in.
#include "host/mesh_host.h"
#include "platform/mesh.h"

#include <cstdio>
#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

namespace {

size_t open_descriptors() {
  size_t count = 0;
  DIR *const listing = opendir("/proc/self/fd");
  while (readdir(listing) != nullptr)
    count++;
  closedir(listing);
  return count;
}

// Leaks are not looked for: what the library knows of the process stays for threads that may still
// be inside, and nobody refers to it any more once the library is gone.
[[noreturn]] void end(int status) {
  _exit(status);
}

} // namespace

int main() {
  const size_t before = open_descriptors();
  void *library = dlopen(TOLVIMESH_PATH, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr)
    end(1);
  auto *attach = reinterpret_cast<decltype(&mesh_host_attach)>(dlsym(library, "mesh_host_attach"));
  auto *send = reinterpret_cast<decltype(&MESH_SendMsg)>(dlsym(library, "MESH_SendMsg"));
  mesh_host_receiver *receiver = nullptr;
  const uint32_t number = 5;
  const msg_desc message{&number, 0x5A5A0001, sizeof number};
  if (attach(7, &receiver) != 0 || send(7, &message, 1) != 0)
    end(2);
  if (open_descriptors() <= before)
    end(3);
  dlclose(library);
  if (dlopen(TOLVIMESH_PATH, RTLD_NOW | RTLD_NOLOAD) != nullptr)
    end(4);
  const size_t after = open_descriptors();
  if (after != before)
    fprintf(stderr, "%zu descriptors before, %zu behind\n", before, after);
  end(after == before ? 0 : 5);
}
