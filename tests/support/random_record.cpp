// Random records; see random_record.h.
//
// Room: tests.
#include "tests/support/random_record.h"

#include "tests/reference/mismatch.h"

namespace random_record {
namespace {

using mesh_fib6::tools::kind;

// Numbers at the edges of their width turn up as often as any others.
uint32_t some_number(generator &random, uint32_t width) {
  const uint32_t largest = UINT32_MAX >> (32 - 8 * width);
  switch (below(random, 4)) {
  case 0:
    return 1 + below(random, 3);
  case 1:
    return largest - below(random, 3);
  case 2:
    return (largest >> 1) + below(random, 3); // around the sign bit
  default:
    return 1 + below(random, largest);
  }
}

class filler {
public:
  filler(owned_record &owner, generator &random, const density &density)
      : owner_(owner), random_(random), density_(density) {}

  void fill(const table_descriptor &table, void *record) {
    for (const field_descriptor &field : table.fields)
      fill(field, record);
  }

private:
  void fill(const field_descriptor &field, void *record) {
    if (field.kind == kind::table)
      return fill(*field.table, field.member(record));
    if (chance(random_, density_.zero_percent))
      return leave_empty(field, record);
    if (field.is_vector())
      return fill_vector(field, record);
    for (uint32_t i = 0; i < field.length; i++)
      field.set_number(record, some_number(random_, field.width), i);
  }

  void leave_empty(const field_descriptor &field, void *record) {
    if (field.is_vector() && density_.pointers_to_empty && chance(random_, 50))
      field.set_vector(record, owner_.add_block(1), 0);
  }

  void fill_vector(const field_descriptor &field, void *record) {
    const bool tables = field.kind == kind::table_vector;
    const uint32_t count =
        below(random_, 1 + (tables ? density_.max_elements : density_.max_bytes));
    if (count == 0)
      return leave_empty(field, record);
    field.set_vector(record, owner_.add_block(size_t{count} * field.width), count);
    for (uint32_t i = 0; i < count; i++)
      if (tables)
        fill(*field.table, field.element(record, i));
      else
        field.set_number(record, below(random_, 256), i);
  }

  owned_record &owner_;
  generator &random_;
  const density &density_;
};

} // namespace

uint32_t below(generator &random, uint32_t bound) {
  return static_cast<uint32_t>(random() % bound);
}

bool chance(generator &random, uint32_t percent) {
  return below(random, 100) < percent;
}

owned_record::owned_record(const table_descriptor &table) {
  add_block(table.record_size);
}

void *owned_record::add_block(size_t size) {
  return blocks_.emplace_back(size).data();
}

owned_record make(const table_descriptor &table, generator &random, const density &density) {
  owned_record record(table);
  filler(record, random, density).fill(table, record.get());
  return record;
}

bool is_zero(const table_descriptor &table, const void *record) {
  const owned_record zero(table);
  return difference(table, zero.get(), record).empty();
}

std::string difference(const table_descriptor &table, const void *expected, const void *actual) {
  return reference::mismatch(table, expected, actual).text();
}

} // namespace random_record
