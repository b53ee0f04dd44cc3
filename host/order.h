// Which messages of which sender have arrived.
//
// Room: host. Standard library only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <set>
#include <unordered_map>

namespace mesh_host {

class order {
public:
  enum class verdict { next, gap, repeated };
  struct finding {
    verdict what;
    uint64_t missing_from; // of a gap
  };

  // Judges the messages first .. first + count - 1 of a sender and takes note of them unless they
  // are repeated. A sender that was not heard of for long is forgotten; if it comes back it seems
  // to have a gap, which costs a synchronisation and loses nothing.
  finding judge(uint64_t sender, uint64_t first, uint32_t count) {
    entry &known = entry_of(sender);
    const uint64_t expected = known.number;
    const uint64_t end = first + count;
    if (end <= expected)
      return {verdict::repeated, 0};
    known.number = end;
    known.held.erase(known.held.begin(), known.held.lower_bound(end));
    return {first > expected ? verdict::gap : verdict::next, expected};
  }

  // Whether something is missing before the message of this number that is still to come: it is not
  // settled, as far as any packet of this sender has said, or it was put off by hold().
  bool is_ahead(uint64_t sender, uint64_t first, uint64_t settled) {
    entry &known = entry_of(sender);
    known.settled = known.settled > settled ? known.settled : settled;
    if (first <= known.number)
      return false;
    return first > known.settled + 1 || (!known.held.empty() && *known.held.begin() < first);
  }

  // The message of this number, and what came with it, was put off and will come again.
  void hold(uint64_t sender, uint64_t first) { entry_of(sender).held.insert(first); }
  // Everything that is not done with comes anew, from the first on. What packets have said so far
  // does not count any more: it told that what is missing had been there before them.
  void begin_anew() {
    for (auto &[sender, known] : next_) {
      known.held.clear();
      known.settled = 0;
    }
  }

  static constexpr size_t most_senders = 1024;

private:
  struct entry {
    uint64_t number = 1; // expected next
    uint64_t settled = 0;
    std::set<uint64_t> held;
    std::list<uint64_t>::iterator place;
  };

  entry &entry_of(uint64_t sender) {
    const auto known = next_.find(sender);
    if (known != next_.end()) {
      recent_.splice(recent_.begin(), recent_, known->second.place);
      return known->second;
    }
    if (next_.size() >= most_senders) {
      next_.erase(recent_.back());
      recent_.pop_back();
    }
    recent_.push_front(sender);
    entry &added = next_[sender];
    added.place = recent_.begin();
    return added;
  }

  std::unordered_map<uint64_t, entry> next_;
  std::list<uint64_t> recent_;
};

} // namespace mesh_host
