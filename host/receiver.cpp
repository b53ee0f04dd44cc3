// Receiving: waiting, decoding, handing over.
//
// Room: host.
#include "host/receiver.h"

#include "host/status.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <poll.h>
#include <sched.h>

namespace mesh_host {
namespace {

// At most this many packets from the inbox in one poll, so that a caller of poll gets its turn.
constexpr int most_parcels_per_poll = 128;
constexpr std::chrono::microseconds look_again_for(50);

} // namespace

receiver::receiver(const settings &limits, uint32_t destination, mesh_host_status_row &row)
    : limits_(limits), destination_(destination), row_(row), inbox_(std::make_shared<inbox>()),
      faults_(limits.faults) {}

receiver::~receiver() {
  feed_.reset();
  inbox_->close();
}

uint32_t receiver::open() {
  if (!inbox_->is_open()) {
    tell("destination %u: no descriptor: %s", destination_, strerror(errno));
    return MESH_HOST_SYSTEM;
  }
  const place &at = limits_.place_of(destination_);
  if (!at.is_local()) {
    const server_way *way = load_server_way();
    return way != nullptr ? way->make_feed(limits_, at, destination_, inbox_, feed_)
                          : static_cast<uint32_t>(MESH_HOST_BAD_CONFIG);
  }
  inlet_ = std::make_unique<local_inlet>(limits_, destination_);
  return inlet_->open();
}

void receiver::on_gap(mesh_host_gap_handler handler, void *context) {
  gap_handler_ = handler;
  gap_context_ = context;
}

int receiver::poll(int timeout_ms, mesh_host_handler handler, void *context) {
  if (!begin_poll())
    return -1;
  handler_ = handler;
  context_ = context;
  const int handled = poll_until(deadline_after(timeout_ms));
  end_poll();
  return handled;
}

bool receiver::begin_poll() {
  const std::lock_guard held(state_lock_);
  if (polling_)
    tell("destination %u is being polled already, expected one poll at a time", destination_);
  if (polling_ || closing_)
    return false;
  polling_ = true;
  poller_ = std::this_thread::get_id();
  return true;
}

void receiver::end_poll() {
  {
    const std::lock_guard held(state_lock_);
    polling_ = false;
  }
  poll_ended_.notify_all();
}

bool receiver::is_closing() const {
  const std::lock_guard held(state_lock_);
  return closing_;
}

int receiver::poll_until(deadline until) {
  handled_ = 0;
  for (;;) {
    if (is_closing() || inbox_->is_closed())
      return -1;
    const bool took = take_soon(until);
    if (handled_ != 0)
      return handled_;
    if (took)
      continue; // all of it was refused: there may be more
    if (clock::now() >= until)
      return 0;
    if (!wait(until))
      return 0; // a signal: the program may want to look at its flags
  }
}

bool receiver::take_some() {
  const bool took_parcels = take_parcels();
  return (inlet_ != nullptr && inlet_->take_some(*this)) || took_parcels;
}

bool receiver::take_parcels() {
  int taken = 0;
  for (; taken < most_parcels_per_poll; taken++) {
    const std::unique_ptr<parcel> next = inbox_->pop();
    if (next == nullptr)
      break;
    packet_header header{};
    const char *why = read_header(next->bytes(), next->size(), destination_, header);
    if (why != nullptr)
      refuse_malformed(why);
    else if (header.bytes > limits_.batch_limit)
      refuse_oversize(header);
    else
      try {
        take(
            header, next->bytes() + packet_header_size, next->size() - packet_header_size,
            [](void *known, uint64_t number) { static_cast<parcel *>(known)->handled(number); },
            next.get());
      } catch (const std::bad_alloc &) {
        tell("destination %u: no memory to take a packet", destination_);
        continue; // what becomes of a parcel that is not done its way knows
      }
    if (why == nullptr)
      next->handled(header.first + header.count - 1);
    next->done();
  }
  return taken > 0;
}

// Takes what is there, or comes at once. A sender whose receiver sleeps wakes it for each packet,
// and where a processor sleeps with it, waking it takes ten times as long as the packet. Whoever
// else wants this processor gets it meanwhile.
bool receiver::take_soon(deadline until) {
  if (take_some())
    return true;
  const deadline end = std::min(until, clock::now() + look_again_for);
  while (clock::now() < end) {
    sched_yield();
    if (take_some())
      return true;
  }
  return false;
}

// False after a signal.
bool receiver::wait(deadline until) {
  pollfd items[2] = {{inbox_->wake_descriptor(), POLLIN, 0},
                     {inlet_ != nullptr ? inlet_->wait_descriptor() : -1, POLLIN, 0}};
  long wait_ms = remaining_ms(until);
  if (inlet_ != nullptr && inlet_->retry_after_ms() >= 0)
    wait_ms = std::min<long>(wait_ms, inlet_->retry_after_ms());
  if (::poll(items, 2, static_cast<int>(wait_ms)) < 0)
    return errno != EINTR;
  if (items[0].revents != 0)
    inbox_->clear_wake();
  return true;
}

bool receiver::take(const packet_header &header, const uint8_t *body, size_t size, progress handled,
                    void *context) {
  if (!is_whole(header, body, size)) {
    refuse_malformed("its messages do not fill it");
    return false;
  }
  if (header.count == 0) {
    handled(context, header.settled);
    return true;
  }
  const order::finding found = order_.judge(header.sender, header.first, header.count);
  if (found.what == order::verdict::repeated) {
    add(row_.redelivered, header.count);
    handled(context, header.first + header.count - 1);
    return true;
  }
  if (found.what == order::verdict::gap)
    tell_gap(header, found.missing_from);
  message_reader messages(body, size);
  packed_message message{};
  origin_ = {header.sender, header.first, 0};
  for (; messages.next(message); origin_.number++) {
    deliver(message, header.target);
    handled(context, origin_.number);
  }
  origin_ = {};
  return true;
}

void receiver::tell_gap(const packet_header &header, uint64_t from) {
  add(row_.gaps, 1);
  const mesh_host_gap gap{header.sender, from, header.first - 1};
  if (gap_handler_ != nullptr)
    gap_handler_(gap_context_, &gap);
}

void receiver::refuse_malformed(const char *why) {
  add(row_.malformed, 1);
  if (uint64_t skipped = 0; malformed_.pass(skipped))
    tell("destination %u: packet refused, %s (%llu more not told)", destination_, why,
         number(skipped));
}

void receiver::refuse_oversize(const packet_header &header) {
  add(row_.oversize, header.count);
  if (uint64_t skipped = 0; oversize_.pass(skipped))
    tell(
        "destination %u: batch of %u bytes refused, the limit is %llu (MESH_HOST_FRAME_LIMIT; %llu "
        "more not told)",
        destination_, header.bytes, number(limits_.batch_limit), number(skipped));
}

void receiver::deliver(const packed_message &message, uint64_t target) {
  add_alone(row_.bytes_received, message.length);
  hand_over(message, target);
  if (faults_.repeats()) {
    origin_.repeated = 1;
    hand_over(message, target);
    origin_.repeated = 0;
  }
}

// Mostly those of the message before: what was registered stays.
message_hooks *receiver::hooks_of(uint32_t id) {
  if (last_hooks_ == nullptr || id != last_id_) {
    last_hooks_ = find_hooks(id);
    last_id_ = id;
  }
  return last_hooks_;
}

void receiver::hand_over(const packed_message &message, uint64_t target) {
  message_hooks *hooks = hooks_of(message.id);
  if (hooks == nullptr) {
    add(row_.unknown_identifier, 1);
    if (uint64_t skipped = 0; unknown_.pass(skipped))
      tell("destination %u: message of unknown identifier 0x%08X refused (%llu more not told)",
           destination_, message.id, number(skipped));
    return;
  }
  const uint32_t size = record_size(*hooks, message.data, message.length);
  void *record = zeroed_storage(size);
  hooks->unpack(message.data, message.length, record);
  add_alone(row_.delivered, 1);
  handler_(context_, message.id, target, record, size);
  handled_++;
  hooks->release(record);
}

// Zeroed each time: a decoder that refuses early leaves the storage as it finds it, and the handler
// must not see the previous record there.
void *receiver::zeroed_storage(uint32_t size) {
  constexpr size_t unit = sizeof(std::max_align_t);
  const size_t units = std::max<size_t>(1, (size + unit - 1) / unit);
  if (storage_.size() < units)
    storage_.resize(units);
  memset(storage_.data(), 0, size);
  return storage_.data();
}

receiver::close_result receiver::close(deadline until, bool process_ends) {
  std::unique_lock held(state_lock_);
  const bool in_handler = polling_ && poller_ == std::this_thread::get_id();
  if (in_handler && !process_ends)
    return close_result::in_use;
  closing_ = true;
  inbox_->wake();
  if (!in_handler && !poll_ended_.wait_until(held, until, [this] { return !polling_; }))
    return close_result::in_use;
  feed_.reset();
  inlet_.reset(); // acknowledges what was handled
  inbox_->close();
  return close_result::closed;
}

} // namespace mesh_host
