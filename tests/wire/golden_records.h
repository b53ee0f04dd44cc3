// The records behind the images of tests/golden, member by member, and which image is whose.
//
// Room: tests. Objects of static storage only: their padding is zero, as in a decoded record, so
// that records can be compared as bytes.
//
// Members count up through a record so that no two are alike: an 8-bit member is the count, the
// others carry it in one byte of a fixed pattern.
#pragma once

#include "tests/wire/operations.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace golden_records {

namespace ipv6FwdUpdateMsg {
inline feiBrokerFib6_ipv6Fwd full_f1[] = {
    {.f0 = 0xD0C0B02,
     .f1 = 0xD0C0B03,
     .f2 = 0xD0C0B04,
     .f3 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
     .f4 = 0x6,
     .f5 = 0x7,
     .f6 = 0xA08,
     .f7 = 0xD0C0B09,
     .f8 = 0xD0C0B0A,
     .f9 = 0xD0C0B0B,
     .f10 = 0xD0C0B0C,
     .f11 = 0xA0D,
     .f12 = 0xA0E,
     .f13 = 0xD0C0B0F},
    {.f0 = 0,
     .f1 = 0xD0C0B10,
     .f2 = 0,
     .f3 = {0x11010B0A, 0x11020B0A, 0x11030B0A, 0x11040B0A},
     .f4 = 0,
     .f5 = 0x12,
     .f6 = 0,
     .f7 = 0xD0C0B13,
     .f8 = 0,
     .f9 = 0xD0C0B14,
     .f10 = 0,
     .f11 = 0xA15,
     .f12 = 0,
     .f13 = 0xD0C0B16},
};
inline feiBrokerFib6_ipv6FwdUpdateMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace ipv6FwdUpdateMsg

namespace ipv6FwdDelMsg {
inline feiBrokerFib6_ipv6FwdKey full_f1[] = {
    {.f0 = 0xD0C0B02,
     .f1 = 0xD0C0B03,
     .f2 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
     .f3 = 0x5,
     .f4 = {0x6, 0xE1, 0xE2}},
    {.f0 = 0,
     .f1 = 0xD0C0B07,
     .f2 = {0x8010B0A, 0x8020B0A, 0x8030B0A, 0x8040B0A},
     .f3 = 0x9,
     .f4 = {0xA, 0xE1, 0xE2}},
};
inline feiBrokerFib6_ipv6FwdDelMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace ipv6FwdDelMsg

namespace nhp6GroupDelMsg {
inline feiBrokerFib6_nhp6GroupKey full_f1[] = {
    {.f0 = 0xD0C0B02, .f1 = 0xD0C0B03},
    {.f0 = 0, .f1 = 0xD0C0B04},
};
inline feiBrokerFib6_nhp6GroupDelMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace nhp6GroupDelMsg

namespace nhp6DelMsg {
inline feiBrokerFib6_nhp6Key full_f1[] = {
    {.f0 = 0xD0C0B02},
    {.f0 = 0},
};
inline feiBrokerFib6_nhp6DelMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace nhp6DelMsg

namespace srv6SrListUpdateMsg {
inline feiBrokerFib6_srv6SrList full_f1[] = {
    {.f0 = 0xD0C0B02,
     .f1 = 0xD0C0B03,
     .f2 = 0xA04,
     .f3 = 0xA05,
     .f4 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
     .f5 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A},
     .f6 = {0x8010B0A, 0x8020B0A, 0x8030B0A, 0x8040B0A},
     .f7 = {0x9010B0A, 0x9020B0A, 0x9030B0A, 0x9040B0A},
     .f8 = {0xA010B0A, 0xA020B0A, 0xA030B0A, 0xA040B0A},
     .f9 = {0xB010B0A, 0xB020B0A, 0xB030B0A, 0xB040B0A},
     .f10 = {0xC010B0A, 0xC020B0A, 0xC030B0A, 0xC040B0A},
     .f11 = {0xD010B0A, 0xD020B0A, 0xD030B0A, 0xD040B0A},
     .f12 = {0xE010B0A, 0xE020B0A, 0xE030B0A, 0xE040B0A},
     .f13 = {0xF010B0A, 0xF020B0A, 0xF030B0A, 0xF040B0A},
     .f14 = 0x10,
     .f15 = 0xD0C0B11,
     .f16 = 0xD0C0B12},
    {.f0 = 0,
     .f1 = 0xD0C0B13,
     .f2 = 0,
     .f3 = 0xA14,
     .f4 = {0x15010B0A, 0x15020B0A, 0x15030B0A, 0x15040B0A},
     .f5 = {0x16010B0A, 0x16020B0A, 0x16030B0A, 0x16040B0A},
     .f6 = {0x17010B0A, 0x17020B0A, 0x17030B0A, 0x17040B0A},
     .f7 = {0x18010B0A, 0x18020B0A, 0x18030B0A, 0x18040B0A},
     .f8 = {0x19010B0A, 0x19020B0A, 0x19030B0A, 0x19040B0A},
     .f9 = {0x1A010B0A, 0x1A020B0A, 0x1A030B0A, 0x1A040B0A},
     .f10 = {0x1B010B0A, 0x1B020B0A, 0x1B030B0A, 0x1B040B0A},
     .f11 = {0x1C010B0A, 0x1C020B0A, 0x1C030B0A, 0x1C040B0A},
     .f12 = {0x1D010B0A, 0x1D020B0A, 0x1D030B0A, 0x1D040B0A},
     .f13 = {0x1E010B0A, 0x1E020B0A, 0x1E030B0A, 0x1E040B0A},
     .f14 = 0,
     .f15 = 0xD0C0B1F,
     .f16 = 0},
};
inline feiBrokerFib6_srv6SrListUpdateMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace srv6SrListUpdateMsg

namespace srv6SrListDelMsg {
inline feiBrokerFib6_srv6SrListKey full_f1[] = {
    {.f0 = 0xD0C0B02, .f1 = 0xD0C0B03, .f2 = 0xD0C0B04, .f3 = 0xA05},
    {.f0 = 0, .f1 = 0xD0C0B06, .f2 = 0, .f3 = 0xA07},
};
inline feiBrokerFib6_srv6SrListDelMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace srv6SrListDelMsg

namespace ipv6PathMtuUpdateMsg {
inline feiBrokerFib6_ipv6PathMtu full_f1[] = {
    {.f0 = 0xD0C0B02,
     .f1 = 0xD0C0B03,
     .f2 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
     .f3 = 0xD0C0B05,
     .f4 = 0xD0C0B06},
    {.f0 = 0,
     .f1 = 0xD0C0B07,
     .f2 = {0x8010B0A, 0x8020B0A, 0x8030B0A, 0x8040B0A},
     .f3 = 0xD0C0B09,
     .f4 = 0},
};
inline feiBrokerFib6_ipv6PathMtuUpdateMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace ipv6PathMtuUpdateMsg

namespace ipv6PathMtuDelMsg {
inline feiBrokerFib6_ipv6PathMtuKey full_f1[] = {
    {.f0 = 0xD0C0B02, .f1 = 0xD0C0B03, .f2 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A}},
    {.f0 = 0, .f1 = 0xD0C0B05, .f2 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A}},
};
inline feiBrokerFib6_ipv6PathMtuDelMsg full = {.f0 = 0xD0C0B01, .f1_count = 2, .f1 = full_f1};
} // namespace ipv6PathMtuDelMsg

namespace nhp6GroupUpdateMsg {
inline feiBrokerFib6_nhp6GroupNode full_f2[] = {
    {.f0 = 0xD0C0B07,
     .f1 = 0xD0C0B08,
     .f2 = 0xD0C0B09,
     .f3 = 0xD0C0B0A,
     .f4 = 0xD0C0B0B,
     .f5 = 0xD0C0B0C,
     .f6 = 0xD0C0B0D,
     .f7 = 0xD0C0B0E,
     .f8 = 0xD0C0B0F,
     .f9 = 0xD0C0B10},
    {.f0 = 0,
     .f1 = 0xD0C0B11,
     .f2 = 0,
     .f3 = 0xD0C0B12,
     .f4 = 0,
     .f5 = 0xD0C0B13,
     .f6 = 0,
     .f7 = 0xD0C0B14,
     .f8 = 0,
     .f9 = 0xD0C0B15},
};
inline feiBrokerFib6_nhp6GroupUpdateMsg full = {
    .f0 = 0xD0C0B01,
    .f1 = {.f0 = 0xD0C0B02, .f1 = 0xD0C0B03, .f2 = 0xD0C0B04, .f3 = 0xD0C0B05, .f4 = 0xD0C0B06},
    .f2_count = 2,
    .f2 = full_f2};
} // namespace nhp6GroupUpdateMsg

namespace nhp6UpdateMsg {
inline feiBrokerFib6_nhp6Std full_f2[] = {
    {.f0 = 0xD0C0B0C,
     .f1 = {0xD010B0A, 0xD020B0A, 0xD030B0A, 0xD040B0A},
     .f2 = 0xD0C0B0E,
     .f3 = 0xD0C0B0F,
     .f4 = 0xD0C0B10,
     .f5 = 0xD0C0B11,
     .f6 = 0xD0C0B12,
     .f7 = 0xD0C0B13,
     .f8 = 0xD0C0B14},
    {.f0 = 0,
     .f1 = {0x15010B0A, 0x15020B0A, 0x15030B0A, 0x15040B0A},
     .f2 = 0,
     .f3 = 0xD0C0B16,
     .f4 = 0,
     .f5 = 0xD0C0B17,
     .f6 = 0,
     .f7 = 0xD0C0B18,
     .f8 = 0},
};
inline feiBrokerFib6_nhp6Ext full_f3[] = {
    {.f0 = 0xD0C0B19,
     .f1 = 0xD0C0B1A,
     .f2 = 0xD0C0B1B,
     .f3 = 0xD0C0B1C,
     .f4 = 0xD0C0B1D,
     .f5 = 0xD0C0B1E,
     .f6 = 0x1F,
     .f7 = {0x20, 0xE1, 0xE2}},
};
inline feiBrokerFib6_nhp6Vpn full_f4[] = {
    {.f0 = 0xD0C0B21, .f1 = 0xD0C0B22, .f2 = 0xD0C0B23, .f3 = 0xD0C0B24, .f4 = 0xD0C0B25},
    {.f0 = 0, .f1 = 0xD0C0B26, .f2 = 0, .f3 = 0xD0C0B27, .f4 = 0},
};
inline feiBrokerFib6_nhp6Vxlan full_f5[] = {
    {.f0 = 0xD0C0B28,
     .f1 = 0xD0C0B29,
     .f2 = 0xD0C0B2A,
     .f3 = 0xD0C0B2B,
     .f4 = 0x2C,
     .f5 = {0x2D, 0xE1, 0xE2},
     .f6 = 0xA2E,
     .f7 = {0x2F, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5},
     .f8 = 0xD0C0B30,
     .f9 = 0xD0C0B31,
     .f10 = 0xD0C0B32,
     .f11 = 0x33,
     .f12 = {0x34010B0A, 0x34020B0A, 0x34030B0A, 0x34040B0A}},
    {.f0 = 0,
     .f1 = 0xD0C0B35,
     .f2 = 0,
     .f3 = 0xD0C0B36,
     .f4 = 0,
     .f5 = {0x37, 0xE1, 0xE2},
     .f6 = 0,
     .f7 = {0x38, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5},
     .f8 = 0,
     .f9 = 0xD0C0B39,
     .f10 = 0,
     .f11 = 0x3A,
     .f12 = {0x3B010B0A, 0x3B020B0A, 0x3B030B0A, 0x3B040B0A}},
};
inline feiBrokerFib6_nhp6VpnSid full_f6[] = {
    {.f0 = 0xD0C0B3C,
     .f1 = 0xD0C0B3D,
     .f2 = 0xD0C0B3E,
     .f3 = 0xD0C0B3F,
     .f4 = {0x40010B0A, 0x40020B0A, 0x40030B0A, 0x40040B0A},
     .f5 = {0x41010B0A, 0x41020B0A, 0x41030B0A, 0x41040B0A},
     .f6 = {0x42010B0A, 0x42020B0A, 0x42030B0A, 0x42040B0A},
     .f7 = 0x43,
     .f8 = 0x44,
     .f9 = 0x45,
     .f10 = 0x46,
     .f11 = 0xD0C0B47},
};
inline feiBrokerFib6_nhp6Pp6ExtSrv6Te full_f7[] = {
    {.f0 = 0xD0C0B48,
     .f1 = 0xD0C0B49,
     .f2 = 0xD0C0B4A,
     .f3 = 0xD0C0B4B,
     .f4 = {0x4C010B0A, 0x4C020B0A, 0x4C030B0A, 0x4C040B0A},
     .f5 = 0x4D,
     .f6 = 0x4E,
     .f7 = 0xD0C0B4F,
     .f8 = 0xD0C0B50},
    {.f0 = 0,
     .f1 = 0xD0C0B51,
     .f2 = 0,
     .f3 = 0xD0C0B52,
     .f4 = {0x53010B0A, 0x53020B0A, 0x53030B0A, 0x53040B0A},
     .f5 = 0x54,
     .f6 = 0,
     .f7 = 0xD0C0B55,
     .f8 = 0},
};
inline feiBrokerFib6_nhp6UpdateMsg full = {
    .f0 = 0xD0C0B01,
    .f1 = {.f0 = 0xD0C0B02,
           .f1 = 0xD0C0B03,
           .f2 = 0xD0C0B04,
           .f3 = 0xD0C0B05,
           .f4 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
           .f5 = 0xA07,
           .f6 = 0x8,
           .f7 = 0x9,
           .f8 = 0xD0C0B0A,
           .f9 = 0xD0C0B0B},
    .f2_count = 2,
    .f2 = full_f2,
    .f3_count = 1,
    .f3 = full_f3,
    .f4_count = 2,
    .f4 = full_f4,
    .f5_count = 2,
    .f5 = full_f5,
    .f6_count = 1,
    .f6 = full_f6,
    .f7_count = 2,
    .f7 = full_f7};
inline feiBrokerFib6_nhp6Pp6ExtSrv6Te only_f7_f7[] = {
    {.f0 = 0xD0C0B02,
     .f1 = 0xD0C0B03,
     .f2 = 0xD0C0B04,
     .f3 = 0xD0C0B05,
     .f4 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
     .f5 = 0x7,
     .f6 = 0x8,
     .f7 = 0xD0C0B09,
     .f8 = 0xD0C0B0A},
};
inline feiBrokerFib6_nhp6UpdateMsg only_f7 = {.f0 = 0xD0C0B01,
                                              .f1 = {.f0 = 0,
                                                     .f1 = 0,
                                                     .f2 = 0,
                                                     .f3 = 0,
                                                     .f4 = {0, 0, 0, 0},
                                                     .f5 = 0,
                                                     .f6 = 0,
                                                     .f7 = 0,
                                                     .f8 = 0,
                                                     .f9 = 0},
                                              .f2_count = 0,
                                              .f2 = nullptr,
                                              .f3_count = 0,
                                              .f3 = nullptr,
                                              .f4_count = 0,
                                              .f4 = nullptr,
                                              .f5_count = 0,
                                              .f5 = nullptr,
                                              .f6_count = 0,
                                              .f6 = nullptr,
                                              .f7_count = 1,
                                              .f7 = only_f7_f7};
} // namespace nhp6UpdateMsg

namespace pidStateMsg {
inline feiBrokerFib6_pidStateMsg full = {.f0 = 0xD0C0B01,
                                         .f1 = {.f0 = 0xD0C0B02, .f1 = 0xD0C0B03, .f2 = 0xD0C0B04}};
} // namespace pidStateMsg

namespace cfg_ipv6_ttl_expired_forward {
inline fib6_cfg_cfg_ipv6_ttl_expired_forward full = {
    .f0 = 0xD0C0B01,
    .f1 = 0xD0C0B02,
    .f2 = 0xD0C0B03,
    .f3 = 0xD0C0B04,
    .f4 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A}};
inline fib6_cfg_cfg_ipv6_ttl_expired_forward example = {
    .f0 = 1, .f1 = 0, .f2 = 0x40, .f3 = 0, .f4 = {0xB80D0120, 0, 0, 0x1000000}};
} // namespace cfg_ipv6_ttl_expired_forward

enum class layout { compact, fixed };

// One image of a message's golden file: what it holds and how it was written.
template <class M>
struct image_of {
  std::string name;
  M *record;
  layout arrangement = layout::compact;
  uint32_t byte_swap = 0;
};

// Every member zero, no elements.
template <class M>
M *zero() {
  static M record;
  return &record;
}

// Every member zero, one zero element in each vector.
template <class M>
M *zero_elements() {
  static M record;
  for_each_vector(record, []<class E>(uint32_t &count, E *&array) {
    static E element;
    count = 1;
    array = &element;
  });
  return &record;
}

template <class M>
using images_of = std::vector<image_of<M>>;

template <class M>
images_of<M> tree_images(M &full) {
  return {{"zero", zero<M>()}, {"zero_elements", zero_elements<M>()}, {"full", &full}};
}

template <class M>
images_of<M> flat_images(M &full) {
  return {{"zero", zero<M>()},
          {"full", &full},
          {"zero_fixed", zero<M>(), layout::fixed},
          {"full_fixed", &full, layout::fixed}};
}

// The images of message M, each of them an image of its golden file and the other way round.
template <class M>
images_of<M> images();

template <>
inline images_of<feiBrokerFib6_ipv6FwdUpdateMsg> images() {
  auto list = tree_images(ipv6FwdUpdateMsg::full);
  list.push_back({"full_swap_1", &ipv6FwdUpdateMsg::full, layout::compact, 1});
  list.push_back({"full_swap_2", &ipv6FwdUpdateMsg::full, layout::compact, 2});
  return list;
}

template <>
inline images_of<feiBrokerFib6_ipv6FwdDelMsg> images() {
  auto list = tree_images(ipv6FwdDelMsg::full);
  list.push_back({"full_swap_1", &ipv6FwdDelMsg::full, layout::compact, 1});
  return list;
}

template <>
inline images_of<feiBrokerFib6_nhp6GroupDelMsg> images() {
  return tree_images(nhp6GroupDelMsg::full);
}

template <>
inline images_of<feiBrokerFib6_nhp6DelMsg> images() {
  return tree_images(nhp6DelMsg::full);
}

template <>
inline images_of<feiBrokerFib6_srv6SrListUpdateMsg> images() {
  return tree_images(srv6SrListUpdateMsg::full);
}

template <>
inline images_of<feiBrokerFib6_srv6SrListDelMsg> images() {
  return tree_images(srv6SrListDelMsg::full);
}

template <>
inline images_of<feiBrokerFib6_ipv6PathMtuUpdateMsg> images() {
  return tree_images(ipv6PathMtuUpdateMsg::full);
}

template <>
inline images_of<feiBrokerFib6_ipv6PathMtuDelMsg> images() {
  return tree_images(ipv6PathMtuDelMsg::full);
}

template <>
inline images_of<feiBrokerFib6_nhp6GroupUpdateMsg> images() {
  auto list = tree_images(nhp6GroupUpdateMsg::full);
  list.push_back({"full_swap_1", &nhp6GroupUpdateMsg::full, layout::compact, 1});
  return list;
}

template <>
inline images_of<feiBrokerFib6_nhp6UpdateMsg> images() {
  auto list = tree_images(nhp6UpdateMsg::full);
  list.push_back({"only_f7", &nhp6UpdateMsg::only_f7});
  list.push_back({"full_swap_1", &nhp6UpdateMsg::full, layout::compact, 1});
  list.push_back({"only_f7_swap_2", &nhp6UpdateMsg::only_f7, layout::compact, 2});
  return list;
}

template <>
inline images_of<feiBrokerFib6_pidStateMsg> images() {
  auto list = flat_images(pidStateMsg::full);
  list.push_back({"full_fixed_swap_1", &pidStateMsg::full, layout::fixed, 1});
  list.push_back({"full_fixed_swap_2", &pidStateMsg::full, layout::fixed, 2});
  return list;
}

template <>
inline images_of<fib6_cfg_cfg_ipv6_ttl_expired_forward> images() {
  auto list = flat_images(cfg_ipv6_ttl_expired_forward::full);
  auto *example = &cfg_ipv6_ttl_expired_forward::example;
  list.push_back({"example", example});
  list.push_back({"example_swap_1", example, layout::compact, 1});
  list.push_back({"example_swap_2", example, layout::compact, 2});
  list.push_back({"example_fixed", example, layout::fixed});
  list.push_back({"example_fixed_swap_1", example, layout::fixed, 1});
  list.push_back({"example_fixed_swap_2", example, layout::fixed, 2});
  return list;
}

} // namespace golden_records
