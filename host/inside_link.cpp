// Sending inside a process.
//
// Room: host.
#include "host/inside_link.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace mesh_host {
namespace {

// What the two sides of a link share: how far the receiver is.
class progress {
public:
  explicit progress(uint64_t base) : settled_(base) {}

  void handled(uint64_t number) {
    const std::lock_guard held(lock_);
    settled_ = std::max(settled_, number);
  }
  void tell() { changed_.notify_all(); }
  uint64_t settled() {
    const std::lock_guard held(lock_);
    return settled_;
  }
  void end() {
    {
      const std::lock_guard held(lock_);
      ended_ = true;
    }
    changed_.notify_all();
  }
  bool ended() {
    const std::lock_guard held(lock_);
    return ended_;
  }
  void wait_beyond(uint64_t known, deadline until) {
    std::unique_lock held(lock_);
    changed_.wait_until(held, until, [&] { return ended_ || settled_ > known; });
  }

private:
  std::mutex lock_;
  std::condition_variable changed_;
  uint64_t settled_;
  bool ended_ = false;
};

class inside_parcel : public parcel {
public:
  inside_parcel(std::vector<uint8_t> bytes, std::shared_ptr<progress> sender)
      : bytes_(std::move(bytes)), sender_(std::move(sender)) {}
  // Dropped with the inbox, it was not handled.
  ~inside_parcel() override {
    if (!done_)
      sender_->end();
  }
  const uint8_t *bytes() const override { return bytes_.data(); }
  size_t size() const override { return bytes_.size(); }
  void handled(uint64_t number) override { sender_->handled(number); }
  void done() override {
    done_ = true;
    sender_->tell();
  }

private:
  const std::vector<uint8_t> bytes_;
  const std::shared_ptr<progress> sender_;
  bool done_ = false;
};

class inside_link : public link {
public:
  inside_link(std::shared_ptr<inbox> to, uint64_t base)
      : to_(std::move(to)), progress_(std::make_shared<progress>(base)), settled_(base) {}

  outcome put(const packet_header &header, const msg_desc *messages, deadline) override {
    std::vector<uint8_t> bytes(packet_header_size + header.bytes);
    write_packet(bytes.data(), header, messages);
    return to_->push(std::make_unique<inside_parcel>(std::move(bytes), progress_)) ? outcome::done
                                                                                   : outcome::gone;
  }
  void take_news() override {
    gone_ = to_->is_closed() || progress_->ended();
    settled_ = progress_->settled();
  }
  void wait(deadline until) override { progress_->wait_beyond(settled_, until); }
  uint64_t settled() const override { return settled_; }
  bool gone() const override { return gone_; }

private:
  const std::shared_ptr<inbox> to_;
  const std::shared_ptr<progress> progress_;
  uint64_t settled_;
  bool gone_ = false;
};

} // namespace

std::unique_ptr<link> make_inside_link(std::shared_ptr<inbox> to, uint64_t base) {
  return std::make_unique<inside_link>(std::move(to), base);
}

} // namespace mesh_host
