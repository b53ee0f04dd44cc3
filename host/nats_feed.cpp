// Receiving through NATS.
//
// Room: host.
//
// The stream's one consumer pushes to this process and tells at once when it is gone. Who attaches
// makes the consumer anew, and so gets everything that was not acknowledged, in order, from the
// first on. Each packet is acknowledged when its last handler has returned.
//
// A server does not keep the order of what was on its way when a connection broke: it pushes that
// again much later. But it numbers what it pushes, so what did not arrive is noticed, by the next
// packet or heartbeat; then the consumer is made anew here, too. What comes a second time by that
// is known by the numbers of its messages.
#include "host/nats_feed.h"

#include "host/mesh_host.h"
#include "host/nats_session.h"
#include "host/order.h"
#include "host/packet.h"
#include "host/tell.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace mesh_host {
namespace {

// More than a stream holds: packets that were given back count as pushed, and must not keep back
// the one that they wait for. What waits here is bounded by what the stream may hold.
constexpr int64_t most_unacknowledged = 1 << 20;
// How long the server waits for an acknowledgement before it pushes a packet again; such a
// repetition is recognised by its numbers.
constexpr int64_t acknowledge_within_ns = 5'000'000'000;
constexpr int64_t heartbeat_ns = 1'000'000'000;
// Without packets or heartbeats for so long, it is time to look whether the consumer is still ours.
constexpr std::chrono::milliseconds look_after(3000);
constexpr std::chrono::milliseconds try_again_after(100);
constexpr std::chrono::milliseconds look_every(250);
constexpr size_t most_former_subjects = 32;
constexpr int64_t flush_timeout_ms = 1000;
constexpr int predecessor_may_linger_ms = 500;
constexpr std::chrono::milliseconds look_for_predecessor_every(20);
// A packet in front of which one is missing is given back: its sender publishes that again, or says
// with a later packet that it was stored, and so handled by the receiver before this one. After
// this many times it is believed that the sender is dead, and never will.
constexpr uint64_t most_returns = 300;
constexpr char give_back[] = "-NAK {\"delay\": 30000000}"; // nanoseconds
constexpr char acknowledge[] = "+ACK";

// What the reply subject of a packet says:
// $JS.ACK.[<domain>.<account>.]<stream>.<consumer>.<times>.<...>.<number>.<...>.<...>[.<token>]
struct push {
  uint64_t times;  // how often this packet was pushed
  uint64_t number; // of this push among the consumer's, from 1
};
push read_reply(const char *reply) {
  if (reply == nullptr || strncmp(reply, "$JS.ACK.", 8) != 0)
    return {0, 0};
  constexpr size_t short_form = 9;
  constexpr size_t long_form = 11;
  const char *tokens[long_form] = {reply};
  size_t count = 1;
  for (const char *at = reply; *at != '\0'; at++)
    if (*at == '.' && count++ < long_form)
      tokens[count - 1] = at + 1;
  if (count < short_form || count == short_form + 1)
    return {0, 0};
  const size_t times = count >= long_form ? 6 : 4;
  return {strtoull(tokens[times], nullptr, 10), strtoull(tokens[times + 2], nullptr, 10)};
}

// What the client library's thread shares with the feed and with packets in the inbox. Held by each
// of them: the last to go takes it away.
struct reception {
  std::mutex lock;
  std::condition_variable changed;
  std::shared_ptr<parcel_sink> into;
  natsConnection *connection = nullptr; // null when the feed is gone
  uint32_t destination = 0;
  uint64_t generation = 0; // how often the consumer was made
  uint64_t last_push = 0;  // of this generation
  bool broken = false;     // a push is missing: the consumer is to be made anew
  std::mutex in_order;     // held while a packet is judged and put into the inbox
  order arrived;
  std::string last_acknowledged; // its reply subject
  deadline heard_at{};
  bool ended = false;
};

void reply(reception &self, const std::string &to, const char *text) {
  const std::lock_guard held(self.lock);
  if (self.connection != nullptr && !to.empty())
    natsConnection_PublishString(self.connection, to.c_str(), text);
}

class nats_parcel : public parcel {
public:
  nats_parcel(nats_object<natsMsg> message, std::shared_ptr<reception> from)
      : message_(std::move(message)), from_(std::move(from)) {}
  const uint8_t *bytes() const override {
    return reinterpret_cast<const uint8_t *>(natsMsg_GetData(message_.get()));
  }
  size_t size() const override {
    return static_cast<size_t>(natsMsg_GetDataLength(message_.get()));
  }
  void handled(uint64_t) override {}
  void done() override {
    const char *to = natsMsg_GetReply(message_.get());
    if (to == nullptr)
      return;
    reply(*from_, to, acknowledge);
    const std::lock_guard held(from_->lock);
    from_->last_acknowledged = to;
  }

private:
  const nats_object<natsMsg> message_;
  const std::shared_ptr<reception> from_;
};

// What a subscription of one generation of the consumer has.
struct subscriber {
  std::shared_ptr<reception> shared;
  uint64_t generation;
};

// Whether this push follows the last one; if not, nothing of this generation is taken any more.
bool follows(reception &self, uint64_t generation, uint64_t number, bool is_heartbeat) {
  const std::lock_guard held(self.lock);
  self.heard_at = clock::now();
  if (self.ended || self.broken || generation != self.generation)
    return false;
  if (number == self.last_push + (is_heartbeat ? 0 : 1)) {
    self.last_push = number;
    return true;
  }
  self.broken = true;
  self.changed.notify_all();
  return false;
}

void take_push(const subscriber &own, nats_object<natsMsg> message) {
  reception &self = *own.shared;
  natsMsg *const pushed = message.get();
  // A heartbeat has headers and nothing else. To look at those of every packet would be to take
  // them apart.
  const char *status = nullptr;
  if (natsMsg_GetDataLength(pushed) == 0 &&
      natsMsgHeader_Get(pushed, "Status", &status) == NATS_OK) {
    const char *last = nullptr;
    if (natsMsgHeader_Get(pushed, "Nats-Last-Consumer", &last) == NATS_OK)
      follows(self, own.generation, strtoull(last, nullptr, 10), true);
    return;
  }
  const char *to = natsMsg_GetReply(pushed);
  const push known = read_reply(to);
  if (known.number == 0)
    return; // not from a consumer: somebody guessed our inbox
  const std::lock_guard held(self.in_order);
  if (!follows(self, own.generation, known.number, false))
    return;
  packet_header header{};
  const auto *at = reinterpret_cast<const uint8_t *>(natsMsg_GetData(pushed));
  const auto size = static_cast<size_t>(natsMsg_GetDataLength(pushed));
  if (read_header(at, size, self.destination, header) == nullptr) {
    const bool ahead = self.arrived.is_ahead(header.sender, header.first, header.settled);
    // One without messages keeps its place among the others: what it says is said once, and is news
    // again for the next receiver as long as anything before it is not handled.
    const bool has_messages = header.count != 0;
    if (ahead && known.times <= most_returns) {
      if (has_messages)
        self.arrived.hold(header.sender, header.first);
      return reply(self, to, give_back);
    }
    if (has_messages)
      self.arrived.judge(header.sender, header.first, header.count);
  }
  self.into->push(std::make_unique<nats_parcel>(std::move(message), own.shared));
}

// A thread of the client library's, through which nothing can be thrown. Where there is no memory,
// a push is as if it were missing.
void take_message(natsConnection *, natsSubscription *, natsMsg *pushed, void *closure) {
  const subscriber &own = *static_cast<subscriber *>(closure);
  try {
    take_push(own, nats_object<natsMsg>(pushed));
  } catch (const std::bad_alloc &) {
    reception &self = *own.shared;
    tell("destination %u: no memory to take a packet", self.destination);
    const std::lock_guard held(self.lock);
    self.broken = true;
    self.changed.notify_all();
  }
}

void forget_subscriber(void *closure) {
  delete static_cast<subscriber *>(closure);
}

class nats_feed : public feed {
public:
  nats_feed(uint32_t destination, std::shared_ptr<parcel_sink> into)
      : destination_(destination), shared_(std::make_shared<reception>()) {
    shared_->into = std::move(into);
    shared_->destination = destination;
  }

  ~nats_feed() override {
    {
      const std::lock_guard held(shared_->lock);
      shared_->ended = true;
    }
    shared_->changed.notify_all();
    if (watcher_.joinable())
      watcher_.join();
    if (subscription_ != nullptr)
      natsSubscription_Unsubscribe(subscription_.get());
    if (ours_ && session_.is_connected()) { // without a server there is nobody to tell
      await_acknowledgements();
      jsErrCode error = jsErrCode(0);
      js_DeleteConsumer(session_.stream(), stream_name(destination_).c_str(), consumer_name,
                        nullptr, &error);
    }
    const std::lock_guard held(shared_->lock);
    shared_->connection = nullptr;
  }

  uint32_t open(const settings &limits, const place &at) {
    inbox_ = at.inbox;
    jsOptions options;
    jsOptions_Init(&options);
    if (const uint32_t result = session_.open(limits, at, destination_, options);
        result != MESH_HOST_OK) {
      if (result == MESH_HOST_NO_RECEIVER)
        tell("destination %u: no server answers at %s", destination_, at.servers.c_str());
      return result == MESH_HOST_NO_RECEIVER ? static_cast<uint32_t>(MESH_HOST_SYSTEM) : result;
    }
    shared_->connection = session_.connection();
    if (session_.ensure_stream(made_at_) != MESH_HOST_OK)
      return MESH_HOST_SYSTEM;
    if (const uint32_t result = subscribe(); result != MESH_HOST_OK)
      return result;
    if (const uint32_t result = claim_from_predecessor(); result != MESH_HOST_OK)
      return result;
    watcher_ = std::thread([this] { watch(); });
    return MESH_HOST_OK;
  }

private:
  // The server takes acknowledgements into a queue, which goes with the consumer. It answers one
  // that asks for it when all before it are done with.
  void await_acknowledgements() {
    constexpr int64_t patience_ms = 1000;
    natsMsg *answer = nullptr;
    if (!shared_->last_acknowledged.empty())
      natsConnection_RequestString(&answer, session_.connection(),
                                   shared_->last_acknowledged.c_str(), acknowledge, patience_ms);
    natsMsg_Destroy(answer);
  }

  // The client's reading thread holds no reference of its own to the subscription of the packet in
  // its hands (nats.c before 3.6, its issue 637). So one that may still be pushed to is kept until
  // the thread has read the answer to a ping that was sent later, or has ended.
  void retire_subscription() {
    if (subscription_ == nullptr)
      return;
    natsSubscription_Unsubscribe(subscription_.get());
    retired_.push_back(std::move(subscription_));
    if (natsConnection_FlushTimeout(session_.connection(), flush_timeout_ms) == NATS_OK)
      retired_.clear();
  }

  uint32_t subscribe() {
    uint64_t generation = 0;
    {
      const std::lock_guard held(shared_->lock);
      generation = ++shared_->generation;
      shared_->last_push = 0;
      shared_->broken = false;
    }
    retire_subscription();
    {
      const std::lock_guard held(shared_->in_order);
      shared_->arrived.begin_anew();
    }
    natsInbox *made = nullptr;
    natsStatus status = natsInbox_Create(&made);
    const std::unique_ptr<natsInbox, decltype(&natsInbox_Destroy)> held(made, natsInbox_Destroy);
    if (status == NATS_OK) {
      // What the server did not answer for may come to pass late: of this process's consumers any
      // may be the one that is there.
      former_subjects_.push_back(subject_);
      if (former_subjects_.size() > most_former_subjects)
        former_subjects_.pop_front();
      // The client makes it with the usual first word.
      subject_ = inbox_ + std::string(made).substr(strlen("_INBOX"));
      auto *closure = new subscriber{shared_, generation};
      natsSubscription *subscribed = nullptr;
      status = natsConnection_Subscribe(&subscribed, session_.connection(), subject_.c_str(),
                                        take_message, closure);
      subscription_.reset(subscribed);
      if (status == NATS_OK) {
        natsSubscription_SetOnCompleteCB(subscribed, forget_subscriber, closure);
        // How much may wait here is for the consumer to bound, and it counts packets.
        natsSubscription_SetPendingLimits(subscribed, -1, -1);
        return MESH_HOST_OK;
      }
      delete closure;
    }
    tell("destination %u: %s", destination_, reason(status).c_str());
    return MESH_HOST_SYSTEM;
  }

  // The consumer as the server has it; null when there is none or it cannot be told.
  nats_object<jsConsumerInfo> consumer(jsErrCode &error) {
    jsConsumerInfo *info = nullptr;
    js_GetConsumerInfo(&info, session_.stream(), stream_name(destination_).c_str(), consumer_name,
                       nullptr, &error);
    return nats_object<jsConsumerInfo>(info);
  }

  uint32_t claim() {
    jsErrCode error = jsErrCode(0);
    if (const auto known = consumer(error);
        known != nullptr && known->PushBound && !was_ours(*known))
      return MESH_HOST_DUPLICATE;
    const std::string stream = stream_name(destination_);
    js_DeleteConsumer(session_.stream(), stream.c_str(), consumer_name, nullptr, &error);
    jsConsumerConfig wanted;
    jsConsumerConfig_Init(&wanted);
    wanted.Durable = consumer_name;
    wanted.DeliverSubject = subject_.c_str();
    wanted.DeliverPolicy = js_DeliverAll;
    wanted.AckPolicy = js_AckExplicit;
    wanted.AckWait = acknowledge_within_ns;
    wanted.MaxAckPending = most_unacknowledged;
    wanted.Heartbeat = heartbeat_ns;
    jsConsumerInfo *made = nullptr;
    error = jsErrCode(0);
    const natsStatus status =
        js_AddConsumer(&made, session_.stream(), stream.c_str(), &wanted, nullptr, &error);
    const nats_object<jsConsumerInfo> held(made);
    if (status == NATS_OK && is_ours(*made)) {
      ours_ = true;
      const std::lock_guard lock(shared_->lock);
      shared_->heard_at = clock::now();
      return MESH_HOST_OK;
    }
    if (status == NATS_OK || error == JSConsumerExistingActiveErr ||
        error == JSConsumerNameExistErr) {
      const auto there = consumer(error);
      const bool own = there != nullptr && (is_ours(*there) || was_ours(*there));
      return own ? static_cast<uint32_t>(MESH_HOST_SYSTEM) // and it is tried again
                 : static_cast<uint32_t>(MESH_HOST_DUPLICATE);
    }
    tell("destination %u: consumer of %s: %s", destination_, stream.c_str(),
         reason(status).c_str());
    return MESH_HOST_SYSTEM;
  }

  // One that was killed is still there until its server has noticed.
  uint32_t claim_from_predecessor() {
    const deadline until = deadline_after(predecessor_may_linger_ms);
    for (;;) {
      const uint32_t result = claim();
      if (result != MESH_HOST_DUPLICATE)
        return result;
      if (clock::now() >= until)
        break;
      std::this_thread::sleep_for(look_for_predecessor_every);
    }
    tell("destination %u has a receiver already, at the server", destination_);
    return MESH_HOST_DUPLICATE;
  }

  bool is_ours(const jsConsumerInfo &info) const { return delivers_to(info, subject_); }
  bool was_ours(const jsConsumerInfo &info) const {
    return std::any_of(former_subjects_.begin(), former_subjects_.end(),
                       [&](const std::string &each) { return delivers_to(info, each); });
  }
  static bool delivers_to(const jsConsumerInfo &info, const std::string &subject) {
    return info.Config != nullptr && info.Config->DeliverSubject != nullptr && !subject.empty() &&
           subject == info.Config->DeliverSubject;
  }

  // Makes the consumer anew when a push is missing, and looks after the claim when the server has
  // been silent: it may have been started anew, or have given the destination to somebody else
  // while this process was stopped.
  void watch() {
    bool again = false; // what was tried did not work yet
    uint64_t connected = times_connected();
    for (;;) {
      bool silent = false;
      {
        std::unique_lock held(shared_->lock);
        shared_->changed.wait_for(held, again ? try_again_after : look_every,
                                  [&] { return shared_->ended || (shared_->broken && !again); });
        if (shared_->ended)
          return;
        // Acknowledgements that were on their way are lost as well, and the server would wait for
        // them.
        const uint64_t now_connected = times_connected();
        if (now_connected != connected)
          shared_->broken = true;
        connected = now_connected;
        silent = clock::now() >= shared_->heard_at + look_after;
        if (!shared_->broken && !silent)
          continue;
      }
      again = true;
      if (session_.is_closed())
        return end("the connection to the server is closed");
      if (!session_.is_connected())
        continue; // the client tries
      if (session_.ensure_stream(made_at_) != MESH_HOST_OK)
        continue;
      const uint32_t result = make_consumer_anew();
      if (result == MESH_HOST_DUPLICATE)
        return end("somebody else receives for it now");
      again = result != MESH_HOST_OK;
    }
  }

  uint64_t times_connected() const {
    uint64_t count = 0;
    natsStatistics *statistics = nullptr;
    if (natsStatistics_Create(&statistics) == NATS_OK &&
        natsConnection_GetStats(session_.connection(), statistics) == NATS_OK)
      natsStatistics_GetCounts(statistics, nullptr, nullptr, nullptr, nullptr, &count);
    natsStatistics_Destroy(statistics);
    return count;
  }

  uint32_t make_consumer_anew() {
    uint32_t result = MESH_HOST_SYSTEM;
    try {
      result = subscribe();
      if (result == MESH_HOST_OK)
        result = claim();
    } catch (const std::bad_alloc &) { // on a thread that nobody catches for; it is tried again
      tell("destination %u: no memory to make its consumer anew", destination_);
    }
    if (result != MESH_HOST_OK) {
      const std::lock_guard held(shared_->lock);
      shared_->broken = true;
    }
    return result;
  }

  void end(const char *why) {
    tell("destination %u: receiving ends: %s", destination_, why);
    ours_ = false;
    shared_->into->close();
  }

  const uint32_t destination_;
  std::shared_ptr<reception> shared_;
  // In front of the session, whose end is the end of the thread that reads for them.
  nats_object<natsSubscription> subscription_;
  std::vector<nats_object<natsSubscription>> retired_;
  nats_session session_;
  std::string inbox_;   // first word of the subjects
  std::string subject_; // where the consumer pushes to
  std::deque<std::string> former_subjects_;
  int64_t made_at_ = 0;
  bool ours_ = false;
  std::thread watcher_;
};

} // namespace

uint32_t make_nats_feed(const settings &limits, const place &at, uint32_t destination,
                        std::shared_ptr<parcel_sink> into, std::unique_ptr<feed> &made) {
  auto added = std::make_unique<nats_feed>(destination, std::move(into));
  const uint32_t result = added->open(limits, at);
  if (result == MESH_HOST_OK)
    made = std::move(added);
  return result;
}

} // namespace mesh_host
