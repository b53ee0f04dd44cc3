// The options of a program of the demo.
//
// Room: demo. Includes the C++ library only: the one that reads command lines takes seconds to
// compile, so command_line.cpp alone includes it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace demo {

inline constexpr int usage_status = 2;

class command_line {
public:
  // `about` is what --help begins with.
  explicit command_line(const std::string &about);
  command_line(const command_line &) = delete;
  command_line &operator=(const command_line &) = delete;
  ~command_line();

  // Whether --help shows what the variable holds before the command line is read.
  enum class initial { shown, hidden };

  // A text; an empty one is refused.
  void add_option(const std::string &name, std::string &variable, const std::string &help,
                  initial value = initial::shown);

  struct range {
    uint32_t least = 0;
    uint32_t most = UINT32_MAX;
  };
  // A number, decimal or hexadecimal behind 0x. The help text and every refusal name the range.
  void add_number(const std::string &name, uint32_t &variable, range allowed,
                  const std::string &help, initial value = initial::shown);

  void add_flag(const std::string &name, bool &variable, const std::string &help);

  // Nothing when the program may go on, otherwise its exit status: help was asked for and given, or
  // something is wrong, which was told on standard error with the usage.
  std::optional<int> parse(int argc, char **argv);

private:
  std::unique_ptr<CLI::App> app_;
};

} // namespace demo
