// Stamps out the seven exported functions of a message type.
//
// Room: transport. Used by a module's source, for each message of its list, where `this_module` is
// the module's namespace.
#pragma once

#include "transport/message.h"
#include "transport/pins.h"
#include "transport/send.h"
#include "wire/codec.h"

// Defines what MESH_FIB6_MESSAGE(M) declares, for the units and the namespace of this_module, and
// compares what the list states. Contracts: mesh_fib6/message_api.h.
#define MESH_FIB6_EXPORT(M, form, size)                                                            \
  template <>                                                                                      \
  struct mesh_fib6::transport::exported<M> {                                                       \
    static constexpr auto message = describe<M>(this_module::send_unit, M##_ID);                   \
    static_assert(message_id<M>(this_module::wire_namespace) == M##_ID,                            \
                  #M " has another identifier than is stated");                                    \
    static_assert(size_of_zeros<M>() == size, #M " takes another size than is stated");            \
    static_assert(tables_take_what_is_stated<M>());                                                \
  };                                                                                               \
  uint32_t M##__pack(const M *record, uint8_t *buffer, uint32_t *length) {                         \
    return mesh_fib6::wire::pack(this_module::send_unit, record, buffer, length);                  \
  }                                                                                                \
  uint32_t M##__unpack(const uint8_t *buffer, uint32_t length, M *record) {                        \
    return mesh_fib6::wire::unpack<mesh_fib6::wire::root_form::form>(this_module::recv_unit,       \
                                                                     buffer, length, record);      \
  }                                                                                                \
  void M##_free__unpacked(M *record) {                                                             \
    mesh_fib6::wire::release(this_module::recv_unit, record);                                      \
  }                                                                                                \
  uint32_t M##__sendsingle(uint32_t destination, const M *record, uint32_t, uint64_t target) {     \
    using namespace mesh_fib6::transport;                                                          \
    return send_single<M, exported<M>::message>(destination, record, target);                      \
  }                                                                                                \
  uint32_t M##__sendbatch(uint32_t destination, const M *records, uint32_t count,                  \
                          uint64_t target) {                                                       \
    using namespace mesh_fib6::transport;                                                          \
    return send_batch(destination, records, count, target, exported<M>::message);                  \
  }                                                                                                \
  uint32_t M##__sendmsg(uint32_t destination, const M *records, uint32_t count) {                  \
    using namespace mesh_fib6::transport;                                                          \
    return send_counted<M, exported<M>::message>(destination, records, count, 0);                  \
  }                                                                                                \
  uint32_t M##__sendtomsg(uint32_t destination, const M *records, uint32_t count,                  \
                          uint64_t target) {                                                       \
    using namespace mesh_fib6::transport;                                                          \
    return send_counted<M, exported<M>::message>(destination, records, count, target);             \
  }
