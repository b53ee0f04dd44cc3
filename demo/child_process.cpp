// A second process of the same program, and what it reports.
//
// Room: demo. Includes libc and this folder.
#include "demo/child_process.h"

#include "demo/program.h"
#include "demo/text.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace demo {

namespace {

using clock = std::chrono::steady_clock;

constexpr auto polite_wait = std::chrono::seconds(1);
constexpr int wait_ms = 100;

[[noreturn]] void be_child(const std::string &name, const child_process::body &run, int socket) {
  (void)std::signal(SIGINT, SIG_DFL);
  (void)std::signal(SIGTERM, SIG_DFL);
  prctl(PR_SET_NAME, name.c_str());
  report_channel channel(socket);
  std::exit(guarded(name.c_str(), [&] { return run(channel); }));
}

std::string end_text(int status) {
  if (WIFSIGNALED(status))
    return formatted("was killed by signal %d (%s)", WTERMSIG(status), strsignal(WTERMSIG(status)));
  return formatted("ended with exit status %d", WEXITSTATUS(status));
}

} // namespace

child_process::child_process(std::string program, const body &run,
                             std::initializer_list<child_process *> elders)
    : name(std::move(program)), channel(-1) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    throw failure("cannot start " + name + ": " + error_text(errno));
  report_channel own(ends[0]), theirs(ends[1]);
  (void)std::fflush(nullptr); // or the child would print it a second time
  process = fork();
  if (process < 0)
    throw failure("cannot start " + name + ": " + error_text(errno));
  if (process == 0) {
    // An end that stays open here would hide from the others that this demo is gone.
    for (child_process *elder : elders)
      elder->channel = report_channel(-1);
    own = report_channel(-1);
    be_child(name, run, dup(theirs.descriptor()));
  }
  channel = std::move(own);
}

child_process::~child_process() {
  if (process < 0)
    return;
  kill(process, SIGTERM);
  for (const auto end = clock::now() + polite_wait; clock::now() < end;) {
    if (waitpid(process, nullptr, WNOHANG) == process)
      return;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
}

report child_process::expect(const std::string &word, std::initializer_list<child_process *> others,
                             int timeout_ms) {
  const auto end = clock::now() + std::chrono::milliseconds(timeout_ms);
  std::vector<child_process *> watched(others);
  watched.push_back(this);
  for (;;) {
    std::vector<pollfd> waiting;
    for (child_process *each : watched) {
      each->collect();
      waiting.push_back({each->channel.descriptor(), POLLIN, 0});
    }
    if (!heard.empty())
      break;
    for (child_process *each : watched)
      each->throw_if_gone();
    if (interrupted())
      throw failure("interrupted");
    if (timeout_ms >= 0 && clock::now() >= end)
      throw failure(formatted("%s (process %d) does not answer", name.c_str(), process));
    poll(waiting.data(), waiting.size(), wait_ms);
  }
  report first = std::move(heard.front());
  heard.pop_front();
  if (first.word != word)
    throw failure(name + " reported " + shown(first.word) + " instead of " + shown(word));
  return first;
}

void child_process::expect_end(int expected_status, int timeout_ms) {
  const auto end = clock::now() + std::chrono::milliseconds(timeout_ms);
  const pid_t ended = process;
  int status = 0;
  while (waitpid(process, &status, WNOHANG) != process) {
    if (interrupted())
      throw failure("interrupted");
    if (clock::now() >= end)
      throw failure(formatted("%s (process %d) does not end", name.c_str(), process));
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  process = -1;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != expected_status)
    throw failure(formatted("%s (process %d) ", name.c_str(), ended) + end_text(status));
}

void child_process::collect() {
  while (std::optional<report> told = channel.hear(0))
    heard.push_back(std::move(*told));
}

void child_process::throw_if_gone() {
  if (!channel.closed())
    return;
  const pid_t ended = process;
  const std::string how = wait_for_end();
  throw failure(formatted("%s (process %d) ", name.c_str(), ended) + how +
                " before its work was done");
}

std::string child_process::wait_for_end() {
  // Its channel may have failed while it lives and waits for us: then it is ended.
  int status = 0;
  const auto end = clock::now() + polite_wait;
  for (pid_t ended = 0; ended != process;) {
    ended = waitpid(process, &status, WNOHANG);
    if (ended < 0 && errno != EINTR)
      break;
    if (ended == 0 && clock::now() >= end)
      kill(process, SIGKILL);
    if (ended == 0)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  process = -1;
  return end_text(status);
}

} // namespace demo
