// What the tests of the examples share: a message, what is to be printed of one, and programs to
// run.
//
// Room: tests. Includes how the demo's tests run programs; the examples are run, not linked.
#pragma once

#include "host/osal_host.h"
#include "tests/demo/hostile_messages.h"
#include "tests/demo/program_run.h"

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

// An update with the one route 2001:db8::/32, in bytes worked out by hand.
encoded_message one_route();

// What an example is to print of a message, whatever that holds: the routes that the decoder finds.
struct printed {
  std::string routes;
  unsigned refusals = 0;  // messages in which it finds none
  unsigned no_routes = 0; // elements whose prefix length is none
};
printed printed_of(const encoded_message &message);

// A message as it is packed.
template <class Message>
encoded_message encoded(uint32_t id, uint32_t (*pack)(const Message *, uint8_t *, uint32_t *),
                        const Message &message) {
  uint8_t buffer[1024];
  uint32_t length = sizeof buffer;
  EXPECT_EQ(pack(&message, buffer, &length), 0u);
  return {id, {buffer, buffer + length}};
}

// How often a text holds another.
unsigned times(const std::string &text, const std::string &part);

// Hands this to the mesh of this process.
void send_message(uint32_t destination, const encoded_message &message);

class ExampleTest : public program_test {
protected:
  ExampleTest() { osal_host_hold_log(1); } // the decoder's lines are counted, not written
  ~ExampleTest() override { osal_host_hold_log(0); }

  // One of the examples with these arguments, on /dev/null unless told otherwise.
  program_run::settings example(const std::string &name, const std::vector<std::string> &arguments,
                                const std::string &input = "/dev/null") const;

  // Likewise, with its standard output as a shell redirects it: ">&-".
  program_run::settings redirected(const std::string &name, const std::string &redirection,
                                   const std::vector<std::string> &arguments) const;

  // Likewise, with a library that takes the place of others.
  program_run::settings preloaded(const std::string &library, const std::string &name,
                                  const std::vector<std::string> &arguments) const;

  std::string write_message(const std::vector<uint8_t> &bytes) const;

  // Until there is the socket of what receives as this destination: what asks it to stop before
  // that ends it as it ends anybody.
  void wait_for_receiver(uint32_t destination) const;

  // What runs until it is interrupted is, and ends well.
  void check_stops(program_run &receiver, int signal_number = SIGTERM) const;

  // This process takes part in their mesh, too. A process reads once where that is.
  void join_mesh() const { setenv("MESH_HOST_DIR", mesh().c_str(), 1); }

  // Where they meet; not theirs to remove, so not in their temporary directory.
  std::string mesh() const { return mine() + "/mesh"; }
  std::string socket(uint32_t destination) const {
    return mesh() + "/" + std::to_string(destination) + ".sock";
  }
};
