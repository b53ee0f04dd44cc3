// Completions of the command line for shells.
//
// Room: tools.
#pragma once

#include <string>
#include <vector>

namespace mesh_fib6::tools::cli {

// A command, as a shell completes it and a manual describes it.
struct known_command {
  struct option {
    std::string name;  // `--json`, `-q`
    std::string value; // `LAYOUT`; empty when it takes none
    std::string help;
    std::vector<std::string> words; // that it may be followed by; empty when any may
  };
  struct argument {
    std::string name;
    std::string help;
    bool is_required;
    std::vector<std::string> words;
  };

  std::string name; // `decode`, `host up`
  std::string help;
  bool takes_message; // MESSAGE is one of its arguments
  std::vector<argument> arguments;
  std::vector<option> options;
  std::vector<known_command> parts; // one of which is to be named; `host up` of `host`

  std::string last_word() const { return name.substr(name.rfind(' ') + 1); }
};

enum class shell : unsigned char { bash, zsh, fish };

// A script that the shell reads. Messages are those that `mesh-fib6 list` knows.
std::string completion_for(shell shell, const std::vector<known_command> &commands);

} // namespace mesh_fib6::tools::cli
