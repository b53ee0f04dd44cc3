// Reading the environment.
//
// Room: host. Standard library and libc.
#include "host/osal_settings.h"

#include "host/osal_tell.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace osal_host {
namespace {

// Decimal, or hexadecimal after 0x; digits only, nothing before or after them.
bool number_in(std::string_view text, uint64_t &number) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  return error == std::errc() && stop == end;
}

// Digits with at most one point among them, so no sign, no exponent, no "nan".
bool probability_in(std::string_view text, double &probability) {
  if (text.empty() || text.find_first_not_of("0123456789.") != std::string_view::npos)
    return false;
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, probability);
  return error == std::errc() && stop == end && probability >= 0 && probability <= 1;
}

// "3", "3,7,12", "3,10+". False when a part of it is nothing of the kind.
bool allocations_in(std::string_view text, failing &fail) {
  std::vector<uint64_t> at;
  uint64_t from = 0;
  for (bool more = true; more;) {
    const size_t comma = text.find(',');
    std::string_view part = text.substr(0, comma);
    more = comma != std::string_view::npos;
    if (more)
      text.remove_prefix(comma + 1);
    const bool and_on = part.ends_with('+');
    if (and_on)
      part.remove_suffix(1);
    uint64_t number = 0;
    if (!number_in(part, number) || number == 0)
      return false;
    if (!and_on)
      at.push_back(number);
    else
      from = from == 0 ? number : std::min(from, number);
  }
  std::sort(at.begin(), at.end());
  fail.at = std::move(at);
  fail.from = from;
  return true;
}

void refuse(const char *name, const char *text, const char *expected) {
  say("osal_host: %s is '%s', expected %s; it is ignored", name, text, expected);
}

// Hands the variable's text to `read`, and says what was expected when that returns false.
template <class Read>
void read_variable(const char *name, const char *expected, Read read) {
  const char *text = getenv(name);
  if (text != nullptr && !read(std::string_view(text)))
    refuse(name, text, expected);
}

void read_switch(const char *name, bool &on) {
  read_variable(name, "0 or 1", [&](std::string_view text) {
    on = text == "1";
    return on || text == "0";
  });
}

// What only says more about another variable is a slip without it.
void expect_company(const char *name, bool in_company, const char *company) {
  const char *text = getenv(name);
  if (text != nullptr && !in_company)
    refuse(name, text, company);
}

} // namespace

settings read_settings() {
  settings found;
  read_variable("OSAL_HOST_USE_FLAG", "a number from 0 to 4294967295", [&](std::string_view text) {
    uint64_t number = 0;
    if (!number_in(text, number) || number > UINT32_MAX)
      return false;
    found.use_flag = static_cast<uint32_t>(number);
    return true;
  });
  read_switch("OSAL_HOST_REPORT", found.report);
  read_switch("OSAL_HOST_POISON", found.poison);

  failing &fail = found.fail;
  read_variable("OSAL_HOST_FAIL_AT",
                "numbers of allocations from 1 on, with commas between them, N+ for the N-th and "
                "all behind it",
                [&](std::string_view text) { return allocations_in(text, fail); });
  read_variable("OSAL_HOST_FAIL_PROBABILITY", "a number from 0 to 1, such as 0.01",
                [&](std::string_view text) {
                  double probability = 0;
                  if (!probability_in(text, probability))
                    return false;
                  fail.probability = probability;
                  return true;
                });
  read_variable("OSAL_HOST_SEED", "a number from 0 to 18446744073709551615",
                [&](std::string_view text) {
                  uint64_t seed = 0;
                  if (!number_in(text, seed))
                    return false;
                  fail.seed = seed;
                  return true;
                });
  read_variable("OSAL_HOST_FAIL_TAG", "a part of a caller's tag, not empty",
                [&](std::string_view text) {
                  fail.tag = text;
                  return !text.empty();
                });

  const bool by_chance = getenv("OSAL_HOST_FAIL_PROBABILITY") != nullptr;
  expect_company("OSAL_HOST_SEED", by_chance, "OSAL_HOST_FAIL_PROBABILITY beside it");
  expect_company("OSAL_HOST_FAIL_TAG", by_chance || getenv("OSAL_HOST_FAIL_AT") != nullptr,
                 "OSAL_HOST_FAIL_AT or OSAL_HOST_FAIL_PROBABILITY beside it");
  return found;
}

} // namespace osal_host
