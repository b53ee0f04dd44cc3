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

bool answers(int port) {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in name = loopback(port);
  const bool connected =
      connect(probe, reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0;
  close(probe);
  return connected;
}

// What a server's monitoring says of its health, or of a part of it.
bool is_well(int port, const char *part) {
  const int asking = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in name = loopback(port);
  const timeval two_seconds{2, 0};
  setsockopt(asking, SOL_SOCKET, SO_RCVTIMEO, &two_seconds, sizeof two_seconds);
  std::string answer;
  const std::string question = std::string("GET /healthz") + part + " HTTP/1.0\r\n\r\n";
  if (connect(asking, reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0 &&
      send(asking, question.data(), question.size(), MSG_NOSIGNAL) > 0) {
    char some[4096];
    for (ssize_t got = 0; (got = read(asking, some, sizeof some)) > 0;)
      answer.append(some, static_cast<size_t>(got));
  }
  close(asking);
  return answer.find("\"ok\"") != std::string::npos;
}

} // namespace

int nats_server::free_port() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in name = loopback(0);
  socklen_t size = sizeof name;
  EXPECT_EQ(bind(probe, reinterpret_cast<sockaddr *>(&name), size), 0);
  getsockname(probe, reinterpret_cast<sockaddr *>(&name), &size);
  close(probe);
  return ntohs(name.sin_port);
}

nats_server::nats_server(std::string folder, std::string settings, std::string room)
    : folder_(std::move(folder)), settings_(std::move(settings)), room_(std::move(room)),
      port_(free_port()) {}

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
                               << folder_ << "/store', " << room_ << " }\n"
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
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = -1;
      FAIL() << log();
    }
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

std::string nats_server::log() const {
  std::ifstream file(folder_ + "/log");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

namespace {
constexpr size_t cluster_size = 3;
}

nats_cluster::nats_cluster(const std::string &folder) {
  std::filesystem::create_directories(folder);
  std::vector<int> routed;
  std::string routes;
  for (size_t i = 0; i < cluster_size; i++) {
    routed.push_back(nats_server::free_port());
    monitored_.push_back(nats_server::free_port());
    routes += (i == 0 ? "" : ", ") + ("nats://127.0.0.1:" + std::to_string(routed[i]));
  }
  for (size_t i = 0; i < cluster_size; i++)
    servers_.push_back(std::make_unique<nats_server>(
        folder + "/" + std::to_string(i),
        "server_name: node" + std::to_string(i) +
            "\nhttp: 127.0.0.1:" + std::to_string(monitored_[i]) +
            "\ncluster { name: tests, listen: 127.0.0.1:" + std::to_string(routed[i]) +
            ", routes: [" + routes + "] }\n"));
}

void nats_cluster::start() {
  for (const auto &server : servers_)
    server->start();
  wait_until_whole();
}

std::string nats_cluster::urls() const {
  std::string all;
  for (const auto &server : servers_)
    all += (all.empty() ? "" : ",") + server->url();
  return all;
}

void nats_cluster::wait_until_whole() const {
  const auto begin = std::chrono::steady_clock::now();
  // Consumers, which hold no messages, may be called late long after they are there: they are given
  // time, and not waited for.
  constexpr std::chrono::seconds for_servers(30), for_consumers(10);
  const auto are_well = [this](const char *part) {
    for (size_t i = 0; i < servers_.size(); i++)
      if (servers_[i]->pid() > 0 && !is_well(monitored_[i], part))
        return false;
    return true;
  };
  while (!are_well("?js-server-only=true")) {
    ASSERT_LT(std::chrono::steady_clock::now(), begin + for_servers) << servers_[0]->log();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  while (!are_well("") && std::chrono::steady_clock::now() < begin + for_consumers)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

stranger::stranger(int port, const std::string &who)
    : connection_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const timeval ten_seconds{10, 0};
  setsockopt(connection_, SOL_SOCKET, SO_RCVTIMEO, &ten_seconds, sizeof ten_seconds);
  setsockopt(connection_, SOL_SOCKET, SO_SNDTIMEO, &ten_seconds, sizeof ten_seconds);
  const sockaddr_in name = loopback(port);
  EXPECT_EQ(connect(connection_, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
  if (!who.empty())
    say("CONNECT " + who + "\r\n");
}

stranger::~stranger() {
  close(connection_);
}

void stranger::say(const std::string &text) const {
  for (size_t said = 0; said < text.size();) {
    const ssize_t now = send(connection_, text.data() + said, text.size() - said, MSG_NOSIGNAL);
    if (now <= 0)
      return;
    said += static_cast<size_t>(now);
  }
}

std::string stranger::ask(const std::string &lines) const {
  say(lines + "PING\r\n");
  std::string answer;
  char part[4096];
  while (answer.find("PONG\r\n") == std::string::npos) {
    const ssize_t got = read(connection_, part, sizeof part);
    if (got <= 0)
      break;
    answer.append(part, static_cast<size_t>(got));
  }
  return answer;
}

std::string publication(const std::string &subject, const std::string &data) {
  return "PUB " + subject + " " + std::to_string(data.size()) + "\r\n" + data + "\r\n";
}
