// What is stamped out of a module's list of messages for whoever has a message's type: the one
// trait of its exported functions for the library, tools, tests, attacks and benchmarks.
//
// Room: transport. May include wire/; knows no particular message. A list is a macro of a module's
// schema.h that hands each of its messages to another macro: the record, its root form, and
// the size of a message of zeros as it is sent. The identifier stands in the module's public
// header.
#pragma once

#include "wire/format/schema.h"

namespace mesh_fib6 {

// The exported functions of a message type, its name and its identifier.
template <class Record>
struct operations;

// The types of a list, which begins with void because each message brings a comma along.
template <class Nothing, class... Records>
struct listed {
  using types = wire::type_list<Records...>;
};

} // namespace mesh_fib6

#define MESH_FIB6_LISTED(M, form, size) , M

#define MESH_FIB6_OPERATIONS(M, form, size)                                                        \
  template <>                                                                                      \
  struct mesh_fib6::operations<M> {                                                                \
    static constexpr char name[] = #M;                                                             \
    static constexpr uint32_t id = M##_ID;                                                         \
    static constexpr auto pack = &M##__pack;                                                       \
    static constexpr auto unpack = &M##__unpack;                                                   \
    static constexpr auto release = &M##_free__unpacked;                                           \
    static constexpr auto sendsingle = &M##__sendsingle;                                           \
    static constexpr auto sendbatch = &M##__sendbatch;                                             \
    static constexpr auto sendmsg = &M##__sendmsg;                                                 \
    static constexpr auto sendtomsg = &M##__sendtomsg;                                             \
  };
