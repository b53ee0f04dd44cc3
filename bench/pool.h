// The records that one case of the benchmark works on.
//
// Room: bench. Includes what make_peers.py wrote about the records.
#pragma once

#include "records.h"

#include <vector>

namespace bench {

// Records of one message and the vectors behind them.
template <class Record>
class pool {
public:
  pool() = default;
  // `messages` records whose vectors have `vector_count` elements each.
  pool(fill_kind kind, uint32_t messages, uint32_t vector_count, uint32_t seed) {
    records_.resize(messages);
    for (uint32_t i = 0; i < messages; i++) {
      filler values(kind, vector_count, seed + i);
      fill(records_[i], values);
    }
  }
  ~pool() {
    for (Record &record : records_)
      release(record);
  }
  pool(const pool &) = delete;
  pool &operator=(const pool &) = delete;

  // Takes over the vectors behind the record.
  void add(const Record &record) { records_.push_back(record); }

  const std::vector<Record> &records() const { return records_; }
  size_t size() const { return records_.size(); }
  const Record &operator[](size_t i) const { return records_[i]; }

  uint64_t entry_count() const {
    uint64_t sum = 0;
    for (const Record &record : records_)
      sum += entries(record);
    return sum;
  }

private:
  std::vector<Record> records_;
};

} // namespace bench
