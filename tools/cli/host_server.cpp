// mesh-fib6 host up, host down: a NATS server of one's own, on this machine.
//
// Room: tools. Knows POSIX processes.
//
// The server is Debian's program; nothing of NATS is linked here. It listens on loopback only and
// knows one user, who may do what the host's ways between processes do and nothing else
// (host/nats_session.h, nats_feed.cpp, nats_link.cpp).
#include "host/directory.h"
#include "tools/cli/commands.h"
#include "tools/cli/server_folder.h"
#include "tools/words.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <netinet/in.h>
#include <sstream>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace mesh_fib6::tools::cli {
namespace {

using time_point = std::chrono::steady_clock::time_point;
using std::chrono::seconds;

constexpr char program_name[] = "nats-server";
constexpr char user_name[] = "programs";
constexpr seconds patience(20); // with a server that reads a full store
constexpr seconds end_patience(10);
constexpr seconds holder_patience(2);
constexpr std::chrono::milliseconds look_again(20);

time_point in(seconds time) {
  return std::chrono::steady_clock::now() + time;
}

bool is_over(time_point end) {
  return std::chrono::steady_clock::now() >= end;
}

std::string address_of(uint16_t port) {
  return "127.0.0.1:" + std::to_string(port);
}

// In PATH, or where Debian has it, which is not in everybody's.
std::string find_program() {
  const char *const path = getenv("PATH");
  std::istringstream folders(std::string(path != nullptr ? path : "") + ":/usr/sbin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (!folder.starts_with('/'))
      continue;
    std::string program = folder + "/" + program_name;
    struct stat state {};
    if (stat(program.c_str(), &state) == 0 && S_ISREG(state.st_mode) &&
        access(program.c_str(), X_OK) == 0)
      return program;
  }
  throw failure(ending::refused,
                "nats-server is neither in PATH nor in /usr/sbin, expected Debian's package "
                "nats-server to be installed");
}

std::string random_digits(size_t bytes) {
  std::string drawn(bytes, '\0');
  if (getrandom(drawn.data(), drawn.size(), 0) != static_cast<ssize_t>(drawn.size()))
    throw failure(ending::refused, std::string("no random bytes: ") + strerror(errno));
  std::string text;
  for (const char byte : drawn)
    text += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return text;
}

constexpr size_t password_bytes = 32;

// The one that is there stays: programs that run have it.
std::string password_of(const server_folder &folder) {
  std::string text = folder.read("password");
  if (text.ends_with('\n'))
    text.pop_back();
  const bool is_good = text.size() == 2 * password_bytes &&
                       text.find_first_not_of("0123456789abcdef") == std::string::npos;
  return is_good ? text : random_digits(password_bytes);
}

// What the server compares a password with: a hash of it where this machine's libcrypt makes one,
// else the password itself. The library is looked for here, for the sake of all other commands,
// which run without it.
std::string secret_of(const std::string &password) {
  constexpr char prefix[] = "$2a$";   // the only one that the server takes for a hash
  constexpr unsigned long rounds = 4; // the fewest: what is drawn at random needs no slowing down
  using salt_fn = char *(const char *, unsigned long, const char *, int);
  using hash_fn = char *(const char *, const char *, void **, int *);
  void *const library = dlopen("libcrypt.so.1", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr)
    return password;
  auto *const make_salt = reinterpret_cast<salt_fn *>(dlsym(library, "crypt_gensalt_ra"));
  auto *const make_hash = reinterpret_cast<hash_fn *>(dlsym(library, "crypt_ra"));
  std::string secret = password;
  if (make_salt != nullptr && make_hash != nullptr) {
    void *data = nullptr;
    int size = 0;
    const std::unique_ptr<char, void (*)(void *)> salt(make_salt(prefix, rounds, nullptr, 0), free);
    const char *const hash =
        salt != nullptr ? make_hash(password.c_str(), salt.get(), &data, &size) : nullptr;
    if (hash != nullptr && std::string_view(hash).starts_with(prefix))
      secret = hash;
    free(data);
  }
  dlclose(library);
  return secret;
}

sockaddr_in loopback(uint16_t port) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  name.sin_port = htons(port);
  return name;
}

open_file bound_socket(uint16_t port) {
  open_file made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  const sockaddr_in name = loopback(port);
  if (!made || setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      bind(made.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0)
    return {};
  return made;
}

// The one that is wanted; else the one of last time, for programs that still look for the server
// there; else any.
uint16_t choose_port(uint16_t wanted, uint16_t last) {
  if (wanted != 0) {
    if (!bound_socket(wanted))
      throw failure(ending::refused, "port " + std::to_string(wanted) +
                                         " of 127.0.0.1 cannot be used: " + strerror(errno) +
                                         "; expected a free one, or none named");
    return wanted;
  }
  if (last != 0 && bound_socket(last))
    return last;
  const open_file any = bound_socket(0);
  sockaddr_in name{};
  socklen_t size = sizeof name;
  if (!any || getsockname(any.get(), reinterpret_cast<sockaddr *>(&name), &size) != 0)
    throw failure(ending::refused, std::string("no port of 127.0.0.1 is free: ") + strerror(errno));
  return ntohs(name.sin_port);
}

// As the server's configuration has text.
std::string in_quotes(const std::string &text) {
  std::string result = "\"";
  for (const char character : text)
    result += (character == '"' || character == '\\' ? "\\" : "") + std::string(1, character);
  return result + "\"";
}

std::string server_configuration(const server_folder &folder, const server_state &state,
                                 const std::string &secret, bool has_log) {
  std::string text =
      fmt::format("# Written by mesh-fib6 host up, each time.\n"
                  "host: 127.0.0.1\n"
                  "port: {}\n"
                  "server_name: {}\n"
                  "max_payload: 8MB\n"
                  "ping_interval: \"5s\"\n"
                  "jetstream {{ store_dir: {}, max_memory_store: 2GB, max_file_store: 8GB }}\n",
                  state.port, in_quotes(state.name), in_quotes(folder.path_of("store")));
  if (has_log)
    text += fmt::format("log_file: {}\nlogfile_size_limit: 1MB\n",
                        in_quotes(folder.path_of("server.log")));
  // Patterns of NATS match whole words of a subject: * is any stream, not only the host's.
  return text + fmt::format(R"(authorization {{
  timeout: 5
  users: [ {{
    user: {}
    password: {}
    permissions: {{
      publish: {{ allow: [
        "mesh.*"
        "$JS.API.STREAM.INFO.*"
        "$JS.API.STREAM.CREATE.*"
        "$JS.API.CONSUMER.INFO.*.receiver"
        "$JS.API.CONSUMER.DURABLE.CREATE.*.receiver"
        "$JS.API.CONSUMER.DELETE.*.receiver"
        "$JS.ACK.*.receiver.>"
      ] }}
      subscribe: {{ allow: ["_INBOX.>"] }}
    }}
  }} ]
}}
)",
                            in_quotes(user_name), in_quotes(secret));
}

std::string programs_configuration(const server_folder &folder, const server_state &state) {
  return fmt::format("# Written by mesh-fib6 host up, each time.\n"
                     "destination * nats://{} user={} password-file={} storage={}\n",
                     address_of(state.port), user_name, folder.path_of("password"),
                     state.on_disk ? "file" : "memory");
}

// The configuration of programs has words between blanks, and comments.
void check_path(const std::string &directory) {
  for (const char character : directory)
    if (static_cast<unsigned char>(character) <= ' ' || character == '#' || character == 0x7F)
      throw failure(ending::refused, "directory " + tools::quoted(directory) + " has " +
                                         tools::quoted(std::string(1, character)) +
                                         " in its path, expected none: the configuration of "
                                         "programs could not name files in it");
}

// What a connection reads up to one of these ends; what came when neither does.
std::string read_until(int file, std::string_view end, std::string_view other_end) {
  constexpr size_t most = 1 << 16;
  std::string text;
  while (text.size() < most && text.find(end) == std::string::npos &&
         text.find(other_end) == std::string::npos) {
    char piece[4096];
    const ssize_t count = recv(file, piece, sizeof piece, 0);
    if (count <= 0)
      break;
    text.append(piece, static_cast<size_t>(count));
  }
  return text;
}

// Whether the server takes its user. Throws a failure when it answers and does not.
bool answers(const server_state &state, const std::string &password) {
  const open_file connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const timeval at_most{1, 0};
  const sockaddr_in name = loopback(state.port);
  if (!connection ||
      setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &at_most, sizeof at_most) != 0 ||
      connect(connection.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0)
    return false;
  const std::string greeting = read_until(connection.get(), "\r\n", "\r\n");
  if (!greeting.starts_with("INFO ") ||
      greeting.find("\"server_name\":\"" + state.name + "\"") == std::string::npos ||
      greeting.find("\"jetstream\":true") == std::string::npos)
    return false;
  const std::string question =
      fmt::format("CONNECT {{\"verbose\":false,\"pedantic\":false,\"lang\":\"\",\"version\":\"\","
                  "\"name\":\"mesh-fib6\",\"user\":\"{}\",\"pass\":\"{}\"}}\r\nPING\r\n",
                  user_name, password);
  if (send(connection.get(), question.data(), question.size(), MSG_NOSIGNAL) < 0)
    return false;
  const std::string answer = read_until(connection.get(), "PONG\r\n", "-ERR");
  if (answer.find("-ERR") != std::string::npos)
    throw failure(ending::refused, "the server at " + address_of(state.port) +
                                       " does not take the password that is beside its "
                                       "configuration: mesh-fib6 host down, then up again");
  return answer.find("PONG\r\n") != std::string::npos;
}

// The last line of what a server that has ended said.
std::string last_words(const server_folder &folder) {
  for (const char *name : {"server.log", "output"}) {
    std::string text = folder.read(name);
    while (text.ends_with('\n'))
      text.pop_back();
    if (!text.empty())
      return "; " + folder.path_of(name) + " ends: " + text.substr(text.rfind('\n') + 1);
  }
  return {};
}

// For a shell.
std::string as_word(const std::string &text) {
  constexpr char plain[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+,:@%";
  if (!text.empty() && text.find_first_not_of(plain) == std::string::npos)
    return text;
  std::string result = "'";
  for (const char character : text)
    result += character == '\'' ? "'\\''" : std::string(1, character);
  return result + "'";
}

ending tell_settings(const server_folder &folder, const server_state &state, const char *what,
                     output &out) {
  complain(fmt::format("{} {}: process {}, at {}, in {}", program_name, what, state.process,
                       address_of(state.port), folder.path_of("")));
  out.write(fmt::format("export MESH_HOST_DIR={}\nexport MESH_HOST_CONFIG={}\n",
                        as_word(folder.directory()), as_word(folder.path_of("mesh.conf"))));
  out.flush();
  return ending::good;
}

// What is asked for of a server that runs already, it cannot become.
void check_running(const host_up_options &options, const server_state &state) {
  const auto refuse = [&](const std::string &is, const std::string &wanted) {
    throw failure(ending::refused, fmt::format("{} runs already, process {}, {}, expected {}: "
                                               "mesh-fib6 host down ends it",
                                               program_name, state.process, is, wanted));
  };
  if (options.port != 0 && options.port != state.port)
    refuse("at port " + std::to_string(state.port), "port " + std::to_string(options.port));
  const char *const storage = state.on_disk ? "file" : "memory";
  if (!options.storage.empty() && options.storage != storage)
    refuse(std::string("with storage ") + storage, options.storage);
}

// Of the process that becomes the server: standard streams, and no other descriptor than the lock,
// without which nobody would find the server again. False with errno when that cannot be.
bool arrange_descriptors(const server_folder &folder, bool is_foreground) {
  const int nothing = open("/dev/null", O_RDWR);
  bool is_good = nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0;
  if (is_foreground) {
    is_good = is_good && dup2(STDERR_FILENO, STDOUT_FILENO) >= 0;
  } else {
    const int said = open(folder.path_of("output").c_str(),
                          O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_NOFOLLOW | O_NONBLOCK, 0600);
    const int to = said >= 0 ? said : nothing;
    is_good = is_good && dup2(to, STDERR_FILENO) >= 0 && dup2(to, STDOUT_FILENO) >= 0;
  }
  constexpr int kept = STDERR_FILENO + 1;
  if (folder.lock() == kept)
    is_good = is_good && fcntl(kept, F_SETFD, 0) == 0;
  else
    is_good = is_good && dup2(folder.lock(), kept) >= 0; // without close-on-exec
  if (is_good)
    closefrom(kept + 1);
  return is_good;
}

[[noreturn]] void become_server(const server_folder &folder, server_state state,
                                const std::string &program, bool is_foreground) {
  state.process = getpid();
  const std::string own = server_folder::text_of(state);
  const std::string configuration = folder.path_of("server.conf");
  bool is_good =
      pwrite(folder.lock(), own.data(), own.size(), 0) == static_cast<ssize_t>(own.size());
  if (!is_foreground)
    is_good = setsid() >= 0 && chdir("/") == 0 && is_good;
  is_good = is_good && arrange_descriptors(folder, is_foreground);
  const int why = errno;
  for (const int each : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGUSR2, SIGPIPE, SIGCHLD})
    (void)signal(each, SIG_DFL);
  sigset_t none;
  (void)sigemptyset(&none);
  (void)sigprocmask(SIG_SETMASK, &none, nullptr);
  if (is_good)
    (void)execl(program.c_str(), program.c_str(), "-c", configuration.c_str(), nullptr);
  const std::string problem =
      program + " cannot be started: " + strerror(is_good ? errno : why) + "\n";
  (void)!::write(STDERR_FILENO, problem.data(), problem.size());
  _exit(127);
}

// Until the server answers, or has ended.
ending await_server(server_folder &folder, const std::string &password, output &out) {
  const time_point end = in(patience);
  for (;;) {
    const std::optional<server_state> state = folder.state();
    if (state && answers(*state, password))
      return tell_settings(folder, *state, "runs", out);
    if (folder.take_lock())
      throw failure(ending::refused,
                    std::string(program_name) + " has ended at once" + last_words(folder));
    if (is_over(end))
      throw failure(
          ending::refused,
          fmt::format("{} does not answer after {} s, see {}; mesh-fib6 host down ends it",
                      program_name, patience.count(), folder.path_of("server.log")));
    std::this_thread::sleep_for(look_again);
  }
}

pid_t forked() {
  const pid_t child = fork();
  if (child < 0)
    throw failure(ending::refused, std::string("no further process: ") + strerror(errno));
  return child;
}

// With the lock.
ending start_server(server_folder &folder, const host_up_options &options,
                    const std::string &program, output &out) {
  const std::optional<server_state> last = folder.state();
  server_state state;
  state.port = choose_port(options.port, last ? last->port : 0);
  state.on_disk = options.storage == "file";
  state.name = "mesh-host-" + random_digits(8);
  folder.clear_state();
  folder.remove_old_logs();
  const std::string password = password_of(folder);
  folder.write("password", password + "\n");
  folder.write("server.conf",
               server_configuration(folder, state, secret_of(password), !options.is_foreground));
  folder.write("mesh.conf", programs_configuration(folder, state));
  if (!options.is_foreground) {
    if (forked() == 0)
      become_server(folder, state, program, false);
    folder.leave_lock_to_child();
    return await_server(folder, password, out);
  }
  // This process becomes the server. Who waits for it is not its child, for which it would not
  // care.
  const pid_t child = forked();
  if (child != 0) {
    (void)waitpid(child, nullptr, 0);
    become_server(folder, state, program, true);
  }
  if (fork() != 0)
    _exit(0);
  folder.leave_lock_to_child();
  return await_server(folder, password, out);
}

// Descriptors get no number of a standard stream that is closed.
void fill_standard_streams() {
  int got = 0;
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDWR)) < 0)
      return;
  (void)close(got);
}

bool is_server(int process) {
  char target[4096];
  const ssize_t size =
      readlink(fmt::format("/proc/{}/exe", process).c_str(), target, sizeof target);
  std::string_view program(target, size > 0 ? static_cast<size_t>(size) : 0);
  constexpr std::string_view replaced = " (deleted)";
  if (program.ends_with(replaced))
    program.remove_suffix(replaced.size());
  return program.ends_with(std::string("/") + program_name);
}

// With the lock at the end: nothing runs any more. False when nothing did.
bool stop_server(server_folder &folder) {
  int asked = 0;
  time_point end = in(holder_patience);
  while (!folder.take_lock()) {
    const std::optional<server_state> state = folder.state();
    if (state && state->process != asked && is_server(state->process) &&
        kill(state->process, SIGTERM) == 0) {
      asked = state->process;
      end = in(end_patience);
    }
    if (!is_over(end)) {
      std::this_thread::sleep_for(look_again);
      continue;
    }
    if (asked != 0)
      throw failure(
          ending::refused,
          fmt::format("{}, process {}, was asked to end (SIGTERM) and has not within {} s",
                      program_name, asked, end_patience.count()));
    throw failure(ending::refused,
                  fmt::format("{} is locked by {}, expected a process that runs {}: nothing is "
                              "ended",
                              folder.path_of("lock"),
                              state ? "process " + std::to_string(state->process)
                                    : std::string("somebody who does not say who"),
                              program_name));
  }
  if (asked != 0)
    complain(fmt::format("{}, process {}, has ended", program_name, asked));
  return asked != 0;
}

std::string directory_of(const std::string &named) {
  return named.empty() ? mesh_host::directory_of_environment() : named;
}

} // namespace

ending host_up(const host_up_options &options, output &out) {
  fill_standard_streams();
  (void)umask(077);
  const std::string program = find_program();
  check_path(server_folder::absolute(directory_of(options.directory)));
  std::optional<server_folder> folder = server_folder::open(directory_of(options.directory), true);
  if (!folder)
    throw failure(ending::refused, directory_of(options.directory) + " has just been removed");
  const time_point end = in(patience);
  for (;;) {
    if (folder->take_lock())
      return start_server(*folder, options, program, out);
    const std::optional<server_state> state = folder->state();
    if (state && answers(*state, password_of(*folder))) {
      check_running(options, *state);
      return tell_settings(*folder, *state, "runs already", out);
    }
    if (is_over(end))
      throw failure(ending::refused,
                    fmt::format("{} is locked, but no server answers: expected one within {} s; "
                                "mesh-fib6 host down ends it",
                                folder->path_of("lock"), patience.count()));
    std::this_thread::sleep_for(look_again);
  }
}

ending host_down(const host_down_options &options) {
  const std::string directory = directory_of(options.directory);
  std::optional<server_folder> folder = server_folder::open(directory, false);
  if (!folder || !stop_server(*folder))
    complain(std::string("no ") + program_name + " runs in " +
             (folder ? folder->path_of("") : directory + "/nats/"));
  if (folder && options.erases) {
    const std::vector<std::string> left = folder->erase();
    if (!left.empty())
      complain(folder->path_of("") + " stays: it holds " + tools::quoted(left.front()) +
               (left.size() > 1 ? " and " + plural(left.size() - 1, "other") : std::string()) +
               ", which no server made");
  }
  return ending::good;
}

} // namespace mesh_fib6::tools::cli
