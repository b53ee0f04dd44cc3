// Sending through NATS.
//
// Room: host.
//
// A packet is published and answered later: stored, or refused (the stream is full, its leader is
// being elected, the connection is gone). What was refused is published again until it is stored:
// so a packet that was put here is never given up while the process lives. The server may store a
// packet that was sent after a refused one; the receiving side puts them in order (nats_feed.cpp).
// For that each packet says up to where all are stored, and when a burst of them is, a packet of no
// messages says so.
#include "host/nats_link.h"

#include "host/mesh_host.h"
#include "host/nats_session.h"
#include "host/tell.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace mesh_host {
namespace {

// Packets published and not answered. The client collects small ones for a millisecond before it
// writes, so with 128 both sides mostly wait for each other; 2,048 gain nothing, and the receiver
// has to wait for the first of them when it was refused.
constexpr size_t most_unanswered = 512;
constexpr int64_t answer_timeout_ms = 1000;
constexpr std::chrono::milliseconds publish_again_after(20);
// How often the stream is asked how far its receiver is, while somebody waits for that.
constexpr std::chrono::milliseconds ask_every(2);
// How long it may take to answer: as long as the caller has time, within these.
constexpr long least_patience_ms = 200;
constexpr long most_patience_ms = 2000;
// How many packets at most are published between two questions after the room in the stream: each
// question stops the flow for a round trip.
constexpr uint64_t most_before_asking = 256;
constexpr std::chrono::milliseconds look_for_room_every(5);

// What the client library's threads share with the link. Never destroyed: they may be inside when
// the link goes, which is rare enough for that.
struct publishing {
  std::mutex lock;
  std::condition_variable answered;                 // for the sender: fewer are unanswered
  std::condition_variable to_do;                    // for the thread that publishes again
  std::deque<uint64_t> unanswered;                  // numbers of their first messages, ascending
  std::map<uint64_t, std::vector<uint8_t>> refused; // packets, by first number
  std::deque<std::pair<uint64_t, uint64_t>> stored; // last number, sequence in the stream
  uint64_t newest = 0;                              // number of the last message put
  // First numbers of packets that were refused and are not stored yet. As long as there are any,
  // nothing new is published: it would be stored before them, and a full stream of what has to wait
  // for them would never have room for them.
  std::set<uint64_t> hindered;
  bool stream_missing = false;
  bool owes_marker = false; // what was published last says less than what is settled
  bool broken = false;      // there was no memory to keep a packet that has to be published again
  bool ended = false;
  rate_limit refusals;

  uint64_t settled() const { // with the lock held
    return unanswered.empty() ? newest : unanswered.front() - 1;
  }
  // Most are answered in the order in which they went.
  void forget(uint64_t first) { // with the lock held
    const auto found = std::lower_bound(unanswered.begin(), unanswered.end(), first);
    if (found != unanswered.end() && *found == first)
      unanswered.erase(found);
  }
  // Whole or, without memory, not at all. With the lock held.
  void keep_refused(uint64_t first, const uint8_t *packet, size_t size) {
    refused.insert_or_assign(first, std::vector<uint8_t>(packet, packet + size));
  }
  uint32_t destination = 0;
};

publishing &new_publishing() {
  static std::mutex lock;
  static std::deque<publishing> *const all = new std::deque<publishing>;
  const std::lock_guard held(lock);
  return all->emplace_back();
}

std::pair<uint64_t, uint64_t> numbers_of(const natsMsg *message) {
  packet_header header{};
  const auto *at = reinterpret_cast<const uint8_t *>(natsMsg_GetData(message));
  const auto size = static_cast<size_t>(natsMsg_GetDataLength(message));
  if (size < packet_header_size ||
      read_header(at, size, static_cast<uint32_t>(detail::get(at + 4, 4)), header) != nullptr)
    return {0, 0};
  return {header.first, header.first + header.count - 1};
}

void take_answer_to(publishing &self, natsMsg *answered, jsPubAck *stored, jsPubAckErr *refused) {
  const auto [first, last] = numbers_of(answered);
  const std::lock_guard held(self.lock);
  if (self.ended || last < first) // of a packet without messages
    return;
  if (stored != nullptr) {
    self.stored.emplace_back(last, stored->Sequence); // first, for it may find no memory
    self.forget(first);
    self.hindered.erase(first);
    // A sender woken by each answer would send one packet and wait again.
    if (self.unanswered.size() <= most_unanswered / 2)
      self.answered.notify_all();
  } else {
    self.hindered.insert(first);
    if (refused->ErrCode == JSStreamNotFoundErr || refused->Err == NATS_NO_RESPONDERS)
      self.stream_missing = true;
    const char *why =
        refused->ErrText != nullptr ? refused->ErrText : natsStatus_GetText(refused->Err);
    if (uint64_t skipped = 0; self.refusals.pass(skipped))
      tell("destination %u: not stored yet: %s (%llu more not told)", self.destination, why,
           number(skipped));
    const auto *packet = reinterpret_cast<const uint8_t *>(natsMsg_GetData(answered));
    self.keep_refused(first, packet, static_cast<size_t>(natsMsg_GetDataLength(answered)));
    self.to_do.notify_all();
  }
}

// Without memory for what has to be published again the link is over: what is not settled is then
// reported as lost.
void give_up(publishing &self) {
  tell("destination %u: no memory to publish a packet again", self.destination);
  const std::lock_guard held(self.lock);
  self.broken = true;
  self.answered.notify_all();
}

// On a thread of the client library's, through which nothing can be thrown.
void take_answer(jsCtx *, natsMsg *answered, jsPubAck *stored, jsPubAckErr *refused,
                 void *closure) {
  publishing &self = *static_cast<publishing *>(closure);
  const nats_object<natsMsg> message(answered);
  try {
    take_answer_to(self, answered, stored, refused);
  } catch (const std::bad_alloc &) {
    give_up(self);
  }
}

class nats_link : public link {
public:
  nats_link(uint32_t destination, uint64_t base)
      : destination_(destination), subject_(subject_name(destination)), settled_(base),
        handled_(base), shared_(new_publishing()) {
    shared_.destination = destination;
    shared_.newest = base;
  }

  ~nats_link() override {
    {
      const std::lock_guard held(shared_.lock);
      shared_.ended = true;
      shared_.refused.clear();
      shared_.stored.clear();
    }
    shared_.to_do.notify_all();
    if (publisher_.joinable())
      publisher_.join();
    if (shared_.owes_marker && shared_.unanswered.empty() && session_.is_connected()) {
      publish_marker(shared_.newest);
      natsConnection_FlushTimeout(session_.connection(), answer_timeout_ms);
    }
  }

  uint32_t open(const settings &limits, const place &at) {
    at_ = &at;
    jsOptions options;
    jsOptions_Init(&options);
    options.PublishAsync.AckHandler = take_answer;
    options.PublishAsync.AckHandlerClosure = &shared_;
    options.PublishAsync.MaxPending = 4 * most_unanswered;
    if (const uint32_t result = session_.open(limits, at, destination_, options);
        result != MESH_HOST_OK)
      return result;
    if (const uint32_t result = session_.ensure_stream(made_at_); result != MESH_HOST_OK)
      return result;
    longest_ = static_cast<size_t>(natsConnection_GetMaxPayload(session_.connection()));
    publisher_ = std::thread([this] {
      try {
        publish_refused();
      } catch (const std::bad_alloc &) {
        give_up(shared_);
      }
    });
    return MESH_HOST_OK;
  }

  outcome put(const packet_header &header, const msg_desc *messages, deadline until) override {
    const size_t size = packet_header_size + header.bytes;
    if (size > longest_) {
      tell("destination %u: a batch of %zu bytes, but the server takes at most %zu at once "
           "(max_payload)",
           destination_, size, longest_);
      return outcome::too_large;
    }
    if (!wait_for_room(size, until))
      return outcome::full;
    if (gone_)
      return outcome::gone;
    scratch_.resize(size);
    write_packet(scratch_.data(), header, messages);
    {
      const std::lock_guard held(shared_.lock);
      shared_.unanswered.push_back(header.first);
      shared_.newest = header.first + header.count - 1;
    }
    try {
      publish(scratch_.data(), size);
    } catch (const std::bad_alloc &) { // it did not go, and its number is the next one's
      const std::lock_guard held(shared_.lock);
      shared_.forget(header.first);
      shared_.hindered.erase(header.first);
      shared_.newest = header.first - 1;
      throw;
    }
    return outcome::done;
  }

  void take_news() override {
    const std::lock_guard held(shared_.lock);
    gone_ = gone_ || shared_.broken || stream_lost_ || session_.is_closed();
    settled_ = shared_.settled();
  }

  void wait(deadline until) override {
    std::unique_lock held(shared_.lock);
    const uint64_t known = settled_;
    const auto soon = std::min(until, clock::now() + std::chrono::milliseconds(20));
    shared_.answered.wait_until(held, soon, [&] { return shared_.settled() != known; });
  }

  uint64_t settled() const override { return settled_; }
  bool gone() const override { return gone_; }

  // What is stored was handled when the stream does not hold it any more.
  bool handled(uint64_t number, deadline until) override {
    if (settled_ < number)
      return false;
    if (handled_ >= number)
      return true;
    if (clock::now() >= ask_again_)
      ask_stream(until);
    return handled_ >= number;
  }

  uint64_t doubtful_from() const override { return stream_lost_ ? handled_ + 1 : settled_ + 1; }

private:
  // Waits until the stream has room, and not too many answers are outstanding. The room is looked
  // after here: at its own limit a server refuses some of the packets that are on their way and
  // takes others, and has been seen to say of the former that it had them.
  bool wait_for_room(size_t size, deadline until) {
    if (before_asking_ > 0 && bytes_before_asking_ >= size) {
      before_asking_--;
      bytes_before_asking_ -= size;
    } else {
      before_asking_ = 0;
      for (ask_stream(until); before_asking_ == 0; ask_stream(until)) {
        gone_ = gone_ || stream_lost_;
        if (clock::now() >= until || gone_)
          return gone_;
        std::this_thread::sleep_for(look_for_room_every);
      }
    }
    std::unique_lock held(shared_.lock);
    if (shared_.unanswered.size() < most_unanswered && shared_.hindered.empty())
      return true;
    return shared_.answered.wait_until(held, until, [this] {
      return shared_.unanswered.size() <= most_unanswered / 2 && shared_.hindered.empty();
    });
  }

  // Into the client's buffer, or, when that is not possible now, among those that are tried again.
  // Says in the packet what is settled now.
  void publish(uint8_t *packet, size_t size) {
    const uint64_t sender = detail::get(packet + 8, 8);
    const uint64_t first = detail::get(packet + 16, 8);
    own_sender_ = sender;
    {
      const std::lock_guard held(shared_.lock);
      const uint64_t settled = std::min(shared_.settled(), first - 1);
      detail::put(packet + 24, settled, 8);
      if (settled != first - 1 && !std::exchange(shared_.owes_marker, true))
        shared_.to_do.notify_all();
    }
    if (publish_bytes(packet, size))
      return;
    const std::lock_guard held(shared_.lock);
    shared_.hindered.insert(first);
    shared_.keep_refused(first, packet, size);
    shared_.to_do.notify_all();
  }

  // Says that all messages up to this one are settled. If it does not arrive, receivers that have
  // to know wait a little longer.
  void publish_marker(uint64_t newest) {
    uint8_t packet[packet_header_size];
    const uint64_t sender = own_sender_;
    write_header(packet, {destination_, sender, newest + 1, newest, 0, 0, 0});
    publish_bytes(packet, sizeof packet);
  }

  bool publish_bytes(const uint8_t *packet, size_t size) {
    jsPubOptions options;
    jsPubOptions_Init(&options);
    options.MaxWait = answer_timeout_ms;
    return js_PublishAsync(session_.stream(), subject_.c_str(), packet, static_cast<int>(size),
                           &options) == NATS_OK;
  }

  // The thread that publishes again.
  void publish_refused() {
    std::unique_lock held(shared_.lock);
    for (;;) {
      shared_.to_do.wait(held, [this] {
        return shared_.ended || !shared_.refused.empty() || shared_.owes_marker;
      });
      const uint64_t newest = shared_.newest;
      shared_.to_do.wait_for(held, publish_again_after, [this] { return shared_.ended; });
      if (shared_.ended)
        return;
      if (shared_.owes_marker && shared_.unanswered.empty() && newest == shared_.newest) {
        shared_.owes_marker = false;
        held.unlock();
        publish_marker(newest);
        held.lock();
      }
      const bool missing = std::exchange(shared_.stream_missing, false);
      std::map<uint64_t, std::vector<uint8_t>> again;
      again.swap(shared_.refused);
      held.unlock();
      if (missing)
        look_for_stream();
      for (auto &[first, packet] : again)
        publish(packet.data(), packet.size());
      held.lock();
    }
  }

  // A server that kept the stream in memory and was started anew has lost it, with all it held.
  void look_for_stream() {
    int64_t made_at = 0;
    if (session_.ensure_stream(made_at) == MESH_HOST_OK && made_at != made_at_)
      stream_lost_ = true;
  }

  void ask_stream(deadline until) {
    ask_again_ = clock::now() + ask_every;
    jsOptions options; // a server that is stopped must not keep the caller beyond his deadline
    jsOptions_Init(&options);
    options.Wait = std::max(remaining_ms(until, most_patience_ms), least_patience_ms);
    jsStreamInfo *info = nullptr;
    jsErrCode error = jsErrCode(0);
    const natsStatus status = js_GetStreamInfo(&info, session_.stream(),
                                               stream_name(destination_).c_str(), &options, &error);
    const nats_object<jsStreamInfo> held_info(info);
    if (status != NATS_OK) {
      // A server that was just started may know less than its cluster.
      if (error == JSStreamNotFoundErr)
        look_for_stream();
      return;
    }
    if (info->Created != made_at_)
      stream_lost_ = true;
    if (stream_lost_)
      return;
    const uint64_t batches = info->State.Msgs;
    // Others send as well, so not all of the room is ours.
    if (batches >= at_->kept_batches || info->State.Bytes >= at_->kept_bytes)
      before_asking_ = 0;
    else
      before_asking_ =
          std::clamp((at_->kept_batches - batches) / 8, uint64_t{1}, most_before_asking);
    bytes_before_asking_ = before_asking_ > 0 ? (at_->kept_bytes - info->State.Bytes) / 8 : 0;
    const std::lock_guard held(shared_.lock);
    while (!shared_.stored.empty() && shared_.stored.front().second < info->State.FirstSeq) {
      handled_ = std::max(handled_, shared_.stored.front().first);
      shared_.stored.pop_front();
    }
  }

  const uint32_t destination_;
  const std::string subject_;
  nats_session session_;
  size_t longest_ = 0;
  std::atomic<uint64_t> own_sender_{0}; // as packets say it; both threads that publish note it
  uint64_t settled_;
  uint64_t handled_;
  bool gone_ = false;
  int64_t made_at_ = 0;                  // when the stream was, by its server's clock
  std::atomic<bool> stream_lost_{false}; // and the messages in it
  deadline ask_again_{};
  // Packets and bytes that may be published before the next question.
  uint64_t before_asking_ = 0, bytes_before_asking_ = 0;
  const place *at_ = nullptr;
  std::vector<uint8_t> scratch_;
  publishing &shared_;
  std::thread publisher_;
};

} // namespace

uint32_t make_nats_link(const settings &limits, const place &at, uint32_t destination,
                        uint64_t base, std::unique_ptr<link> &made) {
  auto added = std::make_unique<nats_link>(destination, base);
  const uint32_t result = added->open(limits, at);
  if (result == MESH_HOST_OK)
    made = std::move(added);
  return result;
}

} // namespace mesh_host
