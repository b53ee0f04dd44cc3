// Where the feed listens.
//
// Room: fpm. Includes libc, this folder and the demo's.
#pragma once

#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/socket.h>

namespace fpm {

struct listen_address {
  sockaddr_storage storage{};
  socklen_t size = 0;
};

// "127.0.0.1:2620" or "[::1]:2620". Returns an empty text, or what is wrong.
std::string parse_listen_address(std::string_view text, listen_address &address);

} // namespace fpm
