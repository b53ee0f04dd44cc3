// libmesh_fib6_tap.so: preloaded into a process that uses the mesh, it writes each message that is
// handed to the mesh or comes from it into a file (tools/capture.h). The process is not rebuilt and
// notices nothing.
//
//   LD_PRELOAD=libmesh_fib6_tap.so MESH_FIB6_TAP=/tmp/routes.pcapng program
//
//   MESH_FIB6_TAP        the file; %p in it is the process's number. Not set: nothing is done.
//   MESH_FIB6_TAP_BYTES  how long it may become (64 MiB); what comes then is counted and dropped
//
// Room: tools. Knows the mesh's declarations, libc and pthread; nothing of the library. No C++
// runtime: it is loaded into programs that have none.
//
// The process comes first: messages are copied into a ring of memory, without a lock; where there
// is no room they are dropped and counted. A thread of our own, which takes no signal and has a
// table of descriptors of its own, writes the ring to the file. What goes wrong with the file at
// the start is told on standard error, later drops are told in the file, or at the process's end on
// standard error when the file takes not even their number.
#include "platform/mesh.h"
#include "tools/capture.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/close_range.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr uint32_t ring_size = 8u << 20;      // a power of two
constexpr uint32_t largest_packet = 1u << 20; // bytes of a message that are kept
constexpr uint64_t default_limit = 64u << 20;
constexpr uint32_t hooks = 256;
constexpr time_t patience = 2; // seconds that the process's end waits for the file

// ---- pcapng ----

constexpr uint32_t section_block = 0x0A0D0D0A, interface_block = 1, packet_block = 6,
                   statistics_block = 5;

struct packet_head { // of an enhanced packet block
  uint32_t type, size, interface, time_high, time_low, captured, original;
};

constexpr uint32_t padded(uint32_t size) {
  return (size + 3) & ~3u;
}

uint64_t nanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

// ---- the state, one a process ----

struct tap {
  int file;
  bool has_own_table; // of descriptors: the file is in the writer's only
  struct stat opened;
  uint64_t written; // bytes of the file, whole blocks
  uint64_t limit;
  uint64_t kept;                 // messages that are in the file
  uint32_t last_size;            // of the last of them, as a block
  uint8_t *ring;                 // zero where no packet is
  std::atomic<uint64_t> filled;  // bytes of the ring that were taken, ever
  std::atomic<uint64_t> emptied; // and given back
  std::atomic<uint64_t> seen;
  std::atomic<bool> ends;
  std::atomic<bool> is_begun; // the writer is there, or somebody is about to make it
  std::atomic<bool> is_on;
  pthread_t writer;
  bool has_writer;
  uint64_t untold; // messages that the file lacks without saying so; the writer's last word
  char name[4096]; // of the file
};
constinit tap state{}; // before any constructor runs

// ---- the ring ----

// Packets begin at multiples of four, so a word of theirs is in one piece. The first one says that
// the packet is there: it is stored last, and zero until then.
std::atomic_ref<uint32_t> word_at(uint64_t at) {
  return std::atomic_ref(*reinterpret_cast<uint32_t *>(state.ring + (at & (ring_size - 1))));
}

void put(uint64_t at, const void *bytes, size_t size) {
  const size_t from = at & (ring_size - 1);
  const size_t first = size < ring_size - from ? size : ring_size - from;
  memcpy(state.ring + from, bytes, first);
  memcpy(state.ring, static_cast<const uint8_t *>(bytes) + first, size - first);
}

// Any number of threads at once, none of which waits for another.
void add_packet(const mesh_fib6_capture_header &header, const void *bytes) {
  const uint32_t kept = header.length < largest_packet ? header.length : largest_packet;
  const uint32_t captured = static_cast<uint32_t>(sizeof header) + kept;
  const uint32_t size = static_cast<uint32_t>(sizeof(packet_head)) + padded(captured) + 4;
  uint64_t at = state.filled.load(std::memory_order_relaxed);
  do
    if (at + size - state.emptied.load(std::memory_order_acquire) > ring_size)
      return;
  while (!state.filled.compare_exchange_weak(at, at + size, std::memory_order_relaxed));
  const uint64_t time = nanoseconds();
  const packet_head head = {packet_block,
                            size,
                            0,
                            static_cast<uint32_t>(time >> 32),
                            static_cast<uint32_t>(time),
                            captured,
                            static_cast<uint32_t>(sizeof header) + header.length};
  put(at + sizeof head.type, &head.size, sizeof head - sizeof head.type);
  put(at + sizeof head, &header, sizeof header);
  put(at + sizeof head + sizeof header, bytes, kept);
  put(at + size - 4, &size, sizeof size); // the padding is zero already
  word_at(at).store(head.type, std::memory_order_release);
}

// ---- the file ----

// Whether the descriptor is still what was opened. The process may have closed it, where it is in
// its table, and have opened something else under its number.
bool is_ours() {
  struct stat now {};
  return state.has_own_table ||
         (fstat(state.file, &now) == 0 && now.st_dev == state.opened.st_dev &&
          now.st_ino == state.opened.st_ino);
}

// Bytes at a place of the file; false when it takes no more.
bool write_at(uint64_t place, const void *bytes, size_t size) {
  const auto *at = static_cast<const uint8_t *>(bytes);
  while (size != 0) {
    const ssize_t count = is_ours() ? pwrite(state.file, at, size, static_cast<off_t>(place)) : -1;
    if (count < 0 && errno == EINTR && is_ours())
      continue;
    if (count <= 0)
      return false;
    at += count;
    size -= static_cast<size_t>(count);
    place += static_cast<uint64_t>(count);
  }
  return true;
}

bool write_head() {
  const uint32_t section[] = {section_block,
                              28,
                              0x1A2B3C4D,
                              1 /* version 1.0 */,
                              0xFFFFFFFF,
                              0xFFFFFFFF /* length not known */,
                              28};
  // if_tsresol: nanoseconds.
  const uint32_t interface[] = {
      interface_block, 32, MESH_FIB6_LINK_TYPE, 0, 9u | 1u << 16, 9, 0, 32};
  state.written = sizeof section + sizeof interface;
  return write_at(0, section, sizeof section) &&
         write_at(sizeof section, interface, sizeof interface);
}

// How many messages there were, and how many of them the file has not: at the file's end, where it
// is written over when there are more.
bool write_statistics() {
  const uint64_t time = nanoseconds(), seen = state.seen, dropped = seen - state.kept;
  const uint32_t block[] = {statistics_block,
                            52,
                            0,
                            static_cast<uint32_t>(time >> 32),
                            static_cast<uint32_t>(time),
                            4u | 8u << 16, // isb_ifrecv
                            static_cast<uint32_t>(seen),
                            static_cast<uint32_t>(seen >> 32),
                            5u | 8u << 16, // isb_ifdrop
                            static_cast<uint32_t>(dropped),
                            static_cast<uint32_t>(dropped >> 32),
                            0,
                            52};
  static_assert(sizeof block == 52);
  return write_at(state.written, block, sizeof block);
}

void cut_file() {
  if (is_ours())
    (void)!ftruncate(state.file, static_cast<off_t>(state.written));
}

// A packet of the ring as a block of the file.
void write_packet(uint64_t at, uint32_t size) {
  const size_t from = at & (ring_size - 1);
  const size_t first = size < ring_size - from ? size : ring_size - from;
  if (write_at(state.written, state.ring + from, first) &&
      write_at(state.written + first, state.ring, size - first)) {
    state.written += size;
    state.last_size = size;
    state.kept++;
    return;
  }
  // The disk is full: from here on all is dropped, and no half of a block stays. What was written
  // last gives way to the count, which is shorter.
  state.limit = 0;
  cut_file();
  if (write_statistics() || state.kept == 0)
    return;
  state.written -= state.last_size;
  state.kept--;
  cut_file();
}

void clear_packet(uint64_t at, uint32_t size) {
  const size_t from = at & (ring_size - 1);
  const size_t first = size < ring_size - from ? size : ring_size - from;
  memset(state.ring + from, 0, first);
  memset(state.ring, 0, size - first);
}

// Takes packets out of the ring until it is empty, or the next one is not there yet.
void empty_ring() {
  bool is_cut = false;
  uint64_t at = state.emptied.load(std::memory_order_relaxed);
  while (at != state.filled.load(std::memory_order_acquire) &&
         word_at(at).load(std::memory_order_acquire) != 0) {
    const uint32_t size = word_at(at + 4).load(std::memory_order_relaxed);
    if (state.written + size <= state.limit)
      write_packet(at, size);
    else
      is_cut = true;
    is_cut |= state.limit == 0; // it was just found to be full
    clear_packet(at, size);
    at += size;
    state.emptied.store(at, std::memory_order_release);
  }
  if (is_cut)
    (void)write_statistics(); // however the process ends
}

void complain(const char *what, const char *file) {
  (void)fprintf(stderr, "mesh_fib6_tap: %s %s: %s\n", what, file, strerror(errno));
}

// Takes the writer's descriptors out of the process's table, and lets go of all that it has there:
// what the process closes is closed. Before Linux 5.9 they share one table.
void leave_table() {
  state.has_own_table = close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_UNSHARE) == 0;
}

// Whoever has the file keeps it: two processes that write into one leave a mess. Nothing is waited
// for: a pipe without a reader is refused.
bool open_file() {
  state.file = open(state.name, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
  if (state.file >= 0 && fstat(state.file, &state.opened) == 0 && !S_ISREG(state.opened.st_mode)) {
    (void)fprintf(stderr, "mesh_fib6_tap: cannot write %s: expected a file, or a name for one\n",
                  state.name);
    return false;
  }
  if (state.file >= 0 && flock(state.file, LOCK_EX | LOCK_NB) == 0 &&
      ftruncate(state.file, 0) == 0 && write_head())
    return true;
  complain("cannot write", state.name);
  return false;
}

void *write_ring(void *) {
  leave_table();
  const bool is_open = open_file();
  if (state.has_own_table)
    (void)close_range(STDIN_FILENO, STDERR_FILENO, 0);
  if (!is_open) {
    state.is_on = false;
    return nullptr;
  }
  while (!state.ends.load(std::memory_order_acquire)) {
    empty_ring();
    constexpr timespec pause = {0, 20000000};
    nanosleep(&pause, nullptr);
  }
  empty_ring();
  if (!write_statistics())
    state.untold = state.seen - state.kept;
  if (is_ours())
    (void)close(state.file);
  return nullptr;
}

// ---- the start and the end ----

void begin() {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const int error = pthread_create(&state.writer, nullptr, write_ring, nullptr);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  state.has_writer = error == 0;
  if (error == 0)
    return;
  errno = error;
  complain("no thread for", state.name);
  state.is_on = false;
}

void note(mesh_fib6_direction direction, uint32_t destination, uint64_t target, uint32_t id,
          const void *bytes, uint32_t length) {
  const int error = errno;
  if (!state.is_begun.exchange(true, std::memory_order_acq_rel))
    begin();
  state.seen.fetch_add(1, std::memory_order_relaxed);
  const mesh_fib6_capture_header header = {
      1, static_cast<uint8_t>(direction), 0, destination, target, id, length};
  add_packet(header, bytes);
  errno = error;
}

// The file's name, each %p in it replaced by the process's number; false when it is too long.
bool name_file(const char *pattern) {
  size_t length = 0;
  while (*pattern != '\0') {
    const bool is_mark = pattern[0] == '%' && pattern[1] == 'p';
    const size_t room = sizeof state.name - length;
    const int more = is_mark
                         ? snprintf(state.name + length, room, "%ld", static_cast<long>(getpid()))
                         : snprintf(state.name + length, room, "%c", *pattern);
    if (more < 0 || static_cast<size_t>(more) >= room)
      return false;
    length += static_cast<size_t>(more);
    pattern += is_mark ? 2 : 1;
  }
  return true;
}

bool read_limit() {
  state.limit = default_limit;
  const char *const limit = getenv("MESH_FIB6_TAP_BYTES");
  if (limit == nullptr)
    return true;
  char *end = nullptr;
  errno = 0;
  state.limit = strtoull(limit, &end, 10);
  if (end != limit && *end == '\0' && errno == 0 && *limit != '-')
    return true;
  errno = EINVAL;
  complain("MESH_FIB6_TAP_BYTES is no number:", limit);
  return false;
}

bool make_ring() {
  void *const ring = mmap(nullptr, ring_size, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (ring == MAP_FAILED) {
    complain("no memory for", state.name);
    return false;
  }
  state.ring = static_cast<uint8_t *>(ring);
  return true;
}

void get_ready() {
  const char *const pattern = getenv("MESH_FIB6_TAP");
  if (pattern == nullptr || *pattern == '\0')
    return;
  if (!name_file(pattern)) {
    errno = ENAMETOOLONG;
    return complain("cannot write", pattern);
  }
  state.is_on = read_limit() && make_ring();
}

// A child has none of our threads. It begins a file of its own where the name has its number, and
// is left alone where it would write over its parent's.
void begin_in_child() {
  if (!state.is_on)
    return;
  state.is_on = false;
  if (state.has_writer && !state.has_own_table && state.file >= 0 && is_ours())
    (void)close(state.file);
  munmap(state.ring, ring_size);
  state.filled = state.emptied = state.seen = 0;
  state.written = state.kept = 0;
  state.has_own_table = false;
  state.is_begun = false;
  state.has_writer = false;
  const char *const pattern = getenv("MESH_FIB6_TAP");
  if (pattern != nullptr && strstr(pattern, "%p") != nullptr)
    get_ready();
}

[[gnu::constructor]] void load() {
  get_ready();
  if (state.is_on)
    (void)pthread_atfork(nullptr, nullptr, begin_in_child);
}

[[gnu::destructor]] void unload() {
  state.is_on = false;
  state.ends.store(true, std::memory_order_release);
  timespec until{};
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += patience;
  if (state.has_writer && pthread_timedjoin_np(state.writer, nullptr, &until) == 0 &&
      state.untold != 0)
    (void)fprintf(stderr, "mesh_fib6_tap: %s lacks %llu messages and takes no count of them\n",
                  state.name, static_cast<unsigned long long>(state.untold));
}

// ---- what the process calls ----

// The function that stands behind ours; null when there is none.
template <class Function>
Function *behind(std::atomic<Function *> &known, const char *name) {
  Function *function = known.load(std::memory_order_acquire);
  if (function == nullptr) {
    function = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
    known.store(function, std::memory_order_release);
  }
  return function;
}

using send_function = uint64_t(uint32_t, const msg_desc *, uint32_t);
using send_to_function = uint64_t(uint32_t, const msg_desc *, uint32_t, uint64_t);
using register_function = uint32_t(uint32_t, mesh_unpack_hook, mesh_free_hook);

// A hook is told no identifier: each has a function of its own that knows one.
struct hook {
  std::atomic<uint32_t> id;
  std::atomic<mesh_unpack_hook> unpack;
};
hook hook_of[hooks];
std::atomic<uint32_t> hook_count;

template <uint32_t Index>
uint32_t unpack_and_note(const void *buffer, uint32_t length, void *record) {
  const hook &which = hook_of[Index];
  if (state.is_on && buffer != nullptr && record != nullptr)
    note(mesh_fib6_received, 0xFFFFFFFF, 0, which.id, buffer, length);
  return which.unpack.load(std::memory_order_acquire)(buffer, length, record);
}

template <uint32_t... Index>
constexpr mesh_unpack_hook trampoline(uint32_t index, std::integer_sequence<uint32_t, Index...>) {
  constexpr mesh_unpack_hook all[] = {unpack_and_note<Index>...};
  return all[index];
}

// The function to be registered instead; the hook itself when there are too many.
mesh_unpack_hook hook_for(uint32_t id, mesh_unpack_hook unpack) {
  static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&lock);
  uint32_t index = 0;
  while (index < hook_count && hook_of[index].id != id)
    index++;
  if (index < hooks) {
    hook_of[index].id = id;
    hook_of[index].unpack.store(unpack, std::memory_order_release);
    if (index == hook_count)
      hook_count++;
    unpack = trampoline(index, std::make_integer_sequence<uint32_t, hooks>());
  }
  pthread_mutex_unlock(&lock);
  return unpack;
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages,
                                                     uint32_t count) {
  static std::atomic<send_function *> known;
  for (uint32_t i = 0; state.is_on && i < count; i++)
    note(mesh_fib6_sent, destination, 0, messages[i].id, messages[i].data, messages[i].length);
  send_function *const send = behind(known, "MESH_SendMsg");
  return send != nullptr ? send(destination, messages, count) : UINT64_MAX;
}

[[gnu::visibility("default")]] uint64_t
MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count, uint64_t target) {
  static std::atomic<send_to_function *> known;
  for (uint32_t i = 0; state.is_on && i < count; i++)
    note(mesh_fib6_sent, destination, target, messages[i].id, messages[i].data, messages[i].length);
  send_to_function *const send = behind(known, "MESH_SendToMsg");
  return send != nullptr ? send(destination, messages, count, target) : UINT64_MAX;
}

[[gnu::visibility("default")]] uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack,
                                                            mesh_free_hook release) {
  static std::atomic<register_function *> known;
  register_function *const enter = behind(known, "MESH_RegIDLFuncHook");
  if (enter == nullptr)
    return UINT32_MAX;
  return enter(id, state.is_on && unpack != nullptr ? hook_for(id, unpack) : unpack, release);
}

} // extern "C"
