// The vectors of a decoded record.
//
// Room: demo. Includes the C++ library only.
#pragma once

#include <cstdint>
#include <span>

namespace demo {

// A message that the decoder refused half-way keeps the counts read so far while its pointers are
// null. So the pointer says whether there are elements, never the count alone.
template <class Element>
std::span<const Element> elements(const Element *array, uint32_t count) {
  return {array, array != nullptr ? count : 0};
}

} // namespace demo
