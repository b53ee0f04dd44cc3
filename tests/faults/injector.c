/* Preloaded into a program, counts its calls of what can fail, and lets one of them fail.
 *
 * Room: tests. Includes libc and the loader. GNU C, without a C++ runtime: it is there before that
 * one.
 *
 * FAULTS_STATE   a file of the size of `struct state`, which all processes of a run share
 *
 * FAULTS_BELOW   only programs whose file is below this folder are concerned
 *
 * FAULTS_FROM    a part of a path: calls count from when such a library is loaded on
 *
 * FAULTS_KIND, FAULTS_NUMBER, FAULTS_ERROR   which call fails, and how: errno, or -1 for half a
 * transfer
 *
 * FAULTS_LASTS   set: all later calls of the kind fail as well
 *
 * Calls that libc makes of itself pass by, so the functions of stdio are named here one by one;
 * what a stream still holds at the very end goes to /dev/full (faults.py). Debian's libfiu knows
 * some of these functions, but neither streams nor half transfers, and does not tell which call
 * failed.
 */
#define _GNU_SOURCE
#undef _FORTIFY_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <execinfo.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

/* What dlsym finds is a function, whatever ISO C says of that. */
#pragma GCC diagnostic ignored "-Wpedantic"

enum { half = -1, most_errors = 4 };

/* Kinds of calls, with what may befall one of them. EINTR where a signal could come without
 * SA_RESTART. */
#define KINDS(kind)                                                                                \
  kind(memory, ENOMEM) kind(open, EMFILE, EACCES) kind(read, EIO, EINTR, half)                     \
      kind(write, ENOSPC, EINTR, half) kind(print, ENOSPC) kind(scan, EIO) kind(close, EIO)        \
          kind(resize, ENOSPC) kind(name, EACCES) kind(look, EACCES) kind(list, EIO)               \
              kind(map, ENOMEM) kind(socket, EMFILE) kind(bind, EADDRINUSE)                        \
                  kind(connect, ECONNREFUSED, EINTR) kind(accept, EMFILE, ECONNABORTED)            \
                      kind(option, ENOBUFS) kind(send, ENOBUFS, EINTR, EPIPE)                      \
                          kind(receive, ENOMEM, EINTR, ECONNRESET) kind(wait, EINTR, ENOMEM)       \
                              kind(descriptor, EMFILE) kind(lock, ENOLCK, EINTR)                   \
                                  kind(thread, EAGAIN) kind(process, EAGAIN) kind(child, EINTR)    \
                                      kind(load, ENOMEM) kind(random, ENOSYS)                      \
                                          kind(address, ENOMEM)

#define AS_NUMBER(name, ...) of_##name,
enum kind { KINDS(AS_NUMBER) kinds };

/* Read by faults.py: the first line says it once more. */
struct state {
  struct {
    char name[16];
    int64_t errors[most_errors];
    uint64_t calls;
  } kinds[kinds];
  uint64_t failed; /* calls that were made to fail */
  int64_t file;    /* the descriptor of the first of them, or -1 */
  char function[48];
  char library[48]; /* of an allocation: the file that holds its caller */
};

static struct state *state;
static int chosen = -1, error;
static uint64_t number;
static int lasts, armed;
static const char *arming_library;
static __thread int is_inside;      /* of what this file itself calls */
static __thread const void *caller; /* of the allocation in hand */

static void *next(const char *name) {
  is_inside++;
  void *const found = dlsym(RTLD_NEXT, name);
  is_inside--;
  return found;
}

static void note_library(void) {
  Dl_info found;
  if (caller == NULL || dladdr(caller, &found) == 0 || found.dli_fname == NULL)
    return;
  const char *const slash = strrchr(found.dli_fname, '/');
  strncpy(state->library, slash != NULL ? slash + 1 : found.dli_fname, sizeof state->library - 1);
}

/* Whether this call fails; `error` is then how. */
static int hits(enum kind kind, const char *function, int file) {
  if (!armed || is_inside)
    return 0;
  const uint64_t call = __atomic_add_fetch(&state->kinds[kind].calls, 1, __ATOMIC_RELAXED);
  /* A device that stays full has not the terminal on it. */
  if ((int)kind != chosen || (lasts ? call < number || file == STDERR_FILENO : call != number))
    return 0;
  if (__atomic_fetch_add(&state->failed, 1, __ATOMIC_RELAXED) == 0) {
    state->file = file;
    strncpy(state->function, function, sizeof state->function - 1);
    if (kind == of_memory)
      note_library();
    if (getenv("FAULTS_TRACE") != NULL) {
      void *callers[40];
      is_inside++;
      backtrace_symbols_fd(callers, backtrace(callers, 40), STDERR_FILENO);
      is_inside--;
    }
  }
  return 1;
}

static int fails(enum kind kind, const char *function, int file) {
  if (!hits(kind, function, file))
    return 0;
  errno = error;
  return 1;
}

/* What is transferred of `size`; 0 when nothing is and the call fails. */
static size_t part(enum kind kind, const char *function, int file, size_t size) {
  if (!hits(kind, function, file))
    return size;
  if (error == half && size > 1)
    return size / 2;
  if (error == half)
    return size;
  errno = error;
  return 0;
}

#define REAL(result, name, parameters)                                                             \
  static result(*real) parameters = NULL;                                                          \
  if (real == NULL)                                                                                \
    real = next(#name);

/* FAILING(kind, result of a failure, descriptor, ...): fails instead of being called. */
#define FAILING(kind, failure, file, result, name, parameters, arguments)                          \
  result name parameters {                                                                         \
    REAL(result, name, parameters)                                                                 \
    if (fails(of_##kind, #name, file))                                                             \
      return failure;                                                                              \
    return real arguments;                                                                         \
  }

/* ---- memory ---------------------------------------------------------------------------------- */

void *__libc_malloc(size_t), *__libc_calloc(size_t, size_t), *__libc_realloc(void *, size_t);
void *__libc_memalign(size_t, size_t);

void *malloc(size_t size) {
  caller = __builtin_return_address(0);
  return fails(of_memory, "malloc", -1) ? NULL : __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
  caller = __builtin_return_address(0);
  return fails(of_memory, "calloc", -1) ? NULL : __libc_calloc(count, size);
}
void *realloc(void *block, size_t size) {
  caller = __builtin_return_address(0);
  return fails(of_memory, "realloc", -1) ? NULL : __libc_realloc(block, size);
}
void *memalign(size_t to, size_t size) {
  caller = __builtin_return_address(0);
  return fails(of_memory, "memalign", -1) ? NULL : __libc_memalign(to, size);
}
void *aligned_alloc(size_t to, size_t size) {
  caller = __builtin_return_address(0);
  return fails(of_memory, "aligned_alloc", -1) ? NULL : __libc_memalign(to, size);
}
int posix_memalign(void **block, size_t to, size_t size) {
  caller = __builtin_return_address(0);
  if (hits(of_memory, "posix_memalign", -1))
    return ENOMEM;
  *block = __libc_memalign(to, size);
  return *block == NULL ? ENOMEM : 0;
}

/* ---- files ----------------------------------------------------------------------------------- */

static mode_t mode_of(int flags, va_list rest) {
  return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
}

#define OPENING(name)                                                                              \
  int name(const char *path, int how, ...) {                                                       \
    REAL(int, name, (const char *, int, ...))                                                      \
    va_list rest;                                                                                  \
    va_start(rest, how);                                                                           \
    const mode_t mode = mode_of(how, rest);                                                        \
    va_end(rest);                                                                                  \
    return fails(of_open, #name, -1) ? -1 : real(path, how, mode);                                 \
  }
OPENING(open)
OPENING(open64)

#define OPENING_AT(name)                                                                           \
  int name(int below, const char *path, int how, ...) {                                            \
    REAL(int, name, (int, const char *, int, ...))                                                 \
    va_list rest;                                                                                  \
    va_start(rest, how);                                                                           \
    const mode_t mode = mode_of(how, rest);                                                        \
    va_end(rest);                                                                                  \
    return fails(of_open, #name, -1) ? -1 : real(below, path, how, mode);                          \
  }
OPENING_AT(openat)
OPENING_AT(openat64)

FAILING(open, -1, -1, int, __open_2, (const char *path, int how), (path, how))
FAILING(open, -1, -1, int, __openat_2, (int at, const char *path, int how), (at, path, how))
FAILING(open, NULL, -1, FILE *, fopen, (const char *path, const char *how), (path, how))
FAILING(open, NULL, -1, FILE *, fopen64, (const char *path, const char *how), (path, how))
FAILING(open, NULL, -1, FILE *, fdopen, (int file, const char *how), (file, how))
FAILING(open, -1, -1, int, mkstemp, (char *path), (path))
FAILING(open, NULL, -1, char *, mkdtemp, (char *path), (path))

#define TRANSFER(kind, name, parameters, arguments)                                                \
  ssize_t name parameters {                                                                        \
    REAL(ssize_t, name, parameters)                                                                \
    const size_t whole = size;                                                                     \
    size = part(of_##kind, #name, file, size);                                                     \
    return whole != 0 && size == 0 ? -1 : real arguments;                                          \
  }
TRANSFER(read, read, (int file, void *to, size_t size), (file, to, size))
TRANSFER(read, pread, (int file, void *to, size_t size, off_t at), (file, to, size, at))
TRANSFER(read, pread64, (int file, void *to, size_t size, off64_t at), (file, to, size, at))
TRANSFER(read, __read_chk, (int file, void *to, size_t size, size_t room), (file, to, size, room))
TRANSFER(write, write, (int file, const void *from, size_t size), (file, from, size))
TRANSFER(write, pwrite, (int file, const void *from, size_t size, off_t at), (file, from, size, at))
TRANSFER(write, pwrite64, (int file, const void *from, size_t size, off64_t at),
         (file, from, size, at))
TRANSFER(write, sendfile, (int file, int from, off_t *at, size_t size), (file, from, at, size))

/* Half of several pieces: half of the first. */
ssize_t writev(int file, const struct iovec *pieces, int count) {
  REAL(ssize_t, writev, (int, const struct iovec *, int))
  size_t all = 0;
  for (int i = 0; i < count; i++)
    all += pieces[i].iov_len;
  const size_t size = part(of_write, "writev", file, all);
  if (all != 0 && size == 0)
    return -1;
  if (size == all)
    return real(file, pieces, count);
  const struct iovec some = {pieces[0].iov_base,
                             size < pieces[0].iov_len ? size : pieces[0].iov_len};
  return real(file, &some, 1);
}

int close(int file) {
  REAL(int, close, (int))
  const int is_hit = hits(of_close, "close", file);
  const int result = real(file); /* Linux closes it, whatever it says */
  if (!is_hit)
    return result;
  errno = error;
  return -1;
}

FAILING(write, -1, file, int, fsync, (int file), (file))
FAILING(write, -1, file, int, fdatasync, (int file), (file))
FAILING(resize, -1, file, int, ftruncate, (int file, off_t size), (file, size))
FAILING(resize, -1, -1, int, truncate, (const char *path, off_t size), (path, size))
int posix_fallocate(int file, off_t at, off_t size) {
  REAL(int, posix_fallocate, (int, off_t, off_t))
  return fails(of_resize, "posix_fallocate", file) ? error : real(file, at, size);
}

FAILING(name, -1, -1, int, rename, (const char *from, const char *to), (from, to))
FAILING(name, -1, -1, int, renameat, (int a, const char *from, int b, const char *to),
        (a, from, b, to))
FAILING(name, -1, -1, int, link, (const char *from, const char *to), (from, to))
FAILING(name, -1, -1, int, symlink, (const char *from, const char *to), (from, to))
FAILING(name, -1, -1, int, unlink, (const char *path), (path))
FAILING(name, -1, -1, int, unlinkat, (int at, const char *path, int how), (at, path, how))
FAILING(name, -1, -1, int, remove, (const char *path), (path))
FAILING(name, -1, -1, int, mkdir, (const char *path, mode_t mode), (path, mode))
FAILING(name, -1, -1, int, mkdirat, (int at, const char *path, mode_t mode), (at, path, mode))
FAILING(name, -1, -1, int, rmdir, (const char *path), (path))
FAILING(name, -1, -1, int, chdir, (const char *path), (path))
FAILING(name, -1, -1, int, chmod, (const char *path, mode_t mode), (path, mode))
FAILING(name, -1, file, int, fchmod, (int file, mode_t mode), (file, mode))
FAILING(name, -1, -1, int, fchmodat, (int at, const char *path, mode_t mode, int how),
        (at, path, mode, how))

FAILING(look, -1, -1, int, stat, (const char *path, struct stat *to), (path, to))
FAILING(look, -1, -1, int, lstat, (const char *path, struct stat *to), (path, to))
FAILING(look, -1, file, int, fstat, (int file, struct stat *to), (file, to))
FAILING(look, -1, file, int, fstat64, (int file, struct stat64 *to), (file, to))
FAILING(look, -1, -1, int, fstatat, (int at, const char *path, struct stat *to, int how),
        (at, path, to, how))
FAILING(look, -1, -1, int, statvfs, (const char *path, struct statvfs *to), (path, to))
FAILING(look, -1, -1, int, access, (const char *path, int how), (path, how))
FAILING(look, -1, -1, ssize_t, readlink, (const char *path, char *to, size_t size),
        (path, to, size))
FAILING(look, NULL, -1, char *, realpath, (const char *path, char *to), (path, to))
FAILING(look, NULL, -1, char *, getcwd, (char *to, size_t size), (to, size))

FAILING(list, NULL, -1, DIR *, opendir, (const char *path), (path))
FAILING(list, NULL, file, DIR *, fdopendir, (int file), (file))
FAILING(list, NULL, -1, struct dirent *, readdir, (DIR * of), (of))
FAILING(list, NULL, -1, struct dirent64 *, readdir64, (DIR * of), (of))

FAILING(map, MAP_FAILED, file, void *, mmap,
        (void *at, size_t size, int may, int how, int file, off_t from),
        (at, size, may, how, file, from))
FAILING(map, MAP_FAILED, file, void *, mmap64,
        (void *at, size_t size, int may, int how, int file, off64_t from),
        (at, size, may, how, file, from))

/* ---- streams --------------------------------------------------------------------------------- */

/* As a write that failed leaves it. */
static int spoils(enum kind kind, const char *function, FILE *stream) {
  if (stream == NULL || !hits(kind, function, fileno(stream)))
    return 0;
  stream->_flags |= 0x20; /* _IO_ERR_SEEN: what ferror answers */
  errno = error;
  return 1;
}

#define PRINTING(kind, failure, stream, result, name, parameters, arguments)                       \
  result name parameters {                                                                         \
    REAL(result, name, parameters)                                                                 \
    return spoils(of_##kind, #name, stream) ? failure : real arguments;                            \
  }
PRINTING(print, 0, to, size_t, fwrite, (const void *from, size_t size, size_t count, FILE *to),
         (from, size, count, to))
PRINTING(print, EOF, to, int, fputs, (const char *text, FILE *to), (text, to))
PRINTING(print, EOF, stdout, int, puts, (const char *text), (text))
PRINTING(print, EOF, to, int, fputc, (int character, FILE *to), (character, to))
PRINTING(print, EOF, to, int, putc, (int character, FILE *to), (character, to))
PRINTING(print, EOF, stdout, int, putchar, (int character), (character))
PRINTING(print, EOF, to, int, fflush, (FILE * to), (to))
PRINTING(print, -1, to, int, vfprintf, (FILE * to, const char *format, va_list rest),
         (to, format, rest))
PRINTING(print, -1, to, int, __vfprintf_chk,
         (FILE * to, int flag, const char *format, va_list rest), (to, flag, format, rest))
PRINTING(scan, 0, from, size_t, fread, (void *to, size_t size, size_t count, FILE *from),
         (to, size, count, from))
PRINTING(scan, EOF, from, int, getc, (FILE * from), (from))
PRINTING(scan, EOF, from, int, fgetc, (FILE * from), (from))
PRINTING(scan, NULL, from, char *, fgets, (char *to, int size, FILE *from), (to, size, from))

#define PRINTING_LIST(name, before, stream, given)                                                 \
  int name(before const char *format, ...) {                                                       \
    if (spoils(of_print, #name, stream))                                                           \
      return -1;                                                                                   \
    va_list rest;                                                                                  \
    va_start(rest, format);                                                                        \
    is_inside++;                                                                                   \
    const int result = vfprintf(given format, rest);                                               \
    is_inside--;                                                                                   \
    va_end(rest);                                                                                  \
    return result;                                                                                 \
  }
#define COMMA ,
#define TO FILE *to COMMA
#define TO_CHECKED FILE *to COMMA int flag __attribute__((unused)) COMMA
#define CHECKED int flag __attribute__((unused)) COMMA
PRINTING_LIST(printf, , stdout, stdout COMMA)
PRINTING_LIST(fprintf, TO, to, to COMMA)
PRINTING_LIST(__printf_chk, CHECKED, stdout, stdout COMMA)
PRINTING_LIST(__fprintf_chk, TO_CHECKED, to, to COMMA)

int fclose(FILE *stream) {
  REAL(int, fclose, (FILE *))
  const int is_hit = hits(of_print, "fclose", fileno(stream));
  const int result = real(stream);
  if (!is_hit)
    return result;
  errno = error;
  return EOF;
}

/* ---- sockets --------------------------------------------------------------------------------- */

FAILING(socket, -1, -1, int, socket, (int family, int type, int protocol), (family, type, protocol))
FAILING(socket, -1, -1, int, socketpair, (int family, int type, int protocol, int ends[2]),
        (family, type, protocol, ends))
FAILING(bind, -1, file, int, bind, (int file, const struct sockaddr *to, socklen_t size),
        (file, to, size))
FAILING(bind, -1, file, int, listen, (int file, int most), (file, most))
FAILING(connect, -1, file, int, connect, (int file, const struct sockaddr *to, socklen_t size),
        (file, to, size))
FAILING(accept, -1, file, int, accept4, (int file, struct sockaddr *from, socklen_t *size, int how),
        (file, from, size, how))
FAILING(accept, -1, file, int, accept, (int file, struct sockaddr *from, socklen_t *size),
        (file, from, size))
FAILING(option, -1, file, int, setsockopt,
        (int file, int level, int name, const void *value, socklen_t size),
        (file, level, name, value, size))
FAILING(option, -1, file, int, getsockopt,
        (int file, int level, int name, void *value, socklen_t *size),
        (file, level, name, value, size))
FAILING(option, -1, file, int, getsockname, (int file, struct sockaddr *to, socklen_t *size),
        (file, to, size))
FAILING(send, -1, file, ssize_t, send, (int file, const void *from, size_t size, int how),
        (file, from, size, how))
FAILING(send, -1, file, ssize_t, sendto,
        (int file, const void *from, size_t size, int how, const struct sockaddr *to,
         socklen_t room),
        (file, from, size, how, to, room))
FAILING(send, -1, file, ssize_t, sendmsg, (int file, const struct msghdr *from, int how),
        (file, from, how))
FAILING(receive, -1, file, ssize_t, recv, (int file, void *to, size_t size, int how),
        (file, to, size, how))
FAILING(receive, -1, file, ssize_t, __recv_chk,
        (int file, void *to, size_t size, size_t room, int how), (file, to, size, room, how))
FAILING(receive, -1, file, ssize_t, recvfrom,
        (int file, void *to, size_t size, int how, struct sockaddr *from, socklen_t *room),
        (file, to, size, how, from, room))
FAILING(receive, -1, file, ssize_t, recvmsg, (int file, struct msghdr *to, int how),
        (file, to, how))
FAILING(receive, -1, file, int, recvmmsg,
        (int file, struct mmsghdr *to, unsigned count, int how, struct timespec *most),
        (file, to, count, how, most))

FAILING(wait, -1, -1, int, poll, (struct pollfd * files, nfds_t count, int most),
        (files, count, most))
FAILING(wait, -1, -1, int, __poll_chk, (struct pollfd * files, nfds_t count, int most, size_t room),
        (files, count, most, room))
FAILING(wait, -1, file, int, epoll_wait, (int file, struct epoll_event *to, int count, int most),
        (file, to, count, most))

/* ---- descriptors, threads, processes --------------------------------------------------------- */

FAILING(descriptor, -1, -1, int, epoll_create1, (int how), (how))
FAILING(descriptor, -1, file, int, epoll_ctl,
        (int file, int what, int other, struct epoll_event *how), (file, what, other, how))
FAILING(descriptor, -1, -1, int, eventfd, (unsigned begin, int how), (begin, how))
FAILING(descriptor, -1, -1, int, timerfd_create, (int clock, int how), (clock, how))
FAILING(descriptor, -1, -1, int, memfd_create, (const char *name, unsigned how), (name, how))
FAILING(descriptor, -1, -1, int, pipe2, (int ends[2], int how), (ends, how))
FAILING(descriptor, -1, -1, int, pipe, (int ends[2]), (ends))
FAILING(descriptor, -1, file, int, dup, (int file), (file))
FAILING(descriptor, -1, file, int, dup2, (int file, int to), (file, to))
FAILING(lock, -1, file, int, flock, (int file, int how), (file, how))

int fcntl(int file, int what, ...) {
  REAL(int, fcntl, (int, int, ...))
  va_list rest;
  va_start(rest, what);
  void *const value = va_arg(rest, void *);
  va_end(rest);
  /* Nothing else that it is used for can fail of an open descriptor. */
  const int takes_number = what == F_DUPFD || what == F_DUPFD_CLOEXEC;
  return takes_number && fails(of_descriptor, "fcntl", file) ? -1 : real(file, what, value);
}

int pthread_create(pthread_t *to, const pthread_attr_t *how, void *(*begin)(void *), void *given) {
  REAL(int, pthread_create, (pthread_t *, const pthread_attr_t *, void *(*)(void *), void *))
  return fails(of_thread, "pthread_create", -1) ? error : real(to, how, begin, given);
}

FAILING(process, -1, -1, pid_t, fork, (void), ())
FAILING(process, -1, -1, pid_t, setsid, (void), ())
FAILING(child, -1, -1, pid_t, waitpid, (pid_t child, int *status, int how), (child, status, how))
FAILING(random, -1, -1, ssize_t, getrandom, (void *to, size_t size, unsigned how), (to, size, how))
FAILING(random, -1, -1, int, getentropy, (void *to, size_t size), (to, size))

int execl(const char *path, const char *first, ...) {
  enum { most = 16 };
  const char *words[most + 1] = {first};
  va_list rest;
  va_start(rest, first);
  for (int i = 1; i < most && words[i - 1] != NULL; i++)
    words[i] = va_arg(rest, const char *);
  va_end(rest);
  return fails(of_process, "execl", -1) ? -1 : execv(path, (char *const *)words);
}

int getaddrinfo(const char *host, const char *service, const struct addrinfo *hints,
                struct addrinfo **to) {
  REAL(int, getaddrinfo, (const char *, const char *, const struct addrinfo *, struct addrinfo **))
  return fails(of_address, "getaddrinfo", -1) ? EAI_MEMORY : real(host, service, hints, to);
}

/* Failed as libc's own says it: dlerror then has a text. */
void *dlopen(const char *path, int how) {
  REAL(void *, dlopen, (const char *, int))
  if (state != NULL && !armed && path != NULL && strstr(path, arming_library) != NULL)
    armed = 1;
  return fails(of_load, "dlopen", -1) ? real("/this library was made to fail", how)
                                      : real(path, how);
}

/* ---- begin ----------------------------------------------------------------------------------- */

static void read_orders(void) {
  char self[4096] = "";
  const char *const path = getenv("FAULTS_STATE"), *const below = getenv("FAULTS_BELOW");
  if (path == NULL || below == NULL || readlink("/proc/self/exe", self, sizeof self - 1) < 0 ||
      strncmp(self, below, strlen(below)) != 0)
    return;
  const int file = open(path, O_RDWR | O_CLOEXEC);
  state = mmap(NULL, sizeof *state, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (file < 0 || state == MAP_FAILED) {
    dprintf(2, "faults: cannot use %s\n", path);
    _exit(126);
  }
  close(file);
#define AS_ENTRY(name, ...) {#name, {__VA_ARGS__}},
  static const struct {
    char name[16];
    int64_t errors[most_errors];
  } table[kinds] = {KINDS(AS_ENTRY)};
  const char *const wanted = getenv("FAULTS_KIND");
  for (int i = 0; i < kinds; i++) {
    memcpy(state->kinds[i].name, table[i].name, sizeof table[i].name);
    memcpy(state->kinds[i].errors, table[i].errors, sizeof table[i].errors);
    if (wanted != NULL && strcmp(wanted, table[i].name) == 0)
      chosen = i;
  }
  if (chosen >= 0) {
    number = strtoull(getenv("FAULTS_NUMBER"), NULL, 10);
    error = atoi(getenv("FAULTS_ERROR"));
    lasts = getenv("FAULTS_LASTS") != NULL;
  }
  arming_library = getenv("FAULTS_FROM");
  armed = arming_library == NULL;
}

static int (*main_of_program)(int, char **, char **);

static int counted_main(int count, char **words, char **environment) {
  read_orders();
  return main_of_program(count, words, environment);
}

/* From main on: what the loader and the runtimes do before is not the program's. */
int __libc_start_main(int (*program)(int, char **, char **), int count, char **words,
                      void (*init)(void), void (*fini)(void), void (*loader_fini)(void),
                      void *stack_end) {
  REAL(int, __libc_start_main,
       (int (*)(int, char **, char **), int, char **, void (*)(void), void (*)(void),
        void (*)(void), void *))
  main_of_program = program;
  return real(counted_main, count, words, init, fini, loader_fini, stack_end);
}
