// Memory of exactly the size that a function is told, so that one byte beyond does not go unseen.
//
// Room: attacks. Libc only.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define MESH_FIB6_FUZZ_WATCHED_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MESH_FIB6_FUZZ_WATCHED_HEAP 1
#endif
#endif

namespace fuzz {

// Whether the address sanitizer watches both ends of a block.
#ifdef MESH_FIB6_FUZZ_WATCHED_HEAP
inline constexpr bool heap_is_watched = true;
#else
inline constexpr bool heap_is_watched = false;
#endif
#undef MESH_FIB6_FUZZ_WATCHED_HEAP

// Memory that ends where an inaccessible page begins, for builds without the sanitizer.
class page_end {
public:
  static constexpr size_t capacity = size_t{1} << 18;

  // The last `size` bytes; null when there are not as many.
  static uint8_t *last(size_t size) { return size > capacity ? nullptr : end() - size; }

private:
  static uint8_t *end() {
    static uint8_t *const mapped = map();
    return mapped;
  }
  static uint8_t *map() {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void *const area =
        mmap(nullptr, capacity + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (area == MAP_FAILED)
      abort();
    uint8_t *const behind = static_cast<uint8_t *>(area) + capacity;
    if (mprotect(behind, page, PROT_NONE) != 0)
      abort();
    return behind;
  }
};

// A copy at an even address with nothing behind it, or at an odd one (one unused byte in front).
// Blocks of the heap; without the sanitizer, those at even addresses lie before an inaccessible
// page instead, even or not.
class exact_copy {
public:
  exact_copy(const uint8_t *bytes, uint32_t size, bool odd_address) {
    uint8_t *const guarded = heap_is_watched || odd_address ? nullptr : page_end::last(size);
    const uint32_t unused = odd_address ? 1 : 0;
    if (guarded == nullptr)
      block_ = static_cast<uint8_t *>(malloc(size_t{size} + unused));
    bytes_ = guarded != nullptr ? guarded : block_ + unused;
    if (size != 0)
      memcpy(bytes_, bytes, size);
  }
  ~exact_copy() { free(block_); }
  exact_copy(const exact_copy &) = delete;
  exact_copy &operator=(const exact_copy &) = delete;

  const uint8_t *bytes() const { return bytes_; }

private:
  uint8_t *block_ = nullptr;
  uint8_t *bytes_;
};

} // namespace fuzz
