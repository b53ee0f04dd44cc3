// The messages of module fib6_sync: their operations, the records behind their images in
// tests/golden, and which image is whose.
//
// Room: tests. Objects of static storage only, as in golden_records.h, whose pattern the values
// follow.
#pragma once

#include "modules/fib6_sync/units.h"
#include "tests/wire/golden_records.h"
#include <mesh_fib6/fib6_sync.h>

MESH_FIB6_TEST_OPERATIONS(fib6Sync_svcCtxMsg, fib6_sync, 0x43B81539, 2, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_ipv6FwdUpdateMsg, fib6_sync, 0x48CDB5CB, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_ipv6FwdDelMsg, fib6_sync, 0x20B86741, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6GroupUpdateMsg, fib6_sync, 0x27313708, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6GroupDelMsg, fib6_sync, 0xA67F1088, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6GroupNodeUpdateMsg, fib6_sync, 0x89EA08AC, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6GroupNodeDelMsg, fib6_sync, 0x368222CC, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6UpdateMsg, fib6_sync, 0x44477C2B, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6DelMsg, fib6_sync, 0x05D162A1, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6StdUpdateMsg, fib6_sync, 0xD2D6370A, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6StdDelMsg, fib6_sync, 0x20959026, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6ExtUpdateMsg, fib6_sync, 0xA1DBFFBC, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6VpnUpdateMsg, fib6_sync, 0xAA706A55, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6VxlanUpdateMsg, fib6_sync, 0x1D511A2A, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6VpnSidUpdateMsg, fib6_sync, 0xB2CFE153, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6ExtSrv6TeUpdateMsg, fib6_sync, 0x1F17926E, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_ipv6PathMtuUpdateMsg, fib6_sync, 0xB893ECAB, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_ipv6PathMtuDelMsg, fib6_sync, 0xCD5FE421, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_loadBalanceMode, fib6_sync, 0xE0A34E72, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_loadBalanceReverse, fib6_sync, 0x29F980E5, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_ecmpCfg, fib6_sync, 0xB9FA4070, 4, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_dod_enable, fib6_sync, 0x0055A568, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_glbCfg, fib6_sync, 0xB86E5320, 3, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_srv6SrListUpdateMsg, fib6_sync, 0xE63E88D3, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_srv6SrListDelMsg, fib6_sync, 0x1045D0A9, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_nhp6_ext_label_update_data, fib6_sync, 0x2EE805D3, 2,
                          table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_dod_rule, fib6_sync, 0x0863B261, 5, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_dod_aging, fib6_sync, 0x17073BB1, 6, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_special_ip, fib6_sync, 0x48FCFCFA, 4, header_first);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_specialIpUpdateMsg, fib6_sync, 0xA81DEDDB, 2, table_form);
MESH_FIB6_TEST_OPERATIONS(fib6Sync_specialIpDeleteMsg, fib6_sync, 0x6DE1A2B5, 2, table_form);

using sync_messages = testing::Types<
    fib6Sync_svcCtxMsg, fib6Sync_ipv6FwdUpdateMsg, fib6Sync_ipv6FwdDelMsg,
    fib6Sync_nhp6GroupUpdateMsg, fib6Sync_nhp6GroupDelMsg, fib6Sync_nhp6GroupNodeUpdateMsg,
    fib6Sync_nhp6GroupNodeDelMsg, fib6Sync_nhp6UpdateMsg, fib6Sync_nhp6DelMsg,
    fib6Sync_nhp6StdUpdateMsg, fib6Sync_nhp6StdDelMsg, fib6Sync_nhp6ExtUpdateMsg,
    fib6Sync_nhp6VpnUpdateMsg, fib6Sync_nhp6VxlanUpdateMsg, fib6Sync_nhp6VpnSidUpdateMsg,
    fib6Sync_nhp6ExtSrv6TeUpdateMsg, fib6Sync_ipv6PathMtuUpdateMsg, fib6Sync_ipv6PathMtuDelMsg,
    fib6Sync_loadBalanceMode, fib6Sync_loadBalanceReverse, fib6Sync_ecmpCfg, fib6Sync_dod_enable,
    fib6Sync_glbCfg, fib6Sync_srv6SrListUpdateMsg, fib6Sync_srv6SrListDelMsg,
    fib6Sync_nhp6_ext_label_update_data, fib6Sync_dod_rule, fib6Sync_dod_aging, fib6Sync_special_ip,
    fib6Sync_specialIpUpdateMsg, fib6Sync_specialIpDeleteMsg>;

namespace golden_records {

// Other modules have messages of these names.
namespace sync {

namespace svcCtxMsg {
inline fib6Sync_svcCtxMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {0x3010B0A, 0x3020B0A, 0x3030B0A, 0x3040B0A, 0x3050B0A, 0x3060B0A, 0x3070B0A, 0x3080B0A}};
inline fib6Sync_svcCtxMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {0x2010B0A, 0x2020B0A, 0x2030B0A, 0x2040B0A, 0x2050B0A, 0x2060B0A, 0x2070B0A, 0x2080B0A}};
} // namespace svcCtxMsg

namespace ipv6FwdUpdateMsg {
inline fib6Sync_ipv6FwdUpdateMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                         .f1 = {.f0 = 0xD0C0B03,
                                                .f1 = 0xD0C0B04,
                                                .f2 = 0xD0C0B05,
                                                .f3 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
                                                .f4 = 0x7,
                                                .f5 = 0x8,
                                                .f6 = 0xA09,
                                                .f7 = 0xD0C0B0A,
                                                .f8 = 0xD0C0B0B,
                                                .f9 = 0xD0C0B0C,
                                                .f10 = 0xD0C0B0D,
                                                .f11 = 0xA0E,
                                                .f12 = 0xA0F,
                                                .f13 = 0xD0C0B10,
                                                .f14 = 0x11}};
inline fib6Sync_ipv6FwdUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = 0,
           .f3 = {0x3010B0A, 0x3020B0A, 0x3030B0A, 0x3040B0A},
           .f4 = 0,
           .f5 = 0x4,
           .f6 = 0,
           .f7 = 0xD0C0B05,
           .f8 = 0,
           .f9 = 0xD0C0B06,
           .f10 = 0,
           .f11 = 0xA07,
           .f12 = 0,
           .f13 = 0xD0C0B08,
           .f14 = 0}};
} // namespace ipv6FwdUpdateMsg

namespace ipv6FwdDelMsg {
inline fib6Sync_ipv6FwdDelMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                      .f1 = {.f0 = 0xD0C0B03,
                                             .f1 = 0xD0C0B04,
                                             .f2 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
                                             .f3 = 0x6,
                                             .f4 = {0x7, 0xE1, 0xE2}}};
inline fib6Sync_ipv6FwdDelMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01},
                                        .f1 = {.f0 = 0,
                                               .f1 = 0xD0C0B02,
                                               .f2 = {0x3010B0A, 0x3020B0A, 0x3030B0A, 0x3040B0A},
                                               .f3 = 0x4,
                                               .f4 = {0x5, 0xE1, 0xE2}}};
} // namespace ipv6FwdDelMsg

namespace nhp6GroupUpdateMsg {
inline fib6Sync_nhp6GroupUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03, .f1 = 0xD0C0B04, .f2 = 0xD0C0B05, .f3 = 0xD0C0B06, .f4 = 0xD0C0B07}};
inline fib6Sync_nhp6GroupUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B02, .f2 = 0, .f3 = 0xD0C0B03, .f4 = 0}};
} // namespace nhp6GroupUpdateMsg

namespace nhp6GroupDelMsg {
inline fib6Sync_nhp6GroupDelMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                        .f1 = {.f0 = 0xD0C0B03, .f1 = 0xD0C0B04}};
inline fib6Sync_nhp6GroupDelMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01},
                                          .f1 = {.f0 = 0, .f1 = 0xD0C0B02}};
} // namespace nhp6GroupDelMsg

namespace nhp6GroupNodeUpdateMsg {
inline fib6Sync_nhp6GroupNodeUpdateMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                               .f1 = {.f0 = 0xD0C0B03,
                                                      .f1 = 0xD0C0B04,
                                                      .f2 = 0xD0C0B05,
                                                      .f3 = 0xD0C0B06,
                                                      .f4 = 0xD0C0B07,
                                                      .f5 = 0xD0C0B08,
                                                      .f6 = 0xD0C0B09,
                                                      .f7 = 0xD0C0B0A,
                                                      .f8 = 0xD0C0B0B,
                                                      .f9 = 0xD0C0B0C}};
inline fib6Sync_nhp6GroupNodeUpdateMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01},
                                                 .f1 = {.f0 = 0,
                                                        .f1 = 0xD0C0B02,
                                                        .f2 = 0,
                                                        .f3 = 0xD0C0B03,
                                                        .f4 = 0,
                                                        .f5 = 0xD0C0B04,
                                                        .f6 = 0,
                                                        .f7 = 0xD0C0B05,
                                                        .f8 = 0,
                                                        .f9 = 0xD0C0B06}};
} // namespace nhp6GroupNodeUpdateMsg

namespace nhp6GroupNodeDelMsg {
inline fib6Sync_nhp6GroupNodeDelMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                            .f1 = {.f0 = 0xD0C0B03,
                                                   .f1 = 0xD0C0B04,
                                                   .f2 = 0xD0C0B05,
                                                   .f3 = 0xD0C0B06,
                                                   .f4 = 0xD0C0B07,
                                                   .f5 = 0xD0C0B08,
                                                   .f6 = 0xD0C0B09}};
inline fib6Sync_nhp6GroupNodeDelMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B02, .f2 = 0, .f3 = 0xD0C0B03, .f4 = 0, .f5 = 0xD0C0B04, .f6 = 0}};
} // namespace nhp6GroupNodeDelMsg

namespace nhp6UpdateMsg {
inline fib6Sync_nhp6UpdateMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                      .f1 = {.f0 = 0xD0C0B03,
                                             .f1 = 0xD0C0B04,
                                             .f2 = 0xD0C0B05,
                                             .f3 = 0xD0C0B06,
                                             .f4 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A},
                                             .f5 = 0xA08,
                                             .f6 = 0x9,
                                             .f7 = 0xA,
                                             .f8 = 0xD0C0B0B,
                                             .f9 = 0xD0C0B0C}};
inline fib6Sync_nhp6UpdateMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01},
                                        .f1 = {.f0 = 0,
                                               .f1 = 0xD0C0B02,
                                               .f2 = 0,
                                               .f3 = 0xD0C0B03,
                                               .f4 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
                                               .f5 = 0xA05,
                                               .f6 = 0,
                                               .f7 = 0x6,
                                               .f8 = 0,
                                               .f9 = 0xD0C0B07}};
} // namespace nhp6UpdateMsg

namespace nhp6DelMsg {
inline fib6Sync_nhp6DelMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                   .f1 = {.f0 = 0xD0C0B03}};
inline fib6Sync_nhp6DelMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01}, .f1 = {.f0 = 0}};
} // namespace nhp6DelMsg

namespace nhp6StdUpdateMsg {
inline fib6Sync_nhp6StdUpdateMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                         .f1 = {.f0 = 0xD0C0B03,
                                                .f1 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
                                                .f2 = 0xD0C0B05,
                                                .f3 = 0xD0C0B06,
                                                .f4 = 0xD0C0B07,
                                                .f5 = 0xD0C0B08,
                                                .f6 = 0xD0C0B09,
                                                .f7 = 0xD0C0B0A,
                                                .f8 = 0xD0C0B0B,
                                                .f9 = 0xD0C0B0C}};
inline fib6Sync_nhp6StdUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = {0x2010B0A, 0x2020B0A, 0x2030B0A, 0x2040B0A},
           .f2 = 0,
           .f3 = 0xD0C0B03,
           .f4 = 0,
           .f5 = 0xD0C0B04,
           .f6 = 0,
           .f7 = 0xD0C0B05,
           .f8 = 0,
           .f9 = 0xD0C0B06}};
} // namespace nhp6StdUpdateMsg

namespace nhp6StdDelMsg {
inline fib6Sync_nhp6StdDelMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03, .f1 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A}, .f2 = 0xD0C0B05}};
inline fib6Sync_nhp6StdDelMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0, .f1 = {0x2010B0A, 0x2020B0A, 0x2030B0A, 0x2040B0A}, .f2 = 0}};
} // namespace nhp6StdDelMsg

namespace nhp6ExtUpdateMsg {
inline fib6Sync_nhp6ExtUpdateMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                         .f1 = {.f0 = 0xD0C0B03,
                                                .f1 = 0xD0C0B04,
                                                .f2 = 0xD0C0B05,
                                                .f3 = 0xD0C0B06,
                                                .f4 = 0xD0C0B07,
                                                .f5 = 0x8,
                                                .f6 = 0xD0C0B09}};
inline fib6Sync_nhp6ExtUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B02, .f2 = 0, .f3 = 0xD0C0B03, .f4 = 0, .f5 = 0x4, .f6 = 0}};
} // namespace nhp6ExtUpdateMsg

namespace nhp6VpnUpdateMsg {
inline fib6Sync_nhp6VpnUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03, .f1 = 0xD0C0B04, .f2 = 0xD0C0B05, .f3 = 0xD0C0B06, .f4 = 0xD0C0B07}};
inline fib6Sync_nhp6VpnUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B02, .f2 = 0, .f3 = 0xD0C0B03, .f4 = 0}};
} // namespace nhp6VpnUpdateMsg

namespace nhp6VxlanUpdateMsg {
inline fib6Sync_nhp6VxlanUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03,
           .f1 = 0xD0C0B04,
           .f2 = 0xD0C0B05,
           .f3 = 0xD0C0B06,
           .f4 = 0xD0C0B07,
           .f5 = 0xD0C0B08,
           .f6 = 0xD0C0B09,
           .f7 = 0xA0A,
           .f8 = {0xB, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5},
           .f9 = 0xC,
           .f10 = {0xD, 0xE1, 0xE2},
           .f11 = 0xD0C0B0E,
           .f12 = 0xF,
           .f13 = {0x10010B0A, 0x10020B0A, 0x10030B0A, 0x10040B0A}}};
inline fib6Sync_nhp6VxlanUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = 0,
           .f3 = 0xD0C0B03,
           .f4 = 0,
           .f5 = 0xD0C0B04,
           .f6 = 0,
           .f7 = 0xA05,
           .f8 = {0x6, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5},
           .f9 = 0x7,
           .f10 = {0x8, 0xE1, 0xE2},
           .f11 = 0xD0C0B09,
           .f12 = 0,
           .f13 = {0xA010B0A, 0xA020B0A, 0xA030B0A, 0xA040B0A}}};
} // namespace nhp6VxlanUpdateMsg

namespace nhp6VpnSidUpdateMsg {
inline fib6Sync_nhp6VpnSidUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03,
           .f1 = 0xD0C0B04,
           .f2 = 0xD0C0B05,
           .f3 = 0xD0C0B06,
           .f4 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A},
           .f5 = {0x8010B0A, 0x8020B0A, 0x8030B0A, 0x8040B0A},
           .f6 = {0x9010B0A, 0x9020B0A, 0x9030B0A, 0x9040B0A},
           .f7 = 0xA,
           .f8 = 0xB,
           .f9 = 0xC,
           .f10 = 0xD,
           .f11 = 0xD0C0B0E,
           .f12 = {0xF010B0A, 0xF020B0A, 0xF030B0A, 0xF040B0A, 0xF050B0A, 0xF060B0A, 0xF070B0A,
                   0xF080B0A}}};
inline fib6Sync_nhp6VpnSidUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = 0,
           .f3 = 0xD0C0B03,
           .f4 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
           .f5 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
           .f6 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
           .f7 = 0x7,
           .f8 = 0,
           .f9 = 0x8,
           .f10 = 0,
           .f11 = 0xD0C0B09,
           .f12 = {0xA010B0A, 0xA020B0A, 0xA030B0A, 0xA040B0A, 0xA050B0A, 0xA060B0A, 0xA070B0A,
                   0xA080B0A}}};
} // namespace nhp6VpnSidUpdateMsg

namespace nhp6ExtSrv6TeUpdateMsg {
inline fib6Sync_nhp6ExtSrv6TeUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03,
           .f1 = 0xD0C0B04,
           .f2 = 0xD0C0B05,
           .f3 = 0xD0C0B06,
           .f4 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A},
           .f5 = 0x8,
           .f6 = 0x9,
           .f7 = 0xD0C0B0A,
           .f8 = 0xD0C0B0B}};
inline fib6Sync_nhp6ExtSrv6TeUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = 0,
           .f3 = 0xD0C0B03,
           .f4 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
           .f5 = 0x5,
           .f6 = 0,
           .f7 = 0xD0C0B06,
           .f8 = 0}};
} // namespace nhp6ExtSrv6TeUpdateMsg

namespace ipv6PathMtuUpdateMsg {
inline fib6Sync_ipv6PathMtuUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03,
           .f1 = 0xD0C0B04,
           .f2 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
           .f3 = 0xD0C0B06,
           .f4 = 0xD0C0B07}};
inline fib6Sync_ipv6PathMtuUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = {0x3010B0A, 0x3020B0A, 0x3030B0A, 0x3040B0A},
           .f3 = 0xD0C0B04,
           .f4 = 0}};
} // namespace ipv6PathMtuUpdateMsg

namespace ipv6PathMtuDelMsg {
inline fib6Sync_ipv6PathMtuDelMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03, .f1 = 0xD0C0B04, .f2 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A}}};
inline fib6Sync_ipv6PathMtuDelMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0, .f1 = 0xD0C0B02, .f2 = {0x3010B0A, 0x3020B0A, 0x3030B0A, 0x3040B0A}}};
} // namespace ipv6PathMtuDelMsg

namespace loadBalanceMode {
inline fib6Sync_loadBalanceMode full = {
    .f0 = 0xD0C0B01, .f1 = 0xA02, .f2 = {.f0 = 0x3, .f1 = 0x4, .f2 = 0x5, .f3 = 0x6, .f4 = 0x7}};
inline fib6Sync_loadBalanceMode sparse = {
    .f0 = 0, .f1 = 0xA01, .f2 = {.f0 = 0, .f1 = 0x2, .f2 = 0, .f3 = 0x3, .f4 = 0}};
} // namespace loadBalanceMode

namespace loadBalanceReverse {
inline fib6Sync_loadBalanceReverse full = {.f0 = 0xD0C0B01, .f1 = 0xA02, .f2 = {.f0 = 0x3}};
inline fib6Sync_loadBalanceReverse sparse = {.f0 = 0, .f1 = 0xA01, .f2 = {.f0 = 0}};
} // namespace loadBalanceReverse

namespace ecmpCfg {
inline fib6Sync_ecmpCfg full = {.f0 = 0xA01,
                                .f1 = 0xD0C0B02,
                                .f2 = {.f0 = 0x3, .f1 = 0x4, .f2 = 0x5, .f3 = 0x6, .f4 = 0x7},
                                .f3 = {.f0 = 0x8}};
inline fib6Sync_ecmpCfg sparse = {.f0 = 0,
                                  .f1 = 0xD0C0B01,
                                  .f2 = {.f0 = 0, .f1 = 0x2, .f2 = 0, .f3 = 0x3, .f4 = 0},
                                  .f3 = {.f0 = 0}};
} // namespace ecmpCfg

namespace dod_enable {
inline fib6Sync_dod_enable full = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = {.f0 = 0xD0C0B03}};
inline fib6Sync_dod_enable sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = {.f0 = 0}};
} // namespace dod_enable

namespace glbCfg {
inline fib6Sync_glbCfg full = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02, .f2 = {.f0 = 0xD0C0B03}};
inline fib6Sync_glbCfg sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = {.f0 = 0}};
} // namespace glbCfg

namespace srv6SrListUpdateMsg {
inline fib6Sync_srv6SrListUpdateMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03,
           .f1 = 0xD0C0B04,
           .f2 = 0xD0C0B05,
           .f3 = 0xA06,
           .f4 = 0x7,
           .f5 = 0xA08,
           .f6 = {0x9010B0A, 0x9020B0A, 0x9030B0A, 0x9040B0A},
           .f7 = {0xA010B0A, 0xA020B0A, 0xA030B0A, 0xA040B0A},
           .f8 = {0xB010B0A, 0xB020B0A, 0xB030B0A, 0xB040B0A},
           .f9 = {0xC010B0A, 0xC020B0A, 0xC030B0A, 0xC040B0A},
           .f10 = {0xD010B0A, 0xD020B0A, 0xD030B0A, 0xD040B0A},
           .f11 = {0xE010B0A, 0xE020B0A, 0xE030B0A, 0xE040B0A},
           .f12 = {0xF010B0A, 0xF020B0A, 0xF030B0A, 0xF040B0A},
           .f13 = {0x10010B0A, 0x10020B0A, 0x10030B0A, 0x10040B0A},
           .f14 = {0x11010B0A, 0x11020B0A, 0x11030B0A, 0x11040B0A},
           .f15 = {0x12010B0A, 0x12020B0A, 0x12030B0A, 0x12040B0A},
           .f16 = 0xD0C0B13}};
inline fib6Sync_srv6SrListUpdateMsg sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = 0,
           .f3 = 0xA03,
           .f4 = 0,
           .f5 = 0xA04,
           .f6 = {0x5010B0A, 0x5020B0A, 0x5030B0A, 0x5040B0A},
           .f7 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
           .f8 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A},
           .f9 = {0x8010B0A, 0x8020B0A, 0x8030B0A, 0x8040B0A},
           .f10 = {0x9010B0A, 0x9020B0A, 0x9030B0A, 0x9040B0A},
           .f11 = {0xA010B0A, 0xA020B0A, 0xA030B0A, 0xA040B0A},
           .f12 = {0xB010B0A, 0xB020B0A, 0xB030B0A, 0xB040B0A},
           .f13 = {0xC010B0A, 0xC020B0A, 0xC030B0A, 0xC040B0A},
           .f14 = {0xD010B0A, 0xD020B0A, 0xD030B0A, 0xD040B0A},
           .f15 = {0xE010B0A, 0xE020B0A, 0xE030B0A, 0xE040B0A},
           .f16 = 0}};
} // namespace srv6SrListUpdateMsg

namespace srv6SrListDelMsg {
inline fib6Sync_srv6SrListDelMsg full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03, .f1 = 0xD0C0B04, .f2 = 0xD0C0B05, .f3 = 0xA06}};
inline fib6Sync_srv6SrListDelMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01},
                                           .f1 = {.f0 = 0, .f1 = 0xD0C0B02, .f2 = 0, .f3 = 0xA03}};
} // namespace srv6SrListDelMsg

namespace nhp6_ext_label_update_data {
inline fib6Sync_nhp6_ext_label_update_data full = {
    .f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
    .f1 = {.f0 = 0xD0C0B03,
           .f1 = 0xD0C0B04,
           .f2 = 0xD0C0B05,
           .f3 = 0xD0C0B06,
           .f4 = 0xD0C0B07,
           .f5 = 0xD0C0B08,
           .f6 = 0xD0C0B09,
           .f7 = 0xD0C0B0A,
           .f8 = 0xD0C0B0B,
           .f9 = {0xC010B0A, 0xC020B0A, 0xC030B0A, 0xC040B0A},
           .f10 = {0xD010B0A, 0xD020B0A, 0xD030B0A, 0xD040B0A}}};
inline fib6Sync_nhp6_ext_label_update_data sparse = {
    .f0 = {.f0 = 0, .f1 = 0xD0C0B01},
    .f1 = {.f0 = 0,
           .f1 = 0xD0C0B02,
           .f2 = 0,
           .f3 = 0xD0C0B03,
           .f4 = 0,
           .f5 = 0xD0C0B04,
           .f6 = 0,
           .f7 = 0xD0C0B05,
           .f8 = 0,
           .f9 = {0x6010B0A, 0x6020B0A, 0x6030B0A, 0x6040B0A},
           .f10 = {0x7010B0A, 0x7020B0A, 0x7030B0A, 0x7040B0A}}};
} // namespace nhp6_ext_label_update_data

namespace dod_rule {
inline fib6Sync_dod_rule full = {.f0 = 0xA01,
                                 .f1 = 0xD0C0B02,
                                 .f2 = 0xD0C0B03,
                                 .f3 = {0x4010B0A, 0x4020B0A, 0x4030B0A, 0x4040B0A},
                                 .f4 = 0x5};
inline fib6Sync_dod_rule sparse = {
    .f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = {0x2010B0A, 0x2020B0A, 0x2030B0A, 0x2040B0A}, .f4 = 0};
} // namespace dod_rule

namespace dod_aging {
inline fib6Sync_dod_aging full = {.f0 = 0xA01,
                                  .f1 = 0xD0C0B02,
                                  .f2 = 0xD0C0B03,
                                  .f3 = 0xD0C0B04,
                                  .f4 = 0xD0C0B05,
                                  .f5 = 0xD0C0B06};
inline fib6Sync_dod_aging sparse = {
    .f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0xD0C0B02, .f4 = 0, .f5 = 0xD0C0B03};
} // namespace dod_aging

namespace special_ip {
inline fib6Sync_special_ip full = {.f0 = 0xA01, .f1 = 0xD0C0B02, .f2 = 0x3, .f3 = 0x4};
inline fib6Sync_special_ip sparse = {.f0 = 0, .f1 = 0xD0C0B01, .f2 = 0, .f3 = 0x2};
} // namespace special_ip

namespace specialIpUpdateMsg {
inline fib6Sync_specialIpUpdateMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                           .f1 = {.f0 = 0xD0C0B03, .f1 = 0x4, .f2 = 0x5}};
inline fib6Sync_specialIpUpdateMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01},
                                             .f1 = {.f0 = 0, .f1 = 0x2, .f2 = 0}};
} // namespace specialIpUpdateMsg

namespace specialIpDeleteMsg {
inline fib6Sync_specialIpDeleteMsg full = {.f0 = {.f0 = 0xD0C0B01, .f1 = 0xD0C0B02},
                                           .f1 = {.f0 = 0xD0C0B03}};
inline fib6Sync_specialIpDeleteMsg sparse = {.f0 = {.f0 = 0, .f1 = 0xD0C0B01}, .f1 = {.f0 = 0}};
} // namespace specialIpDeleteMsg

template <class M>
images_of<M> sparse_images(M &full, M &sparse) {
  auto list = flat_images(full);
  list.push_back({"sparse", &sparse});
  return list;
}

template <class M>
images_of<M> swapped_images(M &full, M &sparse) {
  auto list = sparse_images(full, sparse);
  list.push_back({"full_swap_1", &full, layout::compact, 1});
  list.push_back({"full_fixed_swap_1", &full, layout::fixed, 1});
  list.push_back({"full_fixed_swap_2", &full, layout::fixed, 2});
  return list;
}

} // namespace sync

template <>
inline images_of<fib6Sync_svcCtxMsg> images() {
  return sync::swapped_images(sync::svcCtxMsg::full, sync::svcCtxMsg::sparse);
}

template <>
inline images_of<fib6Sync_ipv6FwdUpdateMsg> images() {
  return sync::swapped_images(sync::ipv6FwdUpdateMsg::full, sync::ipv6FwdUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_ipv6FwdDelMsg> images() {
  return sync::sparse_images(sync::ipv6FwdDelMsg::full, sync::ipv6FwdDelMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6GroupUpdateMsg> images() {
  return sync::sparse_images(sync::nhp6GroupUpdateMsg::full, sync::nhp6GroupUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6GroupDelMsg> images() {
  return sync::sparse_images(sync::nhp6GroupDelMsg::full, sync::nhp6GroupDelMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6GroupNodeUpdateMsg> images() {
  return sync::sparse_images(sync::nhp6GroupNodeUpdateMsg::full,
                             sync::nhp6GroupNodeUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6GroupNodeDelMsg> images() {
  return sync::sparse_images(sync::nhp6GroupNodeDelMsg::full, sync::nhp6GroupNodeDelMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6UpdateMsg> images() {
  return sync::sparse_images(sync::nhp6UpdateMsg::full, sync::nhp6UpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6DelMsg> images() {
  return sync::sparse_images(sync::nhp6DelMsg::full, sync::nhp6DelMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6StdUpdateMsg> images() {
  return sync::sparse_images(sync::nhp6StdUpdateMsg::full, sync::nhp6StdUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6StdDelMsg> images() {
  return sync::sparse_images(sync::nhp6StdDelMsg::full, sync::nhp6StdDelMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6ExtUpdateMsg> images() {
  return sync::sparse_images(sync::nhp6ExtUpdateMsg::full, sync::nhp6ExtUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6VpnUpdateMsg> images() {
  return sync::sparse_images(sync::nhp6VpnUpdateMsg::full, sync::nhp6VpnUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6VxlanUpdateMsg> images() {
  return sync::swapped_images(sync::nhp6VxlanUpdateMsg::full, sync::nhp6VxlanUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6VpnSidUpdateMsg> images() {
  return sync::swapped_images(sync::nhp6VpnSidUpdateMsg::full, sync::nhp6VpnSidUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6ExtSrv6TeUpdateMsg> images() {
  return sync::sparse_images(sync::nhp6ExtSrv6TeUpdateMsg::full,
                             sync::nhp6ExtSrv6TeUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_ipv6PathMtuUpdateMsg> images() {
  return sync::sparse_images(sync::ipv6PathMtuUpdateMsg::full, sync::ipv6PathMtuUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_ipv6PathMtuDelMsg> images() {
  return sync::sparse_images(sync::ipv6PathMtuDelMsg::full, sync::ipv6PathMtuDelMsg::sparse);
}

template <>
inline images_of<fib6Sync_loadBalanceMode> images() {
  return sync::sparse_images(sync::loadBalanceMode::full, sync::loadBalanceMode::sparse);
}

template <>
inline images_of<fib6Sync_loadBalanceReverse> images() {
  return sync::sparse_images(sync::loadBalanceReverse::full, sync::loadBalanceReverse::sparse);
}

template <>
inline images_of<fib6Sync_ecmpCfg> images() {
  return sync::swapped_images(sync::ecmpCfg::full, sync::ecmpCfg::sparse);
}

template <>
inline images_of<fib6Sync_dod_enable> images() {
  return sync::sparse_images(sync::dod_enable::full, sync::dod_enable::sparse);
}

template <>
inline images_of<fib6Sync_glbCfg> images() {
  return sync::sparse_images(sync::glbCfg::full, sync::glbCfg::sparse);
}

template <>
inline images_of<fib6Sync_srv6SrListUpdateMsg> images() {
  return sync::sparse_images(sync::srv6SrListUpdateMsg::full, sync::srv6SrListUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_srv6SrListDelMsg> images() {
  return sync::sparse_images(sync::srv6SrListDelMsg::full, sync::srv6SrListDelMsg::sparse);
}

template <>
inline images_of<fib6Sync_nhp6_ext_label_update_data> images() {
  return sync::swapped_images(sync::nhp6_ext_label_update_data::full,
                              sync::nhp6_ext_label_update_data::sparse);
}

template <>
inline images_of<fib6Sync_dod_rule> images() {
  return sync::swapped_images(sync::dod_rule::full, sync::dod_rule::sparse);
}

template <>
inline images_of<fib6Sync_dod_aging> images() {
  return sync::sparse_images(sync::dod_aging::full, sync::dod_aging::sparse);
}

template <>
inline images_of<fib6Sync_special_ip> images() {
  return sync::sparse_images(sync::special_ip::full, sync::special_ip::sparse);
}

template <>
inline images_of<fib6Sync_specialIpUpdateMsg> images() {
  return sync::sparse_images(sync::specialIpUpdateMsg::full, sync::specialIpUpdateMsg::sparse);
}

template <>
inline images_of<fib6Sync_specialIpDeleteMsg> images() {
  return sync::sparse_images(sync::specialIpDeleteMsg::full, sync::specialIpDeleteMsg::sparse);
}

} // namespace golden_records
