// Which scalars a table lacks, in every combination, beside elements that lack the same or others:
// the bytes written, and the records read from them.
//
// Room: tests. What is expected comes from the second encoder, which knows the format's description
// and the descriptors and nothing of the codec.
#include "tests/catalogue/vectors.h"
#include "tests/reference/encoder.h"

#include <map>

using namespace catalogue;

namespace {

constexpr uint8_t canary = 0xC5;

// The message that holds exactly this record.
bytes expected_bytes(const message &message, const void *record, uint32_t byte_swap) {
  static reference::encoder &encoder = *new reference::encoder;
  const auto encoded = encoder.compact(table_of(message), record, byte_swap);
  return {encoded.bytes, encoded.bytes + encoded.size};
}

// Packs into memory that ends at an inaccessible page, and into memory with bytes of others right
// before and right behind.
void expect_packed(const message &message, const void *record, const bytes &expected,
                   uint32_t byte_swap = 0) {
  constexpr uint32_t around = 32;
  const auto size = static_cast<uint32_t>(expected.size());
  const swapped_unit swapped(units_of(message).send, byte_swap);
  for (const uint32_t behind : {0U, around}) {
    guarded_buffer buffer(bytes(around + size + behind, canary));
    uint32_t length = size;
    ASSERT_EQ(message.pack(record, buffer.data() + around, &length), 0U);
    ASSERT_EQ(length, size);
    bytes all(around, canary);
    all.insert(all.end(), expected.begin(), expected.end());
    all.insert(all.end(), behind, canary);
    ASSERT_EQ(buffer.bytes(), all);
  }
}

// Six neighbouring scalars, or as many as there are.
struct window {
  std::vector<const field_descriptor *> scalars; // of the table
  size_t first;
  size_t count;
  bool others_absent;

  uint32_t choices() const { return 1U << count; }

  // Bit i of the choice: whether scalar i of the window is absent.
  void choose(uint32_t choice, void *record) const {
    for (size_t i = 0; i < scalars.size(); i++) {
      const bool inside = i >= first && i < first + count;
      if (inside ? (choice >> (i - first) & 1) != 0 : others_absent)
        scalars[i]->set_number(record, 0);
    }
  }
};

// Those that begin at every `step`th scalar, and the last.
template <class Check>
void each_window(const table_descriptor &table, size_t step, Check check) {
  const auto scalars = scalars_of(table);
  const size_t count = std::min<size_t>(scalars.size(), 6);
  for (size_t first = 0; first + count <= scalars.size(); first++) {
    if (first % step != 0 && first + count != scalars.size())
      continue;
    for (const bool others_absent : {false, true}) {
      SCOPED_TRACE("scalars from " + std::to_string(first) +
                   ", others absent: " + std::to_string(others_absent));
      check(window{scalars, first, count, others_absent});
      if (count == scalars.size())
        break; // there are no others
    }
  }
}

// A record whose element i lacks what choice(i) says.
template <class Choice>
owned_record chosen(const vector_of_tables &vector, const window &window, uint32_t count,
                    Choice choice) {
  owned_record record = record_of(vector, count);
  for (uint32_t i = 0; i < count; i++)
    window.choose(choice(i) % window.choices(), vector.field.element(record.get(), i));
  return record;
}

TEST_F(EveryVector, IsOneOfSeventeenElementTypes) {
  std::map<std::string, uint32_t> names;
  each_vector([&](const vector_of_tables &vector) { names[vector.element.name]++; });
  EXPECT_EQ(names.size(), 17U);
}

TEST_F(EveryVector, IsPackedAndReadWhicheverScalarsItsElementsLackEachChoiceTwiceInARow) {
  each_vector([](const vector_of_tables &vector) {
    each_window(vector.element, 1, [&](const window &window) {
      const owned_record record =
          chosen(vector, window, 2 * window.choices(), [](uint32_t i) { return i / 2; });
      for (const uint32_t byte_swap : {0U, 1U}) {
        const bytes expected = expected_bytes(vector.message, record.get(), byte_swap);
        expect_packed(vector.message, record.get(), expected, byte_swap);
        decoding decoded(vector.message, expected, byte_swap);
        expect_decoded(vector, decoded, record);
      }
    });
  });
}

TEST_F(EveryVector, OfOneElementIsPackedWithoutAByteBehindItWhicheverScalarsItLacks) {
  each_vector([](const vector_of_tables &vector) {
    each_window(vector.element, 2, [&](const window &window) {
      for (uint32_t choice = 0; choice < window.choices(); choice++) {
        const owned_record record = chosen(vector, window, 1, [&](uint32_t) { return choice; });
        expect_packed(vector.message, record.get(),
                      expected_bytes(vector.message, record.get(), 0));
      }
    });
  });
}

TEST_F(EveryVector, IsPackedAndReadWhetherItsElementsLackTheSameOrOthersOrTheSameAgain) {
  const auto check = [](const vector_of_tables &vector, const window &window, uint32_t count,
                        auto choice) {
    const owned_record record = chosen(vector, window, count, choice);
    for (const uint32_t byte_swap : {0U, 1U}) {
      const bytes expected = expected_bytes(vector.message, record.get(), byte_swap);
      expect_packed(vector.message, record.get(), expected, byte_swap);
      decoding decoded(vector.message, expected, byte_swap);
      expect_decoded(vector, decoded, record);
    }
  };
  each_vector([&](const vector_of_tables &vector) {
    each_window(vector.element, 6, [&](const window &window) {
      for (const uint32_t count : {1U, 2U, 3U, 40U})
        for (const uint32_t seed : {0U, 21U, 63U}) {
          SCOPED_TRACE(std::to_string(count) + " elements from choice " + std::to_string(seed));
          check(vector, window, count, [&](uint32_t) { return seed; });
          check(vector, window, count, [&](uint32_t i) { return seed + i; });
          check(vector, window, count, // as the first third, others, as the first again
                [&](uint32_t i) { return i < count / 3 || i > count / 2 ? seed : seed + i; });
        }
    });
  });
}

// Zeros of several hundred elements are added up in lanes of eight bits.
TEST_F(EveryVector, OfManyElementsTakesTheSumOfTheirSizesWhateverTheyLack) {
  each_vector([](const vector_of_tables &vector) {
    const auto scalars = scalars_of(vector.element);
    for (const bool empty : {true, false})
      for (const uint32_t count : {43U, 52U, 64U, 86U, 128U, 256U}) {
        const window all{scalars, 0, 0, empty};
        const owned_record one = chosen(vector, all, 1, [](uint32_t) { return 0U; });
        const owned_record two = chosen(vector, all, 2, [](uint32_t) { return 0U; });
        const owned_record many = chosen(vector, all, count, [](uint32_t) { return 0U; });
        const size_t first = expected_bytes(vector.message, one.get(), 0).size();
        const size_t each = expected_bytes(vector.message, two.get(), 0).size() - first;
        const size_t size = first + (count - 1) * each;
        guarded_buffer buffer(size);
        auto length = static_cast<uint32_t>(size - 1);
        EXPECT_EQ(vector.message.pack(many.get(), buffer.data(), &length), failed);
        length = static_cast<uint32_t>(size);
        ASSERT_EQ(vector.message.pack(many.get(), buffer.data(), &length), 0U);
        EXPECT_EQ(length, size);
        decoding decoded(vector.message, buffer.bytes());
        expect_decoded(vector, decoded, many);
      }
  });
}

// Calls check(table, record of the message, record of the table) for the root and for each record
// that is embedded in it.
template <class Check>
void each_single_table(const message &message, Check check) {
  const table_descriptor &root = table_of(message);
  owned_record record = full_record(message);
  check(root, record.get(), record.get());
  for (const field_descriptor &field : root.fields)
    if (field.kind == kind::table)
      check(*field.table, record.get(), field.member(record.get()));
}

TEST_F(EveryMessage, IsPackedAndReadWhicheverScalarsItsRootOrAnEmbeddedRecordLacks) {
  each([](const message &message) {
    each_single_table(message, [&](const table_descriptor &table, void *record, void *at) {
      SCOPED_TRACE(table.name);
      const auto *const begin = static_cast<const uint8_t *>(at);
      const bytes before(begin, begin + table.record_size);
      each_window(table, 3, [&](const window &window) {
        for (uint32_t choice = 0; choice < window.choices(); choice++) {
          std::memcpy(at, before.data(), before.size());
          window.choose(choice, at);
          const bytes expected = expected_bytes(message, record, 0);
          expect_packed(message, record, expected);
          decoding decoded(message, expected);
          EXPECT_TRUE(decoded.lines.empty());
          ASSERT_EQ(difference(message, record, decoded.record()), "");
        }
      });
      std::memcpy(at, before.data(), before.size());
    });
  });
}

} // namespace
