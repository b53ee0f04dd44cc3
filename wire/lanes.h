// Sixteen bytes at a time: the few vector operations that the codec is built on.
//
// Room: wire. The only file that names a processor's instructions. What GCC and Clang offer as
// vector types is used as it stands (comparisons, sums, and/or); intrinsics fill the gaps, above
// all the byte shuffle: pshufb on x86-64 (SSSE3, part of x86-64-v2), tbl on aarch64 (always there).
// Without it has_lanes is false and the plain steps do the work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(MESH_FIB6_PLAIN_CODEC)
#elif defined(__SSE4_1__)
#include <immintrin.h>
#define MESH_FIB6_LANES 1
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#define MESH_FIB6_LANES 1
#endif

namespace mesh_fib6::wire {

#ifdef MESH_FIB6_LANES
inline constexpr bool has_lanes = true;
#else
inline constexpr bool has_lanes = false;
#endif

inline constexpr uint32_t lane_count = 16;

// The same sixteen bytes as 16, 8, 4 or 2 lanes.
using lanes = uint8_t __attribute__((vector_size(16)));
using half_lanes = uint16_t __attribute__((vector_size(16)));
using word_lanes = uint32_t __attribute__((vector_size(16)));
using double_lanes = uint64_t __attribute__((vector_size(16)));

// A lane with this bit in a shuffle control becomes zero.
inline constexpr uint8_t no_lane = 0x80;

[[gnu::always_inline]] inline lanes load_lanes(const void *at) {
  lanes value;
  memcpy(&value, at, sizeof value);
  return value;
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

// The first Count bytes to `at`, whole words; touches no other byte.
template <uint32_t Count>
[[gnu::always_inline]] inline void store_some_lanes(uint8_t *at, lanes value) {
  static_assert(Count <= lane_count && Count % 4 == 0);
  if constexpr (Count == lane_count)
    return store_lanes(at, value);
  // Lane by lane, for the same reason.
  const auto words = reinterpret_cast<word_lanes>(value);
  const auto doubles = reinterpret_cast<double_lanes>(value);
  if constexpr ((Count & 8) != 0)
    store_lane(at, doubles[0]);
  if constexpr ((Count & 4) != 0)
    store_lane(at + (Count & 8), words[(Count & 8) / 4]);
}

template <class Lanes>
[[gnu::always_inline]] inline bool any_set(Lanes flags) {
#if defined(MESH_FIB6_LANES) && defined(__SSE4_1__)
  const auto bits = reinterpret_cast<__m128i>(flags);
  return _mm_testz_si128(bits, bits) == 0;
#elif defined(MESH_FIB6_LANES)
  return vmaxvq_u32(reinterpret_cast<word_lanes>(flags)) != 0;
#else
  const auto doubles = reinterpret_cast<double_lanes>(flags);
  return (doubles[0] | doubles[1]) != 0;
#endif
}

#ifdef MESH_FIB6_LANES

// Lane i of the result is lane control[i] of the values, or zero where control[i] has no_lane, with
// or without other bits below 16.
[[gnu::always_inline]] inline lanes shuffled(lanes values, lanes control) {
#ifdef __SSE4_1__
  return reinterpret_cast<lanes>(
      _mm_shuffle_epi8(reinterpret_cast<__m128i>(values), reinterpret_cast<__m128i>(control)));
#else
  return vqtbl1q_u8(values, control);
#endif
}

// The first eight lanes, each widened to a half.
[[gnu::always_inline]] inline half_lanes widened(const uint8_t *eight) {
#ifdef __SSE4_1__
  return reinterpret_cast<half_lanes>(
      _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(eight))));
#else
  return vmovl_u8(vld1_u8(eight));
#endif
}

// The values where `flags` is not zero, zero where it is. Flags are below 2^15.
[[gnu::always_inline]] inline half_lanes kept_where(half_lanes flags, half_lanes values) {
#ifdef __SSE4_1__
  return reinterpret_cast<half_lanes>(
      _mm_sign_epi16(reinterpret_cast<__m128i>(values), reinterpret_cast<__m128i>(flags)));
#else
  return vandq_u16(values, vtstq_u16(flags, flags));
#endif
}

[[gnu::always_inline]] inline uint32_t smallest(half_lanes values) {
#ifdef __SSE4_1__
  return static_cast<uint16_t>(
      _mm_cvtsi128_si32(_mm_minpos_epu16(reinterpret_cast<__m128i>(values))));
#else
  return vminvq_u16(values);
#endif
}

// Lanes of a that exceed those of b, as a value that is zero where they do not.
[[gnu::always_inline]] inline half_lanes excess(half_lanes a, half_lanes b) {
#ifdef __SSE4_1__
  return reinterpret_cast<half_lanes>(
      _mm_subs_epu16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
  return vqsubq_u16(a, b);
#endif
}

// Sums that stop at 255.
[[gnu::always_inline]] inline lanes capped_sum(lanes a, lanes b) {
#ifdef __SSE4_1__
  return reinterpret_cast<lanes>(
      _mm_adds_epu8(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
  return vqaddq_u8(a, b);
#endif
}

[[gnu::always_inline]] inline uint32_t sum_of(lanes values) {
#ifdef __SSE4_1__
  const __m128i halves = _mm_sad_epu8(reinterpret_cast<__m128i>(values), _mm_setzero_si128());
  return static_cast<uint32_t>(_mm_cvtsi128_si32(halves)) +
         static_cast<uint32_t>(_mm_extract_epi16(halves, 4));
#else
  return vaddlvq_u8(values);
#endif
}

#endif

} // namespace mesh_fib6::wire
