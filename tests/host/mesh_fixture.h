// What the tests of the mesh stand-in share: a directory of their own, a message type of their own,
// and other processes.
//
// Room: tests.
#pragma once

#include "host/mesh_host.h"
#include "platform/mesh.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <vector>

// A message type of the tests: four bytes of number, then a text. Fewer than four bytes are refused
// before the record is touched, as the library's decoders do it.
struct sample {
  uint32_t number;
  uint32_t text_length;
  char *text; // on the heap
};

inline constexpr uint32_t sample_id = 0x5A5A0001;
inline constexpr uint32_t unregistered_id = 0x5A5A0002;
inline constexpr uint32_t destination = 7;

uint32_t unpack_sample(const void *buffer, uint32_t length, void *record);
void release_sample(void *record);

// What happened to samples in this process, in order: "size?" for a decode into a null record,
// "unpack", "handle", "release".
std::vector<std::string> &sample_events();

std::vector<uint8_t> encode_sample(uint32_t number, const std::string &text = "");

// Sends samples with the numbers first, first + 1, ... in one call.
uint32_t send_samples(uint32_t first, uint32_t count, uint64_t target = 0,
                      const std::string &text = "");

// What a handler saw.
struct received {
  uint32_t id;
  uint64_t target;
  uint32_t size;
  uint32_t number;
  std::string text;
  bool operator==(const received &) const = default;
};

// A receiver that keeps what it gets.
class collecting_receiver {
public:
  ~collecting_receiver();
  uint32_t attach(uint32_t to = destination);
  void detach();
  int poll(int timeout_ms = 1000);
  // Polls until `count` messages are there; false after ten seconds.
  bool collect(size_t count);
  std::vector<uint32_t> numbers() const;

  std::vector<received> messages;
  std::function<void()> in_handler; // called for each message
  mesh_host_receiver *handle = nullptr;
};

std::vector<uint32_t> numbers_up_to(uint32_t count); // 0, 1, ...

mesh_host_counters counters();
std::chrono::milliseconds time_of(const std::function<void()> &work);

// Two processes, lines of text between them.
class conversation {
public:
  conversation(int in, int out) : in_(in), out_(out) {}
  void say(const std::string &line);
  std::string hear(); // empty when the other side is gone or silent for ten seconds

private:
  int in_, out_;
};

// A process of its own, forked. Make it before this process uses the mesh. It dies with its parent,
// and is killed at the latest when the object goes.
class child {
public:
  // `main`'s result is the process's exit status; it ends through exit, destructors and all.
  explicit child(const std::function<int(conversation &)> &main);
  ~child();
  child(const child &) = delete;
  child &operator=(const child &) = delete;

  conversation &talk() { return talk_; }
  void kill();
  void stop();
  int wait(); // exit status, or 128 + signal
  pid_t pid() const { return pid_; }

private:
  pid_t pid_ = -1;
  conversation talk_{-1, -1};
  int ends_[2] = {-1, -1};
};

// A child that attaches, says "attached" and collects `count` messages, says "in order" when they
// bear the numbers 0, 1, ... and otherwise what it got, and stays until it is told to go.
std::function<int(conversation &)> receiver_of_numbers(uint32_t count);
// A child that attaches, says "attached", takes nothing until it hears a line, and then goes on as
// the above.
std::function<int(conversation &)> reluctant_receiver(uint32_t count);

// Sets a private directory, registers the message type and keeps time-outs short.
class MeshTest : public testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  std::string directory; // not there yet; inside one that is removed afterwards
  std::string scratch;
};

void set_variable(const char *name, const std::string &value);
