// decode_buffer_cpp: decode_buffer.c in C++. Reads one encoded route update from a file or standard
// input, prints its routes.
//
// Room: examples. Includes public headers, POSIX and the standard library. C++17.
#include <mesh_fib6/mesh_fib6.hpp>

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <new>
#include <string>

namespace {

constexpr std::size_t largest = 64 << 20; // bytes; what the development host carries at most

int fail(const std::string &name, const std::string &reason) {
  std::cerr << "decode_buffer_cpp: " << name << ": " << reason << '\n';
  return 1;
}

// The routes of an update that was decoded. It is passed on by value, as a container would be: it
// owns what decoding has allocated, and gives that back at its end.
int print(mesh_fib6::decoded<feiBrokerFib6_ipv6FwdUpdateMsg> update, const std::string &name) {
  // Empty where the pointer is null, whatever the count says: see message_api.h.
  const auto routes = mesh_fib6::elements(update->f1, update->f1_count);
  if (routes.empty())
    return fail(name, "not a feiBrokerFib6_ipv6FwdUpdateMsg, or one without routes");
  int status = 0;
  for (const feiBrokerFib6_ipv6Fwd &route : routes) {
    char address[INET6_ADDRSTRLEN];
    if (route.f4 <= 128) // values are the peer's as well
      std::cout << inet_ntop(AF_INET6, route.f3, address, sizeof address) << '/' << +route.f4
                << '\n';
    else
      status = fail(name, "a route with a prefix length above 128");
  }
  return status;
}

} // namespace

int main(int argc, char **argv) try {
  std::string name = argc == 2 ? argv[1] : "-";
  if (argc > 2 || (name.size() > 1 && name[0] == '-')) {
    std::cerr << "usage: decode_buffer_cpp [FILE]\n";
    return 2;
  }
  std::FILE *in = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
  if (name == "-")
    name = "standard input";
  if (in == nullptr)
    return fail(name, std::strerror(errno));
  std::vector<std::uint8_t> bytes;
  std::uint8_t some[1 << 16];
  for (std::size_t got = 1; got != 0 && bytes.size() <= largest;) {
    got = std::fread(some, 1, sizeof some, in);
    bytes.insert(bytes.end(), some, some + got);
  }
  if (std::ferror(in))
    return fail(name, std::strerror(errno));
  if (bytes.size() > largest)
    return fail(name, "larger than a message can be");

  int status = print({bytes.data(), bytes.size()}, name);
  if (!std::cout.flush())
    status = fail("standard output", "cannot be written to");
  return status;
} catch (const std::bad_alloc &) {
  std::fputs("decode_buffer_cpp: not enough memory\n",
             stderr); // which std::cerr might want as well
  return 1;
}
