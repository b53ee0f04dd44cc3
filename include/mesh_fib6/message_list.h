/* The message types of each module, in the order in which they are registered.
 *
 * Room: public headers. Written by the target refresh-baselines from the modules' lists: not to be
 * edited. For programs that do something for every message: X(M, module, image_size) is handed the
 * record type, its module's name, and the bytes of the fixed image in which M__send* sends it; 0
 * for a record with pointers, which travels in the compact layout. Only names: include the headers
 * of the modules, or messages.h, to use them.
 *     #define PRINT(M, module, image_size) printf("%08x %s\n", (unsigned)M##_ID, #M);
 *     MESH_FIB6_EACH_MESSAGE(PRINT)
 */
#ifndef MESH_FIB6_MESSAGE_LIST_H
#define MESH_FIB6_MESSAGE_LIST_H

#define MESH_FIB6_EACH_OF_FIB6(X)                                                                  \
  X(feiBrokerFib6_ipv6FwdUpdateMsg, fib6, 0)                                                       \
  X(feiBrokerFib6_ipv6FwdDelMsg, fib6, 0)                                                          \
  X(feiBrokerFib6_nhp6GroupUpdateMsg, fib6, 0)                                                     \
  X(feiBrokerFib6_nhp6GroupDelMsg, fib6, 0)                                                        \
  X(feiBrokerFib6_nhp6UpdateMsg, fib6, 0)                                                          \
  X(feiBrokerFib6_nhp6DelMsg, fib6, 0)                                                             \
  X(feiBrokerFib6_srv6SrListUpdateMsg, fib6, 0)                                                    \
  X(feiBrokerFib6_srv6SrListDelMsg, fib6, 0)                                                       \
  X(feiBrokerFib6_ipv6PathMtuUpdateMsg, fib6, 0)                                                   \
  X(feiBrokerFib6_ipv6PathMtuDelMsg, fib6, 0)                                                      \
  X(feiBrokerFib6_pidStateMsg, fib6, 56)                                                           \
  X(feiBrokerFib6_classItemMsg, fib6, 56)                                                          \
  X(feiBrokerFib6_vrfClassStateMsg, fib6, 72)                                                      \
  X(feiBrokerFib6_vrfClassDataMsg, fib6, 80)                                                       \
  X(feiBrokerFib6_lrClassDataMsg, fib6, 32)                                                        \
  X(feiBrokerFib6_loadBalanceMode, fib6, 48)                                                       \
  X(feiBrokerFib6_loadBalanceReverse, fib6, 32)                                                    \
  X(feiBrokerFib6_dod_enable, fib6, 32)                                                            \
  X(feiBrokerFib6_dod_rule, fib6, 64)                                                              \
  X(feiBrokerFib6_dod_aging, fib6, 48)                                                             \
  X(feiBrokerFib6_special_ip, fib6, 32)

#define MESH_FIB6_EACH_OF_FIB6_CFG(X)                                                              \
  X(fib6_cfg_query_fib6_key, fib6_cfg, 0)                                                          \
  X(fib6_cfg_query_fib6_rec, fib6_cfg, 0)                                                          \
  X(fib6_cfg_query_dfx_key, fib6_cfg, 0)                                                           \
  X(fib6_cfg_query_dfx_rec, fib6_cfg, 0)                                                           \
  X(fib6_cfg_cfg_ipv6_ttl_expired_forward, fib6_cfg, 64)                                           \
  X(fib6_cfg_query_fib6check_key, fib6_cfg, 0)                                                     \
  X(fib6_cfg_query_fib6check_rec, fib6_cfg, 0)

#define MESH_FIB6_EACH_OF_FIB6_SYNC(X)                                                             \
  X(fib6Sync_svcCtxMsg, fib6_sync, 80)                                                             \
  X(fib6Sync_ipv6FwdUpdateMsg, fib6_sync, 152)                                                     \
  X(fib6Sync_ipv6FwdDelMsg, fib6_sync, 112)                                                        \
  X(fib6Sync_nhp6GroupUpdateMsg, fib6_sync, 88)                                                    \
  X(fib6Sync_nhp6GroupDelMsg, fib6_sync, 64)                                                       \
  X(fib6Sync_nhp6GroupNodeUpdateMsg, fib6_sync, 112)                                               \
  X(fib6Sync_nhp6GroupNodeDelMsg, fib6_sync, 96)                                                   \
  X(fib6Sync_nhp6UpdateMsg, fib6_sync, 128)                                                        \
  X(fib6Sync_nhp6DelMsg, fib6_sync, 64)                                                            \
  X(fib6Sync_nhp6StdUpdateMsg, fib6_sync, 136)                                                     \
  X(fib6Sync_nhp6StdDelMsg, fib6_sync, 96)                                                         \
  X(fib6Sync_nhp6ExtUpdateMsg, fib6_sync, 96)                                                      \
  X(fib6Sync_nhp6VpnUpdateMsg, fib6_sync, 88)                                                      \
  X(fib6Sync_nhp6VxlanUpdateMsg, fib6_sync, 168)                                                   \
  X(fib6Sync_nhp6VpnSidUpdateMsg, fib6_sync, 216)                                                  \
  X(fib6Sync_nhp6ExtSrv6TeUpdateMsg, fib6_sync, 128)                                               \
  X(fib6Sync_ipv6PathMtuUpdateMsg, fib6_sync, 104)                                                 \
  X(fib6Sync_ipv6PathMtuDelMsg, fib6_sync, 96)                                                     \
  X(fib6Sync_loadBalanceMode, fib6_sync, 64)                                                       \
  X(fib6Sync_loadBalanceReverse, fib6_sync, 56)                                                    \
  X(fib6Sync_ecmpCfg, fib6_sync, 88)                                                               \
  X(fib6Sync_dod_enable, fib6_sync, 56)                                                            \
  X(fib6Sync_glbCfg, fib6_sync, 56)                                                                \
  X(fib6Sync_srv6SrListUpdateMsg, fib6_sync, 352)                                                  \
  X(fib6Sync_srv6SrListDelMsg, fib6_sync, 80)                                                      \
  X(fib6Sync_nhp6_ext_label_update_data, fib6_sync, 160)                                           \
  X(fib6Sync_dod_rule, fib6_sync, 64)                                                              \
  X(fib6Sync_dod_aging, fib6_sync, 48)                                                             \
  X(fib6Sync_special_ip, fib6_sync, 32)                                                            \
  X(fib6Sync_specialIpUpdateMsg, fib6_sync, 72)                                                    \
  X(fib6Sync_specialIpDeleteMsg, fib6_sync, 64)

#define MESH_FIB6_EACH_MESSAGE(X)                                                                  \
  MESH_FIB6_EACH_OF_FIB6(X)                                                                        \
  MESH_FIB6_EACH_OF_FIB6_CFG(X)                                                                    \
  MESH_FIB6_EACH_OF_FIB6_SYNC(X)

#endif
