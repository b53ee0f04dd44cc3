// Stamps out the seven exported functions of a message type.
//
// Room: transport. Used by a module's source, once per message.
#pragma once

#include "transport/message.h"
#include "transport/send.h"
#include "wire/compact_writer.h"
#include "wire/decoder.h"

// Defines what MESH_FIB6_MESSAGE(M) declares, for the units and the namespace of mesh_fib6::module.
// Contracts: mesh_fib6/message_api.h.
#define MESH_FIB6_EXPORT(module, M, form)                                                          \
  template <>                                                                                      \
  struct mesh_fib6::transport::exported<M> {                                                       \
    static constexpr uint32_t id = message_id<M>(module::wire_namespace);                          \
    static constexpr auto unpack = &M##__unpack;                                                   \
    static constexpr auto release = &M##_free__unpacked;                                           \
    static constexpr auto message = describe<M>(module::send_unit, id);                            \
  };                                                                                               \
  uint32_t M##__pack(const M *record, uint8_t *buffer, uint32_t *length) {                         \
    return mesh_fib6::wire::pack(mesh_fib6::module::send_unit, record, buffer, length);            \
  }                                                                                                \
  uint32_t M##__unpack(const uint8_t *buffer, uint32_t length, M *record) {                        \
    return mesh_fib6::wire::unpack<mesh_fib6::wire::root_form::form>(mesh_fib6::module::recv_unit, \
                                                                     buffer, length, record);      \
  }                                                                                                \
  void M##_free__unpacked(M *record) {                                                             \
    mesh_fib6::wire::release(mesh_fib6::module::recv_unit, record);                                \
  }                                                                                                \
  uint32_t M##__sendsingle(uint32_t destination, const M *record, uint32_t, uint64_t target) {     \
    using namespace mesh_fib6::transport;                                                          \
    return send_single<M, exported<M>::message>(destination, record, target);                      \
  }                                                                                                \
  uint32_t M##__sendbatch(uint32_t destination, const M *records, uint32_t count,                  \
                          uint64_t target) {                                                       \
    using namespace mesh_fib6::transport;                                                          \
    return send_batch(exported<M>::message, destination, records, count, target);                  \
  }                                                                                                \
  uint32_t M##__sendmsg(uint32_t destination, const M *records, uint32_t count) {                  \
    using namespace mesh_fib6::transport;                                                          \
    return send_counted<M, exported<M>::message>(destination, records, count, 0);                  \
  }                                                                                                \
  uint32_t M##__sendtomsg(uint32_t destination, const M *records, uint32_t count,                  \
                          uint64_t target) {                                                       \
    using namespace mesh_fib6::transport;                                                          \
    return send_counted<M, exported<M>::message>(destination, records, count, target);             \
  }                                                                                                \
  static_assert(true)
