// A contestant: one way to encode, decode and send a message, ready to be timed.
//
// Room: bench. Knows the mesh's declarations and the records, no peer.
#pragma once

#include "bench/pool.h"
#include "platform/mesh.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// Does its work n times, each time on the next message of the pool.
using timed_loop = std::function<void(uint64_t n)>;

struct contestant {
  std::string name;
  uint64_t bytes = 0; // of all messages of the pool, encoded
  timed_loop encode{};
  timed_loop decode{};
  timed_loop send{};
};

struct encoded {
  const uint8_t *data;
  size_t size;
};

// Bytes at an address that every format may be read from in place.
class stored_message {
public:
  explicit stored_message(const encoded &from)
      : words_((from.size + 15) / 16 * 2 + 2), size_(from.size) {
    memcpy(words_.data(), from.data, from.size);
  }
  const uint8_t *data() const { return reinterpret_cast<const uint8_t *>(words_.data()); }
  size_t size() const { return size_; }

private:
  std::vector<uint64_t> words_;
  size_t size_;
};

// Makes the compiler believe that somebody reads what `at` points to.
inline void observe(const void *at) {
  asm volatile("" : : "r"(at) : "memory");
}

[[noreturn]] inline void give_up(const std::string &who, const char *what) {
  fprintf(stderr, "bench: %s: %s\n", who.c_str(), what);
  exit(1);
}

// One message for each record of a pool, in its order.
using stored_messages = std::shared_ptr<const std::vector<stored_message>>;

template <class Peer, class Record>
stored_messages written_by(Peer &peer, const pool<Record> &records) {
  auto messages = std::make_shared<std::vector<stored_message>>();
  for (const Record &record : records.records())
    messages->emplace_back(peer.encode(record));
  return messages;
}

// A contestant that decodes the pool's messages, whoever has written them. Before anything is
// timed it decodes each of them once.
// Peer offers
//   bool decode(const uint8_t *, size_t, Record &)        false: refused
//   void release(Record &)                                what decode allocated
template <class Peer, class Record>
contestant reader(std::string name, std::shared_ptr<Peer> peer, const pool<Record> &records,
                  stored_messages messages) {
  contestant made{std::move(name)};
  const size_t size = records.size();
  for (size_t i = 0; i < size; i++) {
    const stored_message &message = (*messages)[i];
    made.bytes += message.size();
    Record back;
    memset(&back, 0x5A, sizeof back);
    if (!peer->decode(message.data(), message.size(), back))
      give_up(made.name, "refuses a message");
    if (!same(records[i], back))
      give_up(made.name, "a decoded record differs from the original");
    peer->release(back);
  }
  made.decode = [peer, messages, size, at = size_t{0}](uint64_t n) mutable {
    for (; n != 0; n--) {
      Record record;
      const stored_message &message = (*messages)[at];
      peer->decode(message.data(), message.size(), record);
      observe(&record);
      peer->release(record);
      at = at + 1 == size ? 0 : at + 1;
    }
  };
  return made;
}

// A contestant that writes the pool's messages too: every one makes the journey there and back
// before anything is timed.
// Peer offers what a reader does and
//   encoded encode(const Record &)                        valid until its next call
template <class Peer, class Record>
contestant contest(std::string name, std::shared_ptr<Peer> peer, const pool<Record> &records) {
  contestant made = reader(std::move(name), peer, records, written_by(*peer, records));
  const Record *const first = records.records().data();
  const size_t size = records.size();
  made.encode = [peer, first, size, at = size_t{0}](uint64_t n) mutable {
    for (; n != 0; n--) {
      observe(peer->encode(first[at]).data);
      at = at + 1 == size ? 0 : at + 1;
    }
  };
  made.send = [peer, first, size, at = size_t{0}](uint64_t n) mutable {
    for (; n != 0; n--) {
      const encoded message = peer->encode(first[at]);
      const msg_desc descriptor{message.data, 1, static_cast<uint32_t>(message.size)};
      MESH_SendMsg(1, &descriptor, 1);
      at = at + 1 == size ? 0 : at + 1;
    }
  };
  return made;
}

// The pool's messages as FlatBuffers' own builder writes them: scalars by their size, from back to
// front, aligned, vtables shared. In a source file of its own, which knows no other peer.
template <class Record>
stored_messages written_by_flatbuffers(const pool<Record> &records);

// The peers, each in a source file of its own; defined for the records in make_peers.py.
template <class Record>
std::vector<contestant> flatbuffers_contestants(const pool<Record> &records);
// They as readers of messages that FlatBuffers' builder has written.
template <class Record>
std::vector<contestant> flatbuffers_readers(const pool<Record> &records,
                                            const stored_messages &messages);
template <class Record>
std::vector<contestant> protobuf_varint_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> protobuf_fixed_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> capnproto_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> nanopb_contestants(const pool<Record> &records);

} // namespace bench
