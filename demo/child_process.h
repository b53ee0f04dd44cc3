// A second process of the same program, and what it reports.
//
// Room: demo. Includes libc and this folder.
#pragma once

#include "demo/report.h"

#include <deque>
#include <functional>
#include <initializer_list>
#include <string>
#include <sys/types.h>

namespace demo {

// Forked, not executed: the demo then needs no other program to be found, and a child is a process
// of its own all the same, with its own memory, mesh connection and accounts. Start children before
// the first thread.
class child_process {
public:
  using body = std::function<int(report_channel &)>;

  // `program` also names the process; `elders` are children whose channels are not this one's
  // business.
  child_process(std::string program, const body &run,
                std::initializer_list<child_process *> elders = {});

  // Ends the process if it still runs: politely first, by force a second later.
  ~child_process();

  child_process(const child_process &) = delete;
  child_process &operator=(const child_process &) = delete;

  pid_t pid() const { return process; }
  void tell(const std::string &word) { channel.tell({word, {}}); }

  // Waits until this child reports `word`. Throws failure when it reports something else, when it
  // or one of `others` dies, when `timeout_ms` (-1: no limit) is over, or when `interrupted` says
  // so.
  report expect(const std::string &word, std::initializer_list<child_process *> others,
                int timeout_ms = -1);

  // Waits until this child, whose work is done, ends. Throws failure unless it does, with this exit
  // status.
  void expect_end(int expected_status, int timeout_ms);

  // Asked between waits; set once for all children.
  static inline std::function<bool()> interrupted = [] { return false; };

private:
  void collect();
  void throw_if_gone();
  std::string wait_for_end();

  std::string name;
  pid_t process = -1;
  report_channel channel;
  std::deque<report> heard;
};

} // namespace demo
