// The mesh of the benchmark: takes messages and does nothing with them.
//
// Room: bench. Defined in the executable, so it takes the place of the development host's.
#pragma once

#include <cstdint>
#include <vector>

namespace bench {

// While set, the bytes of the first message of every send are kept there.
extern std::vector<uint8_t> *sent_bytes;

} // namespace bench
