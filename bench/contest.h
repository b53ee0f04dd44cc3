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

// Peer offers
//   encoded encode(const Record &)                        valid until its next call
//   bool decode(const uint8_t *, size_t, Record &)        false: refused
//   void release(Record &)                                what decode allocated
// Before anything is timed every message of the pool makes the journey there and back once.
template <class Peer, class Record>
contestant contest(std::string name, std::shared_ptr<Peer> peer, const pool<Record> &records) {
  contestant made{std::move(name)};
  auto messages = std::make_shared<std::vector<stored_message>>();
  for (const Record &record : records.records()) {
    messages->emplace_back(peer->encode(record));
    const stored_message &message = messages->back();
    made.bytes += message.size();
    Record back;
    memset(&back, 0x5A, sizeof back);
    if (!peer->decode(message.data(), message.size(), back))
      give_up(made.name, "refuses what it has encoded itself");
    if (!same(record, back))
      give_up(made.name, "a decoded record differs from the original");
    peer->release(back);
  }
  const Record *const first = records.records().data();
  const size_t size = records.size();

  made.encode = [peer, first, size, at = size_t{0}](uint64_t n) mutable {
    for (; n != 0; n--) {
      observe(peer->encode(first[at]).data);
      at = at + 1 == size ? 0 : at + 1;
    }
  };
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

// The peers, each in a source file of its own; defined for the records in make_peers.py.
template <class Record>
std::vector<contestant> flatbuffers_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> protobuf_varint_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> protobuf_fixed_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> capnproto_contestants(const pool<Record> &records);
template <class Record>
std::vector<contestant> nanopb_contestants(const pool<Record> &records);

} // namespace bench
