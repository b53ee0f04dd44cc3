// mesh-fib6: messages looked at, made and checked on the command line. Reads the arguments; what
// the commands do is in the files beside this one.
//
// Room: tools. CLI11 inside.
#include "tools/cli/commands.h"
#include "tools/cli/completion.h"
#include "tools/cli/manual.h"
#include "tools/lookup.h"
#include "tools/words.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <map>
#include <mesh_fib6/version.h>
#include <new>
#include <tuple>
#include <unistd.h>

namespace {

using namespace mesh_fib6::tools;
using namespace mesh_fib6::tools::cli;

constexpr const char *about =
    "Looks at, makes and checks messages of the IPv6 forwarding service.\n"
    "A MESSAGE is named in full, by its module, by an end that no other name has, or by its "
    "identifier: feiBrokerFib6_ipv6FwdUpdateMsg, fib6.ipv6FwdUpdateMsg, Fib6_ipv6FwdUpdateMsg, "
    "0x5026A923.";
constexpr const char *host_endings = "Exit status: 0 good, 1 the directory or the server cannot be "
                                     "used, 2 wrong usage, 3 the output "
                                     "cannot be written.";
constexpr const char *endings =
    "Exit status: 0 good, 1 a buffer is refused, 2 wrong usage, 3 what was read is not what was "
    "expected, or a file cannot be read or written.";

// Streams keep to themselves what is thrown inside them and write less, and CLI11 makes texts of
// what it knows with streams: what ran short of memory is not shown as if it were whole.
bool was_memory_short = false;

[[noreturn]] void note_shortage() {
  was_memory_short = true;
  throw std::bad_alloc();
}

void refuse_shortage() {
  if (was_memory_short)
    throw std::bad_alloc();
}

// A message by what was typed.
const message_descriptor *message_of(const std::string &text) {
  const found_message found = find_message(text);
  if (found.message == nullptr)
    throw CLI::ValidationError("MESSAGE", found.problem);
  return found.message;
}

class arguments {
public:
  arguments() : out_(STDOUT_FILENO) {
    app_.require_subcommand(1);
    app_.footer(endings);
    app_.set_version_flag("--version", std::string("mesh-fib6 ") + MESH_FIB6_VERSION);
    app_.failure_message([](const CLI::App *app, const CLI::Error &error) {
      return "mesh-fib6: " + printable(error.what()) + "\n" + "see " + command_of(app) +
             " --help\n";
    });
    add_list();
    add_describe();
    add_encode();
    add_decode();
    add_verify();
    add_explain();
    add_diff();
    add_random();
    add_bench();
    add_capture();
    add_host();
    add_completion();
    add_manual();
  }

  // The exit status.
  int run(int argc, char **argv) {
    try {
      refuse_unknown_command(argc, argv);
      app_.parse(argc, argv);
      return static_cast<int>(run_command());
    } catch (const CLI::ParseError &error) {
      const bool is_good = app_.exit(error) == 0;
      if (!std::cout.flush())
        throw failure(ending::input, std::string("cannot write: ") + strerror(errno));
      refuse_shortage();
      return static_cast<int>(is_good ? ending::good : ending::usage);
    }
  }

private:
  // What was written before a failure counts.
  ending run_command() {
    try {
      const ending result = command_();
      refuse_shortage();
      out_.flush();
      return result;
    } catch (const failure &) {
      out_.flush();
      throw;
    }
  }

  // Before all else that may be missing.
  void refuse_unknown_command(int argc, char **argv) const {
    const CLI::App *of = &app_;
    for (int i = 1; !of->get_subcommands({}).empty(); i++) {
      const std::string name = i < argc ? argv[i] : "-";
      if (!name.empty() && name.front() == '-')
        return;
      std::vector<std::string> names;
      const CLI::App *found = nullptr;
      for (const CLI::App *command : of->get_subcommands({})) {
        names.push_back(command->get_name());
        if (command->get_name() == name)
          found = command;
      }
      if (found == nullptr)
        throw failure(ending::usage, "unknown command '" + name + "'" +
                                         did_you_mean(nearest(name, names)) + "\nsee " +
                                         path_of(of) + " --help");
      of = found;
    }
  }

  // `mesh-fib6 host up`
  static std::string path_of(const CLI::App *command) {
    const CLI::App *const around = command->get_parent();
    return around == nullptr ? "mesh-fib6" : path_of(around) + " " + command->get_name();
  }

  // The one that was meant.
  static std::string command_of(const CLI::App *app) {
    const std::vector<CLI::App *> meant = app->get_subcommands();
    return meant.empty() ? path_of(app) : command_of(meant.front());
  }

  CLI::App *add_command(const char *name, const char *does, std::function<ending()> runs) {
    return add_command(app_, name, does, std::move(runs));
  }
  CLI::App *add_command(CLI::App &around, const char *name, const char *does,
                        std::function<ending()> runs) {
    CLI::App *const command = around.add_subcommand(name, does);
    command->footer(endings);
    command->callback([this, runs = std::move(runs)] { command_ = runs; });
    return command;
  }

  static CLI::Option *add_message(CLI::App *command, const message_descriptor *&message) {
    return command->add_option_function<std::string>(
        "MESSAGE", [&message](const std::string &text) { message = message_of(text); },
        "which message it is: a name, an end of one, or an identifier");
  }

  static void add_input(CLI::App *command, std::string &from) {
    command->add_option("FILE", from, "what to read; - is standard input")->capture_default_str();
  }

  // An option whose value is one of a few words.
  template <class Value>
  void add_choice(CLI::App *command, const char *name, const char *type, Value &value,
                  const std::map<std::string, Value> &words, const char *help) {
    CLI::Option *const option = command->add_option_function<std::string>(
        name, [&value, words](const std::string &word) { value = words.at(word); }, help);
    std::vector<std::string> known;
    known.reserve(words.size());
    for (const auto &[word, meaning] : words)
      known.push_back(word);
    option->check(CLI::IsMember(known))->type_name(type);
    words_of_[option] = known;
  }

  // Decimal, and nothing else.
  static void add_number(CLI::App *command, const char *name, uint64_t &value, const char *help) {
    command
        ->add_option_function<std::string>(
            name,
            [&value, name](const std::string &text) {
              const char *const end = text.data() + text.size();
              const auto [stop, error] = std::from_chars(text.data(), end, value);
              if (error != std::errc() || stop != end)
                throw CLI::ValidationError(name, "expected a whole number up to 2^64 - 1, found " +
                                                     mesh_fib6::tools::quoted(text));
            },
            help)
        ->type_name("N")
        ->default_str(std::to_string(value));
  }

  // Of an option that takes a time. What is no number is within every range.
  static CLI::Validator seconds(double least, double most) {
    return CLI::Range(least, most) & CLI::Validator(
                                         [](const std::string &text) {
                                           return text.find_first_of("nN") != std::string::npos
                                                      ? "expected a number"
                                                      : std::string();
                                         },
                                         "");
  }

  void add_notation(CLI::App *command, notation &value) {
    add_choice<cli::notation>(
        command, "--input", "NOTATION", value,
        {{"auto", notation::guessed}, {"binary", notation::binary}, {"hex", notation::hexadecimal}},
        "how bytes are written down: binary, hex (digits, or a dump of xxd, "
        "hexdump -C, tcpdump -x or explain), or auto: hex when all is text");
  }

  static void add_byte_swap(CLI::App *command, uint32_t &byte_swap) {
    command->add_option("--byte-swap", byte_swap, "the byte order flag of the peer that wrote it")
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
  }

  void add_list() {
    CLI::App *const command =
        add_command("list", "Lists all messages.", [this] { return list(list_, out_); });
    command->add_flag("--json", list_.as_json, "as a JSON array");
  }

  void add_describe() {
    CLI::App *const command = add_command("describe", "Says what a message is made of.", [this] {
      if (describe_.message == nullptr && !describe_.all)
        throw CLI::RequiredError("MESSAGE or --all");
      return describe(describe_, out_);
    });
    CLI::Option *const message = add_message(command, describe_.message);
    CLI::Option *const all = command->add_flag("--all", describe_.all, "every message");
    message->excludes(all);
    const std::tuple<const char *, description, const char *> ways[] = {
        {"--json", description::json, "as a line of JSON"},
        {"--fbs", description::fbs, "as a FlatBuffers schema"},
        {"--c", description::c, "as C types"},
        {"--html", description::html, "as a page that can be searched, with maps"},
        {"--imhex", description::imhex, "as a pattern of the hex editor ImHex"},
        {"--wireshark", description::wireshark, "all as a dissector for Wireshark, in Lua"},
    };
    std::vector<CLI::Option *> options;
    for (const auto &[name, way, help] : ways) {
      CLI::Option *const option = command->add_flag_callback(
          name, [this, chosen = way] { describe_.as = chosen; }, help);
      for (CLI::Option *const other : options)
        option->excludes(other);
      options.push_back(option);
    }
  }

  void add_encode() {
    CLI::App *const command =
        add_command("encode", "Reads records as JSON and writes their bytes.", [this] {
          if (!is_mixed_ && first_.empty())
            throw CLI::RequiredError("MESSAGE or --mixed");
          settle(is_mixed_, encode_.message, encode_.from);
          return encode(encode_, out_);
        });
    command->add_option("MESSAGE", first_, "which message it is; not with --mixed");
    command->add_option("FILE", second_, "what to read; - is standard input")->default_str("-");
    command->add_flag("--mixed", is_mixed_,
                      "records of any messages, each in {\"message\": NAME, \"record\": {...}}, as "
                      "decode --frames writes them");
    add_choice<layout>(command, "--layout", "LAYOUT", encode_.layout,
                       {{"compact", layout::compact}, {"fixed", layout::fixed}},
                       "compact, or fixed: as flat records are sent");
    command->add_flag("--hex", encode_.as_hex, "as hexadecimal digits, a line a record");
    command->add_flag("--frames", encode_.in_frames,
                      "in front of each, its identifier and its length, u32 each");
  }

  void add_decode() {
    CLI::App *const command =
        add_command("decode", "Reads bytes and writes records as JSON.", [this] {
          const bool is_known = decode_.message != nullptr || decode_.in_frames;
          if (!is_known && first_.empty())
            throw CLI::RequiredError("MESSAGE, --id or --frames");
          settle(is_known, decode_.message, decode_.from);
          return decode(decode_, out_);
        });
    command->add_option("MESSAGE", first_, "which message it is; not with --id or --frames");
    command->add_option("FILE", second_, "what to read; - is standard input")->default_str("-");
    command
        ->add_option_function<std::string>(
            "--id", [this](const std::string &text) { decode_.message = message_of(text); },
            "the same as MESSAGE; of frames, decode only these")
        ->type_name("MESSAGE");
    add_notation(command, decode_.notation);
    command->add_flag_callback(
        "--pretty", [this] { decode_.style = json_style::indented; },
        "indented, not one line a record");
    command
        ->add_option("--ipv6", decode_.addresses,
                     "show this array of four words as an address, too: f1.f3, or * for all")
        ->type_name("MEMBER")
        ->allow_extra_args(false);
    command->add_flag(
        "--frames", decode_.in_frames,
        "read frames: u32 identifier, u32 length and the bytes, in little-endian order");
    command->add_flag("--keep-going", decode_.keeps_going, "go on behind a frame that is refused");
  }

  // Where no message has to be named, the first argument is the file.
  void settle(bool is_known, const message_descriptor *&message, std::string &from) {
    if (is_known && !second_.empty())
      throw CLI::ExtrasError({second_});
    if (!is_known)
      message = message_of(first_);
    const std::string &file = is_known ? first_ : second_;
    if (!file.empty())
      from = file;
  }

  void add_verify() {
    CLI::App *const command =
        add_command("verify", "Says whether the library takes bytes, and why not.",
                    [this] { return verify(inspect_, out_); });
    add_message(command, inspect_.message)->required();
    add_input(command, inspect_.from);
    add_notation(command, inspect_.notation);
    add_byte_swap(command, inspect_.byte_swap);
    command->add_flag("--json", inspect_.as_json, "as a line of JSON");
    command->add_flag("-q,--quiet", inspect_.is_quiet, "by the exit status alone");
  }

  void add_explain() {
    CLI::App *const command = add_command("explain", "Says what every byte is, whatever it is.",
                                          [this] { return explain(inspect_, out_); });
    add_message(command, inspect_.message)->required();
    add_input(command, inspect_.from);
    add_notation(command, inspect_.notation);
    add_byte_swap(command, inspect_.byte_swap);
    CLI::Option *const json = command->add_flag("--json", inspect_.as_json, "as a line of JSON");
    command
        ->add_flag("--html", inspect_.as_page,
                   "as a page: bytes beside the record, in both layouts if it has two")
        ->excludes(json)
        ->excludes(
            command->add_flag("--svg", inspect_.as_map, "as a map of the bytes")->excludes(json));
    const std::vector<std::string> whens = {"always", "never", "auto"};
    CLI::Option *const colour =
        command
            ->add_option_function<std::string>(
                "--color,--colour",
                [this](const std::string &when) {
                  inspect_.coloured = wants_colours(when, STDOUT_FILENO);
                },
                "always, never, or auto: on a terminal, unless NO_COLOR is set")
            ->check(CLI::IsMember(whens))
            ->type_name("WHEN")
            ->default_str("auto")
            ->force_callback();
    words_of_[colour] = whens;
  }

  void add_diff() {
    CLI::App *const command =
        add_command("diff", "Says what tells two messages apart: values, or the layout alone.",
                    [this] { return diff(diff_, out_); });
    add_message(command, diff_.message)->required();
    command->add_option("A", diff_.one, "the first; - is standard input")->required();
    command->add_option("B", diff_.other, "the second")->required();
    add_notation(command, diff_.notation);
    command->footer("Exit status: 0 the same bytes, 1 not, or one of them is refused, 2 wrong "
                    "usage, 3 a file cannot be read.");
  }

  void add_random() {
    CLI::App *const command =
        add_command("random", "Writes records filled at random, as JSON that encode reads.",
                    [this] { return cli::random(random_, out_); });
    add_message(command, random_.message)->required();
    add_number(command, "--seed", random_.seed, "which ones");
    add_number(command, "--count", random_.count, "how many");
  }

  void add_bench() {
    CLI::App *const command = add_command(
        "bench",
        "Says how long the library takes for a message: a quick figure, on this machine now.",
        [this] { return bench(bench_, out_); });
    add_message(command, bench_.message)->required();
    command->add_option("FILE", bench_.from,
                        "records as JSON; - is standard input; without it, records at random");
    add_number(command, "--seed", bench_.seed, "which records at random");
    command->add_option("--seconds", bench_.seconds, "how long to measure each operation")
        ->check(seconds(0.001, 3600))
        ->capture_default_str();
    command->add_flag("--json", bench_.as_json, "as lines of JSON");
  }

  void add_capture() {
    CLI::App *const command =
        add_command("capture", "Reads what libmesh_fib6_tap.so wrote: a pcapng file.",
                    [this] { return capture(capture_, out_); });
    add_input(command, capture_.from);
    command
        ->add_option_function<std::string>(
            "--message", [this](const std::string &text) { capture_.message = message_of(text); },
            "these messages only")
        ->type_name("MESSAGE");
    CLI::Option *const sent = command->add_flag("--sent", capture_.only_sent, "what was sent only");
    command->add_flag("--received", capture_.only_received, "what was received only")
        ->excludes(sent);
    CLI::Option *const summary =
        command->add_flag("--summary", capture_.as_summary, "how many of each there are");
    command->add_flag("--frames", capture_.in_frames, "as frames, for decode --frames")
        ->excludes(summary);
  }

  void add_host() {
    CLI::App *const host = app_.add_subcommand(
        "host", "Shows the development host's processes, and runs a server for it.");
    host->require_subcommand(1);
    host->footer(host_endings);
    const auto add = [&](const char *name, const char *does, std::string &directory,
                         std::function<ending()> runs) {
      CLI::App *const command = add_command(*host, name, does, std::move(runs));
      command->footer(host_endings);
      command
          ->add_option("--dir", directory,
                       "the host's directory; without it, what MESH_HOST_DIR says, or programs use "
                       "without that")
          ->type_name("DIR");
      return command;
    };

    CLI::App *const status =
        add("status", "Says what each process of the host has sent, received and lost.",
            host_status_.directory, [this] { return host_status(host_status_, out_); });
    status->add_flag("--json", host_status_.as_json, "as a line of JSON");
    status
        ->add_option("--watch", host_status_.every_seconds,
                     "again and again, after so many seconds")
        ->check(seconds(0.1, 86400))
        ->type_name("SECONDS");

    CLI::App *const up = add(
        "up", "Starts a NATS server for programs of this machine, and says what to set for them.",
        host_up_.directory, [this] { return host_up(host_up_, out_); });
    up->add_option("--port", host_up_.port, "of 127.0.0.1; without it, the last one or any")
        ->check(CLI::Range(1, 65535))
        ->type_name("PORT");
    add_choice<std::string>(up, "--storage", "STORAGE", host_up_.storage,
                            {{"memory", "memory"}, {"file", "file"}},
                            "where messages wait for their receiver: memory, or file, which a "
                            "server that is started again still has");
    up->add_flag("--foreground", host_up_.is_foreground,
                 "become the server, with its log on standard error");

    CLI::App *const down = add("down", "Ends the server that up started.", host_down_.directory,
                               [this] { return host_down(host_down_); });
    down->add_flag("--erase", host_down_.erases,
                   "and removes its files, with the messages in them");
  }

  void add_completion() {
    CLI::App *const command = add_command(
        "completion", "Writes a script that completes command lines of this program.", [this] {
          out_.write(completion_for(shell_, known_commands()));
          return ending::good;
        });
    CLI::Option *const option = command->add_option_function<std::string>(
        "SHELL",
        [this](const std::string &name) {
          shell_ = name == "bash" ? shell::bash : name == "zsh" ? shell::zsh : shell::fish;
        },
        "bash, zsh or fish");
    words_of_[option] = {"bash", "zsh", "fish"};
    option->check(CLI::IsMember(words_of_[option]))->required();
  }

  // For the build, which makes mesh-fib6(1) of it.
  void add_manual() {
    CLI::App *const command = add_command("manual", "Writes the manual page, for scdoc.", [this] {
      out_.write(manual_of(MESH_FIB6_VERSION, about, known_commands()));
      return ending::good;
    });
    command->group(""); // not shown
  }

  // What the shells are told is what CLI11 knows.
  std::vector<known_command> known_commands() const {
    std::vector<known_command> result;
    for (const CLI::App *command : app_.get_subcommands({})) {
      result.push_back(known(*command, command->get_name()));
      for (const CLI::App *part : command->get_subcommands({})) {
        known_command each = known(*part, command->get_name() + " " + part->get_name());
        result.back().parts.push_back(std::move(each));
      }
    }
    return result;
  }

  known_command known(const CLI::App &command, std::string name) const {
    known_command each{std::move(name), command.get_description(), false, {}, {}, {}};
    for (const CLI::Option *option : command.get_options()) {
      const std::string &help = option->get_description();
      const bool takes_value = option->get_items_expected_max() > 0;
      const std::string value = takes_value ? option->get_type_name() : std::string();
      const auto found = words_of_.find(option);
      const std::vector<std::string> words =
          found != words_of_.end() ? found->second : std::vector<std::string>();
      each.takes_message |= option->get_name() == "MESSAGE";
      if (option->get_positional())
        each.arguments.push_back({option->get_name(), help, option->get_required(), words});
      for (const std::string &word : option->get_lnames())
        each.options.push_back({"--" + word, value, help, words});
      for (const std::string &word : option->get_snames())
        each.options.push_back({"-" + word, value, help, words});
    }
    return each;
  }

  CLI::App app_{about, "mesh-fib6"};
  output out_;
  std::map<const CLI::Option *, std::vector<std::string>>
      words_of_; // that an option may be followed by
  std::function<ending()> command_;
  list_options list_;
  describe_options describe_;
  encode_options encode_;
  decode_options decode_;
  std::string first_, second_; // arguments of encode and decode
  bool is_mixed_ = false;
  inspect_options inspect_;
  diff_options diff_;
  random_options random_;
  bench_options bench_;
  capture_options capture_;
  host_status_options host_status_;
  host_up_options host_up_;
  host_down_options host_down_;
  cli::shell shell_ = shell::bash;
};

} // namespace

int main(int argc, char **argv) {
  std::set_new_handler(note_shortage);
  try {
    return arguments().run(argc, argv);
  } catch (const failure &failure) {
    complain(failure.what());
    return static_cast<int>(failure.status);
  } catch (const std::bad_alloc &) {
    complain("there is not enough memory");
  } catch (const std::exception &exception) {
    complain(exception.what());
  }
  return static_cast<int>(ending::input);
}
