// A NATS server of the tests' own, on loopback, in a folder of its own.
//
// Room: tests.
#pragma once

#include <string>
#include <sys/types.h>

class nats_server {
public:
  // `settings` are further lines of its configuration.
  explicit nats_server(std::string folder, std::string settings = "");
  ~nats_server();
  nats_server(const nats_server &) = delete;
  nats_server &operator=(const nats_server &) = delete;

  void start(); // and waits until it answers
  void kill();
  void stop();  // SIGSTOP
  void go_on(); // SIGCONT
  std::string url() const { return "nats://127.0.0.1:" + std::to_string(port_); }
  pid_t pid() const { return pid_; }

  static bool is_installed();

private:
  const std::string folder_, settings_;
  int port_;
  pid_t pid_ = -1;
};
