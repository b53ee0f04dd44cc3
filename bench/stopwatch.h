// Times contestants against one another: in every round each of them once, in a new order.
//
// Room: bench. Whatever disturbs the machine for a while disturbs all of them alike.
#pragma once

#include "bench/contest.h"

#include <algorithm>
#include <chrono>
#include <random>

namespace bench {

struct effort {
  int rounds;
  double seconds_per_sample;
};

struct timing {
  double median_ns; // per call
  double best_ns;
  uint64_t calls_per_sample;
};

inline double seconds_for(const timed_loop &loop, uint64_t n) {
  const auto start = std::chrono::steady_clock::now();
  loop(n);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// How many calls make a sample; a multiple of the pool, so that each sample does the same work.
inline uint64_t calls_per_sample(const timed_loop &loop, size_t pool_size, double seconds) {
  uint64_t n = pool_size;
  double spent = seconds_for(loop, n);
  while (spent < seconds / 8) {
    n *= 4;
    spent = seconds_for(loop, n);
  }
  const double wanted = seconds / (spent / static_cast<double>(n));
  const auto turns = static_cast<uint64_t>(wanted / static_cast<double>(pool_size));
  return std::max<uint64_t>(turns, 1) * pool_size;
}

inline std::vector<timing> race(const std::vector<timed_loop> &loops, size_t pool_size,
                                const effort &effort) {
  std::vector<uint64_t> calls;
  for (const timed_loop &loop : loops)
    calls.push_back(calls_per_sample(loop, pool_size, effort.seconds_per_sample));

  std::vector<std::vector<double>> samples(loops.size());
  std::vector<size_t> order(loops.size());
  for (size_t i = 0; i < order.size(); i++)
    order[i] = i;
  std::mt19937 random(1);
  for (int round = 0; round < effort.rounds; round++) {
    std::shuffle(order.begin(), order.end(), random);
    for (const size_t i : order)
      samples[i].push_back(seconds_for(loops[i], calls[i]) * 1e9 / static_cast<double>(calls[i]));
  }

  std::vector<timing> timings;
  for (size_t i = 0; i < loops.size(); i++) {
    std::sort(samples[i].begin(), samples[i].end());
    timings.push_back({samples[i][samples[i].size() / 2], samples[i].front(), calls[i]});
  }
  return timings;
}

} // namespace bench
