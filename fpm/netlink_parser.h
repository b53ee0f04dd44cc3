// What a frame says: netlink messages about routes, as events.
//
// Room: fpm. Includes this folder.
#pragma once

#include "fpm/events.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fpm {

// Appends the events of the messages in `payload`, which begins where a netlink header may. Nothing
// in it is trusted: a message that is not as it should be becomes an event of that kind, and the
// next one is read; where its length is wrong, there is no next one. What takes the place of
// something known and is of no use becomes a withdrawal besides.
void parse_messages(std::span<const uint8_t> payload, std::vector<event> &events);

} // namespace fpm
