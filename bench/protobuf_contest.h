// protobuf as a contestant, for either of its two schemas.
// https://protobuf.dev/reference/cpp/arenas
//
// Room: bench. A source file includes the steps of one schema and instantiates this. Two ways to
// keep allocation out of the way, both recommended: one message used again and again (Clear keeps
// its memory), or an arena with an initial block that is reset after every message.
#pragma once

#include "bench/contest.h"

#include <google/protobuf/arena.h>

namespace bench {

// Steps: struct with type_of<Record>, write(record, message *), read(message, record).
template <class Steps, class Record>
class reused_message_peer {
  using message = typename Steps::template message<Record>;

public:
  encoded encode(const Record &record) {
    written_.Clear();
    Steps::write(record, &written_);
    const size_t size = written_.ByteSizeLong();
    if (size > bytes_.size())
      bytes_.resize(size);
    // The sizes of the sub-messages have just been computed; SerializeToArray would do it again.
    written_.SerializeWithCachedSizesToArray(bytes_.data());
    return {bytes_.data(), size};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    return read_.ParseFromArray(data, static_cast<int>(size)) && Steps::read(read_, record);
  }
  void release(Record &record) { bench::release(record); }

private:
  message written_;
  message read_;
  std::vector<uint8_t> bytes_ = std::vector<uint8_t>(1 << 20);
};

template <class Steps, class Record>
class arena_peer {
  using message = typename Steps::template message<Record>;

public:
  encoded encode(const Record &record) {
    arena_.Reset();
    auto *made = google::protobuf::Arena::CreateMessage<message>(&arena_);
    Steps::write(record, made);
    const size_t size = made->ByteSizeLong();
    if (size > bytes_.size())
      bytes_.resize(size);
    made->SerializeWithCachedSizesToArray(bytes_.data());
    return {bytes_.data(), size};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    arena_.Reset();
    auto *parsed = google::protobuf::Arena::CreateMessage<message>(&arena_);
    return parsed->ParseFromArray(data, static_cast<int>(size)) && Steps::read(*parsed, record);
  }
  void release(Record &record) { bench::release(record); }

private:
  static google::protobuf::ArenaOptions options(std::vector<char> &block) {
    google::protobuf::ArenaOptions chosen;
    chosen.initial_block = block.data();
    chosen.initial_block_size = block.size();
    return chosen;
  }

  std::vector<uint8_t> bytes_ = std::vector<uint8_t>(1 << 20);
  std::vector<char> block_ = std::vector<char>(8 << 20);
  google::protobuf::Arena arena_{options(block_)};
};

template <class Steps, class Record>
std::vector<contestant> protobuf_pair(const std::string &name, const pool<Record> &records) {
  return {
      contest(name, std::make_shared<reused_message_peer<Steps, Record>>(), records),
      contest(name + " arena", std::make_shared<arena_peer<Steps, Record>>(), records),
  };
}

} // namespace bench
