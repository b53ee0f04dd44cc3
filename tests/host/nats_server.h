// A NATS server of the tests' own, on loopback, in a folder of its own.
//
// Room: tests.
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

class nats_server {
public:
  // `settings` are further lines of its configuration; `room` is what it may take for streams.
  explicit nats_server(std::string folder, std::string settings = "",
                       std::string room = "max_mem: 4G, max_file: 4G");
  ~nats_server();
  nats_server(const nats_server &) = delete;
  nats_server &operator=(const nats_server &) = delete;

  void start(); // and waits until it answers
  void kill();
  void stop();  // SIGSTOP
  void go_on(); // SIGCONT
  std::string url() const { return "nats://127.0.0.1:" + std::to_string(port_); }
  int port() const { return port_; }
  pid_t pid() const { return pid_; }

  // What it has written.
  std::string log() const;

  static bool is_installed();
  // One of loopback that is free now, and that the system gives to nobody else soon.
  static int free_port();

private:
  const std::string folder_, settings_, room_;
  int port_;
  pid_t pid_ = -1;
};

// Three of them that keep the same streams.
class nats_cluster {
public:
  explicit nats_cluster(const std::string &folder);

  void start(); // all, and waits until they are one
  nats_server &at(size_t number) { return *servers_.at(number); }
  std::string urls() const; // with commas
  // Until each that runs has all that it should have: three replicas bear the loss of one server,
  // and one that was just started is one that is lost.
  void wait_until_whole() const;

private:
  std::vector<std::unique_ptr<nats_server>> servers_;
  std::vector<int> monitored_; // ports
};

// Somebody who speaks to a server without its client library.
class stranger {
public:
  // `who` goes behind CONNECT, in JSON; without it nothing is said.
  explicit stranger(int port, const std::string &who = "{}");
  ~stranger();
  stranger(const stranger &) = delete;
  stranger &operator=(const stranger &) = delete;

  void say(const std::string &text) const; // as much of it as the server takes
  // Says these lines and PING; what comes up to the answer to that, or the end.
  std::string ask(const std::string &lines) const;

private:
  int connection_;
};

// The lines that publish this.
std::string publication(const std::string &subject, const std::string &data);
