// What the tests that hold for a list of messages know of each beside its operations.
//
// Room: tests. Includes the modules' schemas and the units.
#pragma once

#include "tests/catalogue/catalogue.h"
#include "tests/support/message_cases.h"
#include "tests/support/units.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

using mesh_fib6::operations;

// Whether a decode clears the record before it looks at the root's header, and reports header
// failures under another name.
template <class M>
bool is_table_form() {
  return catalogue::row_of(operations<M>::name).form == catalogue::root_form::table_form;
}

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

template <class M>
void bind_units() {
  bind_units(units_of<M>());
}
