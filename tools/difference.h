// What tells two messages of one type apart: other values, or the same in another layout.
//
// Room: tools. Knows descriptors and anatomies.
#pragma once

#include "tools/anatomy.h"

#include <string>
#include <vector>

namespace mesh_fib6::tools {

// "f1[0].f4: 32 and 33", at most so many, then one that counts the rest. Nothing when the records
// are the same; counts have to match pointers.
std::vector<std::string> value_differences(const table_descriptor &table, const void *one,
                                           const void *other, size_t most);

// "f1[0].f3 count: at 79 and 83", in the order of the first: what lies elsewhere, has another size
// or is there in one of them only.
std::vector<std::string> layout_differences(const anatomy &one, const anatomy &other, size_t most);

} // namespace mesh_fib6::tools
