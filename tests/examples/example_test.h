// What the tests of the examples share: a message, what is to be printed of one, and programs to
// run.
//
// Room: tests. Includes how the demo's tests run programs; the examples are run, not linked.
#pragma once

#include "host/osal_host.h"
#include "tests/demo/hostile_messages.h"
#include "tests/demo/program_run.h"

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

  // Where they meet; not theirs to remove, so not in their temporary directory.
  std::string mesh() const { return mine() + "/mesh"; }
};
