// Tells the mesh how the messages of a module are decoded and released.
//
// Room: transport. May include wire/ and runtime/; knows no particular message. Called explicitly
// by the hosting process, never at load; binds no unit.
#pragma once

#include "platform/mesh.h"
#include "transport/operations.h"
#include "wire/format/schema.h"

namespace mesh_fib6::transport {

// The mesh's hooks take untyped pointers where the exports take records: the same machine call, and
// the cast goes through a neutral function type to say so.
template <class Hook, class Function>
Hook as_hook(Function *function) {
  return reinterpret_cast<Hook>(reinterpret_cast<void (*)()>(function));
}

// Offers the messages in the order of the list; the first refusal ends it and is returned.
template <class... Records>
uint32_t register_messages(wire::type_list<Records...>) {
  uint32_t result = 0;
  const bool all =
      (((result = MESH_RegIDLFuncHook(
             operations<Records>::id, as_hook<mesh_unpack_hook>(operations<Records>::unpack),
             as_hook<mesh_free_hook>(operations<Records>::release))) == 0) &&
       ...);
  static_cast<void>(all);
  return result;
}

} // namespace mesh_fib6::transport
