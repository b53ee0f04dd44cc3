// A process whose OSAL comes in a library of its own, before or after the first call.
//
// Room: tests. The executable exports no OSAL; the one that is loaded counts for itself.
#include "tests/runtime/heap_watch.h"
#include "tests/runtime/late_osal.h"
#include "tests/runtime/traffic.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

using namespace traffic;

namespace {

// The OSAL's library, loaded for good.
class late_osal {
public:
  late_osal() : handle_(dlopen(LATE_OSAL_PATH, RTLD_NOW | RTLD_GLOBAL)) {
    EXPECT_NE(handle_, nullptr) << dlerror();
  }
  late_osal_counts counts() const {
    using counts_fn = void(late_osal_counts *);
    auto *get = reinterpret_cast<counts_fn *>(dlsym(handle_, "late_osal_get_counts"));
    late_osal_counts result{};
    if (get == nullptr)
      ADD_FAILURE() << dlerror();
    else
      get(&result);
    return result;
  }

private:
  void *handle_;
};

void decode_and_release() {
  route_update record{};
  unpack_routes(packed_routes(), record);
  expect_two_routes(record);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
}

void expect_counts(const late_osal &osal, const late_osal_counts &expected) {
  const late_osal_counts seen = osal.counts();
  EXPECT_EQ(seen.allocations, expected.allocations);
  EXPECT_EQ(seen.cache_allocations, expected.cache_allocations);
  EXPECT_EQ(seen.releases, expected.releases);
  EXPECT_EQ(seen.flag_questions, expected.flag_questions);
  EXPECT_EQ(seen.log_lines, expected.log_lines);
}

TEST(LateOsal, LoadedBeforeTheFirstCallIsFound) {
  const late_osal osal;
  EXPECT_EQ(send_routes(), 0u);
  decode_and_release();
  query_size(64);
  expect_counts(osal, {1, 1, 2, 2, 1});
}

TEST(LateOsal, LoadedAfterTheBindingChangesNothing) {
  EXPECT_EQ(send_routes(), 0u);
  decode_and_release();
  EXPECT_EQ(send_batch_of_settings(), 0u);
  query_size(64);
  const late_osal osal;
  heap_watch::start();
  EXPECT_EQ(send_routes(), 0u);
  heap_watch::stop();
  EXPECT_EQ(heap_watch::allocations(latest_data(), route_update_size), 1u);
  decode_and_release();
  EXPECT_EQ(send_batch_of_settings(), 0u);
  query_size(64);
  expect_counts(osal, {0, 0, 0, 0, 0});
}

TEST(LateOsal, ABlockDecodedBeforeGoesBackToWhereItIsFrom) {
  route_update record{};
  heap_watch::start();
  unpack_routes(packed_routes(), record);
  const void *block = record.f1;
  const late_osal osal;
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
  heap_watch::stop();
  EXPECT_EQ(heap_watch::allocations(block, decoded_block_size), 1u);
  EXPECT_EQ(heap_watch::releases(block), 1u);
  expect_counts(osal, {0, 0, 0, 0, 0});
}

TEST(LateOsal, AUnitThatIsStillUnboundFindsItWhileABoundOneDoesNot) {
  EXPECT_EQ(send_routes(), 0u); // binds the send side of one module
  const late_osal osal;
  EXPECT_EQ(send_routes(), 0u);
  expect_counts(osal, {0, 0, 0, 0, 0});
  EXPECT_EQ(send_batch_of_settings(), 0u); // another module
  expect_counts(osal, {1, 0, 1, 1, 0});
  decode_and_release(); // the receive side
  expect_counts(osal, {1, 1, 2, 2, 0});
}

} // namespace
