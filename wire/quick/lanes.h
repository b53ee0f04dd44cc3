// Sixteen bytes at a time: the few vector operations that the quick path is built on.
//
// Room: wire/quick. The only file that names a processor's instructions. What GCC and Clang offer
// as vector types is used as it stands (comparisons, sums, and/or); the rest, above all the byte
// shuffle, is an intrinsic: pshufb on x86-64 (SSSE3, part of x86-64-v2), tbl on aarch64 (always
// there). Without either has_shuffles is false, and tables go field by field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(MESH_FIB6_PLAIN_CODEC)
#elif defined(__SSE4_1__)
#include <immintrin.h>
#define MESH_FIB6_HAS_SHUFFLES 1
#define MESH_FIB6_SSE 1
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#define MESH_FIB6_HAS_SHUFFLES 1
#define MESH_FIB6_NEON 1
#endif

namespace mesh_fib6::wire {

#ifdef MESH_FIB6_HAS_SHUFFLES
inline constexpr bool has_shuffles = true;
#else
inline constexpr bool has_shuffles = false;
#endif

inline constexpr uint32_t lane_count = 16;

// Sixteen bytes as 16, 8, 4 or 2 lanes.
using lanes = uint8_t __attribute__((vector_size(16)));
using half_lanes = uint16_t __attribute__((vector_size(16)));
using word_lanes = uint32_t __attribute__((vector_size(16)));
using double_lanes = uint64_t __attribute__((vector_size(16)));

// A lane with this bit in a shuffle control becomes zero.
inline constexpr uint8_t no_lane = 0x80;

// The pointer, of which the compiler no longer knows what it was computed from: several members of
// a row of a table are then read from one address, not each from one of its own.
template <class Value>
[[gnu::always_inline]] inline const Value *one_address(const Value *pointer) {
  asm("" : "+r"(pointer));
  return pointer;
}

// The base of a constant of which several parts are read. Where an address in the library takes two
// instructions, the parts are read from one; x86-64 has it in the instruction that reads.
template <class Value>
[[gnu::always_inline]] inline const Value *base_of(const Value &constant) {
#ifdef __x86_64__
  return &constant;
#else
  return one_address(&constant);
#endif
}

[[gnu::always_inline]] inline lanes load_lanes(const void *at) {
  lanes value;
  memcpy(&value, at, sizeof value);
  return value;
}

// From an address that is a multiple of sixteen: some processors need no instruction for it.
[[gnu::always_inline]] inline lanes load_aligned_lanes(const void *at) {
  return load_lanes(__builtin_assume_aligned(at, lane_count));
}

[[gnu::always_inline]] inline void store_lanes(void *at, lanes value) {
  memcpy(at, &value, sizeof value);
}

// The first Count of eight bytes at `at`, zeros behind them; touches no other byte.
template <uint32_t Count>
[[gnu::always_inline]] inline uint64_t load_some_bytes(const uint8_t *at) {
  static_assert(Count <= 8);
  if constexpr (Count == 8 || Count == 4 || Count == 2 || Count == 1) {
    std::conditional_t<
        Count == 8, uint64_t,
        std::conditional_t<Count == 4, uint32_t, std::conditional_t<Count == 2, uint16_t, uint8_t>>>
        value;
    memcpy(&value, at, sizeof value);
    return value;
  } else if constexpr (Count != 0) {
    constexpr uint32_t part = Count > 4 ? 4 : 2;
    return load_some_bytes<part>(at) | load_some_bytes<Count - part>(at + part) << 8 * part;
  }
  return 0;
}

// The first Count bytes at `at`, zeros behind them; touches no other byte. Put together in
// registers: a copy of part of a vector would go through memory.
template <uint32_t Count>
[[gnu::always_inline]] inline lanes load_some_lanes(const void *at) {
  static_assert(Count <= lane_count);
  const auto *const bytes = static_cast<const uint8_t *>(at);
  if constexpr (Count == lane_count)
    return load_lanes(bytes);
  else if constexpr (Count > 8)
    return reinterpret_cast<lanes>(
        double_lanes{load_some_bytes<8>(bytes), load_some_bytes<Count - 8>(bytes + 8)});
  else
    return reinterpret_cast<lanes>(double_lanes{load_some_bytes<Count>(bytes), 0});
}

template <class Lane>
[[gnu::always_inline]] inline void store_lane(uint8_t *at, Lane lane) {
  memcpy(at, &lane, sizeof lane);
}

// The first Count bytes to `at`; touches no other byte.
template <uint32_t Count>
[[gnu::always_inline]] inline void store_some_lanes(uint8_t *at, lanes value) {
  static_assert(Count <= lane_count);
  if constexpr (Count == lane_count)
    return store_lanes(at, value);
  // Lane by lane, for the same reason.
  const auto words = reinterpret_cast<word_lanes>(value);
  const auto doubles = reinterpret_cast<double_lanes>(value);
  if constexpr ((Count & 8) != 0)
    store_lane(at, doubles[0]);
  if constexpr ((Count & 4) != 0)
    store_lane(at + (Count & 8), words[(Count & 8) / 4]);
  if constexpr ((Count & 2) != 0)
    store_lane(at + (Count & 12), reinterpret_cast<half_lanes>(value)[(Count & 12) / 2]);
  if constexpr ((Count & 1) != 0)
    store_lane(at + (Count & 14), value[Count & 14]);
}

// The first Count of the sixteen bytes to `at`, Count being 0 to 16 and known at run time; touches
// no other byte.
[[gnu::always_inline]] inline void store_first_lanes(uint8_t *at, lanes value, size_t count) {
  const auto doubles = reinterpret_cast<double_lanes>(value);
  if (count >= 8) {
    // The last eight overlap the first eight, unless there are sixteen.
    const size_t bits = 8 * (count - 8);
    const uint64_t last = bits == 0    ? doubles[0]
                          : bits == 64 ? doubles[1]
                                       : doubles[0] >> bits | doubles[1] << (64 - bits);
    store_lane(at, doubles[0]);
    store_lane(at + count - 8, last);
  } else if (count >= 4) {
    store_lane(at, static_cast<uint32_t>(doubles[0]));
    store_lane(at + count - 4, static_cast<uint32_t>(doubles[0] >> 8 * (count - 4)));
  } else if (count != 0) {
    at[0] = static_cast<uint8_t>(doubles[0]);
    at[count / 2] = static_cast<uint8_t>(doubles[0] >> 8 * (count / 2));
    at[count - 1] = static_cast<uint8_t>(doubles[0] >> 8 * (count - 1));
  }
}

template <class Lanes>
[[gnu::always_inline]] inline bool any_set(Lanes flags) {
#if defined(MESH_FIB6_SSE)
  const auto bits = reinterpret_cast<__m128i>(flags);
  return _mm_testz_si128(bits, bits) == 0;
#elif defined(MESH_FIB6_NEON)
  return vmaxvq_u32(reinterpret_cast<word_lanes>(flags)) != 0;
#else
  const auto doubles = reinterpret_cast<double_lanes>(flags);
  return (doubles[0] | doubles[1]) != 0;
#endif
}

#ifdef MESH_FIB6_HAS_SHUFFLES

// Lane i of the result is lane control[i] of the values, or zero where control[i] has no_lane, with
// or without other bits.
[[gnu::always_inline]] inline lanes shuffled(lanes values, lanes control) {
#ifdef MESH_FIB6_SSE
  return reinterpret_cast<lanes>(
      _mm_shuffle_epi8(reinterpret_cast<__m128i>(values), reinterpret_cast<__m128i>(control)));
#else
  return vqtbl1q_u8(values, control);
#endif
}

// The first eight lanes, each widened to a half.
[[gnu::always_inline]] inline half_lanes widened(const uint8_t *eight) {
#ifdef MESH_FIB6_SSE
  return reinterpret_cast<half_lanes>(
      _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(eight))));
#else
  return vmovl_u8(vld1_u8(eight));
#endif
}

// The values where `flags` is not zero, zero where it is. Flags are below 2^15.
[[gnu::always_inline]] inline half_lanes kept_where(half_lanes flags, half_lanes values) {
#ifdef MESH_FIB6_SSE
  return reinterpret_cast<half_lanes>(
      _mm_sign_epi16(reinterpret_cast<__m128i>(values), reinterpret_cast<__m128i>(flags)));
#else
  return vandq_u16(values, vtstq_u16(flags, flags));
#endif
}

// Sums that stop at 255.
[[gnu::always_inline]] inline lanes capped_sum(lanes a, lanes b) {
#ifdef MESH_FIB6_SSE
  return reinterpret_cast<lanes>(
      _mm_adds_epu8(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
  return vqaddq_u8(a, b);
#endif
}

[[gnu::always_inline]] inline uint32_t sum_of(lanes values) {
#ifdef MESH_FIB6_SSE
  const __m128i halves = _mm_sad_epu8(reinterpret_cast<__m128i>(values), _mm_setzero_si128());
  return static_cast<uint32_t>(_mm_cvtsi128_si32(halves)) +
         static_cast<uint32_t>(_mm_extract_epi16(halves, 4));
#else
  return vaddlvq_u8(values);
#endif
}

// Which of up to eight marked lanes are set, as a number: bit i for the lane that `picks` names in
// its lane i, which is the lane where `weights` holds 1 << i. Lanes are all ones or all zeros; of
// the others `weights` holds nothing.
[[gnu::always_inline]] inline uint32_t marked(lanes flags, [[maybe_unused]] lanes picks,
                                              [[maybe_unused]] lanes weights) {
#ifdef MESH_FIB6_SSE
  return static_cast<uint32_t>(
      _mm_movemask_epi8(reinterpret_cast<__m128i>(shuffled(flags, picks))));
#else
  return vaddvq_u8(flags & weights);
#endif
}

// Whether marked_words() is less work than marked().
#ifdef MESH_FIB6_SSE
inline constexpr bool marks_words_quickly = true;
#else
inline constexpr bool marks_words_quickly = false;
#endif

// Whether the words are set, bit i for word i. Words are all ones or all zeros.
[[gnu::always_inline]] inline uint32_t marked_words(lanes flags) {
#ifdef MESH_FIB6_SSE
  return static_cast<uint32_t>(_mm_movemask_ps(reinterpret_cast<__m128>(flags)));
#else
  return marked(flags, lanes{}, reinterpret_cast<lanes>(word_lanes{1, 2, 4, 8}));
#endif
}

#else

// Not there: where has_shuffles is false nobody calls them.
lanes shuffled(lanes values, lanes control);
half_lanes widened(const uint8_t *eight);
half_lanes kept_where(half_lanes flags, half_lanes values);
lanes capped_sum(lanes a, lanes b);
uint32_t sum_of(lanes values);
uint32_t marked(lanes flags, lanes picks, lanes weights);
uint32_t marked_words(lanes flags);
inline constexpr bool marks_words_quickly = false;

#endif

} // namespace mesh_fib6::wire
