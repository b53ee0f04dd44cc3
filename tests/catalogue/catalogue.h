// All message types as their peers know them, written by hand: names, identifiers, sizes, order of
// registration, the form in which the root is decoded, and the names under which sub-tables report.
// Tests that hold for every message walk this table instead of being compiled for each.
//
// Room: tests. Nothing here comes from the schema but the name of a type's functions, so that a
// schema that says something else is caught.
#pragma once

#include "modules/fib6/schema.h"
#include "modules/fib6_cfg/schema.h"
#include "modules/fib6_sync/schema.h"
#include "platform/mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace catalogue {

enum class shape {
  tree, // the record holds pointers: sent in the compact layout
  flat, // sent as a fixed image
};

// header_first: a bad header leaves the record untouched and is reported under <message>_unpack.
// table_form: it leaves the record zeroed and is reported under <message>_unpack_non_root.
enum class root_form { header_first, table_form };

// How a root slot refers to its sub-tables.
enum class held { embedded, in_vector };

struct sub_table {
  const char *name; // of the record type; reports under <name>_unpack_non_root
  uint32_t slot;    // of the root
  catalogue::held held;
};

// A record type and its exported operations with untyped records; the same machine calls.
struct record_type {
  const char *name;   // of the record type, and the beginning of every exported name
  const char *hashed; // what the identifier is a hash of
  size_t type_size;

  uint32_t (*pack)(const void *record, uint8_t *buffer, uint32_t *length);
  mesh_unpack_hook unpack;
  mesh_free_hook release;
  uint32_t (*sendsingle)(uint32_t destination, const void *record, uint32_t ignored,
                         uint64_t target);
  uint32_t (*sendbatch)(uint32_t destination, const void *records, uint32_t count, uint64_t target);
  uint32_t (*sendmsg)(uint32_t destination, const void *records, uint32_t count);
  uint32_t (*sendtomsg)(uint32_t destination, const void *records, uint32_t count, uint64_t target);
};

template <class M>
record_type of(const char *hashed) {
  using op = mesh_fib6::operations<M>;
  return {op::name,
          hashed,
          sizeof(M),
          reinterpret_cast<decltype(record_type::pack)>(op::pack),
          reinterpret_cast<decltype(record_type::unpack)>(op::unpack),
          reinterpret_cast<decltype(record_type::release)>(op::release),
          reinterpret_cast<decltype(record_type::sendsingle)>(op::sendsingle),
          reinterpret_cast<decltype(record_type::sendbatch)>(op::sendbatch),
          reinterpret_cast<decltype(record_type::sendmsg)>(op::sendmsg),
          reinterpret_cast<decltype(record_type::sendtomsg)>(op::sendtomsg)};
}

struct message : record_type {
  uint32_t id;
  uint32_t record_size;
  catalogue::shape shape;
  uint32_t wire_size; // flat: the fixed image; tree: a record of zeros in the compact layout
  root_form form;
  std::array<sub_table, 7> sub_table_slots; // unused ones have no name

  bool is_tree() const { return shape == shape::tree; }

  std::span<const sub_table> sub_tables() const {
    const auto end = std::find_if(sub_table_slots.begin(), sub_table_slots.end(),
                                  [](const sub_table &table) { return table.name == nullptr; });
    return {sub_table_slots.begin(), end};
  }

  // The name that a bad root header is reported under.
  std::string header_name() const {
    return std::string(name) + (form == root_form::table_form ? "_unpack_non_root" : "_unpack");
  }
};

struct module_row {
  const char *name;
  uint32_t (*recv_init)();
  uint32_t (*send_init)();
  void (*clean)();
  std::span<const message> messages; // in the order of registration
};

// clang-format off
// One row a message, to be read as a table: record type and what its identifier is a hash of; then
// identifier, record size, shape, wire size, root form; then the sub-tables.

namespace rows {

using enum shape;
using enum root_form;
using enum held;

inline const message fib6[] = {
  {of<feiBrokerFib6_ipv6FwdUpdateMsg>("feiBrokerFib6.ipv6FwdUpdateMsg"),
    0x5026A923, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_ipv6Fwd", 1, in_vector}}}},
  {of<feiBrokerFib6_ipv6FwdDelMsg>("feiBrokerFib6.ipv6FwdDelMsg"),
    0x0B394879, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_ipv6FwdKey", 1, in_vector}}}},
  {of<feiBrokerFib6_nhp6GroupUpdateMsg>("feiBrokerFib6.nhp6GroupUpdateMsg"),
    0x12BA2120, 40, tree, 40, header_first,
    {{{"feiBrokerFib6_nhp6Group", 1, embedded},
      {"feiBrokerFib6_nhp6GroupNode", 2, in_vector}}}},
  {of<feiBrokerFib6_nhp6GroupDelMsg>("feiBrokerFib6.nhp6GroupDelMsg"),
    0xE0BBBCA0, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_nhp6GroupKey", 1, in_vector}}}},
  {of<feiBrokerFib6_nhp6UpdateMsg>("feiBrokerFib6.nhp6UpdateMsg"),
    0x5FFC4D23, 144, tree, 84, table_form,
    {{{"feiBrokerFib6_nhp6", 1, embedded},
      {"feiBrokerFib6_nhp6Std", 2, in_vector},
      {"feiBrokerFib6_nhp6Ext", 3, in_vector},
      {"feiBrokerFib6_nhp6Vpn", 4, in_vector},
      {"feiBrokerFib6_nhp6Vxlan", 5, in_vector},
      {"feiBrokerFib6_nhp6VpnSid", 6, in_vector},
      {"feiBrokerFib6_nhp6Pp6ExtSrv6Te", 7, in_vector}}}},
  {of<feiBrokerFib6_nhp6DelMsg>("feiBrokerFib6.nhp6DelMsg"),
    0xEE8FB479, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_nhp6Key", 1, in_vector}}}},
  {of<feiBrokerFib6_srv6SrListUpdateMsg>("feiBrokerFib6.srv6SrListUpdateMsg"),
    0x44FD956B, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_srv6SrList", 1, in_vector}}}},
  {of<feiBrokerFib6_srv6SrListDelMsg>("feiBrokerFib6.srv6SrListDelMsg"),
    0x03FB3FE1, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_srv6SrListKey", 1, in_vector}}}},
  {of<feiBrokerFib6_ipv6PathMtuUpdateMsg>("feiBrokerFib6.ipv6PathMtuUpdateMsg"),
    0x08C4DDE3, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_ipv6PathMtu", 1, in_vector}}}},
  {of<feiBrokerFib6_ipv6PathMtuDelMsg>("feiBrokerFib6.ipv6PathMtuDelMsg"),
    0x6718B739, 16, tree, 16, header_first,
    {{{"feiBrokerFib6_ipv6PathMtuKey", 1, in_vector}}}},
  {of<feiBrokerFib6_pidStateMsg>("feiBrokerFib6.pidStateMsg"),
    0x2DAF16C2, 16, flat, 56, header_first,
    {{{"feiBrokerFib6_pidState", 1, embedded}}}},
  {of<feiBrokerFib6_classItemMsg>("feiBrokerFib6.classItemMsg"),
    0x9D4AD197, 16, flat, 56, header_first,
    {{{"feiBrokerFib6_classItem", 1, embedded}}}},
  {of<feiBrokerFib6_vrfClassStateMsg>("feiBrokerFib6.vrfClassStateMsg"),
    0x4E636B47, 28, flat, 72, header_first,
    {{{"feiBrokerFib6_vrfClassState", 1, embedded}}}},
  {of<feiBrokerFib6_vrfClassDataMsg>("feiBrokerFib6.vrfClassDataMsg"),
    0x2646ACE6, 32, flat, 80, header_first,
    {{{"feiBrokerFib6_vrfClassData", 1, embedded}}}},
  {of<feiBrokerFib6_lrClassDataMsg>("feiBrokerFib6.lrClassDataMsg"),
    0x36A0ECDC, 12, flat, 32, header_first, {}},
  {of<feiBrokerFib6_loadBalanceMode>("feiBrokerFib6.loadBalanceMode"),
    0x0D2C457A, 16, flat, 48, table_form, {}},
  {of<feiBrokerFib6_loadBalanceReverse>("feiBrokerFib6.loadBalanceReverse"),
    0x2555943D, 12, flat, 32, header_first, {}},
  {of<feiBrokerFib6_dod_enable>("feiBrokerFib6.dod_enable"),
    0x877476E0, 12, flat, 32, header_first, {}},
  {of<feiBrokerFib6_dod_rule>("feiBrokerFib6.dod_rule"),
    0x7EA01FE9, 32, flat, 64, header_first, {}},
  {of<feiBrokerFib6_dod_aging>("feiBrokerFib6.dod_aging"),
    0x89D66519, 24, flat, 48, table_form, {}},
  {of<feiBrokerFib6_special_ip>("feiBrokerFib6.special_ip"),
    0xD001F332, 12, flat, 32, header_first, {}},
};

inline const message fib6_cfg[] = {
  {of<fib6_cfg_query_fib6_key>("fib6_cfg.query_fib6_key"),
    0x727C4D11, 64, tree, 88, header_first,
    {{{"fib6_cfg_query_comm_param", 0, embedded},
      {"fib6_cfg_query_fib6_cond", 1, embedded}}}},
  {of<fib6_cfg_query_fib6_rec>("fib6_cfg.query_fib6_rec"),
    0x8B27C60C, 40, tree, 36, header_first,
    {{{"fib6_cfg_query_comm_rec", 0, embedded},
      {"fib6_cfg_query_fib6_item", 1, in_vector}}}},
  {of<fib6_cfg_query_dfx_key>("fib6_cfg.query_dfx_key"),
    0x244EBB6A, 40, tree, 54, header_first,
    {{{"fib6_cfg_query_comm_param", 0, embedded},
      {"fib6_cfg_query_dfx_cond", 1, embedded}}}},
  {of<fib6_cfg_query_dfx_rec>("fib6_cfg.query_dfx_rec"),
    0x3ACCEBF3, 40, tree, 36, header_first,
    {{{"fib6_cfg_query_comm_rec", 0, embedded},
      {"fib6_cfg_query_dfx_item", 1, in_vector}}}},
  {of<fib6_cfg_cfg_ipv6_ttl_expired_forward>("fib6_cfg.cfg_ipv6_ttl_expired_forward"),
    0x863B570C, 32, flat, 64, header_first, {}},
  {of<fib6_cfg_query_fib6check_key>("fib6_cfg.query_fib6check_key"),
    0x6C0280B3, 48, tree, 76, header_first,
    {{{"fib6_cfg_query_comm_param", 0, embedded},
      {"fib6_cfg_query_fib6check_cond", 1, embedded}}}},
  {of<fib6_cfg_query_fib6check_rec>("fib6_cfg.query_fib6check_rec"),
    0xDD6EF182, 288, tree, 318, header_first,
    {{{"fib6_cfg_query_comm_rec", 0, embedded},
      {"fib6_cfg_query_fib6check_item", 1, embedded}}}},
};

inline const message fib6_sync[] = {
  {of<fib6Sync_svcCtxMsg>("fib6Sync.svcCtxMsg"),
    0x43B81539, 40, flat, 80, header_first,
    {{{"fib6Sync_tlv", 0, embedded}}}},
  {of<fib6Sync_ipv6FwdUpdateMsg>("fib6Sync.ipv6FwdUpdateMsg"),
    0x48CDB5CB, 68, flat, 152, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_ipv6Fwd", 1, embedded}}}},
  {of<fib6Sync_ipv6FwdDelMsg>("fib6Sync.ipv6FwdDelMsg"),
    0x20B86741, 36, flat, 112, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_ipv6FwdKey", 1, embedded}}}},
  {of<fib6Sync_nhp6GroupUpdateMsg>("fib6Sync.nhp6GroupUpdateMsg"),
    0x27313708, 28, flat, 88, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6Group", 1, embedded}}}},
  {of<fib6Sync_nhp6GroupDelMsg>("fib6Sync.nhp6GroupDelMsg"),
    0xA67F1088, 16, flat, 64, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6GroupKey", 1, embedded}}}},
  {of<fib6Sync_nhp6GroupNodeUpdateMsg>("fib6Sync.nhp6GroupNodeUpdateMsg"),
    0x89EA08AC, 48, flat, 112, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6GroupNode", 1, embedded}}}},
  {of<fib6Sync_nhp6GroupNodeDelMsg>("fib6Sync.nhp6GroupNodeDelMsg"),
    0x368222CC, 36, flat, 96, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6GroupNodeKey", 1, embedded}}}},
  {of<fib6Sync_nhp6UpdateMsg>("fib6Sync.nhp6UpdateMsg"),
    0x44477C2B, 52, flat, 128, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6", 1, embedded}}}},
  {of<fib6Sync_nhp6DelMsg>("fib6Sync.nhp6DelMsg"),
    0x05D162A1, 12, flat, 64, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6Key", 1, embedded}}}},
  {of<fib6Sync_nhp6StdUpdateMsg>("fib6Sync.nhp6StdUpdateMsg"),
    0xD2D6370A, 60, flat, 136, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6Std", 1, embedded}}}},
  {of<fib6Sync_nhp6StdDelMsg>("fib6Sync.nhp6StdDelMsg"),
    0x20959026, 32, flat, 96, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6StdKey", 1, embedded}}}},
  {of<fib6Sync_nhp6ExtUpdateMsg>("fib6Sync.nhp6ExtUpdateMsg"),
    0xA1DBFFBC, 36, flat, 96, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6Ext", 1, embedded}}}},
  {of<fib6Sync_nhp6VpnUpdateMsg>("fib6Sync.nhp6VpnUpdateMsg"),
    0xAA706A55, 28, flat, 88, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6Vpn", 1, embedded}}}},
  {of<fib6Sync_nhp6VxlanUpdateMsg>("fib6Sync.nhp6VxlanUpdateMsg"),
    0x1D511A2A, 72, flat, 168, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6Vxlan", 1, embedded}}}},
  {of<fib6Sync_nhp6VpnSidUpdateMsg>("fib6Sync.nhp6VpnSidUpdateMsg"),
    0xB2CFE153, 112, flat, 216, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6VpnSid", 1, embedded}}}},
  {of<fib6Sync_nhp6ExtSrv6TeUpdateMsg>("fib6Sync.nhp6ExtSrv6TeUpdateMsg"),
    0x1F17926E, 52, flat, 128, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6ExtSrv6Te", 1, embedded}}}},
  {of<fib6Sync_ipv6PathMtuUpdateMsg>("fib6Sync.ipv6PathMtuUpdateMsg"),
    0xB893ECAB, 40, flat, 104, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_ipv6PathMtu", 1, embedded}}}},
  {of<fib6Sync_ipv6PathMtuDelMsg>("fib6Sync.ipv6PathMtuDelMsg"),
    0xCD5FE421, 32, flat, 96, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_ipv6PathMtuKey", 1, embedded}}}},
  {of<fib6Sync_loadBalanceMode>("fib6Sync.loadBalanceMode"),
    0xE0A34E72, 12, flat, 64, header_first,
    {{{"fib6Sync_balanceModeData", 2, embedded}}}},
  {of<fib6Sync_loadBalanceReverse>("fib6Sync.loadBalanceReverse"),
    0x29F980E5, 8, flat, 56, header_first,
    {{{"fib6Sync_balanceReverseData", 2, embedded}}}},
  {of<fib6Sync_ecmpCfg>("fib6Sync.ecmpCfg"),
    0xB9FA4070, 16, flat, 88, header_first,
    {{{"fib6Sync_balanceModeData", 2, embedded},
      {"fib6Sync_balanceReverseData", 3, embedded}}}},
  {of<fib6Sync_dod_enable>("fib6Sync.dod_enable"),
    0x0055A568, 12, flat, 56, header_first,
    {{{"fib6Sync_dod_enable_data", 2, embedded}}}},
  {of<fib6Sync_glbCfg>("fib6Sync.glbCfg"),
    0xB86E5320, 12, flat, 56, header_first,
    {{{"fib6Sync_dod_enable_data", 2, embedded}}}},
  {of<fib6Sync_srv6SrListUpdateMsg>("fib6Sync.srv6SrListUpdateMsg"),
    0xE63E88D3, 192, flat, 352, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_srv6SrList", 1, embedded}}}},
  {of<fib6Sync_srv6SrListDelMsg>("fib6Sync.srv6SrListDelMsg"),
    0x1045D0A9, 24, flat, 80, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_srv6SrListKey", 1, embedded}}}},
  {of<fib6Sync_nhp6_ext_label_update_data>("fib6Sync.nhp6_ext_label_update_data"),
    0x2EE805D3, 76, flat, 160, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_nhp6_ext_label", 1, embedded}}}},
  {of<fib6Sync_dod_rule>("fib6Sync.dod_rule"),
    0x0863B261, 32, flat, 64, header_first, {}},
  {of<fib6Sync_dod_aging>("fib6Sync.dod_aging"),
    0x17073BB1, 24, flat, 48, table_form, {}},
  {of<fib6Sync_special_ip>("fib6Sync.special_ip"),
    0x48FCFCFA, 12, flat, 32, header_first, {}},
  {of<fib6Sync_specialIpUpdateMsg>("fib6Sync.specialIpUpdateMsg"),
    0xA81DEDDB, 16, flat, 72, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_specialIpData", 1, embedded}}}},
  {of<fib6Sync_specialIpDeleteMsg>("fib6Sync.specialIpDeleteMsg"),
    0x6DE1A2B5, 12, flat, 64, table_form,
    {{{"fib6Sync_tlv", 0, embedded},
      {"fib6Sync_specialIpKey", 1, embedded}}}},
};

} // namespace rows

inline const module_row modules[] = {
  {"fib6", fib6_recv_init, fib6_send_init, fib6__send_resource_clean, rows::fib6},
  {"fib6_cfg", fib6_cfg_recv_init, fib6_cfg_send_init, fib6_cfg__send_resource_clean,
   rows::fib6_cfg},
  {"fib6_sync", fib6_sync_recv_init, fib6_sync_send_init, fib6_sync__send_resource_clean,
   rows::fib6_sync},
};

// clang-format on

// Calls visit(message, module) for each of them; a failure says for which.
template <class Visit>
void for_each_message(Visit visit) {
  for (const module_row &module : modules)
    for (const message &message : module.messages) {
      SCOPED_TRACE(message.name);
      visit(message, module);
    }
}

// The row of a record type; null when there is none.
inline const message *find_row(std::string_view name) {
  for (const module_row &module : modules)
    for (const message &message : module.messages)
      if (message.name == name)
        return &message;
  return nullptr;
}

// What is thrown where a row is missing. Made without a C++ string: its code would be compiled
// here, under the memory sanitizer, which libstdc++'s own is not.
inline std::out_of_range no_row(std::string_view name) {
  char text[160];
  snprintf(text, sizeof text, "tests/catalogue/catalogue.h has no row for %.*s",
           static_cast<int>(name.size()), name.data());
  return std::out_of_range(text);
}

// Likewise; throws when there is none.
inline const message &row_of(std::string_view name) {
  const message *const found = find_row(name);
  if (found == nullptr)
    throw no_row(name);
  return *found;
}

} // namespace catalogue
