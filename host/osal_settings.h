// What the environment asks of the OSAL stand-in.
//
// Room: host. Standard library only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace osal_host {

// Which allocations are to fail, by their number among those whose tag is meant, from 1.
struct failing {
  std::vector<uint64_t> at; // OSAL_HOST_FAIL_AT, sorted
  uint64_t from = 0;        // the same with +: this one and all behind it; 0: none
  double probability = 0;   // OSAL_HOST_FAIL_PROBABILITY
  uint64_t seed = 1;        // OSAL_HOST_SEED
  std::string tag;          // OSAL_HOST_FAIL_TAG: a part of the caller's tag; empty: any
};

struct settings {
  uint32_t use_flag = 1; // OSAL_HOST_USE_FLAG
  bool report = false;   // OSAL_HOST_REPORT
  bool poison = false;   // OSAL_HOST_POISON
  failing fail;
};

// A variable that makes no sense is told on stderr and is then as if it were not set.
settings read_settings();

} // namespace osal_host
