// The library as a contestant, through its exported functions.
//
// Room: bench.
#pragma once

#include "bench/contest.h"
#include "bench/mesh.h"

namespace bench {

using mesh_fib6::operations;

// How much room __pack is told it has.
enum class capacity {
  ample, // more than any message needs
  exact, // just the message's size: each has to be measured
};

// A buffer that begins where a page does. A store across two pages takes some ten nanoseconds
// longer than others, a small message no more than that in all: where the allocator puts the buffer
// would decide what is measured.
class paged_buffer {
public:
  explicit paged_buffer(size_t size) : pages_(size / sizeof(page) + 1) {}
  uint8_t *data() { return pages_.data()->bytes; }
  size_t size() const { return pages_.size() * sizeof(page); }

private:
  struct page {
    alignas(4096) uint8_t bytes[4096];
  };
  std::vector<page> pages_;
};

template <class Record>
class library_peer {
  using call = operations<Record>;

public:
  library_peer(capacity room, const pool<Record> &records)
      : bytes_(records.entry_count() * 512 + 4096), first_(records.records().data()) {
    if (room == capacity::ample)
      return;
    std::vector<uint32_t> sizes;
    for (const Record &record : records.records())
      sizes.push_back(static_cast<uint32_t>(encode(record).size));
    exact_sizes_ = std::move(sizes);
  }

  encoded encode(const Record &record) {
    auto length = exact_sizes_.empty() ? static_cast<uint32_t>(bytes_.size())
                                       : exact_sizes_[static_cast<size_t>(&record - first_)];
    if (call::pack(&record, bytes_.data(), &length) != 0)
      give_up("library", "a record cannot be encoded");
    return {bytes_.data(), length};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    call::unpack(data, static_cast<uint32_t>(size), &record);
    return true;
  }
  void release(Record &record) { call::release(&record); }

private:
  paged_buffer bytes_;
  const Record *first_;
  std::vector<uint32_t> exact_sizes_; // none: all the room there is
};

// Decodes what a send puts on the wire: of flat records the fixed image.
template <class Record>
class image_peer : public library_peer<Record> {
public:
  using library_peer<Record>::library_peer;

  encoded encode(const Record &record) {
    sent_bytes = &image_;
    operations<Record>::sendmsg(1, &record, 1);
    sent_bytes = nullptr;
    return {image_.data(), image_.size()};
  }

private:
  std::vector<uint8_t> image_;
};

inline void must_be_sent(uint32_t result) {
  if (result != 0)
    give_up("library", "a record cannot be sent");
}

// The four send operations for the whole pool in one call.
template <class Record>
std::vector<contestant> send_contestants(const pool<Record> &records) {
  using call = operations<Record>;
  const Record *first = records.records().data();
  const auto count = static_cast<uint32_t>(records.size());
  const auto looped = [](auto send) {
    must_be_sent(send());
    return [send](uint64_t n) {
      for (; n != 0; n--)
        send();
    };
  };
  std::vector<contestant> made;
  const auto add = [&made, &looped](const char *name, auto send) {
    contestant one{name};
    one.send = looped(send);
    made.push_back(std::move(one));
  };
  add("library", [=] { return call::sendmsg(1, first, count); });
  add("library __sendtomsg", [=] { return call::sendtomsg(1, first, count, 7); });
  if (count == 1)
    add("library __sendsingle", [=] { return call::sendsingle(1, first, 0, 0); });
  add("library __sendbatch", [=] { return call::sendbatch(1, first, count, 0); });
  return made;
}

// Copying as many bytes as the library's encoding has; decoding takes and gives back memory too.
template <class Record>
contestant copy_contestant(const pool<Record> &records) {
  library_peer<Record> library(capacity::ample, records);
  auto sizes = std::make_shared<std::vector<size_t>>();
  contestant made{"memcpy"};
  size_t largest = 0;
  for (const Record &record : records.records()) {
    sizes->push_back(library.encode(record).size);
    made.bytes += sizes->back();
    largest = std::max(largest, sizes->back());
  }
  auto from = std::make_shared<std::vector<uint8_t>>(largest, uint8_t{1});
  auto to = std::make_shared<std::vector<uint8_t>>(largest);
  made.encode = [sizes, from, to, at = size_t{0}](uint64_t n) mutable {
    for (; n != 0; n--) {
      memcpy(to->data(), from->data(), (*sizes)[at]);
      observe(to->data());
      at = at + 1 == sizes->size() ? 0 : at + 1;
    }
  };
  made.decode = [sizes, from, at = size_t{0}](uint64_t n) mutable {
    for (; n != 0; n--) {
      void *copy = malloc((*sizes)[at]);
      memcpy(copy, from->data(), (*sizes)[at]);
      observe(copy);
      free(copy);
      at = at + 1 == sizes->size() ? 0 : at + 1;
    }
  };
  return made;
}

} // namespace bench
