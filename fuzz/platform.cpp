// The OSAL and the mesh of an execution; see platform.h.
//
// Room: attacks. The library finds the OSAL's functions by name: executables with this file in them
// export their symbols.
#include "fuzz/platform.h"

#include "fuzz/exact_copy.h"
#include "fuzz/finding.h"
#include "platform/osal.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace fuzz::platform {

accounts now;

namespace {

// The address sanitizer watches the bytes around a block. Without it, a decoded block ends at an
// inaccessible page; those that are sent, which have pointers in front of bytes, have to begin
// where pointers may lie, so they and what is too large for the pages are watched by bytes behind
// them.
constexpr size_t guard_size = heap_is_watched ? 0 : 16;
constexpr uint8_t guard_byte = 0x5C;
constexpr uint8_t fresh_byte = 0xA5;      // a byte that nobody wrote must show
constexpr uint32_t poisoned_bytes = 1024; // of a block of the heap; more would only cost time

void set_guard(void *block, size_t size) {
  memset(static_cast<uint8_t *>(block) + size, guard_byte, guard_size);
}

bool guard_is_intact(const void *block, size_t size) {
  const auto *const guard = static_cast<const uint8_t *>(block) + size;
  for (size_t i = 0; i < guard_size; i++)
    if (guard[i] != guard_byte)
      return false;
  return true;
}

// One for each block of an execution, so that no block is where another one of it was.
uint8_t *guarded_block(uint32_t number, uint32_t size) {
  static const guarded_area areas[max_blocks];
  return areas[number].last(size);
}

bool is_guarded(const block &entry) {
  return !heap_is_watched && !writes_are_watched && entry.from_cache &&
         entry.size <= guarded_area::capacity;
}

// A guarded block all of it: what is in it must not follow from executions before.
void poison(const block &entry) {
  const bool all = is_guarded(entry) || entry.size < poisoned_bytes;
  memset(entry.address, fresh_byte, all ? entry.size : poisoned_bytes);
}

void *allocate(uint32_t size, uint32_t module, const char *tag, bool from_cache) {
  if (now.block_count == max_blocks) {
    found("more than %u requests for memory in one execution", max_blocks);
    return nullptr;
  }
  block &entry = now.blocks[now.block_count++];
  entry = {nullptr, size, module, from_cache, false, 0, tag, nullptr};
  if (now.block_count == now.refused_request || size > largest_block)
    return nullptr;
  const bool guarded = is_guarded(entry);
  entry.address = guarded ? guarded_block(now.block_count - 1, size) : malloc(size + guard_size);
  if (entry.address == nullptr)
    return nullptr;
  entry.live = true;
  poison(entry);
  if (!guarded)
    set_guard(entry.address, size);
  return entry.address;
}

void release(void *address, uint32_t module, const char *tag) {
  now.releases++;
  for (uint32_t i = 0; i < now.block_count; i++) {
    block &entry = now.blocks[i];
    if (!entry.live || entry.address != address)
      continue;
    entry.live = false;
    entry.release_module = module;
    entry.release_tag = tag;
    if (is_guarded(entry)) {
      poison(entry); // it stays where it can be read
      return;
    }
    if (!guard_is_intact(address, entry.size))
      found("somebody wrote behind the %u bytes of %s", entry.size, entry.tag);
    free(address);
    return;
  }
  found("%s released a block that is not live", tag);
}

uint64_t send_messages(const send &call) {
  now.sends++;
  if (now.on_send != nullptr)
    now.on_send(call);
  return now.send_result;
}

bool is_given(const char *text) {
  if (strcmp(text, "nonNull") != 0 && strcmp(text, "null") != 0)
    found("a pointer is logged as \"%s\"", text);
  return strcmp(text, "nonNull") == 0;
}

void note_line(const void *descriptor, uint32_t level, uint32_t category, const char *text,
               const char *function, const char *format, va_list arguments) {
  log_line &line = now.line;
  line = {category, function, format, 0, 0, false, false};
  now.line_count++;
  const char *words[2]; // a log writer may read the descriptor
  memcpy(words, descriptor, sizeof words);
  if (level != 2 || text[0] != 0 || strcmp(words[0], "VARKO") != 0 ||
      strcmp(words[1], "VARKO_TOLVIAN_SERIAL") != 0)
    found("%s logs with other leading arguments than usual", function);
  if (strstr(format, "Param") != nullptr) {
    line.buffer_given = is_given(va_arg(arguments, const char *));
    line.first = va_arg(arguments, uint32_t);
    line.record_given = is_given(va_arg(arguments, const char *));
  } else {
    line.first = va_arg(arguments, uint32_t);
    if (strstr(format, "out of range") != nullptr)
      line.second = va_arg(arguments, uint32_t);
  }
}

} // namespace

uint32_t accounts::live_blocks() const {
  uint32_t live = 0;
  for (uint32_t i = 0; i < block_count; i++)
    live += blocks[i].live ? 1 : 0;
  return live;
}

const block *accounts::block_at(const void *address) const {
  for (uint32_t i = 0; i < block_count; i++)
    if (blocks[i].live && blocks[i].address == address)
      return &blocks[i];
  return nullptr;
}

void begin() {
  now.block_count = now.releases = now.line_count = now.sends = now.refused_request = 0;
  now.send_result = 0;
  now.on_send = nullptr;
}

} // namespace fuzz::platform

using namespace fuzz::platform;

extern "C" {

void VRX_OsalLogWrite(const void *descriptor, uint32_t level, uint32_t category, const char *text,
                      uint32_t, const char *function, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  note_line(descriptor, level, category, text, function, format, arguments);
  va_end(arguments);
}

void *VRX_OsalMemAlloc(uint32_t size, uint32_t module, const char *caller) {
  return allocate(size, module, caller, false);
}

void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t module, const char *caller) {
  return allocate(size, module, caller, true);
}

void VRX_OsalMemFree(void *address, uint32_t module, const char *caller) {
  release(address, module, caller);
}

uint32_t VRX_OsalMemUseFlagGet(uint32_t module) {
  return module == 12 ? 1 : 0;
}

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  return send_messages({false, destination, messages, count, 0});
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  return send_messages({true, destination, messages, count, target});
}

// Nothing registers here; the library's objects refer to them all the same.
uint32_t MESH_RegIDLFuncHook(uint32_t, mesh_unpack_hook, mesh_free_hook) {
  return 0;
}
uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook) {
  return 0;
}
}
