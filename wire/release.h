// Gives back what decoding allocated inside a record.
//
// Room: wire. Only pointers are touched; counts and scalars stay as they are.
#pragma once

#include "runtime/unit.h"
#include "wire/names.h"

namespace mesh_fib6::wire {

template <class Record>
void release_members(runtime::unit &unit, Record &record) {
  for_each_field<Record>([&]<class Field>(Field) {
    if constexpr (Field::is_vector) {
      auto *&block = Field::pointer(record);
      if (block == nullptr)
        return;
      unit.runtime.cache_free(block, runtime::cache_module_id, names<Record>::free_unpacked.text);
      block = nullptr;
    } else if constexpr (Field::of == kind::table) {
      release_members(unit, Field::value(record)); // nothing, for a flat one
    }
  });
}

// See M_free__unpacked in modules/message_api.h for the contract.
template <class Record>
void release(runtime::unit &unit, Record *record) {
  if constexpr (is_tree<Record>()) {
    if (record == nullptr)
      return;
    runtime::bind_cache(unit);
    release_members(unit, *record);
  }
}

} // namespace mesh_fib6::wire
