// mesh-fib6 capture.
//
// Room: tools.
#include "tools/anatomy.h"
#include "tools/cli/commands.h"
#include "tools/explain.h"
#include "tools/frame.h"
#include "tools/lookup.h"
#include "tools/pcapng.h"

#include <algorithm>
#include <ctime>
#include <fmt/format.h>
#include <map>

namespace mesh_fib6::tools::cli {
namespace {

const char *direction_of(const captured_message &message) {
  return message.header.direction == mesh_fib6_sent ? "sent" : "received";
}

std::string name_of(const captured_message &message) {
  const message_descriptor *const known = find_message(message.header.id);
  return known != nullptr ? known->name : id_text(message.header.id);
}

// In UTC, to the nanosecond.
std::string time_of(const captured_message &message) {
  const auto seconds = static_cast<time_t>(message.time / 1000000000);
  tm parts{};
  if (gmtime_r(&seconds, &parts) == nullptr)
    return std::to_string(message.time);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:09}Z", parts.tm_year + 1900,
                     parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                     message.time % 1000000000);
}

// "sound", or why not.
std::string verdict_on(const captured_message &message) {
  const message_descriptor *const known = find_message(message.header.id);
  if (known == nullptr)
    return "unknown";
  if (message.bytes.size() < message.header.length)
    return fmt::format("captured are {} bytes only", message.bytes.size());
  const anatomy anatomy(*known, message.bytes, 0, 0);
  return anatomy.refusal() ? "refused: " + text_of(anatomy, *anatomy.refusal()) : "sound";
}

std::string destination_of(const captured_message &message) {
  if (message.header.direction == mesh_fib6_received)
    return "-";
  return message.header.target == 0
             ? std::to_string(message.header.destination)
             : fmt::format("{}:{}", message.header.destination, message.header.target);
}

// What a summary says of the messages of one type and direction.
struct tally {
  uint64_t count = 0, bytes = 0, refused = 0;
};

bool is_wanted(const capture_options &options, const captured_message &message) {
  return (options.message == nullptr || options.message->id == message.header.id) &&
         (!options.only_sent || message.header.direction == mesh_fib6_sent) &&
         (!options.only_received || message.header.direction == mesh_fib6_received);
}

} // namespace

ending capture(const capture_options &options, output &out) {
  input from(options.from);
  progress progress(from);
  pcapng_reader reader(from.source());
  std::map<std::pair<std::string, std::string>, tally> tallies;
  ending result = ending::good;
  captured_message message{};
  pcapng_reader::outcome outcome{};
  while ((outcome = reader.next(message)) == pcapng_reader::outcome::message) {
    progress.show();
    if (!is_wanted(options, message))
      continue;
    if (options.in_frames) {
      if (message.bytes.size() < message.header.length) {
        complain(fmt::format("packet {}: {}: left out, {}", message.number, name_of(message),
                             verdict_on(message)));
        result = ending::refused;
        continue;
      }
      std::string frame;
      append_frame(frame, message.header.id, message.bytes);
      out.write(frame);
      continue;
    }
    const std::string verdict = verdict_on(message);
    if (verdict != "sound")
      result = ending::refused;
    if (options.as_summary) {
      tally &of = tallies[{name_of(message), direction_of(message)}];
      of.count++;
      of.bytes += message.header.length;
      of.refused += verdict == "sound" ? 0 : 1;
      continue;
    }
    out.write(fmt::format("{} {} {} {} {} {} bytes {}\n", message.number, time_of(message),
                          direction_of(message), destination_of(message), name_of(message),
                          message.header.length, verdict));
  }
  progress::clear();
  from.check();
  for (const auto &[of, tally] : tallies)
    out.write(fmt::format("{:<40} {:<8} {:>10} messages {:>14} bytes{}\n", of.first, of.second,
                          tally.count, tally.bytes,
                          tally.refused == 0 ? "" : fmt::format(", {} not sound", tally.refused)));
  if (reader.dropped() != 0)
    complain(fmt::format("{} messages were dropped when the capture was made", reader.dropped()));
  if (reader.passed_by() != 0)
    complain(fmt::format("{} packets hold no message", reader.passed_by()));
  if (outcome == pcapng_reader::outcome::bad)
    throw failure(ending::input, from.source().name() + ": " + reader.problem());
  return result;
}

} // namespace mesh_fib6::tools::cli
