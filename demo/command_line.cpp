// The options of a program of the demo, read by CLI11.
//
// Room: demo. Includes CLI11 and this folder.
#include "demo/command_line.h"

#include "demo/text.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <filesystem>
#include <string_view>

namespace demo {

namespace {

// As the host's configuration files have numbers: a leading zero does not make them octal.
bool parse_option_number(std::string_view text, uint32_t &number) {
  if (!text.starts_with("0x") && !text.starts_with("0X"))
    return parse_number(text, number);
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + 2, end, number, 16);
  return error == std::errc() && stop == end;
}

} // namespace

command_line::command_line(const std::string &about) : app_(std::make_unique<CLI::App>(about)) {}

command_line::~command_line() = default;

void command_line::add_option(const std::string &name, std::string &variable,
                              const std::string &help, initial value) {
  CLI::Option *const option = app_->add_option(name, variable, help);
  option->check([](const std::string &text) {
    return text.empty() ? std::string("expected a name, found nothing") : std::string();
  });
  if (value == initial::shown)
    option->capture_default_str();
}

void command_line::add_number(const std::string &name, uint32_t &variable, range allowed,
                              const std::string &help, initial value) {
  const std::string bounds = formatted("%u to %u", allowed.least, allowed.most);
  const auto read = [allowed](std::string_view text, uint32_t &number) {
    return parse_option_number(text, number) && number >= allowed.least && number <= allowed.most;
  };
  CLI::Option *const option = app_->add_option(
      name,
      [&variable, read](const CLI::results_t &texts) { return read(texts.front(), variable); },
      help + ", " + bounds, false, [&variable] { return std::to_string(variable); });
  option->type_name("NUMBER");
  option->check([bounds, read](const std::string &text) {
    uint32_t number = 0;
    return read(text, number) ? std::string()
                              : "expected a number from " + bounds + ", found " + shown(text);
  });
  if (value == initial::shown)
    option->capture_default_str();
}

void command_line::add_flag(const std::string &name, bool &variable, const std::string &help) {
  app_->add_flag(name, variable, help)->check([](const std::string &text) {
    return text == "true" ? std::string() : "expected no value, found " + shown(text);
  });
}

std::optional<int> command_line::parse(int argc, char **argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::Success &asked_for_help) {
    return app_->exit(asked_for_help);
  } catch (const CLI::ParseError &error) {
    const std::string program = app_->get_name();
    const std::string usage = CLI::Formatter().make_usage(app_.get(), program);
    complain("%s: %s\n%sRun with --help for more information.\n",
             std::filesystem::path(program).filename().c_str(), error.what(), usage.c_str());
    return usage_status;
  }
  return {};
}

} // namespace demo
