// mesh-fib6 host status: what processes of the development host count.
//
// Room: tools. Knows POSIX files. What it reads may be anything: it is looked at before it is
// believed, and nothing is mapped that somebody may cut.
#include "host/directory.h"
#include "host/status_file.h"
#include "tools/cli/commands.h"
#include "tools/cli/server_folder.h"
#include "tools/words.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace mesh_fib6::tools::cli {
namespace {

constexpr std::string_view status_suffix = ".status";

struct process_status {
  uint32_t process = 0;
  bool is_alive = false;
  uint64_t sender = 0;
  std::vector<mesh_host_status_row> rows;
};

// Thrown inside: why a file is left out. What somebody put there is not ours to read; what the
// system keeps from us is missing.
struct unreadable {
  std::string why;
  bool is_missing = false;
};

// The process that a file's name says.
uint32_t process_of(std::string_view name) {
  name.remove_suffix(status_suffix.size());
  uint32_t process = 0;
  const auto [stop, error] = std::from_chars(name.data(), name.data() + name.size(), process);
  if (error != std::errc() || stop != name.data() + name.size())
    throw unreadable{"expected the number of a process in its name"};
  return process;
}

void read_exactly(int file, void *into, size_t size, off_t at) {
  size_t done = 0;
  while (done < size) {
    const ssize_t count =
        pread(file, static_cast<char *>(into) + done, size - done, at + static_cast<off_t>(done));
    if (count < 0 && errno == EINTR)
      continue;
    if (count < 0)
      throw unreadable{std::string("cannot be read: ") + strerror(errno), true};
    if (count == 0)
      throw unreadable{fmt::format("expected {} at byte {}, found {}", plural(size, "byte"), at,
                                   plural(done, "byte"))};
    done += static_cast<size_t>(count);
  }
}

// Empty when the process has ended meanwhile.
std::optional<process_status> read_status(int directory, const char *name) {
  process_status found;
  found.process = process_of(name);
  const open_file file(
      openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file && errno == ENOENT)
    return std::nullopt;
  if (!file && errno == ELOOP)
    throw unreadable{"is a symbolic link, expected a file"};
  if (!file)
    throw unreadable{std::string("cannot be opened: ") + strerror(errno),
                     errno != ENXIO}; // a socket
  struct stat state {};
  if (fstat(file.get(), &state) != 0)
    throw unreadable{std::string("cannot be looked at: ") + strerror(errno), true};
  if (!S_ISREG(state.st_mode))
    throw unreadable{"expected a file, found something else"};
  if (state.st_uid != geteuid())
    throw unreadable{fmt::format("belongs to user {}, expected user {}", state.st_uid, geteuid())};
  mesh_host_status_head head{};
  read_exactly(file.get(), &head, sizeof head, 0);
  if (head.magic != MESH_HOST_STATUS_MAGIC)
    throw unreadable{
        fmt::format("begins with {:016x}, expected {:016x}", head.magic, MESH_HOST_STATUS_MAGIC)};
  if (head.process != found.process)
    throw unreadable{fmt::format("is of process {}, expected {}", head.process, found.process)};
  if (head.rows > MESH_HOST_STATUS_ROWS)
    throw unreadable{
        fmt::format("has {} rows, expected at most {}", head.rows, MESH_HOST_STATUS_ROWS)};
  found.sender = head.sender;
  found.rows.resize(head.rows);
  read_exactly(file.get(), found.rows.data(), head.rows * sizeof(mesh_host_status_row),
               sizeof head);
  for (const mesh_host_status_row &row : found.rows)
    if (row.role != 0 && row.role != MESH_HOST_SENDS && row.role != MESH_HOST_RECEIVES)
      throw unreadable{fmt::format("has a row of role {}, expected {} or {}", row.role,
                                   static_cast<int>(MESH_HOST_SENDS),
                                   static_cast<int>(MESH_HOST_RECEIVES))};
  // Its process holds it locked.
  int locked = 0;
  do
    locked = flock(file.get(), LOCK_SH | LOCK_NB);
  while (locked != 0 && errno == EINTR);
  found.is_alive = locked != 0;
  if (found.is_alive && errno != EWOULDBLOCK)
    throw unreadable{std::string("cannot be locked: ") + strerror(errno), true};
  return found;
}

std::vector<process_status> read_directory(const std::string &path, ending &how) {
  const std::unique_ptr<DIR, int (*)(DIR *)> listing(opendir(path.c_str()), closedir);
  const auto fail = [&] {
    throw failure(ending::refused, "directory " + path + " cannot be read: " + strerror(errno));
  };
  if (listing == nullptr)
    fail();
  std::vector<process_status> processes;
  for (;;) {
    errno = 0;
    const dirent *const entry = readdir(listing.get());
    if (entry == nullptr && errno != 0)
      fail();
    if (entry == nullptr)
      break;
    const std::string name = entry->d_name;
    if (!name.ends_with(status_suffix))
      continue;
    try {
      if (auto found = read_status(dirfd(listing.get()), name.c_str()))
        processes.push_back(std::move(*found));
    } catch (const unreadable &problem) {
      complain(fmt::format("{}/{}: left out: {}", path, name, problem.why));
      if (problem.is_missing)
        how = ending::refused;
    }
  }
  std::sort(processes.begin(), processes.end(),
            [](const process_status &a, const process_status &b) { return a.process < b.process; });
  return processes;
}

// A column of a table, and its name in JSON.
struct column {
  const char *head;
  const char *name;
  uint64_t mesh_host_status_row::*value;
};
using counts = mesh_host_status_row;
constexpr column sending[] = {
    {"accepted", "accepted", &counts::accepted},
    {"handled", "handled", &counts::handled},
    {"under way", "messages_under_way", &counts::messages_under_way},
    {"bytes", "bytes_under_way", &counts::bytes_under_way},
    {"refused", "refused", &counts::refused},
    {"lost", "lost", &counts::lost},
    {"losses", "losses", &counts::losses},
    {"most under way", "most_messages_under_way", &counts::most_messages_under_way},
    {"most bytes", "most_bytes_under_way", &counts::most_bytes_under_way},
    {"bytes sent", "bytes_sent", &counts::bytes_sent},
};
constexpr column receiving[] = {
    {"delivered", "delivered", &counts::delivered},
    {"redelivered", "redelivered", &counts::redelivered},
    {"gaps", "gaps", &counts::gaps},
    {"unknown", "unknown_identifier", &counts::unknown_identifier},
    {"oversize", "oversize", &counts::oversize},
    {"malformed", "malformed", &counts::malformed},
    {"bytes received", "bytes_received", &counts::bytes_received},
};

template <class Columns>
std::string table_of(const std::vector<process_status> &processes, mesh_host_role role,
                     const char *title, const Columns &columns) {
  std::vector<std::vector<std::string>> lines = {{"process", "", title}};
  for (const column &each : columns)
    lines.front().emplace_back(each.head);
  for (const process_status &process : processes)
    for (const mesh_host_status_row &row : process.rows) {
      if (row.role != role)
        continue;
      std::vector<std::string> line = {std::to_string(process.process),
                                       process.is_alive ? "alive" : "left behind",
                                       std::to_string(row.destination)};
      for (const column &each : columns)
        line.push_back(std::to_string(row.*each.value));
      lines.push_back(std::move(line));
    }
  if (lines.size() == 1)
    return {};
  std::vector<size_t> widths(lines.front().size());
  for (const auto &line : lines)
    for (size_t i = 0; i < line.size(); i++)
      widths[i] = std::max(widths[i], line[i].size());
  std::string text;
  for (const auto &line : lines) {
    text += fmt::format("{:>{}}  {:<{}}", line[0], widths[0], line[1], widths[1]);
    for (size_t i = 2; i < line.size(); i++)
      text += fmt::format("  {:>{}}", line[i], widths[i]);
    text += "\n";
  }
  return text;
}

std::string tables_of(const std::vector<process_status> &processes) {
  const std::string sent = table_of(processes, MESH_HOST_SENDS, "sends to", sending);
  const std::string received = table_of(processes, MESH_HOST_RECEIVES, "receives as", receiving);
  return sent + (sent.empty() || received.empty() ? "" : "\n") + received;
}

template <class Columns>
std::string members_of(const mesh_host_status_row &row, const Columns &columns) {
  std::string text;
  for (const column &each : columns)
    text += fmt::format(",\"{}\":{}", each.name, row.*each.value);
  return text;
}

// A line. The sender's number is text: many a reader of JSON has no room for 64 bits.
std::string json_of(const std::vector<process_status> &processes) {
  std::string text;
  for (const process_status &process : processes) {
    std::string rows;
    for (const mesh_host_status_row &row : process.rows)
      if (row.role != 0)
        rows += fmt::format("{}{{\"role\":\"{}\",\"destination\":{}{}}}", rows.empty() ? "" : ",",
                            row.role == MESH_HOST_SENDS ? "sends" : "receives", row.destination,
                            row.role == MESH_HOST_SENDS ? members_of(row, sending)
                                                        : members_of(row, receiving));
    text += fmt::format("{}{{\"process\":{},\"alive\":{},\"sender\":\"{:016x}\",\"rows\":[{}]}}",
                        text.empty() ? "" : ",", process.process, process.is_alive, process.sender,
                        rows);
  }
  return "[" + text + "]\n";
}

} // namespace

ending host_status(const host_status_options &options, output &out) {
  const std::string path =
      options.directory.empty() ? mesh_host::directory_of_environment() : options.directory;
  const bool clears = options.every_seconds > 0 && !options.as_json && isatty(STDOUT_FILENO) != 0;
  for (bool is_first = true;; is_first = false) {
    ending how = ending::good;
    if (clears)
      out.write("\033[H\033[J");
    else if (!is_first && !options.as_json)
      out.write("\n");
    out.flush();
    const std::vector<process_status> processes = read_directory(path, how);
    out.write(options.as_json ? json_of(processes) : tables_of(processes));
    if (processes.empty() && !options.as_json)
      complain("no process of the host is in " + path);
    out.flush();
    if (options.every_seconds <= 0)
      return how;
    std::this_thread::sleep_for(std::chrono::duration<double>(options.every_seconds));
  }
}

} // namespace mesh_fib6::tools::cli
