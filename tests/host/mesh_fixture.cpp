// Room: tests.
#include "mesh_fixture.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <numeric>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::mutex events_lock;

void note(const char *event) {
  const std::lock_guard held(events_lock);
  sample_events().emplace_back(event);
}

void collect_message(void *context, uint32_t id, uint64_t target, const void *record,
                     uint32_t size) {
  auto &receiver = *static_cast<collecting_receiver *>(context);
  const auto &got = *static_cast<const sample *>(record);
  note("handle");
  receiver.messages.push_back(
      {id, target, size, got.number,
       got.text != nullptr ? std::string(got.text, got.text_length) : std::string()});
  if (receiver.in_handler)
    receiver.in_handler();
}

} // namespace

std::vector<std::string> &sample_events() {
  static std::vector<std::string> events;
  return events;
}

uint32_t unpack_sample(const void *buffer, uint32_t length, void *record) {
  note(record == nullptr ? "size?" : "unpack");
  if (record == nullptr || length < sizeof(uint32_t))
    return sizeof(sample);
  sample decoded{};
  memcpy(&decoded.number, buffer, sizeof decoded.number);
  decoded.text_length = length - static_cast<uint32_t>(sizeof decoded.number);
  if (decoded.text_length != 0) {
    decoded.text = static_cast<char *>(malloc(decoded.text_length));
    memcpy(decoded.text, static_cast<const uint8_t *>(buffer) + sizeof decoded.number,
           decoded.text_length);
  }
  memcpy(record, &decoded, sizeof decoded);
  return sizeof(sample);
}

void release_sample(void *record) {
  note("release");
  auto &owner = *static_cast<sample *>(record);
  free(owner.text);
  owner.text = nullptr;
}

std::vector<uint8_t> encode_sample(uint32_t number, const std::string &text) {
  std::vector<uint8_t> bytes(sizeof number + text.size());
  memcpy(bytes.data(), &number, sizeof number);
  std::copy(text.begin(), text.end(), bytes.begin() + sizeof number);
  return bytes;
}

uint32_t send_samples(uint32_t first, uint32_t count, uint64_t target, const std::string &text) {
  std::vector<std::vector<uint8_t>> encoded;
  std::vector<msg_desc> messages;
  for (uint32_t i = 0; i < count; i++)
    encoded.push_back(encode_sample(first + i, text));
  for (const auto &bytes : encoded)
    messages.push_back({bytes.data(), sample_id, static_cast<uint32_t>(bytes.size())});
  const uint64_t result = target == 0 ? MESH_SendMsg(destination, messages.data(), count)
                                      : MESH_SendToMsg(destination, messages.data(), count, target);
  // The bytes are the sender's again: what is delivered must not depend on them.
  for (auto &bytes : encoded)
    std::fill(bytes.begin(), bytes.end(), uint8_t{0xEE});
  return static_cast<uint32_t>(result);
}

collecting_receiver::~collecting_receiver() {
  detach();
}

uint32_t collecting_receiver::attach(uint32_t to) {
  return mesh_host_attach(to, &handle);
}

void collecting_receiver::detach() {
  mesh_host_detach(handle);
  handle = nullptr;
}

int collecting_receiver::poll(int timeout_ms) {
  return mesh_host_poll(handle, timeout_ms, collect_message, this);
}

bool collecting_receiver::collect(size_t count) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (messages.size() < count)
    if (std::chrono::steady_clock::now() > until || poll(100) < 0)
      return false;
  return true;
}

std::vector<uint32_t> collecting_receiver::numbers() const {
  std::vector<uint32_t> found;
  for (const received &message : messages)
    found.push_back(message.number);
  return found;
}

std::vector<uint32_t> numbers_up_to(uint32_t count) {
  std::vector<uint32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0U);
  return numbers;
}

mesh_host_counters counters() {
  mesh_host_counters now{};
  mesh_host_get_counters(&now);
  return now;
}

std::chrono::milliseconds time_of(const std::function<void()> &work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               begin);
}

void conversation::say(const std::string &line) {
  const std::string text = line + "\n";
  const ssize_t written = write(out_, text.data(), text.size());
  (void)written; // whoever is gone hears nothing; the tests look at what comes back
}

std::string conversation::hear() {
  std::string line;
  for (;;) {
    pollfd ready{in_, POLLIN, 0};
    char letter = 0;
    if (poll(&ready, 1, 10'000) <= 0 || read(in_, &letter, 1) != 1)
      return "";
    if (letter == '\n')
      return line;
    line += letter;
  }
}

child::child(const std::function<int(conversation &)> &main) {
  int down[2];
  int up[2];
  if (pipe2(down, O_CLOEXEC) != 0 || pipe2(up, O_CLOEXEC) != 0)
    abort();
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0)
    abort();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGPIPE, SIG_IGN);
    if (getppid() != parent)
      _exit(1);
    close(down[1]);
    close(up[0]);
    conversation with_parent(down[0], up[1]);
    exit(main(with_parent));
  }
  close(down[0]);
  close(up[1]);
  signal(SIGPIPE, SIG_IGN);
  ends_[0] = up[0];
  ends_[1] = down[1];
  talk_ = conversation(up[0], down[1]);
}

child::~child() {
  kill();
  close(ends_[0]);
  close(ends_[1]);
}

void child::kill() {
  if (pid_ <= 0)
    return;
  ::kill(pid_, SIGKILL);
  wait();
}

void child::stop() {
  ::kill(pid_, SIGSTOP);
  int status = 0;
  waitpid(pid_, &status, WUNTRACED);
}

int child::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

namespace {

std::string order_of(const std::vector<uint32_t> &numbers) {
  if (numbers == numbers_up_to(static_cast<uint32_t>(numbers.size())))
    return "in order";
  std::string text = "got";
  for (const uint32_t number : numbers)
    text += " " + std::to_string(number);
  return text;
}

int receive_numbers(conversation &parent, uint32_t count, bool reluctant) {
  collecting_receiver receiver;
  if (const uint32_t result = receiver.attach(); result != 0) {
    parent.say(mesh_host_result_text(result));
    return 1;
  }
  parent.say("attached");
  if (reluctant)
    parent.hear();
  if (!receiver.collect(count)) {
    parent.say("only " + std::to_string(receiver.messages.size()));
    return 1;
  }
  parent.say(order_of(receiver.numbers()));
  parent.hear();
  return 0;
}

} // namespace

std::function<int(conversation &)> receiver_of_numbers(uint32_t count) {
  return [=](conversation &parent) { return receive_numbers(parent, count, false); };
}

std::function<int(conversation &)> reluctant_receiver(uint32_t count) {
  return [=](conversation &parent) { return receive_numbers(parent, count, true); };
}

void set_variable(const char *name, const std::string &value) {
  setenv(name, value.c_str(), 1);
}

void MeshTest::SetUp() {
  char name[] = "/tmp/mesh-host-test-XXXXXX";
  ASSERT_NE(mkdtemp(name), nullptr);
  scratch = name;
  directory = scratch + "/sockets";
  set_variable("MESH_HOST_DIR", directory);
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "10000");
  ASSERT_EQ(MESH_RegIDLFuncHook(sample_id, unpack_sample, release_sample), 0U);
}

void MeshTest::TearDown() {
  std::filesystem::remove_all(scratch);
}
