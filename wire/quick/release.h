// Gives back what decoding allocated inside a record.
//
// Room: wire/quick. Only pointers are touched; counts and scalars stay as they are.
#pragma once

#include "wire/format/names.h"
#include "wire/format/schema.h"

#include "runtime/unit.h"

namespace mesh_fib6::wire {

// The unit is bound.
template <class Record>
[[gnu::always_inline]] inline void release_blocks(runtime::unit &unit, Record &record) {
  for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
    if constexpr (Field::is_vector) {
      auto *&block = Field::pointer(record);
      if (block == nullptr)
        return;
      unit.runtime.cache_free(block, runtime::cache_module_id, names<Record>::free_unpacked.text);
      block = nullptr;
    } else if constexpr (Field::of == kind::table) {
      release_blocks(unit, Field::value(record)); // nothing, for a flat one
    }
  });
}

} // namespace mesh_fib6::wire
