// Comparing records; see mismatch.h.
//
// Room: reference.
#include "tests/reference/mismatch.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace reference {
namespace {

// How many elements of the member there are: of an empty vector none.
uint32_t elements(const field_descriptor &field, const void *record) {
  return field.is_vector() ? field.count(record) : field.length;
}

} // namespace

mismatch::mismatch(const table_descriptor &table, const void *expected, const void *actual)
    : is_there_(in_table(table, expected, actual, 0)) {
  if (!is_there_)
    text_[0] = 0;
}

// Writes behind the first `end` characters and returns where that ends.
uint32_t mismatch::add(uint32_t end, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text_ + end, sizeof text_ - end, format, arguments);
  va_end(arguments);
  const uint32_t wanted = end + static_cast<uint32_t>(length);
  return wanted < sizeof text_ ? wanted : static_cast<uint32_t>(sizeof text_) - 1;
}

bool mismatch::differ(uint32_t end, uint32_t expected, uint32_t actual) {
  if (expected == actual)
    return false;
  add(end, ": expected 0x%X, got 0x%X", expected, actual);
  return true;
}

bool mismatch::in_table(const table_descriptor &table, const void *expected, const void *actual,
                        uint32_t end) {
  for (const field_descriptor &field : table.fields)
    if (in_field(field, expected, actual, end))
      return true;
  return false;
}

bool mismatch::in_field(const field_descriptor &field, const void *expected, const void *actual,
                        uint32_t end) {
  const uint32_t count = elements(field, expected);
  if (count != elements(field, actual))
    return differ(add(end, "%s_count", field.name), count, elements(field, actual));
  if (count == 0)
    return false;
  for (const void *record : {expected, actual})
    if (field.is_vector() && field.pointer(record) == nullptr) {
      add(end, "%s: %u elements, but no pointer", field.name, count);
      return true;
    }
  // The usual answer without a look at each number.
  if (field.table == nullptr && memcmp(field.element(expected, 0), field.element(actual, 0),
                                       size_t{count} * field.width) == 0)
    return false;
  for (uint32_t i = 0; i < count; i++)
    if (in_element(field, expected, actual, i, end))
      return true;
  return false;
}

bool mismatch::in_element(const field_descriptor &field, const void *expected, const void *actual,
                          uint32_t i, uint32_t end) {
  const bool indexed = field.is_vector() || field.is_fixed_array();
  const uint32_t here = indexed ? add(end, "%s[%u]", field.name, i) : add(end, "%s", field.name);
  if (field.table == nullptr)
    return differ(here, field.number(expected, i), field.number(actual, i));
  return in_table(*field.table, field.element(expected, i), field.element(actual, i),
                  add(here, "."));
}

} // namespace reference
