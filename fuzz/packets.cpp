// Target: datagrams from anywhere, as a receiver of the development host gets them.
//
// Room: attacks. Input: datagrams, each behind two bytes that say how long it is (little-endian;
// the last may be cut). Each packet that is handed over is whole, is for this destination, and was
// sent: its bytes are those of the datagrams, in their order. What is handed over is then judged
// and gone through as the receiver does it.
#include "fuzz/exact_copy.h"
#include "fuzz/finding.h"
#include "fuzz/target.h"
#include "host/assembler.h"
#include "host/local_wire.h"
#include "host/order.h"

#include <algorithm>
#include <cinttypes>
#include <vector>

namespace fuzz {
namespace {

using namespace mesh_host;

constexpr uint32_t destination = 7;
constexpr uint64_t batch_limit = 4096;

class checking_taker : public taker {
public:
  bool take(const packet_header &header, const uint8_t *body, size_t size, progress handled,
            void *context) override {
    if (header.destination != destination || header.bytes > batch_limit)
      found("a packet was handed over that is not for this receiver");
    if (size != header.bytes)
      found("a packet of %zu bytes instead of %" PRIu32 " was handed over", size, header.bytes);
    // `sent` ends with the body that is handed over: all of it was in datagrams, the last now.
    if (sent.size() < size || !std::equal(body, body + size, sent.end() - static_cast<long>(size)))
      found("a packet was handed over that nobody sent");
    if (!is_whole(header, body, size))
      return false;
    if (header.count == 0) { // says that all before it are settled, and has nothing to judge
      if (size != 0 || header.settled + 1 != header.first)
        found("a packet without messages does not say that all are settled");
      handled(context, header.settled);
      return true;
    }
    const order::finding judged = arrived.judge(header.sender, header.first, header.count);
    if (judged.what == order::verdict::gap && judged.missing_from >= header.first)
      found("a gap that begins behind its end");
    message_reader messages(body, size);
    packed_message message{};
    uint64_t number = header.first;
    while (messages.next(message)) {
      if (message.data < body || message.length > static_cast<size_t>(body + size - message.data))
        found("a message lies outside of its packet");
      handled(context, number++);
    }
    if (number != header.first + header.count)
      found("a whole packet does not have the messages that it counts");
    return true;
  }
  void refuse_malformed(const char *why) override {
    if (why == nullptr)
      found("refused without a reason");
  }
  void refuse_oversize(const packet_header &header) override {
    if (header.bytes <= batch_limit)
      found("refused as too long: %" PRIu32 " bytes", header.bytes);
  }

  std::vector<uint8_t> sent;
  order arrived;
};

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  forget_findings();
  checking_taker taker;
  assembler packets(destination, batch_limit);
  constexpr size_t length_size = 2;
  while (size >= length_size) {
    const size_t length = std::min<size_t>(data[0] + data[1] * 256u, size - length_size);
    const exact_copy datagram(data + length_size, static_cast<uint32_t>(length), false);
    data += length_size + length;
    size -= length_size + length;
    const size_t skipped = is_piece(datagram.bytes(), length) ? piece_header_size : 0;
    taker.sent.insert(taker.sent.end(), datagram.bytes() + skipped, datagram.bytes() + length);
    uint64_t last = 0;
    if (!packets.take(
            datagram.bytes(), length, taker,
            [](void *context, uint64_t number) { *static_cast<uint64_t *>(context) = number; },
            &last))
      break; // the sender is cut off
  }
  return finding();
}

} // namespace fuzz
