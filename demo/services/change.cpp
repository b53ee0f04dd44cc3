// Applies changes to a table and keeps its digest.
//
// Room: demo. Includes this folder and the one above only; knows nothing of messages.
#include "demo/services/change.h"

#include "demo/table_text.h"

#include <string_view>

namespace demo {

namespace {

uint64_t fnv1a(std::string_view text) {
  uint64_t hash = 0xcbf29ce484222325;
  for (const char c : text)
    hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001b3;
  return hash;
}

// Changes one of the table's maps and the sum with it.
class editor {
public:
  editor(route_table &edited, uint64_t &its_sum) : table(edited), sum(its_sum) {}

  bool operator()(const put_next_hop &next) { return put(table.next_hops, next.number, next.hop); }
  bool operator()(const put_group &next) { return put(table.groups, next.number, next.members); }
  bool operator()(const put_route &next) { return put(table.routes, next.key, next.entry); }
  bool operator()(const drop_route &next) { return drop(table.routes, next.key); }
  bool operator()(const drop_group &next) { return drop(table.groups, next.number); }
  bool operator()(const drop_next_hop &next) { return drop(table.next_hops, next.number); }

private:
  template <class Map>
  bool put(Map &map, const typename Map::key_type &key, const typename Map::mapped_type &value) {
    // Who walks a sorted table makes the hint right every time.
    const size_t before = map.size();
    const auto at = map.try_emplace(map.end(), key, value);
    if (map.size() == before) {
      sum -= fnv1a(line_of(at->first, at->second));
      at->second = value;
    }
    sum += fnv1a(line_of(at->first, at->second));
    return true;
  }

  template <class Map>
  bool drop(Map &map, const typename Map::key_type &key) {
    const auto at = map.find(key);
    if (at == map.end())
      return false;
    sum -= fnv1a(line_of(at->first, at->second));
    map.erase(at);
    return true;
  }

  route_table &table;
  uint64_t &sum;
};

} // namespace

bool digested_table::apply(const change &next) {
  return std::visit(editor(table, sum), next);
}

} // namespace demo
