// The operations of each message type behind one name, for tests that hold for all of them.
//
// Room: tests. Includes the modules' public headers and the units.
#pragma once

#include "tests/support/message_cases.h"
#include "tests/support/units.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

// How a message's root is decoded: header_first checks the header before it touches the record,
// table_form clears the record first and reports header failures under another name.
enum class root_form { header_first, table_form };

template <class M>
struct operations;

#define MESH_FIB6_TEST_OPERATIONS(M, MODULE, ID, SLOTS, FORM)                                      \
  template <>                                                                                      \
  struct operations<M> {                                                                           \
    static constexpr const char *name = #M;                                                        \
    static constexpr uint32_t id = ID;                                                             \
    static constexpr uint16_t root_slots = SLOTS;                                                  \
    static constexpr root_form form = root_form::FORM;                                             \
    static constexpr auto pack = &M##__pack;                                                       \
    static constexpr auto unpack = &M##__unpack;                                                   \
    static constexpr auto release = &M##_free__unpacked;                                           \
    static constexpr auto sendsingle = &M##__sendsingle;                                           \
    static constexpr auto sendbatch = &M##__sendbatch;                                             \
    static mesh_fib6::runtime::unit &recv_unit() { return mesh_fib6::MODULE::recv_unit; }          \
    static mesh_fib6::runtime::unit &send_unit() { return mesh_fib6::MODULE::send_unit; }          \
  }

MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_ipv6FwdUpdateMsg, fib6, 0x5026A923, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_ipv6FwdDelMsg, fib6, 0x0B394879, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_nhp6GroupUpdateMsg, fib6, 0x12BA2120, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_nhp6GroupDelMsg, fib6, 0xE0BBBCA0, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_nhp6UpdateMsg, fib6, 0x5FFC4D23, 8, table_form);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_nhp6DelMsg, fib6, 0xEE8FB479, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_srv6SrListUpdateMsg, fib6, 0x44FD956B, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_srv6SrListDelMsg, fib6, 0x03FB3FE1, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_ipv6PathMtuUpdateMsg, fib6, 0x08C4DDE3, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_ipv6PathMtuDelMsg, fib6, 0x6718B739, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_pidStateMsg, fib6, 0x2DAF16C2, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_cfg_ipv6_ttl_expired_forward, fib6_cfg, 0x863B570C, 5,
                          header_first);

MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_classItemMsg, fib6, 0x9D4AD197, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_vrfClassStateMsg, fib6, 0x4E636B47, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_vrfClassDataMsg, fib6, 0x2646ACE6, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_lrClassDataMsg, fib6, 0x36A0ECDC, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_loadBalanceMode, fib6, 0x0D2C457A, 7, table_form);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_loadBalanceReverse, fib6, 0x2555943D, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_dod_enable, fib6, 0x877476E0, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_dod_rule, fib6, 0x7EA01FE9, 5, header_first);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_dod_aging, fib6, 0x89D66519, 6, table_form);
MESH_FIB6_TEST_OPERATIONS(feiBrokerFib6_special_ip, fib6, 0xD001F332, 4, header_first);

MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6_key, fib6_cfg, 0x727C4D11, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6_rec, fib6_cfg, 0x8B27C60C, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_dfx_key, fib6_cfg, 0x244EBB6A, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_dfx_rec, fib6_cfg, 0x3ACCEBF3, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6check_key, fib6_cfg, 0x6C0280B3, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6check_rec, fib6_cfg, 0xDD6EF182, 2, header_first);

// Calls visit(count, array) for each vector of a record, in member order.
template <class M, class Visitor>
void for_each_vector(M &record, Visitor visit) {
  if constexpr (requires { record.f1_count; })
    visit(record.f1_count, record.f1);
  if constexpr (requires { record.f2_count; })
    visit(record.f2_count, record.f2);
  if constexpr (requires { record.f3_count; })
    visit(record.f3_count, record.f3);
  if constexpr (requires { record.f4_count; })
    visit(record.f4_count, record.f4);
  if constexpr (requires { record.f5_count; })
    visit(record.f5_count, record.f5);
  if constexpr (requires { record.f6_count; })
    visit(record.f6_count, record.f6);
  if constexpr (requires { record.f7_count; })
    visit(record.f7_count, record.f7);
}

// Records with vectors own memory once decoded and travel in the compact layout; flat ones do not.
template <class M>
constexpr bool has_vectors() {
  return requires(M m) {
    m.f1_count;
  }
  || requires(M m) {
    m.f2_count;
  };
}

using tree_messages =
    testing::Types<feiBrokerFib6_ipv6FwdUpdateMsg, feiBrokerFib6_ipv6FwdDelMsg,
                   feiBrokerFib6_nhp6GroupUpdateMsg, feiBrokerFib6_nhp6GroupDelMsg,
                   feiBrokerFib6_nhp6UpdateMsg, feiBrokerFib6_nhp6DelMsg,
                   feiBrokerFib6_srv6SrListUpdateMsg, feiBrokerFib6_srv6SrListDelMsg,
                   feiBrokerFib6_ipv6PathMtuUpdateMsg, feiBrokerFib6_ipv6PathMtuDelMsg>;
using flat_messages =
    testing::Types<feiBrokerFib6_pidStateMsg, fib6_cfg_cfg_ipv6_ttl_expired_forward>;
using all_messages =
    testing::Types<feiBrokerFib6_ipv6FwdUpdateMsg, feiBrokerFib6_ipv6FwdDelMsg,
                   feiBrokerFib6_nhp6GroupUpdateMsg, feiBrokerFib6_nhp6GroupDelMsg,
                   feiBrokerFib6_nhp6UpdateMsg, feiBrokerFib6_nhp6DelMsg,
                   feiBrokerFib6_srv6SrListUpdateMsg, feiBrokerFib6_srv6SrListDelMsg,
                   feiBrokerFib6_ipv6PathMtuUpdateMsg, feiBrokerFib6_ipv6PathMtuDelMsg,
                   feiBrokerFib6_pidStateMsg, fib6_cfg_cfg_ipv6_ttl_expired_forward>;

// Binds both sides of the message's module.
template <class M>
void bind_units() {
  bind_units({operations<M>::recv_unit(), operations<M>::send_unit()});
}
