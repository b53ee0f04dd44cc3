// Calls libc's regular expressions; see pattern.h.
//
// Room: tests.
#include "tests/support/pattern.h"

#include <regex.h>
#include <stdexcept>

namespace pattern {
namespace {

class compiled {
public:
  explicit compiled(const std::string &expression) {
    if (regcomp(&expression_, expression.c_str(), REG_EXTENDED) != 0)
      throw std::runtime_error("no regular expression: " + expression);
  }
  ~compiled() { regfree(&expression_); }
  compiled(const compiled &) = delete;
  compiled &operator=(const compiled &) = delete;

  // From `at` on, which is moved behind what is found.
  std::optional<groups> next(const std::string &text, size_t &at) const {
    std::vector<regmatch_t> places(expression_.re_nsub + 1);
    if (at > text.size() || regexec(&expression_, &text[at], places.size(), places.data(),
                                    at == 0 ? 0 : REG_NOTBOL) != 0)
      return std::nullopt;
    groups result;
    for (const regmatch_t &place : places)
      result.push_back(place.rm_so < 0
                           ? std::string()
                           : text.substr(at + static_cast<size_t>(place.rm_so),
                                         static_cast<size_t>(place.rm_eo - place.rm_so)));
    at += static_cast<size_t>(places[0].rm_eo) + (places[0].rm_eo == places[0].rm_so ? 1 : 0);
    return result;
  }

private:
  regex_t expression_{};
};

} // namespace

std::optional<groups> matched(const std::string &text, const std::string &expression) {
  auto result = found(text, "^(" + expression + ")$");
  if (result)
    result->erase(result->begin());
  return result;
}

std::optional<groups> found(const std::string &text, const std::string &expression) {
  size_t at = 0;
  return compiled(expression).next(text, at);
}

std::vector<groups> all_found(const std::string &text, const std::string &expression) {
  const compiled expression_of_all(expression);
  std::vector<groups> result;
  size_t at = 0;
  while (auto next = expression_of_all.next(text, at))
    result.push_back(std::move(*next));
  return result;
}

} // namespace pattern
