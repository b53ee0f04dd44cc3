// What the OSAL stand-in does without memory for its books: nothing is thrown through its C
// functions.
//
// Room: tests. The executable's operator new is also the stand-in's.
#include "captured_stderr.h"
#include "host/osal_host.h"
#include "platform/osal.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <vector>

namespace {

constexpr uint32_t module = 12;
bool is_short = false; // what operator new asks

osal_host_accounts accounts() {
  osal_host_accounts now{};
  osal_host_get_accounts(&now);
  return now;
}

TEST(OsalWithoutMemory, RefusesTheBlockItCannotEnterAndSaysSo) {
  void *const before = VRX_OsalMemAlloc(8, module, "before");
  ASSERT_NE(before, nullptr);
  const osal_host_accounts calm = accounts();
  const captured_stderr said;
  is_short = true;
  void *const refused = VRX_OsalMemAlloc(8, module, "tag");
  is_short = false;
  EXPECT_EQ(refused, nullptr);
  EXPECT_EQ(said.text(), "osal_host: no memory to enter a block in the books, which is refused\n");
  EXPECT_EQ(accounts().live_blocks, calm.live_blocks);
  EXPECT_EQ(accounts().live_bytes, calm.live_bytes);
  EXPECT_EQ(accounts().allocations, calm.allocations);
  EXPECT_EQ(accounts().failed_allocations, calm.failed_allocations + 1);
  VRX_OsalMemFree(before, module, "before");
  EXPECT_EQ(accounts().live_blocks, calm.live_blocks - 1);
}

TEST(OsalWithoutMemory, ReleasesWhateverItHasEntered) {
  std::vector<void *> blocks(1000);
  for (void *&each : blocks)
    each = VRX_OsalMemAlloc(8, module, "many");
  const osal_host_accounts full = accounts();
  const captured_stderr said;
  is_short = true;
  for (void *each : blocks)
    VRX_OsalMemFree(each, module, "many");
  is_short = false;
  EXPECT_EQ(said.text(), "");
  EXPECT_EQ(accounts().live_blocks, full.live_blocks - 1000);
  EXPECT_EQ(accounts().wrong_releases, full.wrong_releases);
}

} // namespace

void *operator new(size_t size) {
  void *const block = is_short ? nullptr : malloc(size);
  if (block == nullptr)
    throw std::bad_alloc();
  return block;
}
void operator delete(void *block) noexcept {
  free(block);
}
void operator delete(void *block, size_t) noexcept {
  free(block);
}
