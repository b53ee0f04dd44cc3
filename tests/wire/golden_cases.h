// What the cases over golden files share: a case a message, records packed and compared by their
// descriptors.
//
// Room: tests.
#pragma once

#include "tests/support/decode_run.h"
#include "tests/support/fake_mesh.h"
#include "tests/wire/golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace golden {

// A copy of a record in which it and each of its arrays touches an inaccessible page.
class guarded_record {
public:
  guarded_record(const table_descriptor &table, const void *record, edge touched = edge::behind)
      : touched_(touched) {
    copies_.emplace_back(record, table.record_size, touched);
    copy_arrays(table, copies_.front().data());
  }
  void *get() { return copies_.front().data(); }

private:
  void copy_arrays(const table_descriptor &table, void *record) {
    for (const auto &field : table.fields) {
      if (field.is_vector() && field.pointer(record) != nullptr) {
        const uint32_t count = field.count(record);
        copies_.emplace_back(field.pointer(record), size_t{count} * field.width, touched_);
        field.set_vector(record, copies_.back().data(), count);
      }
      if (field.table != nullptr)
        for (uint32_t i = 0; i < (field.is_vector() ? field.count(record) : 1); ++i)
          copy_arrays(*field.table, field.element(record, i));
    }
  }

  edge touched_;
  std::list<guarded_buffer> copies_;
};

// Encodes into exactly `capacity` bytes that touch an inaccessible page, as the record does, and
// stand between canaries as far as they are not written. Returns the written part.
inline bytes packed(const message_descriptor &message, const void *original, uint32_t capacity,
                    edge touched) {
  constexpr uint8_t canary = 0xC7;
  guarded_record record(*message.table, original, touched);
  guarded_buffer buffer(bytes(capacity, canary), touched);
  uint32_t length = capacity;
  EXPECT_EQ(message.pack(record.get(), buffer.data(), &length), 0U);
  bytes written = buffer.bytes();
  EXPECT_LE(length, capacity);
  length = std::min(length, capacity);
  EXPECT_TRUE(std::all_of(written.begin() + length, written.end(), [](uint8_t byte) {
    return byte == canary;
  })) << "written beyond the encoded size";
  written.resize(length);
  return written;
}

// Likewise at both edges.
inline bytes packed(const message_descriptor &message, const void *record, uint32_t capacity) {
  bytes written = packed(message, record, capacity, edge::before);
  EXPECT_EQ(packed(message, record, capacity, edge::behind), written);
  return written;
}

// A decode of a message that the descriptors know.
class decoding : public decode_run {
public:
  decoding(const message_descriptor &message, const bytes &wire, const conditions &given = {})
      : decode_run({message.record_size, message.unpack, message.free_unpacked},
                   units_of(message.name).recv, wire, given) {}
};

// Calls visit(field, owner, record, is_root) for each vector of a record in member order, also of
// embedded records; visit may change the record.
using vector_visit = std::function<void(const mesh_fib6::tools::field_descriptor &field,
                                        const table_descriptor &owner, void *record, bool is_root)>;
inline void for_each_vector(const table_descriptor &table, void *record, const vector_visit &visit,
                            bool is_root = true) {
  for (const auto &field : table.fields)
    if (field.is_vector())
      visit(field, table, record, is_root);
    else if (field.table != nullptr)
      for_each_vector(*field.table, field.member(record), visit, false);
}

// A record's bytes with null pointers, and those of its arrays in member order.
inline std::vector<bytes> contents(const table_descriptor &table, const void *record) {
  bytes root(static_cast<const uint8_t *>(record),
             static_cast<const uint8_t *>(record) + table.record_size);
  std::vector<bytes> arrays;
  for_each_vector(table, root.data(), [&arrays](const auto &field, const auto &, void *in, bool) {
    const auto *const array = static_cast<const uint8_t *>(field.pointer(in));
    const uint32_t count = field.count(in);
    EXPECT_EQ(count == 0, array == nullptr) << field.name;
    arrays.emplace_back(array, array + (array == nullptr ? 0 : size_t{count} * field.width));
    field.set_vector(in, nullptr, count);
  });
  arrays.insert(arrays.begin(), root);
  return arrays;
}

// Both records byte for byte, padding included; pointers by what they lead to.
inline void expect_same_record(const table_descriptor &table, const void *expected,
                               const void *actual) {
  EXPECT_EQ(random_record::difference(table, expected, actual), "");
  EXPECT_EQ(contents(table, expected), contents(table, actual));
}

// A case with a message; named after it.
class EachMessage : public testing::TestWithParam<const message_descriptor *> {
protected:
  EachMessage() { bind_units(units_of(message().name)); }

  static const message_descriptor &message() { return *GetParam(); }
  static const golden::file &file() { return of(message()); }
  static mesh_fib6::runtime::unit &send_unit() { return units_of(message().name).send; }
};

inline std::string name_of(const testing::TestParamInfo<const message_descriptor *> &info) {
  return info.param->name;
}

// The messages that a condition holds for.
template <class Condition>
std::vector<const message_descriptor *> messages_if(Condition holds) {
  std::vector<const message_descriptor *> list = messages();
  list.erase(std::remove_if(list.begin(), list.end(),
                            [&holds](const message_descriptor *each) { return !holds(*each); }),
             list.end());
  return list;
}

} // namespace golden
