// Registration of the cases of a list of messages.
//
// Room: tests.
#include "tests/support/message_cases.h"

namespace message_cases {
namespace {

class message_case : public testing::Test {
public:
  explicit message_case(void (*run)()) : run_(run) {}
  void TestBody() override { run_(); }

private:
  void (*run_)();
};

} // namespace

bool add(const std::string &suite, const char *name, const char *file, int line,
         std::span<const body> bodies) {
  for (const body &each : bodies)
    testing::RegisterTest((suite + "/" + each.message).c_str(), name, each.message, nullptr, file,
                          line, [run = each.run] { return new message_case(run); });
  return true;
}

} // namespace message_cases
