// The query messages of module fib6_cfg: what they share, and the byte vector that each owns.
//
// Room: tests.
#pragma once

#include "tests/wire/operations.h"

#include <type_traits>

using query_messages = testing::Types<fib6_cfg_query_fib6_key, fib6_cfg_query_fib6_rec,
                                      fib6_cfg_query_dfx_key, fib6_cfg_query_dfx_rec,
                                      fib6_cfg_query_fib6check_key, fib6_cfg_query_fib6check_rec>;

// A query opens with what all queries share, an answer with what all answers share; each of the two
// owns a byte vector.
template <class M>
concept query_key = std::is_same_v<decltype(std::remove_const_t<M>::f0), fib6_cfg_query_comm_param>;
template <class M>
concept query_answer =
    std::is_same_v<decltype(std::remove_const_t<M>::f0), fib6_cfg_query_comm_rec>;
template <class M>
concept query_message = query_key<M> || query_answer<M>;

// Also visits the byte vector inside f0, before the vector of the root.
template <query_message M, class Visitor>
void for_each_vector(M &record, Visitor visit) {
  if constexpr (query_key<M>)
    visit(record.f0.f2_count, record.f0.f2);
  else
    visit(record.f0.f3_count, record.f0.f3);
  if constexpr (requires { record.f1_count; })
    visit(record.f1_count, record.f1);
}

template <>
constexpr bool has_vectors<fib6_cfg_query_fib6_key>() {
  return true;
}
template <>
constexpr bool has_vectors<fib6_cfg_query_dfx_key>() {
  return true;
}
template <>
constexpr bool has_vectors<fib6_cfg_query_fib6check_key>() {
  return true;
}
template <>
constexpr bool has_vectors<fib6_cfg_query_fib6check_rec>() {
  return true;
}

// Makes the byte vector of a query or an answer this one.
template <query_message M>
void set_bytes(M &record, uint8_t *bytes, uint32_t length) {
  if constexpr (query_key<M>) {
    record.f0.f2_count = length;
    record.f0.f2 = bytes;
  } else {
    record.f0.f3_count = length;
    record.f0.f3 = bytes;
  }
}
