// The library loaded by a process at run time, unloaded, and loaded again: it leaves the process
// without a trace and comes back unbound.
//
// Room: tests. Reaches the library by dlopen only.
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"
#include <mesh_fib6/fib6.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>
#include <string>
#include <vector>

namespace {

using route_update = feiBrokerFib6_ipv6FwdUpdateMsg;
using enum fake_osal::call_kind;

// The mesh stays, as it does in the processes that load and unload the library; its functions are
// this process's own all the same.
void *const mesh = dlopen(TOLVIMESH_PATH, RTLD_NOW | RTLD_LOCAL);

class opened_library {
public:
  opened_library() : handle_(dlopen(MESH_FIB6_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(handle_, nullptr) << dlerror();
  }
  opened_library(const opened_library &) = delete;
  opened_library &operator=(const opened_library &) = delete;
  ~opened_library() { EXPECT_EQ(dlclose(handle_), 0) << dlerror(); }

  template <class Function>
  Function *find(const char *name) const {
    auto *const found = reinterpret_cast<Function *>(dlsym(handle_, name));
    EXPECT_NE(found, nullptr) << dlerror();
    return found;
  }

private:
  void *handle_;
};

bool is_loaded() {
  void *const handle = dlopen(MESH_FIB6_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr)
    dlclose(handle);
  return handle != nullptr;
}

size_t mapped_parts() {
  std::ifstream maps("/proc/self/maps");
  size_t parts = 0;
  for (std::string line; std::getline(maps, line);)
    parts += line.find("libmesh_fib6.so") != std::string::npos ? 1 : 0;
  return parts;
}

// One route there and back, and over the mesh.
void use(const opened_library &library) {
  feiBrokerFib6_ipv6Fwd route{};
  route.f0 = 0xCAFE;
  const route_update record{7, 1, &route};
  uint8_t bytes[256];
  uint32_t length = sizeof bytes;
  using pack_fn = decltype(feiBrokerFib6_ipv6FwdUpdateMsg__pack);
  ASSERT_EQ(library.find<pack_fn>("feiBrokerFib6_ipv6FwdUpdateMsg__pack")(&record, bytes, &length),
            0U);
  route_update decoded{};
  using unpack_fn = decltype(feiBrokerFib6_ipv6FwdUpdateMsg__unpack);
  library.find<unpack_fn>("feiBrokerFib6_ipv6FwdUpdateMsg__unpack")(bytes, length, &decoded);
  ASSERT_NE(decoded.f1, nullptr);
  EXPECT_EQ(decoded.f1[0].f0, 0xCAFEU);
  using release_fn = decltype(feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked);
  library.find<release_fn>("feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked")(&decoded);
  using send_fn = decltype(feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle);
  EXPECT_EQ(library.find<send_fn>("feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle")(1, &record, 0, 0),
            0U);
}

TEST(Reopened, LeavesTheProcessWhenItIsClosed) {
  ASSERT_NE(mesh, nullptr) << dlerror();
  ASSERT_FALSE(is_loaded());
  {
    const opened_library library;
    use(library);
    EXPECT_TRUE(is_loaded());
    EXPECT_GT(mapped_parts(), 0U);
  }
  EXPECT_FALSE(is_loaded());
  EXPECT_EQ(mapped_parts(), 0U);
}

// The OSAL's answer decides where decoded records come from, once a binding.
TEST(Reopened, BindsAnewEachTime) {
  for (const uint32_t flag : {1U, 0U, 1U}) {
    fake_osal::reset();
    fake_mesh::reset();
    fake_osal::set_use_flag(flag);
    {
      const opened_library library;
      use(library);
      use(library);
    }
    EXPECT_EQ(fake_osal::calls_of(use_flag_get).size(), 2U) << "one for each side that was used";
    EXPECT_EQ(fake_osal::calls_of(cache_alloc).size(), flag == 1 ? 2U : 0U);
    EXPECT_EQ(fake_osal::calls_of(alloc).size(), 2U);
    EXPECT_EQ(fake_mesh::sends().size(), 2U);
    EXPECT_EQ(fake_osal::live_blocks(), 0U);
    EXPECT_EQ(fake_osal::wrong_frees(), 0U);
  }
}

TEST(Reopened, WorksTheHundredthTimeAsTheFirst) {
  for (int round = 0; round < 100; ++round) {
    const opened_library library;
    use(library);
  }
  EXPECT_EQ(mapped_parts(), 0U);
  EXPECT_EQ(fake_osal::live_blocks(), 0U);
}

} // namespace
