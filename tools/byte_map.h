// Maps of bytes as SVG: rows of sixteen, each run of bytes a box with its name in it.
//
// Room: tools. Knows descriptors and anatomies.
#pragma once

#include "tools/anatomy.h"

#include <string>
#include <vector>

namespace mesh_fib6::tools {

// A run of bytes on a map. Runs are given in the order of positions and cover all bytes.
struct map_box {
  uint32_t at;
  uint32_t size;
  const char *kind;   // what it looks like: a class of page/map.css
  std::string label;  // shown where there is room
  std::string title;  // shown when it is pointed at
  std::string member; // the path of what it belongs to; may be empty
};

// The boxes of a message: one for each stretch of its anatomy.
std::vector<map_box> boxes_of(const anatomy &of);

// "bytes 4 to 7: ", the beginning of a title.
std::string bytes_text(uint32_t at, uint32_t size);

// An <svg> that takes its looks from page/map.css. With `bytes`, which may be empty, their digits
// are shown, too.
std::string map_of(const std::vector<map_box> &boxes, std::span<const uint8_t> bytes,
                   const std::string &name);

// A message as a file that needs nothing else: what it is, its map and what is wrong with it.
std::string picture_of(const anatomy &of);

// Text between tags and in attributes.
std::string in_markup(std::string_view text);

} // namespace mesh_fib6::tools
