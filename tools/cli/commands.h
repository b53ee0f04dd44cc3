// What the commands of mesh-fib6 do, once their arguments are read. Each returns how it ended or
// throws a failure.
//
// Room: tools.
#pragma once

#include "tools/cli/terminal.h"
#include "tools/record_json.h"

#include <string>
#include <vector>

namespace mesh_fib6::tools::cli {

// list: the messages.
struct list_options {
  bool as_json = false;
};
ending list(const list_options &options, output &out);

// describe: one message, or all of them.
enum class description : uint8_t { table, json, fbs, c, html, wireshark, imhex };
struct describe_options {
  const message_descriptor *message = nullptr;
  bool all = false; // instead of one
  description as = description::table;
};
ending describe(const describe_options &options, output &out);

// encode: records to bytes.
enum class layout : uint8_t { compact, fixed };
struct encode_options {
  const message_descriptor *message = nullptr; // null: each record says which it is of
  std::string from = "-";
  cli::layout layout = layout::compact;
  bool as_hex = false;
  bool in_frames = false;
};
ending encode(const encode_options &options, output &out);

// decode: bytes to records.
struct decode_options {
  const message_descriptor *message = nullptr; // null in frames: what their identifiers say
  std::string from = "-";
  cli::notation notation = notation::guessed;
  json_style style = json_style::line;
  std::vector<std::string> addresses;
  bool in_frames = false;
  bool keeps_going = false;
  uint32_t byte_swap = 0;
};
ending decode(const decode_options &options, output &out);

// verify and explain: bytes to what is to be said of them.
struct inspect_options {
  const message_descriptor *message = nullptr;
  std::string from = "-";
  cli::notation notation = notation::guessed;
  bool as_json = false;
  bool as_page = false;
  bool as_map = false;
  bool is_quiet = false;
  bool coloured = false;
  uint32_t byte_swap = 0;
};
ending verify(const inspect_options &options, output &out);
ending explain(const inspect_options &options, output &out);

// diff: two messages of one type.
struct diff_options {
  const message_descriptor *message = nullptr;
  std::string one, other;
  cli::notation notation = notation::guessed;
};
ending diff(const diff_options &options, output &out);

// random: records, as JSON.
struct random_options {
  const message_descriptor *message = nullptr;
  uint64_t seed = 1;
  uint64_t count = 1;
};
ending random(const random_options &options, output &out);

// bench: how long the library takes for a message.
struct bench_options {
  const message_descriptor *message = nullptr;
  std::string from; // empty: records filled at random
  uint64_t seed = 1;
  double seconds = 0.3; // for each thing that is measured
  bool as_json = false;
};
ending bench(const bench_options &options, output &out);

// capture: what libmesh_fib6_tap.so wrote.
struct capture_options {
  const message_descriptor *message = nullptr; // null: all
  std::string from = "-";
  bool only_sent = false;
  bool only_received = false;
  bool as_summary = false;
  bool in_frames = false;
};
ending capture(const capture_options &options, output &out);

// host: the development host. Its directory is the environment's where none is named.
struct host_status_options {
  std::string directory;
  bool as_json = false;
  double every_seconds = 0; // once
};
ending host_status(const host_status_options &options, output &out);

struct host_up_options {
  std::string directory;
  uint16_t port = 0;   // any
  std::string storage; // "memory", "file"; empty for what is there, or memory
  bool is_foreground = false;
};
ending host_up(const host_up_options &options, output &out);

struct host_down_options {
  std::string directory;
  bool erases = false;
};
ending host_down(const host_down_options &options);

} // namespace mesh_fib6::tools::cli
