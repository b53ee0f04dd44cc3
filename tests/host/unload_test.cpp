// A program may load the OSAL stand-in late and unload it again.
//
// Room: tests. Loads the library by its path; nothing of it is linked.
#include "platform/osal.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uint32_t module = 25088;

enum outcome { good, not_loaded, not_used, still_there, fork_failed };

// Its fork handlers would be calls into nothing if they stayed.
outcome load_use_unload_and_fork() {
  void *library = dlopen(OSAL_HOST_PATH, RTLD_NOW | RTLD_GLOBAL);
  if (library == nullptr)
    return not_loaded;
  auto *allocate = reinterpret_cast<osal_alloc_fn *>(dlsym(library, "VRX_OsalMemAlloc"));
  auto *release = reinterpret_cast<osal_free_fn *>(dlsym(library, "VRX_OsalMemFree"));
  if (allocate == nullptr || release == nullptr)
    return not_used;
  release(allocate(48, module, "loaded"), module, "loaded");
  dlclose(library);
  if (dlopen(OSAL_HOST_PATH, RTLD_NOW | RTLD_NOLOAD) != nullptr)
    return still_there;
  const pid_t child = fork();
  if (child == 0)
    _exit(0);
  int status = -1;
  return waitpid(child, &status, 0) == child && status == 0 ? good : fork_failed;
}

TEST(Osal, LeavesNoForkHandlerBehindWhenItIsUnloaded) {
  // In a child that ends without a look for leaks: the books are never given back.
  const pid_t child = fork();
  if (child == 0)
    _exit(load_use_unload_and_fork());
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), good);
}

} // namespace
