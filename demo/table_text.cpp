// A table as a text file, and the comparison of two such files.
//
// Room: demo. Includes this folder only; knows nothing of messages.
#include "demo/table_text.h"

#include "demo/text.h"

#include <cerrno>
#include <fstream>
#include <string_view>

namespace demo {

namespace {

constexpr std::string_view separator = " : ";
constexpr std::string_view end_name = "end of table";

std::string end_text(const route_table &table) {
  return formatted("%zu next hops, %zu groups, %zu routes", table.next_hops.size(),
                   table.groups.size(), table.routes.size());
}

std::string value_text(const next_hop &hop) {
  std::string text = "via " + to_text(hop.gateway) + " interface " + std::to_string(hop.interface);
  return hop.segment_list == 0 ? text : text + formatted(" segment-list %u", hop.segment_list);
}

std::string value_text(const segment_list &segments) {
  std::string text;
  for (const ipv6_address &segment : segments)
    text += (text.empty() ? "" : ", ") + to_text(segment);
  return text;
}

std::string value_text(const next_hop_group &members) {
  std::string text;
  for (const group_member &member : members)
    text += formatted("%snext-hop %u weight %u", text.empty() ? "" : ", ", member.next_hop,
                      member.weight);
  return text;
}

std::string value_text(const route &entry) {
  const std::string text = formatted("%s group %u metric %u line %u", to_text(entry.kind),
                                     entry.group, entry.metric, entry.input_line);
  return entry.protocol == 0 ? text : text + formatted(" protocol %u", entry.protocol);
}

// The entries of a file by name, the closing line included: it is an entry like any other.
using entries = std::map<std::string, std::string, std::less<>>;

entries read_entries(const std::string &path) {
  std::ifstream file(path);
  if (!file)
    throw failure("cannot read the table in " + path + ": " + error_text(errno));
  entries found;
  for (std::string line; std::getline(file, line);) {
    const size_t at = line.find(separator);
    if (at == std::string::npos)
      throw failure("the table in " + path + " holds " + shown(line) + ", which is no entry");
    if (!found.emplace(line.substr(0, at), line.substr(at + separator.size())).second)
      throw failure("the table in " + path + " holds " + shown(line.substr(0, at)) + " twice");
  }
  if (!found.contains(end_name))
    throw failure("the table in " + path + " has no end: it was cut short");
  return found;
}

void count_difference(table_difference &result, std::string text) {
  result.differences++;
  if (result.texts.size() < named_differences)
    result.texts.push_back(std::move(text));
}

} // namespace

std::string line_of(uint32_t number, const next_hop &hop) {
  return formatted("next-hop %u", number) + std::string(separator) + value_text(hop);
}

std::string line_of(uint32_t number, const next_hop_group &members) {
  return formatted("group %u", number) + std::string(separator) + value_text(members);
}

std::string line_of(const route_key &key, const route &entry) {
  return formatted("route vrf %u ", key.vrf) + to_text(key.destination) + std::string(separator) +
         value_text(entry);
}

void write_table(const route_table &table, const std::string &path) {
  std::ofstream file(path, std::ios::trunc);
  for (const auto &[number, segments] : table.segment_lists)
    file << "segment-list " << number << separator << value_text(segments) << '\n';
  for (const auto &[number, hop] : table.next_hops)
    file << line_of(number, hop) << '\n';
  for (const auto &[number, members] : table.groups)
    file << line_of(number, members) << '\n';
  for (const auto &[key, entry] : table.routes)
    file << line_of(key, entry) << '\n';
  file << end_name << separator << end_text(table) << '\n';
  file.close();
  if (!file)
    throw failure("cannot write the table to " + path + ": " + error_text(errno));
}

table_difference compare_tables(const std::string &expected_path, const std::string &found_path) {
  const entries expected = read_entries(expected_path);
  const entries found = read_entries(found_path);

  table_difference result;
  result.entries = expected.size() - 1; // the end is a line, but no entry
  for (const auto &[name, value] : expected) {
    const auto same = found.find(name);
    if (same == found.end())
      count_difference(result, name + ": missing at the receiver");
    else if (same->second != value)
      count_difference(result, formatted("%s: sent '%s', received '%s'", name.c_str(),
                                         value.c_str(), same->second.c_str()));
  }
  for (const auto &[name, value] : found)
    if (!expected.contains(name)) {
      result.entries++;
      count_difference(result, name + ": never sent");
    }
  return result;
}

} // namespace demo
