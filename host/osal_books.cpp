// Which blocks are live, and what happened so far.
//
// Room: host. Standard library only.
#include "host/osal_books.h"

#include "host/osal_tell.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

namespace osal_host {
namespace {

void raise_to(std::atomic<uint64_t> &peak, uint64_t value) {
  uint64_t seen = peak.load();
  while (seen < value && !peak.compare_exchange_weak(seen, value)) {
  }
}

} // namespace

books::shard &books::shard_of(const void *address) {
  const auto number = reinterpret_cast<uintptr_t>(address);
  // The lowest four bits of heap addresses are always the same.
  return shards_[(number >> 4 ^ number >> 12) % shards_.size()];
}

void books::enter(const void *address, uint32_t size, uint32_t module, const char *caller) {
  shard &home = shard_of(address);
  const std::lock_guard held(home.lock);
  const std::string *tag = nullptr;
  if (with_tags_) {
    const std::string_view name = or_none(caller);
    auto known = home.tags.find(name);
    if (known == home.tags.end())
      known = home.tags.emplace(name).first;
    tag = &*known;
  }
  home.live[address] = {size, module, tag};
  allocations_++;
  raise_to(peak_blocks_, ++live_blocks_);
  raise_to(peak_bytes_, live_bytes_ += size);
}

books::entry books::strike_out(const void *address, block &found) {
  shard &home = shard_of(address);
  const std::lock_guard held(home.lock);
  auto &released = home.released;
  const auto at = home.live.find(address);
  if (at == home.live.end()) {
    const bool lately = std::find(released.begin(), released.end(), address) != released.end();
    return lately ? entry::released_before : entry::unknown;
  }
  found = at->second;
  home.live.erase(at);
  released[home.next_released++ % released.size()] = address;
  releases_++;
  live_blocks_--;
  live_bytes_ -= found.size;
  return entry::live;
}

void books::count_log_line() {
  const std::lock_guard held(shards_[0].lock);
  log_lines_++;
}

void books::lock() {
  for (shard &each : shards_)
    each.lock.lock();
}

void books::unlock() {
  for (shard &each : shards_)
    each.lock.unlock();
}

osal_host_accounts books::accounts() {
  const std::lock_guard held(*this);
  osal_host_accounts now{};
  now.allocations = allocations_;
  now.releases = releases_;
  now.live_blocks = live_blocks_;
  now.live_bytes = live_bytes_;
  now.peak_blocks = peak_blocks_;
  now.peak_bytes = peak_bytes_;
  now.failed_allocations = failed_allocations_;
  now.wrong_releases = wrong_releases_;
  now.log_lines = log_lines_;
  now.injected_failures = injected_failures_;
  now.overruns = overruns_;
  return now;
}

std::vector<remainder> books::remainders() {
  struct total {
    uint64_t blocks = 0, bytes = 0;
  };
  std::map<std::pair<uint32_t, std::string>, total> totals;
  {
    const std::lock_guard held(*this);
    for (const shard &each : shards_)
      for (const auto &[address, left] : each.live) {
        total &sum = totals[{left.module, left.tag != nullptr ? *left.tag : "-"}];
        sum.blocks++;
        sum.bytes += left.size;
      }
  }
  std::vector<remainder> found;
  found.reserve(totals.size());
  for (const auto &[name, sum] : totals)
    found.push_back({name.first, name.second, sum.blocks, sum.bytes});
  std::sort(found.begin(), found.end(), [](const remainder &a, const remainder &b) {
    return std::tie(b.bytes, b.blocks, a.module, a.tag) <
           std::tie(a.bytes, a.blocks, b.module, b.tag);
  });
  return found;
}

} // namespace osal_host
