// A record, what it encodes to, and a mesh call to look at: the little traffic that the tests of
// the shared library need.
//
// Room: tests. Public headers only: the library is the one that ships.
#pragma once

#include "tests/support/fake_mesh.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace traffic {

using route_update = feiBrokerFib6_ipv6FwdUpdateMsg;
using ttl_setting = fib6_cfg_cfg_ipv6_ttl_expired_forward;

// Two routes: 20 for the root with its scalar, 8 for the vector, 2 * (4 + 60), 4 for one scalar.
inline constexpr uint32_t route_update_size = 160;
// Two routes of 56 bytes.
inline constexpr uint32_t decoded_block_size = 112;

class two_routes {
public:
  two_routes() { routes_[1].f0 = 0xCAFE; }
  route_update record() { return {7, 2, routes_}; }

private:
  feiBrokerFib6_ipv6Fwd routes_[2] = {};
};

inline std::vector<uint8_t> packed_routes() {
  two_routes routes;
  const route_update record = routes.record();
  std::vector<uint8_t> bytes(route_update_size);
  uint32_t length = route_update_size;
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(&record, bytes.data(), &length), 0u);
  EXPECT_EQ(length, route_update_size);
  return bytes;
}

inline void expect_two_routes(const route_update &record) {
  ASSERT_EQ(record.f0, 7u);
  ASSERT_EQ(record.f1_count, 2u);
  ASSERT_NE(record.f1, nullptr);
  EXPECT_EQ(record.f1[0].f0, 0u);
  EXPECT_EQ(record.f1[1].f0, 0xCAFEu);
}

inline uint32_t unpack_routes(const std::vector<uint8_t> &bytes, route_update &record) {
  return feiBrokerFib6_ipv6FwdUpdateMsg__unpack(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                &record);
}

inline uint32_t send_routes() {
  two_routes routes;
  const route_update record = routes.record();
  return feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle(1, &record, 0, 0);
}

inline uint32_t send_batch_of_settings() {
  const ttl_setting settings[3] = {};
  return fib6_cfg_cfg_ipv6_ttl_expired_forward__sendbatch(1, settings, 3, 0);
}

// First byte of what the latest mesh call sent.
inline const void *latest_data() {
  const std::vector<fake_mesh::send> sends = fake_mesh::sends();
  return sends.empty() || sends.back().messages.empty() ? nullptr
                                                        : sends.back().messages.front().data;
}

// Asks for the size of a setting, which logs a line: the capacity appears in it.
inline void query_size(uint32_t capacity) {
  const ttl_setting setting{};
  uint32_t length = capacity;
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__pack(&setting, nullptr, &length), 0u);
  EXPECT_EQ(length, 46u);
}

} // namespace traffic
