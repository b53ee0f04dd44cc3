// Runs one of the programs of the demo.
//
// Room: tests. Includes libc and the demo's helpers.
#include "tests/demo/program_run.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

std::vector<char *> pointers_to(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  for (std::string &text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

bool comes_true(int seconds, const std::function<bool()> &condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

} // namespace

int program_run::next_number = 0;

program_run::program_run(const settings &how) {
  const std::string number = std::to_string(next_number++);
  output_path = how.work + "/../output." + number;
  errors_path = how.work + "/../errors." + number;

  // A program of another architecture needs its emulator in front, and that one a full path.
  std::vector<std::string> command;
  if (*PROGRAM_EMULATOR != '\0' && how.arguments.front().starts_with(PROGRAM_DIRECTORY))
    command.push_back(PROGRAM_EMULATOR);
  command.insert(command.end(), how.arguments.begin(), how.arguments.end());
  std::vector<std::string> environment = how.variables;
  environment.push_back("TMPDIR=" + how.work);
  for (char **variable = environ; *variable != nullptr; variable++)
    environment.emplace_back(*variable);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  if (how.input.empty())
    posix_spawn_file_actions_addclose(&files, STDIN_FILENO);
  else
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, how.input.c_str(), O_RDONLY, 0);
  constexpr int fresh = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output_path.c_str(), fresh, 0600);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors_path.c_str(), fresh, 0600);
  const int error = posix_spawnp(&process, command.front().c_str(), &files, nullptr,
                                 pointers_to(command).data(), pointers_to(environment).data());
  posix_spawn_file_actions_destroy(&files);
  EXPECT_EQ(error, 0) << "cannot start " << command.front();
  if (error != 0)
    process = -1;
}

program_run::~program_run() {
  if (process < 0 || ended_with >= 0)
    return;
  kill(process, SIGTERM); // it ends its own children
  if (!comes_true(5, [this] { return waitpid(process, nullptr, WNOHANG) == process; })) {
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
  }
}

int program_run::status(int seconds) {
  if (ended_with >= 0 || process < 0)
    return ended_with;
  int raw = 0;
  if (!comes_true(seconds, [&] { return waitpid(process, &raw, WNOHANG) == process; })) {
    ADD_FAILURE() << "still running after " << seconds << " s:\n" << output() << errors();
    return -1;
  }
  ended_with = WIFEXITED(raw) ? WEXITSTATUS(raw) : 256 + WTERMSIG(raw);
  return ended_with;
}

void program_run::wait_for(const std::string &text) {
  EXPECT_TRUE(comes_true(20, [&] { return output().find(text) != std::string::npos; }))
      << "no " << text << " in\n"
      << output() << errors();
}

std::string program_run::output() const {
  return read_text(output_path);
}
std::string program_run::errors() const {
  return read_text(errors_path);
}

pid_t program_run::number_behind(const std::string &text) const {
  const std::string all = output();
  const size_t at = all.find(text);
  EXPECT_NE(at, std::string::npos) << all;
  return at == std::string::npos ? -1 : std::stoi(all.substr(at + text.size()));
}

program_test::program_test() {
  std::filesystem::create_directory(work());
  std::filesystem::create_directory(mine());
}

void program_test::TearDown() {
  EXPECT_TRUE(std::filesystem::is_empty(work())) << "left behind in the temporary directory";
}

std::string program_test::program(const std::string &name) const {
  return std::string(PROGRAM_DIRECTORY) + "/" + name;
}

std::string program_test::write_table(const std::string &text) {
  const std::string path = mine() + "/table";
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

program_run::settings program_test::demo(std::vector<std::string> arguments,
                                         const std::string &input) const {
  arguments.insert(arguments.begin(), program("fib6-demo"));
  return {arguments, input, work(), {}};
}

std::string prefixes(unsigned count) {
  std::ostringstream text;
  for (unsigned i = 0; i < count; i++)
    text << "2001:db8:" << std::hex << i << "::/48\n";
  return text.str();
}

std::string read_text(const std::string &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

testing::AssertionResult holds(const std::string &text, const std::string &part) {
  const bool found = text.find(part) != std::string::npos;
  return (found ? testing::AssertionSuccess() : testing::AssertionFailure())
         << "'" << part << "' looked for in:\n"
         << text;
}
