// Faults that a program asks for, to test itself: sends that are refused or slow, messages that
// come twice. The variables MESH_HOST_FAULT_... say which.
//
// Room: host. Standard library only.
#pragma once

#include <cstdint>
#include <mutex>

namespace mesh_host {

struct fault_settings {
  // In 1,000,000 cases; 0 is never.
  uint32_t refuse = 0, delay = 0, duplicate = 0;
  uint32_t delay_ms = 10; // the longest delay
  uint64_t seed = 1;
};

// One series of decisions, the same for the same seed. Any thread; the order in which threads come
// is theirs.
class faults {
public:
  explicit faults(const fault_settings &wanted) : wanted_(wanted), state_(wanted.seed) {}

  bool refuses() { return happens(wanted_.refuse); }
  bool repeats() { return happens(wanted_.duplicate); }
  // How long to wait now.
  uint32_t delay_ms() {
    return happens(wanted_.delay) ? static_cast<uint32_t>(next() % wanted_.delay_ms) + 1 : 0;
  }

private:
  bool happens(uint32_t in_a_million) {
    return in_a_million != 0 && next() % 1'000'000 < in_a_million;
  }

  // SplitMix64, https://prng.di.unimi.it/splitmix64.c
  uint64_t next() {
    const std::lock_guard held(lock_);
    uint64_t mixed = state_ += 0x9E3779B97F4A7C15;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
    return mixed ^ mixed >> 31;
  }

  const fault_settings wanted_;
  std::mutex lock_;
  uint64_t state_;
};

} // namespace mesh_host
