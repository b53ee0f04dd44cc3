// The options of an example program, read by CLI11.
//
// Room: examples. Includes CLI11 and this folder.
#include "examples/command_line.h"

#include <CLI/CLI.hpp>

namespace example {

command_line::command_line(const std::string &about) : app_(std::make_unique<CLI::App>(about)) {}

command_line::~command_line() = default;

void command_line::add_option(const std::string &name, std::string &variable,
                              const std::string &help, initial value) {
  CLI::Option *const option = app_->add_option(name, variable, help);
  if (value == initial::shown)
    option->capture_default_str();
}

void command_line::add_option(const std::string &name, uint32_t &variable, const std::string &help,
                              initial value) {
  CLI::Option *const option = app_->add_option(name, variable, help);
  if (value == initial::shown)
    option->capture_default_str();
}

void command_line::add_count(const std::string &name, uint32_t &variable, uint32_t largest,
                             const std::string &help) {
  app_->add_option(name, variable, help)->check(CLI::Range(1u, largest))->capture_default_str();
}

void command_line::add_flag(const std::string &name, bool &variable, const std::string &help) {
  app_->add_flag(name, variable, help);
}

std::optional<int> command_line::parse(int argc, char **argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    return app_->exit(error) == 0 ? 0 : usage_status;
  }
  return {};
}

} // namespace example
