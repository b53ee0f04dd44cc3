// A record that counts an element and has none: the size pass reads it all the same, and the
// process does not survive that. Says so when the fault arrives.
//
// Room: tests. Public headers only; linked with the library as it ships.
#include <mesh_fib6/fib6.h>

#include <csignal>
#include <cstdint>
#include <unistd.h>

namespace {

void say(const char *text, size_t length) {
  if (write(STDOUT_FILENO, text, length) < 0)
    _exit(2);
}

extern "C" void on_fault(int, siginfo_t *info, void *) {
  constexpr char expected[] = "read through the null pointer\n";
  constexpr char unexpected[] = "a fault somewhere else\n";
  if (reinterpret_cast<uintptr_t>(info->si_addr) < sizeof(feiBrokerFib6_ipv6Fwd))
    say(expected, sizeof expected - 1);
  else
    say(unexpected, sizeof unexpected - 1);
  _exit(1);
}

} // namespace

int main() {
  struct sigaction action = {};
  action.sa_sigaction = on_fault;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSEGV, &action, nullptr);

  const feiBrokerFib6_ipv6FwdUpdateMsg record{0, 1, nullptr};
  uint8_t buffer[512];
  uint32_t length = sizeof buffer;
  feiBrokerFib6_ipv6FwdUpdateMsg__pack(&record, buffer, &length);
  constexpr char survived[] = "survived\n";
  say(survived, sizeof survived - 1);
  return 0;
}
