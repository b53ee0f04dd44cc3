// Memory that ends exactly where the address space does: one byte too far is a fault.
//
// Room: tests. Includes libc only. Works without sanitizers and under emulation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// `size` zero bytes right before an inaccessible page. Pages are taken when they are written, so a
// buffer of gigabytes that is hardly touched costs next to nothing.
class guarded_buffer {
public:
  explicit guarded_buffer(size_t size) : size_(size) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t usable = (size + page - 1) / page * page;
    mapped_ = usable + page;
    void *memory = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
      throw std::runtime_error("guarded_buffer: no memory");
    base_ = static_cast<uint8_t *>(memory);
    if (mprotect(base_ + usable, page, PROT_NONE) != 0)
      throw std::runtime_error("guarded_buffer: no guard page");
    data_ = base_ + usable - size;
  }

  explicit guarded_buffer(const std::vector<uint8_t> &bytes) : guarded_buffer(bytes.size()) {
    if (!bytes.empty())
      std::memcpy(data_, bytes.data(), bytes.size());
  }

  guarded_buffer(const guarded_buffer &) = delete;
  guarded_buffer &operator=(const guarded_buffer &) = delete;
  ~guarded_buffer() { munmap(base_, mapped_); }

  uint8_t *data() { return data_; }
  uint32_t size() const { return static_cast<uint32_t>(size_); }
  std::vector<uint8_t> bytes() const { return {data_, data_ + size_}; }

private:
  size_t size_;
  size_t mapped_ = 0;
  uint8_t *base_ = nullptr;
  uint8_t *data_ = nullptr;
};
