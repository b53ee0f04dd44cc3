// The query messages of module fib6_cfg: their operations, the records behind their images in
// tests/golden, and which image is whose.
//
// Room: tests. Objects of static storage only, as in golden_records.h, whose pattern the values
// follow.
#pragma once

#include "tests/wire/golden_records.h"

#include <type_traits>

MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6_key, fib6_cfg, 0x727C4D11, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6_rec, fib6_cfg, 0x8B27C60C, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_dfx_key, fib6_cfg, 0x244EBB6A, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_dfx_rec, fib6_cfg, 0x3ACCEBF3, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6check_key, fib6_cfg, 0x6C0280B3, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6_cfg_query_fib6check_rec, fib6_cfg, 0xDD6EF182, 2, header_first);

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

namespace golden_records {

template <query_message M>
M *without_bytes(const M &full) {
  static M record;
  std::memcpy(&record, &full, sizeof record);
  set_bytes(record, nullptr, 0);
  return &record;
}

namespace query_fib6_key {
inline uint8_t full_bytes[] = {0x3, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6_key full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2_count = 5, .f2 = full_bytes},
    .f1 = {.f0 = 0xD0C0B04,
           .f1 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
           .f2 = 0xD0C0B06,
           .f3 = 0xD0C0B07,
           .f4 = 0xD0C0B08,
           .f5 = 0x9,
           .f6 = 0xA,
           .f7 = 0xA0B,
           .f8 = 0xD0C0B0C}};
inline uint8_t sparse_bytes[] = {0x2, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6_key sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01, .f2_count = 5, .f2 = sparse_bytes},
    .f1 = {.f0 = 0,
           .f1 = {0x3010B0A, 0x3020B0A, 0x3030B0A, 0x3040B0A},
           .f2 = 0,
           .f3 = 0xD0C0B04,
           .f4 = 0,
           .f5 = 0x5,
           .f6 = 0,
           .f7 = 0xA06,
           .f8 = 0}};
} // namespace query_fib6_key

namespace query_fib6_rec {
inline uint8_t full_bytes[] = {0x4, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6_item full_f1[] = {
    {.f0 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
     .f1 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
     .f2 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A},
     .f3 = 0xD0C0B08,
     .f4 = 0xD0C0B09,
     .f5 = 0xA,
     .f6 = 0xB,
     .f7 = 0xC,
     .f8 = 0xD,
     .f9 = 0xD0C0B0E,
     .f10 = 0xD0C0B0F,
     .f11 = 0xD0C0B10,
     .f12 = 0xD0C0B11,
     .f13 = 0xD0C0B12,
     .f14 = 0xD0C0B13,
     .f15 = 0xD0C0B14,
     .f16 = {0x15, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7},
     .f17 = 0xD0C0B16,
     .f18 = 0xD0C0B17,
     .f19 = {0x18010B0A, 0x18020B0A, 0x18030B0A, 0x18040B0A},
     .f20 = {0x19010B0A, 0x19020B0A, 0x19030B0A, 0x19040B0A}},
    {.f0 = {0x1A010B0A, 0x1A020B0A, 0x1A030B0A, 0x1A040B0A},
     .f1 = {0x1B010B0A, 0x1B020B0A, 0x1B030B0A, 0x1B040B0A},
     .f2 = {0x1C010B0A, 0x1C020B0A, 0x1C030B0A, 0x1C040B0A},
     .f3 = 0xD0C0B1D,
     .f4 = 0,
     .f5 = 0x1E,
     .f6 = 0,
     .f7 = 0x1F,
     .f8 = 0,
     .f9 = 0xD0C0B20,
     .f10 = 0,
     .f11 = 0xD0C0B21,
     .f12 = 0,
     .f13 = 0xD0C0B22,
     .f14 = 0,
     .f15 = 0xD0C0B23,
     .f16 = {0x24, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7},
     .f17 = 0xD0C0B25,
     .f18 = 0,
     .f19 = {0x26010B0A, 0x26020B0A, 0x26030B0A, 0x26040B0A},
     .f20 = {0x27010B0A, 0x27020B0A, 0x27030B0A, 0x27040B0A}}};
inline fib6_cfg_query_fib6_rec full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0xD0C0B03, .f3_count = 5, .f3 = full_bytes},
    .f1_count = 2,
    .f1 = full_f1};
} // namespace query_fib6_rec

namespace query_dfx_key {
inline uint8_t full_bytes[] = {0x3, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_dfx_key full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2_count = 5, .f2 = full_bytes},
    .f1 = {.f0 = 0xD0C0B04, .f1 = 0xD0C0B05, .f2 = 0xD0C0B06, .f3 = 0xD0C0B07}};
inline uint8_t sparse_bytes[] = {0x2, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_dfx_key sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01, .f2_count = 5, .f2 = sparse_bytes},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B03, .f2 = 0, .f3 = 0xD0C0B04}};
} // namespace query_dfx_key

namespace query_dfx_rec {
inline uint8_t full_bytes[] = {0x4, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_dfx_item full_f1[] = {
    {.f0 = 0xD0C0B05,
     .f1 = {0x6,  0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x8B, 0x8C,
            0x8D, 0x8E, 0x8F, 0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
            0x9A, 0x9B, 0x9C, 0x9D, 0x9E, 0x9F, 0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6,
            0xA7, 0xA8, 0xA9, 0xAA, 0xAB, 0xAC, 0xAD, 0xAE, 0xAF, 0xB0, 0xB1},
     .f2 = 0xD0C0B07,
     .f3 = {0x8,  0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA,
            0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5,
            0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF},
     .f4 = {0x9,  0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA,
            0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5,
            0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF},
     .f5 = {0xA,  0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA,
            0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5,
            0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF},
     .f6 = 0xD0C0B0B},
    {.f0 = 0,
     .f1 = {0xC,  0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x8B, 0x8C,
            0x8D, 0x8E, 0x8F, 0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
            0x9A, 0x9B, 0x9C, 0x9D, 0x9E, 0x9F, 0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6,
            0xA7, 0xA8, 0xA9, 0xAA, 0xAB, 0xAC, 0xAD, 0xAE, 0xAF, 0xB0, 0xB1},
     .f2 = 0,
     .f3 = {0xD,  0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA,
            0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5,
            0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF},
     .f4 = {0xE,  0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA,
            0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5,
            0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF},
     .f5 = {0xF,  0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA,
            0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5,
            0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF},
     .f6 = 0}};
inline fib6_cfg_query_dfx_rec full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0xD0C0B03, .f3_count = 5, .f3 = full_bytes},
    .f1_count = 2,
    .f1 = full_f1};
} // namespace query_dfx_rec

namespace query_fib6check_key {
inline uint8_t full_bytes[] = {0x3, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6check_key full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2_count = 5, .f2 = full_bytes},
    .f1 = {.f0 = 0xD0C0B04, .f1 = 0xD0C0B05, .f2 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A}}};
inline uint8_t sparse_bytes[] = {0x2, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6check_key sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01, .f2_count = 5, .f2 = sparse_bytes},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B03, .f2 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A}}};
} // namespace query_fib6check_key

namespace query_fib6check_rec {
inline uint8_t full_bytes[] = {0x4, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6check_rec full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0xD0C0B03, .f3_count = 5, .f3 = full_bytes},
    .f1 = {.f0 = 0xD0C0B05,
           .f1 = 0x6,
           .f2 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A, 0x7050B0A, 0x7060B0A, 0x7070B0A,
                  0x7080B0A, 0x7090B0A, 0x70A0B0A, 0x70B0B0A, 0x70C0B0A, 0x70D0B0A, 0x70E0B0A,
                  0x70F0B0A, 0x7100B0A, 0x7110B0A, 0x7120B0A, 0x7130B0A, 0x7140B0A, 0x7150B0A,
                  0x7160B0A, 0x7170B0A, 0x7180B0A, 0x7190B0A, 0x71A0B0A, 0x71B0B0A, 0x71C0B0A,
                  0x71D0B0A, 0x71E0B0A, 0x71F0B0A, 0x7200B0A, 0x7210B0A, 0x7220B0A, 0x7230B0A,
                  0x7240B0A, 0x7250B0A, 0x7260B0A, 0x7270B0A, 0x7280B0A, 0x7290B0A, 0x72A0B0A,
                  0x72B0B0A, 0x72C0B0A, 0x72D0B0A, 0x72E0B0A, 0x72F0B0A, 0x7300B0A, 0x7310B0A,
                  0x7320B0A, 0x7330B0A, 0x7340B0A, 0x7350B0A, 0x7360B0A, 0x7370B0A, 0x7380B0A,
                  0x7390B0A, 0x73A0B0A, 0x73B0B0A, 0x73C0B0A, 0x73D0B0A, 0x73E0B0A, 0x73F0B0A,
                  0x7400B0A}}};
inline uint8_t sparse_bytes[] = {0x2, 0xE1, 0xE2, 0xE3, 0xE4};
inline fib6_cfg_query_fib6check_rec sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3_count = 5, .f3 = sparse_bytes},
    .f1 = {.f0 = 0,
           .f1 = 0x3,
           .f2 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A, 0x4050B0A, 0x4060B0A, 0x4070B0A,
                  0x4080B0A, 0x4090B0A, 0x40A0B0A, 0x40B0B0A, 0x40C0B0A, 0x40D0B0A, 0x40E0B0A,
                  0x40F0B0A, 0x4100B0A, 0x4110B0A, 0x4120B0A, 0x4130B0A, 0x4140B0A, 0x4150B0A,
                  0x4160B0A, 0x4170B0A, 0x4180B0A, 0x4190B0A, 0x41A0B0A, 0x41B0B0A, 0x41C0B0A,
                  0x41D0B0A, 0x41E0B0A, 0x41F0B0A, 0x4200B0A, 0x4210B0A, 0x4220B0A, 0x4230B0A,
                  0x4240B0A, 0x4250B0A, 0x4260B0A, 0x4270B0A, 0x4280B0A, 0x4290B0A, 0x42A0B0A,
                  0x42B0B0A, 0x42C0B0A, 0x42D0B0A, 0x42E0B0A, 0x42F0B0A, 0x4300B0A, 0x4310B0A,
                  0x4320B0A, 0x4330B0A, 0x4340B0A, 0x4350B0A, 0x4360B0A, 0x4370B0A, 0x4380B0A,
                  0x4390B0A, 0x43A0B0A, 0x43B0B0A, 0x43C0B0A, 0x43D0B0A, 0x43E0B0A, 0x43F0B0A,
                  0x4400B0A}}};
} // namespace query_fib6check_rec

template <>
inline images_of<fib6_cfg_query_fib6_key> images() {
  using namespace query_fib6_key;
  return {{"zero", zero<fib6_cfg_query_fib6_key>()},
          {"zero_elements", zero_elements<fib6_cfg_query_fib6_key>()},
          {"full", &full},
          {"full_without_bytes", without_bytes(full)},
          {"sparse", &sparse},
          {"full_swap_1", &full, layout::compact, 1},
          {"full_swap_2", &full, layout::compact, 2}};
}

template <>
inline images_of<fib6_cfg_query_fib6_rec> images() {
  using namespace query_fib6_rec;
  return {{"zero", zero<fib6_cfg_query_fib6_rec>()},
          {"zero_elements", zero_elements<fib6_cfg_query_fib6_rec>()},
          {"full", &full},
          {"full_without_bytes", without_bytes(full)},
          {"full_swap_1", &full, layout::compact, 1}};
}

template <>
inline images_of<fib6_cfg_query_dfx_key> images() {
  using namespace query_dfx_key;
  return {{"zero", zero<fib6_cfg_query_dfx_key>()},
          {"zero_elements", zero_elements<fib6_cfg_query_dfx_key>()},
          {"full", &full},
          {"full_without_bytes", without_bytes(full)},
          {"sparse", &sparse}};
}

template <>
inline images_of<fib6_cfg_query_dfx_rec> images() {
  using namespace query_dfx_rec;
  return {{"zero", zero<fib6_cfg_query_dfx_rec>()},
          {"zero_elements", zero_elements<fib6_cfg_query_dfx_rec>()},
          {"full", &full},
          {"full_without_bytes", without_bytes(full)},
          {"full_swap_1", &full, layout::compact, 1}};
}

template <>
inline images_of<fib6_cfg_query_fib6check_key> images() {
  using namespace query_fib6check_key;
  return {{"zero", zero<fib6_cfg_query_fib6check_key>()},
          {"zero_elements", zero_elements<fib6_cfg_query_fib6check_key>()},
          {"full", &full},
          {"full_without_bytes", without_bytes(full)},
          {"sparse", &sparse}};
}

template <>
inline images_of<fib6_cfg_query_fib6check_rec> images() {
  using namespace query_fib6check_rec;
  return {{"zero", zero<fib6_cfg_query_fib6check_rec>()},
          {"zero_elements", zero_elements<fib6_cfg_query_fib6check_rec>()},
          {"full", &full},
          {"full_without_bytes", without_bytes(full)},
          {"sparse", &sparse},
          {"full_swap_1", &full, layout::compact, 1},
          {"full_swap_2", &full, layout::compact, 2}};
}

} // namespace golden_records
