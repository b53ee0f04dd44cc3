// The library of the way through NATS (libmesh_host_nats.so): its one exported name.
//
// Room: host.
#include "host/mesh_host.h"
#include "host/nats_feed.h"
#include "host/nats_link.h"
#include "host/tell.h"
#include "host/way.h"

#include <atomic>
#include <unistd.h>

namespace mesh_host {
namespace {

// The client library has threads that a forked child has not, and no way to begin anew in it.
bool is_of_another_process() {
  static std::atomic<pid_t> first{0};
  pid_t known = 0;
  if (first.compare_exchange_strong(known, getpid()) || known == getpid())
    return false;
  tell("nats:// was used by process %d already and cannot be used by its forked child: start a "
       "program of its own (exec)",
       static_cast<int>(known));
  return true;
}

uint32_t link_unless_forked(const settings &limits, const place &at, uint32_t destination,
                            uint64_t base, std::unique_ptr<link> &made) {
  return is_of_another_process() ? static_cast<uint32_t>(MESH_HOST_SYSTEM)
                                 : make_nats_link(limits, at, destination, base, made);
}

uint32_t feed_unless_forked(const settings &limits, const place &at, uint32_t destination,
                            std::shared_ptr<parcel_sink> into, std::unique_ptr<feed> &made) {
  return is_of_another_process() ? static_cast<uint32_t>(MESH_HOST_SYSTEM)
                                 : make_nats_feed(limits, at, destination, std::move(into), made);
}

} // namespace
} // namespace mesh_host

extern "C" __attribute__((visibility("default"))) const mesh_host::server_way mesh_host_server_way;
const mesh_host::server_way mesh_host_server_way = {mesh_host::link_unless_forked,
                                                    mesh_host::feed_unless_forked};
