// The feed: from a routing daemon's connection to the mesh.
//
// Room: fpm. Includes libc, public headers, the development host, this folder and the demo's.
//
// One thread does it all: while the receiver takes nothing, the daemon is read on, at most until a
// send has waited for its time; then the daemon waits, as it can.
#include "fpm/feed.h"

#include "demo/attachment.h"
#include "demo/table_receiver.h"
#include "demo/text.h"
#include "fpm/feed_table.h"
#include "fpm/frame_reader.h"
#include "fpm/netlink_parser.h"
#include "fpm/record_sender.h"
#include "fpm/route_text.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/host/mesh_host.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace fpm {

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds idle_time{10};    // a daemon that is silent for so long is told on
constexpr size_t most_changes = 9600;    // one that is not, after so many
constexpr milliseconds heartbeat{1000};  // how often a receiver hears of a table that stays
constexpr milliseconds first_retry{100}; // after a send that was refused
constexpr milliseconds longest_retry{2000};
constexpr const char *send_timeout_ms = "500"; // the daemon is not to wait for a receiver for long
constexpr int last_flush_ms = 2000;

volatile std::sig_atomic_t stop_asked = 0;
volatile std::sig_atomic_t dump_asked = 0;
extern "C" void note_feed_signal(int number) {
  (number == SIGUSR1 ? dump_asked : stop_asked) = 1;
}

class descriptor {
public:
  explicit descriptor(int owned = -1) : number_(owned) {}
  descriptor(descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  descriptor &operator=(descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~descriptor() {
    if (number_ >= 0)
      close(number_);
  }
  int number() const { return number_; }
  bool is_open() const { return number_ >= 0; }

private:
  int number_;
};

descriptor listen_at(const feed_options &options) {
  const auto give_up = [&](const char *what) {
    throw demo::failure(std::string("cannot ") + what + " " + options.listen + ": " +
                        demo::error_text(errno));
  };
  descriptor listening(
      socket(options.address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!listening.is_open())
    give_up("make a socket for");
  const int yes = 1;
  (void)setsockopt(listening.number(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  if (bind(listening.number(), reinterpret_cast<const sockaddr *>(&options.address.storage),
           options.address.size) != 0 ||
      listen(listening.number(), 1) != 0)
    give_up("listen on");
  return listening;
}

class feed {
public:
  explicit feed(const feed_options &options)
      : options_(options), requests_(options.requests, {fib6_send_init, fib6_recv_init}),
        listening_(listen_at(options)), table_(options.limit), sender_(options.destination) {
    demo::print("listening on %s, sending to destination %u\n", options.listen.c_str(),
                options.destination);
  }

  void run() {
    while (stop_asked == 0) {
      wait_and_read();
      take_requests();
      sweep_when_due();
      tell_when_due();
      if (std::exchange(dump_asked, 0) != 0)
        dump();
    }
  }

  int finish() {
    tell();
    const uint32_t result = mesh_host_flush(options_.destination, last_flush_ms);
    if (result != 0)
      demo::complain("fpm_feed: the receiver may lack what was sent last: %s\n",
                     mesh_host_result_text(result));
    dump();
    print_summary();
    return table_.counters().malformed + broken_streams_ > 0 ? malformed_status : 0;
  }

private:
  static constexpr size_t most_bytes_a_turn = size_t{1} << 18;

  // How long nothing is to be done but for what arrives.
  int patience() const {
    const clock::time_point now = clock::now();
    clock::time_point next = now + milliseconds(100); // requests, and when a signal came too early
    if (table_.change_count() > 0)
      next = std::min(next, std::max(retry_at_, last_read_ + idle_time));
    return static_cast<int>(
        std::max(std::chrono::ceil<milliseconds>(next - now), milliseconds(0)).count());
  }

  void wait_and_read() {
    // A daemon is not read further while more has changed than one turn tells.
    const bool full = table_.change_count() >= most_changes && clock::now() < retry_at_;
    std::array<pollfd, 2> watched{{{listening_.number(), POLLIN, 0}, {-1, POLLIN, 0}}};
    if (daemon_.is_open() && !full)
      watched[1].fd = daemon_.number();
    if (poll(watched.data(), watched.size(), patience()) <= 0)
      return;
    if (watched[1].revents != 0)
      read_daemon();
    if (watched[0].revents != 0)
      accept_daemon();
  }

  void accept_daemon() {
    descriptor found(accept4(listening_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!found.is_open())
      return;
    if (daemon_.is_open()) {
      demo::complain("fpm_feed: refused a second daemon while one is connected\n");
      return;
    }
    daemon_ = std::move(found);
    frames_ = {};
    connections_++;
    table_.begin_session();
    sweep_at_ = clock::now() + std::chrono::seconds(options_.grace_seconds);
    demo::print("a daemon has connected\n");
  }

  void lose_daemon(const std::string &why) {
    daemon_ = descriptor();
    sweep_at_.reset(); // what it has said stays until a next one has had its time
    demo::print("the daemon is gone (%s): %s kept\n", why.c_str(),
                demo::counted(table_.routes(), "route").c_str());
  }

  void read_daemon() {
    buffer_.resize(most_bytes_a_turn);
    const ssize_t got = read(daemon_.number(), buffer_.data(), buffer_.size());
    if (got < 0) {
      if (errno != EAGAIN && errno != EINTR)
        lose_daemon(demo::error_text(errno));
      return;
    }
    if (got == 0) {
      if (frames_.inside_frame()) {
        broken_streams_++;
        demo::complain("fpm_feed: the daemon's connection ended in the middle of a frame\n");
      }
      lose_daemon("it closed its connection");
      return;
    }
    last_read_ = clock::now();
    bytes_ += static_cast<uint64_t>(got);
    frames_.take(std::span(buffer_).first(static_cast<size_t>(got)));
    frame_reader::outcome outcome = frames_.next();
    for (; outcome == frame_reader::outcome::frame; outcome = frames_.next())
      take_frame();
    if (outcome == frame_reader::outcome::bad) {
      broken_streams_++;
      demo::complain("fpm_feed: closed the daemon's connection: %s\n", frames_.problem().c_str());
      lose_daemon("it did not speak the protocol");
    }
  }

  void take_frame() {
    frames_taken_++;
    events_.clear();
    if (frames_.type() == netlink_frame)
      parse_messages(frames_.payload(), events_);
    else
      events_.emplace_back(skipped{skip::other_frame});
    for (const event &said : events_) {
      if (const auto *const wrong = std::get_if<malformed>(&said))
        tell_malformed(wrong->what);
      if (const auto *const left_out = std::get_if<skipped>(&said);
          left_out != nullptr && left_out->reason == skip::seg6local &&
          !std::exchange(told_local_, true))
        demo::complain("fpm_feed: local SRv6 segments are counted, not sent\n");
      table_.take(said);
    }
    said_ += events_.size();
  }

  // The first few by their words, the others by their number at the end.
  void tell_malformed(const std::string &what) {
    constexpr uint64_t named = 10;
    if (table_.counters().malformed < named)
      demo::complain("fpm_feed: frame %s: %s\n", demo::grouped(frames_taken_).c_str(),
                     what.c_str());
  }

  void take_requests() {
    bool wanted = false;
    requests_.poll(0, [&](uint32_t id, uint64_t, const void *record, uint32_t) {
      const auto &message = *static_cast<const feiBrokerFib6_pidStateMsg *>(record);
      if (id == demo::phase_id && message.f1.f1 == static_cast<uint32_t>(demo::phase::table_wanted))
        wanted = true;
    });
    if (!wanted)
      return;
    requests_taken_++;
    sender_.begin_anew();
    tell_at_ = clock::now();
  }

  void sweep_when_due() {
    if (!sweep_at_ || clock::now() < *sweep_at_)
      return;
    sweep_at_.reset();
    if (const uint64_t swept = table_.sweep(); swept > 0)
      demo::print("deleted %s that the daemon did not announce again\n",
                  demo::counted(swept, "route").c_str());
  }

  void tell_when_due() {
    const clock::time_point now = clock::now();
    if (now < retry_at_)
      return;
    const size_t changes = table_.change_count();
    const bool due = now >= tell_at_ || changes >= most_changes ||
                     (changes > 0 && now >= last_read_ + idle_time);
    if (due)
      tell();
  }

  void tell() {
    const bool refused = sender_.tell(table_) == record_sender::outcome::refused;
    const clock::time_point now = clock::now();
    if (refused) {
      if (!std::exchange(refused_, true))
        demo::complain("fpm_feed: the receiver was not told: %s; trying on\n",
                       sender_.problem().c_str());
      retry_at_ = now + retry_;
      retry_ = std::min(retry_ * 2, longest_retry);
      tell_at_ = retry_at_;
      return;
    }
    if (std::exchange(refused_, false))
      demo::complain("fpm_feed: the receiver is told again\n");
    retry_ = first_retry;
    retry_at_ = now;
    tell_at_ = now + heartbeat;
  }

  void dump() {
    table_.settle();
    if (!options_.dump_path.empty())
      write_routes(table_.resolved(), options_.dump_path);
  }

  void print_summary() const {
    const table_counters &counted = table_.counters();
    const auto line = [](const char *what, uint64_t number) {
      demo::print("  %-40s %12s\n", what, demo::grouped(number).c_str());
    };
    demo::print("from the daemon:\n");
    line("connections", connections_);
    line("bytes", bytes_);
    line("frames", frames_taken_);
    line("routes announced", counted.announced);
    line("routes replaced", counted.replaced);
    line("routes withdrawn", counted.withdrawn);
    line("routes not announced again", counted.swept);
    line("next-hop objects announced", counted.objects);
    line("withdrawn without being there", counted.unknown_withdrawn);
    line("over the limit", counted.over_limit);
    line("malformed messages", counted.malformed);
    line("broken streams", broken_streams_);
    for (size_t reason = 0; reason < skip_reasons; reason++)
      if (counted.skipped[reason] > 0)
        line(("skipped: " + std::string(to_text(static_cast<skip>(reason)))).c_str(),
             counted.skipped[reason]);
    demo::print("to the receiver:\n");
    line("messages", sender_.messages());
    line("routes", sender_.routes_sent());
    line("whole tables", sender_.whole_tables());
    line("requests for one", requests_taken_);
    line("refused calls", sender_.refusals());
    demo::print("in the table:\n");
    line("routes", table_.routes());
    line("of them stale", table_.stale_routes());
    line("of them without their next-hop object", table_.waiting_routes());
  }

  const feed_options &options_;
  demo::attachment requests_;
  descriptor listening_;
  descriptor daemon_;
  frame_reader frames_;
  std::vector<uint8_t> buffer_;
  std::vector<event> events_;
  feed_table table_;
  record_sender sender_;
  std::optional<clock::time_point> sweep_at_;
  clock::time_point last_read_ = clock::now();
  clock::time_point retry_at_ = last_read_;
  clock::time_point tell_at_ = last_read_;
  milliseconds retry_ = first_retry;
  bool refused_ = false;
  bool told_local_ = false;
  uint64_t connections_ = 0, bytes_ = 0, frames_taken_ = 0, said_ = 0, broken_streams_ = 0;
  uint64_t requests_taken_ = 0;
};

} // namespace

int run_feed(const feed_options &options) {
  for (const int number : {SIGINT, SIGTERM, SIGUSR1}) {
    struct sigaction action = {};
    action.sa_handler = note_feed_signal; // poll() is to be interrupted
    (void)sigaction(number, &action, nullptr);
  }
  (void)setenv("MESH_HOST_SEND_TIMEOUT_MS", send_timeout_ms, 0);
  feed running(options);
  running.run();
  return running.finish();
}

} // namespace fpm
