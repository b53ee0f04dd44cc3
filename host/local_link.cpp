// Sending to another process of this machine.
//
// Room: host.
#include "host/local_link.h"

#include "host/claim.h"
#include "host/descriptor.h"
#include "host/local_wire.h"
#include "host/mesh_host.h"
#include "host/tell.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace mesh_host {
namespace {

// Whether the process on the other side still lives. The kernel ends a connection with its last
// holder, which may be a child that inherited the socket in a way this library cannot see (clone);
// such a child answers nobody.
descriptor watch_peer(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0)
    return {}; // of another process namespace
  return descriptor::from(
      [&] { return static_cast<int>(syscall(SYS_pidfd_open, peer.pid, 0)); }); // or an old kernel
}

constexpr unsigned acks_at_once = 32;
constexpr int send_flags = MSG_DONTWAIT | MSG_NOSIGNAL;
// Up to here a packet is sooner copied together than the kernel has gone through a list of its
// parts.
constexpr size_t worth_copying = 2048;

size_t room_of(int socket) {
  int bytes = 0;
  socklen_t size = sizeof bytes;
  if (getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &bytes, &size) != 0 || bytes <= 0)
    return 0;
  return static_cast<size_t>(bytes);
}

class local_link : public link {
public:
  local_link(descriptor socket, uint32_t destination, uint64_t base)
      : socket_(std::move(socket)), peer_(watch_peer(socket_.get())), destination_(destination),
        settled_(base),
        longest_(std::clamp(room_of(socket_.get()) / 4, size_t{1024}, longest_datagram)) {}

  outcome put(const packet_header &header, const msg_desc *messages, deadline until) override {
    const size_t size = packet_header_size + header.bytes;
    if (header.count == 1 && size > worth_copying && size <= longest_)
      return put_one(header, messages[0], until);
    scratch_.resize(size);
    write_packet(scratch_.data(), header, messages);
    if (size <= longest_)
      return give([&] { return send(socket_.get(), scratch_.data(), size, send_flags); }, until);
    return put_in_pieces(header, until);
  }

  // A receiver that is as quick as we are acknowledges each message: they are read many at a time.
  void take_news() override {
    uint8_t acks[acks_at_once][ack_size];
    iovec parts[acks_at_once];
    mmsghdr headers[acks_at_once];
    while (!drained_) {
      for (size_t i = 0; i < acks_at_once; i++) {
        parts[i] = {acks[i], ack_size};
        headers[i] = {};
        headers[i].msg_hdr.msg_iov = &parts[i];
        headers[i].msg_hdr.msg_iovlen = 1;
      }
      const int got = recvmmsg(socket_.get(), headers, acks_at_once, MSG_DONTWAIT, nullptr);
      if (got < 0 && errno == EINTR)
        continue;
      if (got < 0 && errno == ECONNRESET) {
        gone_ = true; // told once, in front of what was received before it
        continue;
      }
      if (got < 0) {
        drained_ = errno != EAGAIN || gone_;
        break;
      }
      for (int i = 0; i < got && !drained_; i++)
        if (headers[i].msg_len == 0)
          drained_ = true;
        else
          take_ack(acks[i], headers[i].msg_len);
    }
    gone_ = gone_ || drained_;
  }

  void wait(deadline until) override { wait_for(POLLIN, until); }
  uint64_t settled() const override { return settled_; }
  bool gone() const override { return gone_; }

private:
  // A long message, without a copy.
  outcome put_one(const packet_header &header, const msg_desc &message, deadline until) {
    uint8_t head[packet_header_size + message_header_size];
    write_header(head, header);
    detail::put(head + packet_header_size, message.id, 4);
    detail::put(head + packet_header_size + 4, message.length, 4);
    static uint8_t zeros[message_alignment];
    iovec parts[3] = {{head, sizeof head},
                      {const_cast<void *>(message.data), message.length},
                      {zeros, static_cast<size_t>(padded(message.length) - message.length)}};
    return give(parts, 3, until);
  }

  // Nothing is accepted before the last piece is: a receiver forgets a packet that stays
  // incomplete.
  outcome put_in_pieces(const packet_header &header, deadline until) {
    outcome result = give(scratch_.data(), longest_, nullptr, 0, until);
    for (size_t at = longest_; at < scratch_.size() && result == outcome::done;) {
      uint8_t head[piece_header_size];
      write_piece(head, {static_cast<uint32_t>(at), header.first});
      const size_t length = std::min(longest_ - sizeof head, scratch_.size() - at);
      result = give(head, sizeof head, scratch_.data() + at, length, until);
      at += length;
    }
    return result;
  }

  outcome give(uint8_t *first, size_t first_size, uint8_t *second, size_t second_size,
               deadline until) {
    iovec parts[2] = {{first, first_size}, {second, second_size}};
    return give(parts, 2, until);
  }

  outcome give(iovec *parts, size_t count, deadline until) {
    msghdr datagram{};
    datagram.msg_iov = parts;
    datagram.msg_iovlen = count;
    return give([&] { return sendmsg(socket_.get(), &datagram, send_flags); }, until);
  }

  template <class Send>
  outcome give(Send send_it, deadline until) {
    for (;;) {
      if (gone_)
        return outcome::gone;
      if (send_it() >= 0)
        return outcome::done;
      switch (errno) {
      case EINTR:
        continue;
      case EPIPE:
      case ECONNRESET:
      case ENOTCONN:
      case ECONNREFUSED:
        return outcome::gone;
      case EAGAIN:
      case ENOBUFS:
      case ENOMEM:
        if (clock::now() >= until)
          return outcome::full;
        if (errno == EAGAIN)
          wait_for(POLLOUT | POLLIN, until);
        else
          wait_for(POLLIN, std::min(until, clock::now() + std::chrono::milliseconds(10)));
        take_news();
        continue;
      default:
        if (uint64_t skipped = 0; failed_.pass(skipped))
          tell("destination %u: sending failed: %s (%llu more not told)", destination_,
               strerror(errno), number(skipped));
        return outcome::failed;
      }
    }
  }

  void wait_for(short events, deadline until) {
    pollfd items[2] = {{socket_.get(), events, 0}, {peer_.get(), POLLIN, 0}};
    const int ready = poll(items, peer_ ? 2 : 1, static_cast<int>(remaining_ms(until)));
    if (ready <= 0)
      return;
    if (items[1].revents != 0) {
      take_news();
      gone_ = true;
    }
  }

  void take_ack(const uint8_t *at, size_t size) {
    uint64_t handled = 0;
    if (read_ack(at, size, handled))
      settled_ = std::max(settled_, handled);
    else if (uint64_t skipped = 0; bad_ack_.pass(skipped))
      tell("destination %u: what came back is no acknowledgement, and is ignored (%llu more not "
           "told)",
           destination_, number(skipped));
  }

  const descriptor socket_;
  const descriptor peer_;
  const uint32_t destination_;
  uint64_t settled_;
  const size_t longest_;
  bool gone_ = false;
  bool drained_ = false; // gone, and nothing is left to read
  std::vector<uint8_t> scratch_;
  rate_limit bad_ack_, failed_;
};

bool is_absence(int error) {
  return error == ENOENT || error == ECONNREFUSED || error == EAGAIN || error == EINTR ||
         error == EPROTOTYPE;
}

} // namespace

void set_socket_room(int socket, const settings &limits) {
  const int wanted = static_cast<int>(std::min<uint64_t>(limits.window_bytes, INT_MAX / 2));
  if (setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &wanted, sizeof wanted) != 0)
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &wanted, sizeof wanted);
}

uint32_t make_local_link(const settings &limits, uint32_t destination, uint64_t base,
                         std::unique_ptr<link> &made) {
  if (const uint32_t result = prepare_directory(limits); result != MESH_HOST_OK)
    return result;
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  std::string path;
  if (const uint32_t result = socket_path(limits, destination, path); result != MESH_HOST_OK)
    return result;
  memcpy(name.sun_path, path.data(), path.size());
  descriptor socket = descriptor::from(
      [] { return ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); });
  if (!socket) {
    tell("destination %u: no socket: %s", destination, strerror(errno));
    return MESH_HOST_SYSTEM;
  }
  set_socket_room(socket.get(), limits);
  if (connect(socket.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0) {
    if (is_absence(errno))
      return MESH_HOST_NO_RECEIVER;
    tell("destination %u: %s: %s", destination, path.c_str(), strerror(errno));
    return MESH_HOST_SYSTEM;
  }
  made = std::make_unique<local_link>(std::move(socket), destination, base);
  return MESH_HOST_OK;
}

} // namespace mesh_host
