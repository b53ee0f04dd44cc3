// What the tests of the examples share.
//
// Room: tests. Includes the public headers: what is expected of a hostile message is what the
// decoder makes of it.
#include "tests/examples/example_test.h"

#include "platform/mesh.h"

#include <mesh_fib6/fib6.h>

#include <arpa/inet.h>
#include <filesystem>
#include <fstream>
#include <thread>

encoded_message one_route() {
  return {0x5026A923,
          {
              12,   0,    0,    0,                         //  0 root table at 12
              8,    0,    16,   0,    0, 0, 4, 0,          //  4 vtable: f0 absent, f1 at 4
              8,    0,    0,    0,                         // 12 root: vtable at 12 - 8
              4,    0,    0,    0,                         // 16 f1: vector at 20
              1,    0,    0,    0,                         // 20 of one table,
              36,   0,    0,    0,                         // 24 which is at 60
              32,   0,    29,   0,    0, 0, 0, 0, 0, 0, 5, // 28 vtable of the route: f3 at 5,
              0,    4,    0,    0,    0, 0, 0, 0, 0, 0, 0, //    f4 at 4
              0,    0,    0,    0,    0, 0, 0, 0, 0, 0,    //    and nothing else
              32,   0,    0,    0,                         // 60 route: vtable at 60 - 32
              32,                                          // 64 f4: the prefix length
              4,    0,    0,    0,                         // 65 f3: vector at 69
              4,    0,    0,    0,                         // 69 of four words,
              0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 // 73 the address
          }};
}

printed printed_of(const encoded_message &message) {
  printed expected;
  feiBrokerFib6_ipv6FwdUpdateMsg update{};
  feiBrokerFib6_ipv6FwdUpdateMsg__unpack(message.bytes.data(),
                                         static_cast<uint32_t>(message.bytes.size()), &update);
  expected.refusals = update.f1 == nullptr ? 1 : 0;
  for (uint32_t i = 0; update.f1 != nullptr && i < update.f1_count; i++) {
    char address[INET6_ADDRSTRLEN];
    if (update.f1[i].f4 > 128)
      expected.no_routes++;
    else
      expected.routes += inet_ntop(AF_INET6, update.f1[i].f3, address, sizeof address) +
                         ("/" + std::to_string(update.f1[i].f4)) + "\n";
  }
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&update);
  return expected;
}

unsigned times(const std::string &text, const std::string &part) {
  unsigned count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    count++;
  return count;
}

void send_message(uint32_t destination, const encoded_message &message) {
  const msg_desc described{message.bytes.data(), message.id,
                           static_cast<uint32_t>(message.bytes.size())};
  ASSERT_EQ(MESH_SendMsg(destination, &described, 1), 0u);
}

program_run::settings ExampleTest::example(const std::string &name,
                                           const std::vector<std::string> &arguments,
                                           const std::string &input) const {
  std::vector<std::string> words{program(name)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return {words, input, work(), {"MESH_HOST_DIR=" + mesh(), "MESH_HOST_SEND_TIMEOUT_MS=20000"}};
}

program_run::settings ExampleTest::redirected(const std::string &name,
                                              const std::string &redirection,
                                              const std::vector<std::string> &arguments) const {
  program_run::settings how = example(name, arguments);
  std::vector<std::string> words{"sh", "-c", "exec \"$@\" " + redirection, "sh"};
  if (*PROGRAM_EMULATOR != '\0')
    words.emplace_back(PROGRAM_EMULATOR);
  how.arguments.insert(how.arguments.begin(), words.begin(), words.end());
  return how;
}

program_run::settings ExampleTest::preloaded(const std::string &library, const std::string &name,
                                             const std::vector<std::string> &arguments) const {
  program_run::settings how = example(name, arguments);
  how.variables.push_back("LD_PRELOAD=" + library);
  how.variables.emplace_back("ASAN_OPTIONS=verify_asan_link_order=0"); // this one may come first
  return how;
}

void ExampleTest::wait_for_receiver(uint32_t destination) const {
  for (int i = 0; i < 4000 && !std::filesystem::exists(socket(destination)); i++)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ASSERT_TRUE(std::filesystem::exists(socket(destination)));
}

void ExampleTest::check_stops(program_run &receiver, int signal_number) const {
  ASSERT_EQ(kill(receiver.pid(), signal_number), 0);
  EXPECT_EQ(receiver.status(), 0) << receiver.errors();
}

std::string ExampleTest::write_message(const std::vector<uint8_t> &bytes) const {
  std::string path = mine() + "/message";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  return path;
}
