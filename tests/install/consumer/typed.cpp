// A program that uses the installed header for C++: encodes two messages and takes both in by type.
//
// Room: tests. Includes the installed headers and the standard library. From C++17 on.
#include <mesh_fib6/mesh_fib6.hpp>

#include <iostream>

int main() {
  feiBrokerFib6_ipv6Fwd route = {};
  feiBrokerFib6_ipv6FwdUpdateMsg update = {};
  update.f1_count = 1;
  update.f1 = &route;
  fib6_cfg_cfg_ipv6_ttl_expired_forward setting = {};
  setting.f0 = 1;

  const mesh_fib6::overloaded visitor{
      [](const feiBrokerFib6_ipv6FwdUpdateMsg &taken) {
        std::cout << mesh_fib6::elements(taken.f1, taken.f1_count).size() << " route, ";
      },
      [](mesh_fib6::decoded<fib6_cfg_cfg_ipv6_ttl_expired_forward> taken) {
        std::cout << (taken->f0 == 1 ? "then a setting\n" : "then another\n");
      }};
  const std::vector<std::uint8_t> first = mesh_fib6::encode(update);
  const std::vector<std::uint8_t> second = mesh_fib6::encode(setting);
  const bool known =
      mesh_fib6::visit(feiBrokerFib6_ipv6FwdUpdateMsg_ID, first.data(), first.size(), visitor) &&
      mesh_fib6::visit(fib6_cfg_cfg_ipv6_ttl_expired_forward_ID, second.data(), second.size(),
                       visitor);
  return known ? 0 : 1;
}
