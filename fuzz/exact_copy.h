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

// Whether the memory sanitizer watches what was written of a block; of mapped memory it takes all
// for written.
#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define MESH_FIB6_FUZZ_WATCHED_WRITES 1
#endif
#endif
#ifdef MESH_FIB6_FUZZ_WATCHED_WRITES
inline constexpr bool writes_are_watched = true;
#else
inline constexpr bool writes_are_watched = false;
#endif
#undef MESH_FIB6_FUZZ_WATCHED_WRITES

// Memory between two inaccessible pages, for builds without the sanitizer.
class guarded_area {
public:
  static constexpr size_t capacity = size_t{1} << 18;

  guarded_area() {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void *const area = mmap(nullptr, page + capacity + page, PROT_NONE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (area == MAP_FAILED)
      abort();
    first_ = static_cast<uint8_t *>(area) + page;
    if (mprotect(first_, capacity, PROT_READ | PROT_WRITE) != 0)
      abort();
  }
  guarded_area(const guarded_area &) = delete;
  guarded_area &operator=(const guarded_area &) = delete;

  uint8_t *first() const { return first_; }
  uint8_t *last(size_t size) const { return first_ + capacity - size; }

private:
  uint8_t *first_; // for ever, as the process lives
};

// A copy at an even address with nothing behind it, or at an odd one (one unused byte in front).
// Blocks of the heap; without the sanitizer, those at even addresses end at an inaccessible page
// instead, even or not, and those at odd ones begin, behind the unused byte, at one.
class exact_copy {
public:
  exact_copy(const uint8_t *bytes, uint32_t size, bool odd_address) {
    const uint32_t unused = odd_address ? 1 : 0;
    if (heap_is_watched || size_t{size} + unused > guarded_area::capacity)
      bytes_ = (block_ = static_cast<uint8_t *>(malloc(size_t{size} + unused))) + unused;
    else
      bytes_ = odd_address ? area().first() + unused : area().last(size);
    if (size != 0)
      memcpy(bytes_, bytes, size);
  }
  ~exact_copy() { free(block_); }
  exact_copy(const exact_copy &) = delete;
  exact_copy &operator=(const exact_copy &) = delete;

  const uint8_t *bytes() const { return bytes_; }

private:
  // One for all: there is one copy at a time.
  static const guarded_area &area() {
    static const guarded_area one;
    return one;
  }

  uint8_t *block_ = nullptr;
  uint8_t *bytes_;
};

} // namespace fuzz
