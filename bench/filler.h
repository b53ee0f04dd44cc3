// What the generated steps between records and peers are made of: values to fill records with,
// memory for vectors, fixed arrays as 64-bit words.
//
// Room: bench. libc and the C++ standard library only.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>

namespace bench {

// Which scalars of a table are zero.
enum class fill_kind {
  dense,   // none
  typical, // every third, the same ones in every entry
  mixed,   // each with probability 1/3, in every entry anew: no branch on it can be predicted
};

class filler {
public:
  filler(fill_kind kind, uint32_t vector_count, uint32_t seed)
      : kind_(kind), count_(vector_count), random_(seed) {}

  uint32_t count() const { return count_; }

  // A value of at most `bits` bits; `ordinal` is the scalar's place among those of its table.
  template <class T>
  T scalar(int ordinal, int bits) {
    const uint32_t limit = bits == 32 ? UINT32_MAX : (uint32_t{1} << bits) - 1;
    const uint32_t value = 1 + static_cast<uint32_t>(random_()) % limit;
    const uint32_t dice = static_cast<uint32_t>(random_()) % 3;
    const bool zero = (kind_ == fill_kind::typical && ordinal % 3 == 2) ||
                      (kind_ == fill_kind::mixed && dice == 0);
    return zero ? T{0} : static_cast<T>(value);
  }

  void bytes(void *to, size_t size) {
    auto *at = static_cast<uint8_t *>(to);
    for (size_t i = 0; i < size; i++)
      at[i] = static_cast<uint8_t>(random_());
  }

private:
  fill_kind kind_;
  uint32_t count_;
  std::mt19937 random_;
};

// Room for a vector of a record; null for none. Not cleared: who reads writes every member.
template <class T>
T *allocate(uint32_t count) {
  return count == 0 ? nullptr : static_cast<T *>(malloc(size_t{count} * sizeof(T)));
}

// Room for one more behind `count`, where nobody says beforehand how many will come.
template <class T>
T *grown(T *at, uint32_t count) {
  constexpr uint32_t first = 16;
  if (count == 0)
    return allocate<T>(first);
  if (count < first || (count & (count - 1)) != 0)
    return at;
  return static_cast<T *>(realloc(at, size_t{count} * 2 * sizeof(T)));
}

inline bool same_bytes(const uint8_t *a, uint32_t count_a, const uint8_t *b, uint32_t count_b) {
  return count_a == count_b && (count_a == 0 || memcmp(a, b, count_a) == 0);
}

template <size_t Size>
uint64_t load(const void *from, size_t at) {
  uint64_t value = 0;
  memcpy(&value, static_cast<const char *>(from) + at, Size);
  return value;
}

template <size_t Size>
void store(void *to, size_t at, uint64_t value) {
  memcpy(static_cast<char *>(to) + at, &value, Size);
}

} // namespace bench
