// What a routing daemon says, as the feed understands it.
//
// Room: fpm. Includes this folder.
#include "fpm/events.h"

#include <array>
#include <string_view>

namespace fpm {

std::string_view to_text(skip reason) {
  constexpr std::array<std::string_view, skip_reasons> names = {
      "of IPv4",
      "of another family",
      "not about routes",
      "frames without netlink",
      "cached routes",
      "source-specific routes",
      "of another kind",
      "with a gateway that is not IPv6",
      "with seg6local",
      "with another encapsulation",
      "with segments to insert",
      "with too many segments",
  };
  return names[static_cast<size_t>(reason)];
}

} // namespace fpm
