// Room: tests.
#include "nats_server.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr char program[] = "/usr/sbin/nats-server";

sockaddr_in loopback(int port) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  name.sin_port = htons(static_cast<uint16_t>(port));
  return name;
}

// One that is free now, and that the system gives to nobody else soon.
int free_port() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in name = loopback(0);
  socklen_t size = sizeof name;
  EXPECT_EQ(bind(probe, reinterpret_cast<sockaddr *>(&name), size), 0);
  getsockname(probe, reinterpret_cast<sockaddr *>(&name), &size);
  close(probe);
  return ntohs(name.sin_port);
}

bool answers(int port) {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in name = loopback(port);
  const bool connected =
      connect(probe, reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0;
  close(probe);
  return connected;
}

} // namespace

nats_server::nats_server(std::string folder, std::string settings)
    : folder_(std::move(folder)), settings_(std::move(settings)), port_(free_port()) {}

nats_server::~nats_server() {
  kill();
}

bool nats_server::is_installed() {
  return access(program, X_OK) == 0;
}

void nats_server::start() {
  std::filesystem::create_directories(folder_);
  const std::string configuration = folder_ + "/server.conf";
  std::ofstream(configuration) << "listen: 127.0.0.1:" << port_ << "\njetstream { store_dir: '"
                               << folder_ << "/store', max_mem: 256M, max_file: 256M }\n"
                               << settings_;
  pid_ = fork();
  ASSERT_GE(pid_, 0);
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int log = open((folder_ + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    execl(program, program, "-c", configuration.c_str(), nullptr);
    _exit(127);
  }
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!answers(port_)) {
    ASSERT_LT(std::chrono::steady_clock::now(), until) << folder_ << "/log";
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void nats_server::kill() {
  if (pid_ <= 0)
    return;
  ::kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

void nats_server::stop() {
  ::kill(pid_, SIGSTOP);
}

void nats_server::go_on() {
  ::kill(pid_, SIGCONT);
}
