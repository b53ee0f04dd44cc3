// The control messages of module fib6: their operations, the records behind their images in
// tests/golden, and which image is whose.
//
// Room: tests. Objects of static storage only, as in golden_records.h, whose pattern the values
// follow.
#pragma once

#include "tests/wire/golden_records.h"

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

using control_messages =
    testing::Types<feiBrokerFib6_classItemMsg, feiBrokerFib6_vrfClassStateMsg,
                   feiBrokerFib6_vrfClassDataMsg, feiBrokerFib6_lrClassDataMsg,
                   feiBrokerFib6_loadBalanceMode, feiBrokerFib6_loadBalanceReverse,
                   feiBrokerFib6_dod_enable, feiBrokerFib6_dod_rule, feiBrokerFib6_dod_aging,
                   feiBrokerFib6_special_ip>;

namespace golden_records {

namespace classItemMsg {
inline feiBrokerFib6_classItemMsg full = {.f0 = 0xD0C0B01,
                                          .f1 = {.f0 = 0xD0C0B02, .f1 = 0xD0C0B03, .f2 = 0x4}};
inline feiBrokerFib6_classItemMsg sparse = {.f0 = 0, .f1 = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0}};
} // namespace classItemMsg

namespace vrfClassStateMsg {
inline feiBrokerFib6_vrfClassStateMsg full = {.f0 = 0xD0C0B01,
                                              .f1 = {.f0 = 0xD0C0B02,
                                                     .f1 = 0xD0C0B03,
                                                     .f2 = 0xD0C0B04,
                                                     .f3 = 0xD0C0B05,
                                                     .f4 = 0xD0C0B06,
                                                     .f5 = 0xD0C0B07}};
inline feiBrokerFib6_vrfClassStateMsg sparse = {
    .f0 = 0, .f1 = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0xD0C0B02, .f4 = 0, .f5 = 0xD0C0B03}};
} // namespace vrfClassStateMsg

namespace vrfClassDataMsg {
inline feiBrokerFib6_vrfClassDataMsg full = {.f0 = 0xD0C0B01,
                                             .f1 = {.f0 = 0xD0C0B02,
                                                    .f1 = 0xD0C0B03,
                                                    .f2 = 0xD0C0B04,
                                                    .f3 = 0xD0C0B05,
                                                    .f4 = 0xD0C0B06,
                                                    .f5 = 0xD0C0B07,
                                                    .f6 = 0x8}};
inline feiBrokerFib6_vrfClassDataMsg sparse = {
    .f0 = 0,
    .f1 = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0xD0C0B02, .f4 = 0, .f5 = 0xD0C0B03, .f6 = 0}};
} // namespace vrfClassDataMsg

namespace lrClassDataMsg {
inline feiBrokerFib6_lrClassDataMsg full = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0xD0C0B03};
inline feiBrokerFib6_lrClassDataMsg sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0};
} // namespace lrClassDataMsg

namespace loadBalanceMode {
inline feiBrokerFib6_loadBalanceMode full = {
    .f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0x3, .f3 = 0x4, .f4 = 0x5, .f5 = 0x6, .f6 = 0x7};
inline feiBrokerFib6_loadBalanceMode sparse = {
    .f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0x2, .f4 = 0, .f5 = 0x3, .f6 = 0};
} // namespace loadBalanceMode

namespace loadBalanceReverse {
inline feiBrokerFib6_loadBalanceReverse full = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0x3};
inline feiBrokerFib6_loadBalanceReverse sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0};
} // namespace loadBalanceReverse

namespace dod_enable {
inline feiBrokerFib6_dod_enable full = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = 0xD0C0B03};
inline feiBrokerFib6_dod_enable sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0};
} // namespace dod_enable

namespace dod_rule {
inline feiBrokerFib6_dod_rule full = {.f0 = 0xA01,
                                      .f1 = 0xD0C0B02,
                                      .f2 = 0xD0C0B03,
                                      .f3 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
                                      .f4 = 0x5};
inline feiBrokerFib6_dod_rule sparse = {
    .f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = {0x2010B0A, 0x2020B0A, 0x2030B0A, 0x2040B0A}, .f4 = 0};
} // namespace dod_rule

namespace dod_aging {
inline feiBrokerFib6_dod_aging full = {.f0 = 0xA01,
                                       .f1 = 0xD0C0B02,
                                       .f2 = 0xD0C0B03,
                                       .f3 = 0xD0C0B04,
                                       .f4 = 0xD0C0B05,
                                       .f5 = 0xD0C0B06};
inline feiBrokerFib6_dod_aging sparse = {
    .f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0xD0C0B02, .f4 = 0, .f5 = 0xD0C0B03};
} // namespace dod_aging

namespace special_ip {
inline feiBrokerFib6_special_ip full = {.f0 = 0xA01, .f1 = 0xD0C0B02, .f2 = 0x3, .f3 = 0x4};
inline feiBrokerFib6_special_ip sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0x2};
} // namespace special_ip

template <>
inline images_of<feiBrokerFib6_classItemMsg> images() {
  using namespace classItemMsg;
  return {{"zero", zero<feiBrokerFib6_classItemMsg>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_classItemMsg>(), layout::fixed},
          {"full_fixed", &full, layout::fixed}};
}

template <>
inline images_of<feiBrokerFib6_vrfClassStateMsg> images() {
  using namespace vrfClassStateMsg;
  return {{"zero", zero<feiBrokerFib6_vrfClassStateMsg>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_vrfClassStateMsg>(), layout::fixed},
          {"full_fixed", &full, layout::fixed}};
}

template <>
inline images_of<feiBrokerFib6_vrfClassDataMsg> images() {
  using namespace vrfClassDataMsg;
  return {{"zero", zero<feiBrokerFib6_vrfClassDataMsg>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_vrfClassDataMsg>(), layout::fixed},
          {"full_fixed", &full, layout::fixed},
          {"full_fixed_swap_1", &full, layout::fixed, 1}};
}

template <>
inline images_of<feiBrokerFib6_lrClassDataMsg> images() {
  using namespace lrClassDataMsg;
  return {{"zero", zero<feiBrokerFib6_lrClassDataMsg>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_lrClassDataMsg>(), layout::fixed},
          {"full_fixed", &full, layout::fixed}};
}

template <>
inline images_of<feiBrokerFib6_loadBalanceMode> images() {
  using namespace loadBalanceMode;
  return {{"zero", zero<feiBrokerFib6_loadBalanceMode>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_loadBalanceMode>(), layout::fixed},
          {"full_fixed", &full, layout::fixed},
          {"full_fixed_swap_1", &full, layout::fixed, 1}};
}

template <>
inline images_of<feiBrokerFib6_loadBalanceReverse> images() {
  using namespace loadBalanceReverse;
  return {{"zero", zero<feiBrokerFib6_loadBalanceReverse>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_loadBalanceReverse>(), layout::fixed},
          {"full_fixed", &full, layout::fixed}};
}

template <>
inline images_of<feiBrokerFib6_dod_enable> images() {
  using namespace dod_enable;
  return {{"zero", zero<feiBrokerFib6_dod_enable>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_dod_enable>(), layout::fixed},
          {"full_fixed", &full, layout::fixed}};
}

template <>
inline images_of<feiBrokerFib6_dod_rule> images() {
  using namespace dod_rule;
  return {{"zero", zero<feiBrokerFib6_dod_rule>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_dod_rule>(), layout::fixed},
          {"full_fixed", &full, layout::fixed},
          {"full_swap_1", &full, layout::compact, 1},
          {"full_swap_2", &full, layout::compact, 2},
          {"full_fixed_swap_1", &full, layout::fixed, 1},
          {"full_fixed_swap_2", &full, layout::fixed, 2}};
}

template <>
inline images_of<feiBrokerFib6_dod_aging> images() {
  using namespace dod_aging;
  return {{"zero", zero<feiBrokerFib6_dod_aging>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_dod_aging>(), layout::fixed},
          {"full_fixed", &full, layout::fixed},
          {"full_fixed_swap_1", &full, layout::fixed, 1}};
}

template <>
inline images_of<feiBrokerFib6_special_ip> images() {
  using namespace special_ip;
  return {{"zero", zero<feiBrokerFib6_special_ip>()},
          {"full", &full},
          {"sparse", &sparse},
          {"zero_fixed", zero<feiBrokerFib6_special_ip>(), layout::fixed},
          {"full_fixed", &full, layout::fixed},
          {"full_fixed_swap_1", &full, layout::fixed, 1},
          {"full_fixed_swap_2", &full, layout::fixed, 2}};
}

} // namespace golden_records
