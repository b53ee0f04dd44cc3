// Registration.
//
// Room: host. Registrations live as long as the process and survive a fork.
#include "host/hooks.h"

#include "host/mesh_host.h"

#include <algorithm>
#include <cstddef>
#include <dlfcn.h>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

namespace mesh_host {
namespace {

struct registry {
  std::mutex lock;
  std::unordered_map<uint32_t, message_hooks> by_id; // its elements never move
  std::vector<mesh_clean_hook> clean;
};

// Never destroyed: messages may arrive while the process ends. In place, for forks that are the
// first to ask.
registry &the_registry() {
  alignas(registry) static std::byte place[sizeof(registry)];
  static registry *const known = new (place) registry;
  return *known;
}

} // namespace

uint32_t register_hooks(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  if (unpack == nullptr || release == nullptr)
    return MESH_HOST_BAD_ARGUMENT;
  registry &known = the_registry();
  const std::lock_guard held(known.lock);
  const auto [entry, added] = known.by_id.try_emplace(id, unpack, release);
  const bool same = entry->second.unpack == unpack && entry->second.release == release;
  return added || same ? MESH_HOST_OK : MESH_HOST_DUPLICATE;
}

uint32_t register_clean_hook(mesh_clean_hook clean) {
  if (clean == nullptr)
    return MESH_HOST_BAD_ARGUMENT;
  registry &known = the_registry();
  const std::lock_guard held(known.lock);
  if (std::find(known.clean.begin(), known.clean.end(), clean) == known.clean.end())
    known.clean.push_back(clean);
  return MESH_HOST_OK;
}

message_hooks *find_hooks(uint32_t id) {
  registry &known = the_registry();
  const std::lock_guard held(known.lock);
  const auto entry = known.by_id.find(id);
  return entry != known.by_id.end() ? &entry->second : nullptr;
}

// Decoders answer a null record with a log line, which would look like a defect to whoever reads
// it. The OSAL stand-in can keep it back; where another OSAL is, the line is written. It is looked
// up each time, which is rare: a static variable would be a lock that a forked child may find
// taken.
void hold_log(int hold) {
  using hold_log_fn = void(int);
  auto *const held = reinterpret_cast<hold_log_fn *>(dlsym(RTLD_DEFAULT, "osal_host_hold_log"));
  if (held != nullptr)
    held(hold);
}

uint32_t record_size(message_hooks &hooks, const void *buffer, uint32_t length) {
  const int64_t learnt = hooks.record_size.load(std::memory_order_relaxed);
  if (learnt >= 0)
    return static_cast<uint32_t>(learnt);
  hold_log(1);
  const uint32_t size = hooks.unpack(buffer, length, nullptr);
  hold_log(0);
  hooks.record_size.store(size, std::memory_order_relaxed);
  return size;
}

void call_clean_hooks() {
  registry &known = the_registry();
  std::vector<mesh_clean_hook> hooks;
  {
    const std::lock_guard held(known.lock);
    hooks = known.clean;
  }
  for (mesh_clean_hook clean : hooks)
    clean();
}

void lock_hooks() {
  the_registry().lock.lock();
}
void unlock_hooks() {
  the_registry().lock.unlock();
}

} // namespace mesh_host
