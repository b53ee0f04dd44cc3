// What the recording OSAL does, and the questions tests ask it afterwards. Its five functions are
// in fake_osal_exports.cpp.
//
// Room: tests. One lock around everything: a test that races is about the library, not about this.
#include "tests/support/fake_osal.h"
#include "tests/support/definedness.h"
#include "tests/support/fake_osal_entries.h"
#include "tests/support/guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

namespace fake_osal {
namespace {

// New blocks and released ones hold these, so that a byte nobody wrote or a stale one shows.
constexpr int stale_byte = 0xDE;

// A block ends at an inaccessible page, which leaves it no better aligned than its size is; before
// it lie bytes that must still be there when it is released. The sanitizers keep their own books of
// the heap, so theirs are blocks of it.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
class block_memory {
public:
  explicit block_memory(size_t size) : memory_(malloc(size), free) {}
  void *first() { return memory_.get(); }
  bool guard_is_intact() { return true; }

private:
  std::unique_ptr<void, void (*)(void *)> memory_;
};
#else
class block_memory {
public:
  explicit block_memory(size_t size) : memory_(guard_size + size) {
    memset(memory_.data(), guard_byte, guard_size);
  }
  void *first() { return memory_.data() + guard_size; }
  bool guard_is_intact() {
    return std::all_of(memory_.data(), memory_.data() + guard_size,
                       [](uint8_t b) { return b == guard_byte; });
  }

private:
  static constexpr size_t guard_size = 64;
  static constexpr uint8_t guard_byte = 0x5C;
  guarded_buffer memory_;
};
#endif

struct live_block {
  uint32_t size;
  uint32_t module;
  block_memory memory;
};

struct state {
  std::mutex lock;
  std::vector<call> calls;
  std::vector<log_line> lines;
  std::map<void *, live_block> live;
  size_t wrong_frees = 0;
  uint32_t allocations_until_failure = 0; // 0: none planned
  uint32_t largest_allowed = UINT32_MAX;
  uint32_t use_flag = 1;
};

// Never destroyed: threads of a test may outlive main's statics.
state &the_state() {
  static state &instance = *new state;
  return instance;
}

using guard = std::lock_guard<std::mutex>;

std::string text_of(const char *text) {
  return text == nullptr ? "(null)" : text;
}

bool must_fail(state &s, uint32_t size) {
  const bool planned = s.allocations_until_failure == 1;
  if (s.allocations_until_failure > 0)
    --s.allocations_until_failure;
  return planned || size > s.largest_allowed;
}

void *allocate(call_kind kind, uint32_t size, uint32_t module, const char *caller) {
  state &s = the_state();
  const guard held(s.lock);
  void *block = nullptr;
  if (!must_fail(s, size)) {
    block_memory memory(size);
    block = memory.first();
    memset(block, fresh_byte, size);
    definedness::forget(block, size); // valgrind takes what nobody else writes for unwritten
    s.live.emplace(block, live_block{size, module, std::move(memory)});
  }
  s.calls.push_back({kind, size, module, text_of(caller), block});
  return block;
}

void release(void *block, uint32_t module, const char *caller) {
  state &s = the_state();
  const guard held(s.lock);
  const auto found = s.live.find(block);
  const bool known = found != s.live.end();
  const uint32_t size = known ? found->second.size : 0;
  s.calls.push_back({call_kind::free, size, module, text_of(caller), block});
  if (!known || found->second.module != module)
    ++s.wrong_frees;
  if (!known)
    return;
  if (!found->second.memory.guard_is_intact())
    ADD_FAILURE() << "somebody wrote before the " << size << " bytes of " << text_of(caller);
  memset(block, stale_byte, size);
  s.live.erase(found);
}

std::string format_message(const char *format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = vsnprintf(nullptr, 0, format, arguments);
  std::string message(static_cast<size_t>(std::max(length, 0)) + 1, '\0');
  vsnprintf(message.data(), message.size(), format, again);
  va_end(again);
  message.pop_back();
  return message;
}

// What a log descriptor points to.
struct descriptor_words {
  const char *module_name;
  const char *submodule_name;
  uint32_t mem_module_id;
};

const char *name_of(call_kind kind) {
  switch (kind) {
  case call_kind::alloc:
    return "alloc";
  case call_kind::cache_alloc:
    return "cache_alloc";
  case call_kind::free:
    return "free";
  case call_kind::use_flag_get:
    return "use_flag_get";
  }
  return "?";
}

} // namespace

std::ostream &operator<<(std::ostream &out, const call &c) {
  return out << name_of(c.kind) << '(' << c.size << ", module " << c.module << ", \"" << c.caller
             << "\", " << c.block << ')';
}

std::ostream &operator<<(std::ostream &out, const log_line &l) {
  return out << "log(" << l.module_name << '/' << l.submodule_name << '/' << l.mem_module_id
             << ", level " << l.level << ", category " << l.category << ", text \"" << l.text
             << "\", line " << l.line << ", " << l.function << ": \"" << l.message << "\")";
}

void reset() {
  state &s = the_state();
  const guard held(s.lock);
  s.calls.clear();
  s.lines.clear();
  s.allocations_until_failure = 0;
  s.largest_allowed = UINT32_MAX;
}

std::vector<call> calls() {
  state &s = the_state();
  const guard held(s.lock);
  return s.calls;
}

std::vector<call> calls_of(call_kind kind) {
  std::vector<call> found = calls();
  std::erase_if(found, [kind](const call &c) { return c.kind != kind; });
  return found;
}

std::vector<log_line> log_lines() {
  state &s = the_state();
  const guard held(s.lock);
  return s.lines;
}

void fail_allocation(uint32_t n) {
  state &s = the_state();
  const guard held(s.lock);
  s.allocations_until_failure = n;
}

void refuse_above(uint32_t bytes) {
  state &s = the_state();
  const guard held(s.lock);
  s.largest_allowed = bytes;
}

void set_use_flag(uint32_t answer) {
  state &s = the_state();
  const guard held(s.lock);
  s.use_flag = answer;
}

size_t live_blocks() {
  state &s = the_state();
  const guard held(s.lock);
  return s.live.size();
}

size_t wrong_frees() {
  state &s = the_state();
  const guard held(s.lock);
  return s.wrong_frees;
}

namespace entries {

void log_write(const void *descriptor, uint32_t level, uint32_t category, const char *text,
               uint32_t line, const char *function, const char *format, va_list arguments) {
  std::string message = format_message(format, arguments);
  const auto *words = static_cast<const descriptor_words *>(descriptor);
  state &s = the_state();
  const guard held(s.lock);
  s.lines.push_back({text_of(words->module_name), text_of(words->submodule_name),
                     words->mem_module_id, level, category, text_of(text), line, text_of(function),
                     text_of(format), std::move(message), s.calls.size()});
}

void *alloc(uint32_t size, uint32_t module, const char *caller) {
  return allocate(call_kind::alloc, size, module, caller);
}

void *cache_alloc(uint32_t size, uint32_t module, const char *caller) {
  return allocate(call_kind::cache_alloc, size, module, caller);
}

void free(void *block, uint32_t module, const char *caller) {
  release(block, module, caller);
}

uint32_t use_flag_get(uint32_t module) {
  state &s = the_state();
  const guard held(s.lock);
  s.calls.push_back({call_kind::use_flag_get, 0, module, "", nullptr});
  return s.use_flag;
}

} // namespace entries

} // namespace fake_osal
