// Allocations that fail because the environment asks for it.
//
// Room: host. Standard library only.
#include "host/osal_faults.h"

#include <algorithm>
#include <cstring>

namespace osal_host {
namespace {

// A number that looks drawn, of a seed and a place in the series (the mixing steps of SplitMix64,
// https://prng.di.unimi.it/splitmix64.c).
uint64_t drawn(uint64_t seed, uint64_t place) {
  uint64_t x = seed + place * 0x9E3779B97F4A7C15;
  x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9;
  x = (x ^ x >> 27) * 0x94D049BB133111EB;
  return x ^ x >> 31;
}

} // namespace

bool faults::hits(uint64_t number) const {
  if (how_.from != 0 && number >= how_.from)
    return true;
  if (std::binary_search(how_.at.begin(), how_.at.end(), number))
    return true;
  // The upper 53 bits as a number from 0 to below 1: never below a probability of 0, always
  // below 1.
  return static_cast<double>(drawn(how_.seed, number) >> 11) * 0x1p-53 < how_.probability;
}

uint64_t faults::strike(const char *caller) {
  if (how_.at.empty() && how_.from == 0 && how_.probability <= 0)
    return 0;
  if (!how_.tag.empty() && (caller == nullptr || strstr(caller, how_.tag.c_str()) == nullptr))
    return 0;
  const uint64_t number = ++asked_;
  return hits(number) ? number : 0;
}

} // namespace osal_host
