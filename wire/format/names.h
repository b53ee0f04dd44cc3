// The names under which operations report and allocate: a record's name and a suffix, joined at
// compile time.
//
// Room: wire/format.
#pragma once

#include "wire/format/schema.h"

namespace mesh_fib6::wire {

template <size_t Size>
struct joined_text {
  char text[Size];
};

template <size_t First, size_t Second>
consteval joined_text<First + Second - 1> join(const char (&first)[First],
                                               const char (&second)[Second]) {
  joined_text<First + Second - 1> result{};
  for (size_t i = 0; i < First - 1; i++)
    result.text[i] = first[i];
  for (size_t i = 0; i < Second; i++)
    result.text[First - 1 + i] = second[i];
  return result;
}

template <class Record>
struct names {
  static constexpr auto pack = join(schema<Record>::name, "_pack");
  static constexpr auto unpack = join(schema<Record>::name, "_unpack");
  static constexpr auto unpack_non_root = join(schema<Record>::name, "_unpack_non_root");
  static constexpr auto free_unpacked = join(schema<Record>::name, "_free_unpacked");
  static constexpr auto sendsingle = join(schema<Record>::name, "__sendsingle");
  static constexpr auto sendbatch = join(schema<Record>::name, "__sendbatch");
};

} // namespace mesh_fib6::wire
