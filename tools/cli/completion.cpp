// Writes completions; see completion.h.
//
// Room: tools.
#include "tools/cli/completion.h"

#include "tools/descriptors.h"

#include <fmt/format.h>

namespace mesh_fib6::tools::cli {
namespace {

std::string messages() {
  std::string text;
  for_each_message([&](const message_descriptor &message) {
    text += (text.empty() ? "" : " ") + std::string(message.name);
  });
  return text;
}

std::string names_of(const std::vector<known_command> &commands) {
  std::string text;
  for (const known_command &command : commands)
    text += (text.empty() ? "" : " ") + command.last_word();
  return text;
}

// Those that have parts, with a part each.
std::vector<known_command> with_parts(const std::vector<known_command> &commands) {
  std::vector<known_command> all;
  for (const known_command &command : commands) {
    all.push_back(command);
    all.insert(all.end(), command.parts.begin(), command.parts.end());
  }
  return all;
}

std::string options_of(const known_command &command) {
  std::string text;
  for (const known_command::option &option : command.options)
    text += (text.empty() ? "" : " ") + option.name;
  return text;
}

std::string users_of_messages(const std::vector<known_command> &commands, char between) {
  std::string text;
  for (const known_command &command : commands)
    if (command.takes_message)
      text += (text.empty() ? std::string() : std::string(1, between)) + command.name;
  return text;
}

// Between single quotes, which fish and zsh write in other ways.
std::string in_quotes(const std::string &text, const char *quote) {
  std::string result = "'";
  for (const char character : text)
    result += character == '\'' ? quote : std::string(1, character);
  return result + "'";
}

// What may follow an option: its words, or a message where one is its value. Nothing where any may.
std::string words_behind(const known_command::option &option) {
  std::string text = option.value == "MESSAGE" ? messages() : "";
  for (const std::string &word : option.words)
    text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string words_of_arguments(const known_command &command) {
  std::string text;
  for (const known_command::argument &argument : command.arguments)
    for (const std::string &word : argument.words)
      text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string for_bash(const std::vector<known_command> &commands) {
  std::string text = fmt::format(R"(# Completion of mesh-fib6 for bash.
_mesh_fib6() {{
  local IFS=$' \t\n' current=${{COMP_WORDS[COMP_CWORD]}} command=${{COMP_WORDS[1]}} options= words= only=
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W '{} --help --version' -- "$current")
    return
  fi
)",
                                 names_of(commands));
  for (const known_command &command : commands)
    if (!command.parts.empty())
      text += fmt::format(R"(  if [ "$command" = {} ]; then
    if [ "$COMP_CWORD" -eq 2 ]; then
      mapfile -t COMPREPLY < <(compgen -W '{} --help' -- "$current")
      return
    fi
    command+=" ${{COMP_WORDS[2]}}"
  fi
)",
                          command.name, names_of(command.parts));
  text += "  case $command in\n";
  for (const known_command &command : with_parts(commands))
    text += fmt::format("    '{}') options='{}' words='{}' ;;\n", command.name, options_of(command),
                        words_of_arguments(command));
  text += "  esac\n  case \"$command ${COMP_WORDS[COMP_CWORD - 1]}\" in\n";
  for (const known_command &command : with_parts(commands))
    for (const known_command::option &option : command.options)
      if (const std::string words = words_behind(option); !words.empty())
        text += fmt::format("    '{} {}') only='{}' ;;\n", command.name, option.name, words);
  return text + fmt::format(R"(  esac
  if [ -n "$only" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$only" -- "$current")
    return
  fi
  case ${{COMP_WORDS[1]}} in
    {}) words='{}' ;;
  esac
  case $current in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current") ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current"; compgen -f -- "$current") ;;
  esac
}}
complete -o filenames -F _mesh_fib6 mesh-fib6
)",
                            users_of_messages(commands, '|'), messages());
}

std::string for_zsh(const std::vector<known_command> &commands) {
  std::string text = R"(#compdef mesh-fib6
# Completion of mesh-fib6 for zsh.
local -a commands options
local command=$words[2]
commands=(
)";
  for (const known_command &command : commands)
    text += fmt::format("  {}\n", in_quotes(command.name + ":" + command.help, "'\\''"));
  text += R"()
if (( CURRENT == 2 )); then
  _describe command commands
  return
fi
)";
  for (const known_command &command : commands) {
    if (command.parts.empty())
      continue;
    text += fmt::format("if [[ $command == {} ]]; then\n  commands=(\n", command.name);
    for (const known_command &part : command.parts)
      text += fmt::format("    {}\n", in_quotes(part.last_word() + ":" + part.help, "'\\''"));
    text += R"(  )
  if (( CURRENT == 3 )); then
    _describe command commands
    return
  fi
  command+=" $words[3]"
fi
)";
  }
  text += "case $command in\n";
  for (const known_command &command : with_parts(commands)) {
    text += fmt::format("  '{}') options=(", command.name);
    for (const known_command::option &option : command.options)
      text += fmt::format("\n    {}", in_quotes(option.name + ":" + option.help, "'\\''"));
    text += ") ;;\n";
  }
  text += "esac\ncase \"$command $words[CURRENT-1]\" in\n";
  for (const known_command &command : with_parts(commands))
    for (const known_command::option &option : command.options)
      if (const std::string words = words_behind(option); !words.empty())
        text +=
            fmt::format("  '{} {}') compadd -- {}; return ;;\n", command.name, option.name, words);
  text += "esac\n";
  std::string arguments;
  for (const known_command &command : commands)
    if (const std::string words = words_of_arguments(command); !words.empty())
      arguments += fmt::format("\n  {}) compadd -- {} ;;", command.name, words);
  return text + fmt::format(R"(if [[ $words[CURRENT] == -* ]]; then
  _describe option options
  return
fi
case $words[2] in
  {}) compadd -- {} ;;{}
esac
_files
)",
                            users_of_messages(commands, '|'), messages(), arguments);
}

// While `condition` holds.
std::string options_for_fish(const known_command &command, const std::string &condition) {
  std::string text;
  for (const known_command::option &option : command.options)
    text += fmt::format("complete -c mesh-fib6 -n '{}' -{} {}{} -d {}\n", condition,
                        option.name.starts_with("--") ? "l" : "s",
                        option.name.substr(option.name.find_first_not_of('-')),
                        words_behind(option).empty() ? "" : " -x -a '" + words_behind(option) + "'",
                        in_quotes(option.help, "\\'"));
  return text;
}

std::string for_fish(const std::vector<known_command> &commands) {
  std::string text = "# Completion of mesh-fib6 for fish.\n";
  for (const known_command &command : commands) {
    text += fmt::format("complete -c mesh-fib6 -n __fish_use_subcommand -f -a {} -d {}\n",
                        command.name, in_quotes(command.help, "\\'"));
    const std::string is_seen = "__fish_seen_subcommand_from " + command.name;
    text += options_for_fish(command, is_seen);
    for (const known_command &part : command.parts) {
      text += fmt::format("complete -c mesh-fib6 -n '{}; and not __fish_seen_subcommand_from {}' "
                          "-f -a {} -d {}\n",
                          is_seen, names_of(command.parts), part.last_word(),
                          in_quotes(part.help, "\\'"));
      text +=
          options_for_fish(part, is_seen + "; and __fish_seen_subcommand_from " + part.last_word());
    }
  }
  for (const known_command &command : commands)
    if (const std::string words = words_of_arguments(command); !words.empty())
      text += fmt::format("complete -c mesh-fib6 -n '__fish_seen_subcommand_from {}' -f -a '{}'\n",
                          command.name, words);
  return text + fmt::format("complete -c mesh-fib6 -n '__fish_seen_subcommand_from {}' -a '{}'\n",
                            users_of_messages(commands, ' '), messages());
}

} // namespace

std::string completion_for(shell shell, const std::vector<known_command> &commands) {
  switch (shell) {
  case shell::bash:
    return for_bash(commands);
  case shell::zsh:
    return for_zsh(commands);
  case shell::fish:
    return for_fish(commands);
  }
  return {};
}

} // namespace mesh_fib6::tools::cli
