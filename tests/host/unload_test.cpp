// A program may load the OSAL stand-in late and unload it again.
//
// Room: tests. Loads the library by its path; nothing of it is linked.
#include "captured_stderr.h"
#include "platform/osal.h"

#include <gtest/gtest.h>

#include <cstdlib>
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

// In a child that ends without a look for leaks: the books are never given back.
void check_unloading() {
  const pid_t child = fork();
  if (child == 0)
    _exit(load_use_unload_and_fork());
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), good);
}

TEST(Osal, LeavesNoForkHandlerBehindWhenItIsUnloaded) {
  check_unloading();
}

TEST(Osal, IsUnloadedAfterItsReportWithAllThatCanBeAskedOfIt) {
  setenv("OSAL_HOST_POISON", "1", 1);
  setenv("OSAL_HOST_REPORT", "1", 1);
  setenv("OSAL_HOST_FAIL_AT", "2+", 1);
  const captured_stderr told;
  check_unloading();
  EXPECT_NE(told.text().find("1 allocations, peak 1 blocks 48 bytes, left 0 blocks"),
            std::string::npos)
      << told.text();
}

} // namespace
