// The table of the service.
//
// Room: demo. Includes this folder and the one above only; knows nothing of messages.
#include "demo/services/table_owner.h"

#include "demo/text.h"

#include <utility>

namespace demo {

namespace {

// A peer that is farther behind gets the whole table: that is not more by then.
constexpr size_t longest_log = 65536;

template <class Thing>
const Thing &numbered(const std::map<Thing, uint32_t> &all, uint32_t number) {
  for (const auto &[thing, its_number] : all)
    if (its_number == number)
      return thing;
  throw failure("a number that was never given"); // cannot be: it comes from the same map
}

} // namespace

table_owner::table_owner(const route_feed &initial, uint32_t its_vrf) : vrf(its_vrf) {
  // As build_table has it: sorted, the last line of a prefix wins.
  std::map<prefix, const feed_route *> winners;
  for (const feed_route &line : initial.routes)
    winners[line.destination] = &line;
  for (const auto &[destination, line] : winners)
    put(*line);
  log.clear(); // whoever begins gets the table as a whole
  first_logged = 1;
  digest_before_log = owned.digest();
}

std::string table_owner::take_line(std::string_view line, uint32_t number) {
  if (line.size() > longest_line)
    return "expected at most " + grouped(longest_line) + " bytes in a line";
  const std::vector<std::string_view> words = split_words(line);
  if (words.empty() || words.front().starts_with('#'))
    return {};
  const std::string_view sign = words.front();
  if (sign != "+" && sign != "-")
    return "expected '+ ROUTE' or '- PREFIX', found " + shown(sign);
  feed_route route;
  route.line = number;
  const std::string_view rest = line.substr(line.find(sign.front()) + 1);
  if (std::string problem = read_route(rest, route); !problem.empty())
    return problem;
  if (sign == "+") {
    put(route);
    return {};
  }
  if (words.size() != 2)
    return "expected nothing behind the prefix, found " + shown(words[2]);
  const route_key key{vrf, route.destination};
  if (!owned.contents().routes.contains(key))
    return "there is no route to " + to_text(route.destination);
  drop(key);
  return {};
}

bool table_owner::had(uint32_t number, uint64_t digest) const {
  if (number + 1 == first_logged)
    return digest == digest_before_log;
  return is_logged(number) && log[number - first_logged].digest == digest;
}

void table_owner::put(const feed_route &line) {
  const route_key key{vrf, line.destination};
  const route entry{line.kind, choice.group_of(line), line.metric.value_or(default_metric),
                    line.line};
  const auto before = owned.contents().routes.find(key);
  const uint32_t group_before = before != owned.contents().routes.end() ? before->second.group : 0;
  take_group(entry.group);
  make(put_route{key, entry});
  leave_group(group_before);
}

void table_owner::drop(const route_key &key) {
  const uint32_t group = owned.contents().routes.at(key).group;
  make(drop_route{key});
  leave_group(group);
}

// What a route refers to is there before the route, and as long as it.
void table_owner::take_group(uint32_t number) {
  if (number == 0 || group_uses[number]++ > 0)
    return;
  const next_hop_group &members = numbered(choice.groups(), number);
  for (const group_member &member : members)
    if (hop_uses[member.next_hop]++ == 0)
      make(put_next_hop{member.next_hop, numbered(choice.hops(), member.next_hop)});
  make(put_group{number, members});
}

void table_owner::leave_group(uint32_t number) {
  if (number == 0 || --group_uses[number] > 0)
    return;
  const next_hop_group members = owned.contents().groups.at(number);
  make(drop_group{number});
  for (const group_member &member : members)
    if (--hop_uses[member.next_hop] == 0)
      make(drop_next_hop{member.next_hop});
}

void table_owner::make(change next) {
  owned.apply(next);
  log.push_back({std::move(next), owned.digest()});
  if (log.size() > longest_log) {
    digest_before_log = log.front().digest;
    log.pop_front();
    first_logged++;
  }
}

} // namespace demo
