// Finds messages; see lookup.h.
//
// Room: tools.
#include "tools/lookup.h"

#include "tools/words.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <utility>

namespace mesh_fib6::tools {
namespace {

char lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

// How many characters have to be put in, left out, changed or swapped with their neighbours
// (optimal string alignment), whatever their case. Names are short: what is longer than any is far
// off.
size_t distance(std::string_view one, std::string_view other) {
  constexpr size_t longest = 64;
  if (one.size() > longest || other.size() > longest)
    return longest;
  std::vector<size_t> before(other.size() + 1), above(other.size() + 1), row(other.size() + 1);
  for (size_t i = 0; i <= other.size(); i++)
    above[i] = i;
  for (size_t i = 1; i <= one.size(); i++) {
    row[0] = i;
    for (size_t j = 1; j <= other.size(); j++) {
      const bool same = lower(one[i - 1]) == lower(other[j - 1]);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && lower(one[i - 1]) == lower(other[j - 2]) &&
          lower(one[i - 2]) == lower(other[j - 1]))
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    std::swap(before, above);
    std::swap(above, row);
  }
  return above[other.size()];
}

bool ends_with_ignoring_case(std::string_view text, std::string_view end) {
  return text.size() >= end.size() &&
         std::equal(end.begin(), end.end(), text.end() - static_cast<std::ptrdiff_t>(end.size()),
                    [](char one, char other) { return lower(one) == lower(other); });
}

bool contains_ignoring_case(std::string_view text, std::string_view part) {
  constexpr size_t least = 3; // fewer are in too many
  return part.size() >= least &&
         std::search(text.begin(), text.end(), part.begin(), part.end(),
                     [](char one, char other) { return lower(one) == lower(other); }) != text.end();
}

bool parse_id(std::string_view text, uint32_t &id) {
  if (!text.starts_with("0x") && !text.starts_with("0X"))
    return false;
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + 2, end, id, 16);
  return error == std::errc() && stop == end;
}

using messages = std::vector<const message_descriptor *>;

messages those_that(auto &&holds) {
  messages result;
  for_each_message([&](const message_descriptor &message) {
    if (holds(message))
      result.push_back(&message);
  });
  return result;
}

std::vector<std::string> names_of(const messages &of) {
  std::vector<std::string> names;
  for (const message_descriptor *message : of)
    names.emplace_back(message->name);
  return names;
}

} // namespace

std::string did_you_mean(const std::vector<std::string> &words) {
  std::string text;
  for (size_t i = 0; i < words.size(); i++)
    text += (i == 0                  ? "; did you mean '"
             : i + 1 == words.size() ? " or '"
                                     : ", '") +
            words[i] + "'";
  return text.empty() ? text : text + "?";
}

std::vector<std::string> nearest(std::string_view text, const std::vector<std::string> &words) {
  constexpr size_t most_words = 3, farthest = 4;
  std::multimap<size_t, std::string> near; // those as far as others in their order
  for (const std::string &word : words) {
    const size_t far = contains_ignoring_case(word, text) ? 1 : distance(text, word);
    if (far <= std::min(farthest, std::max<size_t>(1, std::min(text.size(), word.size()) / 4)))
      near.emplace(far, word);
  }
  std::vector<std::string> result;
  for (const auto &[far, word] : near)
    if (result.size() < most_words && far <= near.begin()->first + 1 &&
        std::find(result.begin(), result.end(), word) == result.end())
      result.push_back(word);
  return result;
}

const message_descriptor *find_message(uint32_t id) {
  const messages found =
      those_that([id](const message_descriptor &message) { return message.id == id; });
  return found.empty() ? nullptr : found.front();
}

found_message find_message(std::string_view text) {
  if (text.empty())
    return {nullptr, "expected a message's name or identifier, found nothing"};
  if (text.front() >= '0' && text.front() <= '9') {
    uint32_t id = 0;
    if (!parse_id(text, id))
      return {nullptr, "expected a name or an identifier like 0x1234ABCD, found " + quoted(text)};
    const message_descriptor *const message = find_message(id);
    return {message, message != nullptr ? "" : "no message has the identifier " + id_text(id)};
  }
  const auto is_whole = [text](const message_descriptor &message) {
    return text == message.name ||
           text == std::string(message.wire_namespace) + "." + message.message ||
           text == std::string(message.module) + "." + message.message;
  };
  const auto is_short = [text](const message_descriptor &message) {
    return text == message.message;
  };
  const auto is_end = [text](const message_descriptor &message) {
    return ends_with_ignoring_case(message.name, text);
  };
  messages found = those_that(is_whole);
  if (found.empty())
    found = those_that(is_short);
  if (found.empty())
    found = those_that(is_end);
  if (found.size() == 1)
    return {found.front(), ""};
  if (found.size() > 1) {
    std::string problem;
    for (const std::string &name : names_of(found))
      problem += (problem.empty() ? "" : ", ") + name;
    return {nullptr, quoted(text) + " may be any of " + problem};
  }
  std::vector<std::string> words;
  for_each_message([&](const message_descriptor &message) {
    words.emplace_back(message.name);
    words.emplace_back(message.message);
  });
  return {nullptr, "unknown message " + quoted(text) + did_you_mean(nearest(text, words))};
}

} // namespace mesh_fib6::tools
