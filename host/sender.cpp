// Sending.
//
// Room: host.
#include "host/sender.h"

#include "host/status.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>

namespace mesh_host {
namespace {

// Threads are told apart by a number that is never used again, unlike the system's.
uint64_t own_thread() {
  static std::atomic<uint64_t> last{0};
  thread_local uint64_t own = 0;
  if (own == 0)
    own = ++last;
  return own;
}

uint64_t total_length(const msg_desc *messages, uint32_t count) {
  uint64_t bytes = 0;
  for (uint32_t i = 0; i < count; i++)
    bytes += messages[i].length;
  return bytes;
}

} // namespace

sender::sender(const settings &limits, uint32_t destination, mesh_host_status_row &row,
               connector connect)
    : limits_(limits), destination_(destination), row_(row), connect_(std::move(connect)) {}

uint32_t sender::send(const msg_desc *messages, uint32_t count, uint64_t target) {
  const uint64_t packed = packed_size(messages, count);
  if (packed > limits_.batch_limit)
    return refused(count, MESH_HOST_TOO_LARGE);
  const deadline until = deadline_after(limits_.send_timeout_ms);
  const guard held(lock_, until);
  if (!held.owns_lock())
    return refused(count, MESH_HOST_FULL);
  const packet_header header{
      destination_, own_sender_number(),          accepted_ + 1, settled_, target,
      count,        static_cast<uint32_t>(packed)};
  const uint32_t result = send_in_turn(header, messages, total_length(messages, count), until);
  return result == MESH_HOST_OK ? result : refused(count, result);
}

uint32_t sender::send_in_turn(const packet_header &header, const msg_desc *messages, uint64_t bytes,
                              deadline until) {
  const uint64_t thread = own_thread();
  // News cost a call of the system; a receiver that is gone shows itself without them.
  constexpr unsigned batches_between_looks = 32;
  if (++batches_since_look_ >= batches_between_looks)
    look();
  for (;;) {
    if (owes_report(thread))
      return report(thread);
    if (link_ == nullptr)
      if (const uint32_t result = connect(until); result != MESH_HOST_OK)
        return result;
    if (const uint32_t result = wait_for_room(header.count, bytes, until); result != MESH_HOST_OK)
      return result;
    if (link_ == nullptr)
      continue; // it went away meanwhile
    switch (put(header, messages, bytes, thread, until)) {
    case link::outcome::done:
      note_accepted(header, bytes);
      return MESH_HOST_OK;
    case link::outcome::full:
      look();
      if (owes_report(thread))
        return report(thread);
      return MESH_HOST_FULL;
    case link::outcome::failed:
      return MESH_HOST_SYSTEM;
    case link::outcome::too_large:
      return MESH_HOST_TOO_LARGE;
    case link::outcome::gone:
      look();
      if (link_ != nullptr)
        note_loss();
    }
  }
}

uint32_t sender::refused(uint32_t count, uint32_t why) {
  add(row_.refused, count);
  return why;
}

// Notes the batch before it goes: when there was no memory for that afterwards, it would be under
// way and its number given to the next.
link::outcome sender::put(const packet_header &header, const msg_desc *messages, uint64_t bytes,
                          uint64_t thread, deadline until) {
  threads_.insert(thread);
  under_way_.push_back({accepted_ + header.count, bytes, thread});
  link::outcome result = link::outcome::failed;
  try {
    result = link_->put(header, messages, until);
  } catch (const std::bad_alloc &) {
    under_way_.pop_back();
    throw;
  }
  if (result != link::outcome::done)
    under_way_.pop_back();
  return result;
}

void sender::note_accepted(const packet_header &header, uint64_t bytes) {
  accepted_ += header.count;
  bytes_under_way_ += bytes;
  const uint64_t messages = accepted_ - settled_;
  set(row_.accepted, accepted_);
  set(row_.bytes_sent, row_.bytes_sent + bytes);
  set(row_.messages_under_way, messages);
  set(row_.bytes_under_way, bytes_under_way_);
  if (messages > row_.most_messages_under_way)
    set(row_.most_messages_under_way, messages);
  if (bytes_under_way_ > row_.most_bytes_under_way)
    set(row_.most_bytes_under_way, bytes_under_way_);
}

// Tries until somebody is there, and has room: the receiver may be about to start.
uint32_t sender::connect(deadline until) {
  constexpr std::chrono::milliseconds pause(10);
  for (;;) {
    const uint32_t result = connect_(accepted_, link_);
    if (result != MESH_HOST_NO_RECEIVER && result != MESH_HOST_FULL)
      return result;
    if (clock::now() + pause >= until) {
      if (result == MESH_HOST_FULL)
        return result;
      break;
    }
    std::this_thread::sleep_for(pause);
  }
  if (uint64_t skipped = 0; no_receiver_.pass(skipped))
    tell("nobody receives for destination %u: tried %s for %d ms (MESH_HOST_SEND_TIMEOUT_MS; %llu "
         "more not told)",
         destination_, limits_.where(destination_).c_str(), limits_.send_timeout_ms,
         number(skipped));
  return MESH_HOST_NO_RECEIVER;
}

// A batch above the window is let through alone.
bool sender::has_room(uint64_t count, uint64_t bytes) const {
  const uint64_t messages = accepted_ - settled_;
  return messages == 0 || (messages + count <= limits_.window_messages &&
                           bytes_under_way_ + bytes <= limits_.window_bytes);
}

uint32_t sender::wait_for_room(uint64_t count, uint64_t bytes, deadline until) {
  if (has_room(count, bytes))
    return MESH_HOST_OK;
  for (look(); link_ != nullptr && !has_room(count, bytes); look()) {
    if (clock::now() >= until)
      return MESH_HOST_FULL;
    link_->wait(until);
  }
  return MESH_HOST_OK;
}

// Takes what news there are, the end of the link included.
void sender::look() {
  batches_since_look_ = 0;
  if (link_ == nullptr)
    return;
  link_->take_news();
  settle(std::min(link_->settled(), accepted_)); // a peer may say anything
  if (link_->gone())
    note_loss();
}

void sender::settle(uint64_t number) {
  if (number <= settled_)
    return;
  set(row_.handled, row_.handled + (number - settled_));
  settled_ = number;
  while (!under_way_.empty() && under_way_.front().last <= settled_) {
    bytes_under_way_ -= under_way_.front().bytes;
    under_way_.pop_front();
  }
  set(row_.messages_under_way, accepted_ - settled_);
  set(row_.bytes_under_way, bytes_under_way_);
}

// The link is over. What is not settled is not known to be handled, now and for ever; and a server
// may have lost what it had taken over.
void sender::note_loss() {
  const uint64_t doubtful_from = link_->doubtful_from();
  link_.reset();
  const uint64_t handled_to = std::min(settled_, doubtful_from - 1);
  if (handled_to == accepted_)
    return;
  losses_++;
  lost_first_ = handled_to + 1;
  lost_last_ = accepted_;
  for (const batch &each : under_way_)
    owed_.insert(each.thread);
  if (handled_to < settled_)
    owed_.insert(threads_.begin(), threads_.end()); // whose messages those were is forgotten
  set(row_.losses, losses_);
  set(row_.handled, row_.handled - (settled_ - handled_to));
  set(row_.lost, row_.lost + (lost_last_ - handled_to));
  tell("the receiver of destination %u went away, %llu messages are not known to be handled: "
       "numbers %llu to %llu",
       destination_, number(lost_last_ - handled_to), number(lost_first_), number(lost_last_));
  settled_ = accepted_;
  under_way_.clear();
  bytes_under_way_ = 0;
  set(row_.messages_under_way, 0);
  set(row_.bytes_under_way, 0);
}

uint32_t sender::report(uint64_t thread) {
  owed_.erase(thread);
  told_to_[thread] = losses_;
  return MESH_HOST_PEER_LOST;
}

uint32_t sender::flush(deadline until) {
  // In between, others have their turn: they may be the ones who make room.
  constexpr std::chrono::milliseconds slice(5);
  const uint64_t thread = own_thread();
  uint64_t goal = 0;
  for (bool first = true;; first = false) {
    const guard held(lock_, until);
    if (!held.owns_lock())
      return MESH_HOST_FULL;
    if (first)
      goal = accepted_;
    look();
    const auto known = told_to_.find(thread);
    const uint64_t told = known != told_to_.end() ? known->second : 0;
    if (owes_report(thread) || told < losses_)
      return report(thread);
    if (link_ == nullptr || link_->handled(goal, until))
      return MESH_HOST_OK;
    const deadline now = clock::now();
    if (now >= until)
      return MESH_HOST_FULL;
    link_->wait(std::min(until, now + slice));
  }
}

bool sender::finish(deadline until) {
  const guard held(lock_, until);
  if (!held.owns_lock())
    return false;
  for (look(); link_ != nullptr && settled_ < accepted_ && clock::now() < until; look())
    link_->wait(until);
  if (settled_ < accepted_)
    tell("process ends with %llu messages to destination %u not known to be handled: numbers %llu "
         "to %llu",
         number(accepted_ - settled_), destination_, number(settled_ + 1), number(accepted_));
  link_.reset();
  return true;
}

void sender::get_progress(mesh_host_progress &into) {
  const guard held(lock_, deadline_after(-1));
  look();
  into = {own_sender_number(), accepted_, settled_, losses_, lost_first_, lost_last_};
}

} // namespace mesh_host
