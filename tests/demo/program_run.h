// Runs one of the programs of the demo as a user would and looks at what comes of it.
//
// Room: tests. Includes libc and the demo's helpers.
#pragma once

#include "demo/temporary_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/types.h>
#include <vector>

// A started program. The destructor ends it; nothing outlives a test.
class program_run {
public:
  struct settings {
    std::vector<std::string> arguments; // the program first
    std::string input;                  // path of standard input; empty: closed
    std::string work;                   // its temporary directory and where its output goes
    std::vector<std::string> variables; // "NAME=value", beside the inherited ones
  };

  explicit program_run(const settings &how);
  ~program_run();
  program_run(const program_run &) = delete;
  program_run &operator=(const program_run &) = delete;

  pid_t pid() const { return process; }

  // Waits for the end; a program that takes longer than `seconds` fails the test. The exit status,
  // or 256 plus the signal.
  int status(int seconds = 20);

  // Waits until its standard output holds `text`.
  void wait_for(const std::string &text);

  // What it has written so far.
  std::string output() const;
  std::string errors() const;

  // The number behind `text` in its standard output.
  pid_t number_behind(const std::string &text) const;

private:
  static int next_number;
  std::string output_path, errors_path;
  pid_t process = -1;
  int ended_with = -1;
};

// A directory for one test, empty at its end but for what the test itself put there.
class program_test : public testing::Test {
protected:
  void TearDown() override;

  std::string program(const std::string &name) const;
  std::string write_table(const std::string &text);

  // "fib6-demo" with these arguments, on /dev/null unless told otherwise.
  program_run::settings demo(std::vector<std::string> arguments,
                             const std::string &input = "/dev/null") const;

  std::string work() const { return directory.path() + "/work"; }
  std::string mine() const { return directory.path() + "/mine"; }

  program_test();

private:
  demo::temporary_directory directory;
};

// 2001:db8:0::/48 and on.
std::string prefixes(unsigned count);

std::string read_text(const std::string &path);

// For EXPECT_TRUE and EXPECT_FALSE, which then show the whole text.
testing::AssertionResult holds(const std::string &text, const std::string &part);
