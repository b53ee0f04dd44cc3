// Messages by what a person types: a name, the end of one, or an identifier.
//
// Room: tools. Knows descriptors.
#pragma once

#include "tools/descriptors.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace mesh_fib6::tools {

struct found_message {
  const message_descriptor *message; // null when `problem` says why there is none
  std::string problem;               // "unknown message 'x'; did you mean ...?"
};

// `feiBrokerFib6_ipv6FwdUpdateMsg`, `ipv6FwdUpdateMsg`, `feiBrokerFib6.ipv6FwdUpdateMsg`, an end
// that only one message has, or `0x1234ABCD`. A whole name, with or without its namespace, comes
// before an end.
found_message find_message(std::string_view text);

// The message of an identifier; null when there is none.
const message_descriptor *find_message(uint32_t id);

// The words that come nearest to `text`, best first: at most three, none that is far off.
std::vector<std::string> nearest(std::string_view text, const std::vector<std::string> &words);

// "; did you mean 'a', 'b' or 'c'?", or nothing.
std::string did_you_mean(const std::vector<std::string> &words);

// `0x1234ABCD`
inline std::string id_text(uint32_t id) {
  char text[sizeof "0x12345678"];
  (void)snprintf(text, sizeof text, "0x%08X", id);
  return text;
}

} // namespace mesh_fib6::tools
