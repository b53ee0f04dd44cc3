// What a byte vector of length 0 leaves in a message that is sent.
//
// Room: tests.
#include "modules/fib6_cfg/fib6_cfg.h"
#include "tests/transport/sending.h"

#include <algorithm>

using namespace sending;

namespace {

class UntouchedTail : public Sends {};

// Without the vector the message takes 88 bytes.
TEST_F(UntouchedTail, OfEightBytesIsAllThatAByteVectorOfLengthZeroAdds) {
  fake_mesh::expect_untouched_tail(8);
  uint8_t nothing = 0;
  fib6_cfg_query_fib6_key key{};
  key.f0.f2 = &nothing;
  ASSERT_EQ(fib6_cfg_query_fib6_key__sendsingle(destination, &key, 0, 0), 0u);
  const std::vector<fake_mesh::send> sends = fake_mesh::sends();
  ASSERT_EQ(sends.size(), 1u);
  ASSERT_EQ(sends[0].messages.size(), 1u);
  EXPECT_EQ(sends[0].messages[0].length, 96u);
}

} // namespace
