// Memory between two inaccessible pages: one byte too far, at the edge that it touches, is a fault.
//
// Room: tests. Includes libc only. Works without sanitizers and under emulation. Pages between the
// two are kept for the next user, so that a buffer per call costs little.
#pragma once

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#else // comes with the sanitizers, which are then not there either
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// Which of its two neighbours the memory touches. The other side has slack up to a page, which the
// address sanitizer does not let anybody into either.
enum class edge { before, behind };

namespace guarded {

inline size_t page_size() {
  static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

// Accessible pages between two that are not. Thread-safe.
class page_store {
public:
  // `usable` bytes, a multiple of the page size; contents are anything when they were used before.
  uint8_t *take(size_t usable, bool &used_before) {
    {
      const std::lock_guard<std::mutex> held(lock_);
      std::vector<uint8_t *> &kept = kept_[usable];
      used_before = !kept.empty();
      if (used_before) {
        uint8_t *const first = kept.back();
        kept.pop_back();
        return first;
      }
    }
    const size_t page = page_size();
    void *const memory = mmap(nullptr, usable + 2 * page, PROT_NONE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
      throw std::runtime_error("guarded memory: no address space");
    uint8_t *const first = static_cast<uint8_t *>(memory) + page;
    if (usable != 0 && mprotect(first, usable, PROT_READ | PROT_WRITE) != 0)
      throw std::runtime_error("guarded memory: no memory");
    return first;
  }

  void give_back(uint8_t *first, size_t usable) {
    ASAN_UNPOISON_MEMORY_REGION(first, usable);
    if (usable > largest_kept) {
      munmap(first - page_size(), usable + 2 * page_size());
      return;
    }
    const std::lock_guard<std::mutex> held(lock_);
    kept_[usable].push_back(first);
  }

private:
  static constexpr size_t largest_kept = size_t{1} << 20;

  std::mutex lock_;
  std::map<size_t, std::vector<uint8_t *>> kept_;
};

// Never destroyed: threads of a test may outlive main's statics.
inline page_store &pages() {
  static page_store &instance = *new page_store;
  return instance;
}

} // namespace guarded

// `size` zero bytes at an inaccessible page. Large ones are taken page by page when they are
// written, so a buffer of gigabytes that is hardly touched costs next to nothing.
class guarded_buffer {
public:
  explicit guarded_buffer(size_t size, edge touched = edge::behind)
      : size_(size),
        usable_((size + guarded::page_size() - 1) / guarded::page_size() * guarded::page_size()) {
    bool used_before = false;
    first_ = guarded::pages().take(usable_, used_before);
    data_ = touched == edge::before ? first_ : first_ + usable_ - size;
    if (used_before)
      std::memset(data_, 0, size);
    ASAN_POISON_MEMORY_REGION(first_, static_cast<size_t>(data_ - first_));
    ASAN_POISON_MEMORY_REGION(data_ + size, usable_ - size - static_cast<size_t>(data_ - first_));
  }

  explicit guarded_buffer(const std::vector<uint8_t> &bytes, edge touched = edge::behind)
      : guarded_buffer(bytes.data(), bytes.size(), touched) {}

  // A copy.
  guarded_buffer(const void *bytes, size_t size, edge touched = edge::behind)
      : guarded_buffer(size, touched) {
    if (size != 0)
      std::memcpy(data_, bytes, size);
  }

  guarded_buffer(guarded_buffer &&other) noexcept
      : size_(other.size_), usable_(other.usable_), first_(other.first_), data_(other.data_) {
    other.first_ = nullptr;
  }
  guarded_buffer(const guarded_buffer &) = delete;
  guarded_buffer &operator=(const guarded_buffer &) = delete;
  guarded_buffer &operator=(guarded_buffer &&) = delete;
  ~guarded_buffer() {
    if (first_ != nullptr)
      guarded::pages().give_back(first_, usable_);
  }

  uint8_t *data() { return data_; }
  const uint8_t *data() const { return data_; }
  uint32_t size() const { return static_cast<uint32_t>(size_); }
  std::vector<uint8_t> bytes() const { return {data_, data_ + size_}; }

  // The memory as a record, for which it must be large enough.
  template <class Record>
  Record &as() {
    return *reinterpret_cast<Record *>(data_);
  }

private:
  size_t size_;
  size_t usable_;
  uint8_t *first_ = nullptr; // of the accessible pages
  uint8_t *data_ = nullptr;
};
