// mesh-fib6 list and describe.
//
// Room: tools.
#include "tools/catalogue.h"
#include "tools/cli/commands.h"
#include "tools/description.h"
#include "tools/fbs.h"
#include "tools/member_rows.h"
#include "tools/other_programs.h"

namespace mesh_fib6::tools::cli {
namespace {

std::string text_of(const message_descriptor &message, description as) {
  switch (as) {
  case description::table:
    return described_as_table(message);
  case description::json:
    return described_as_json(message);
  case description::fbs:
    return fbs_of(module_of(message), message);
  case description::c:
    return described_as_c(message);
  case description::imhex:
    return imhex_pattern(message);
  case description::html:
  case description::wireshark:
    break; // of all messages at once
  }
  return {};
}

} // namespace

ending list(const list_options &options, output &out) {
  out.write(options.as_json ? listed_as_json() : listed());
  return ending::good;
}

ending describe(const describe_options &options, output &out) {
  if (options.as == description::wireshark) {
    if (options.message != nullptr)
      throw failure(ending::usage, "--wireshark is for --all: a dissector knows every message");
    out.write(wireshark_dissector());
    return ending::good;
  }
  if (options.as == description::imhex && options.message == nullptr)
    throw failure(ending::usage, "--imhex is for one message: a pattern says what a file is");
  if (options.as == description::html) {
    std::vector<const message_descriptor *> messages;
    for_each_message([&](const message_descriptor &message) {
      if (options.message == nullptr || options.message == &message)
        messages.push_back(&message);
    });
    out.write(catalogue_of(messages));
    return ending::good;
  }
  if (options.message != nullptr) {
    out.write(text_of(*options.message, options.as));
    return ending::good;
  }
  bool is_first = true;
  for_each_message([&](const message_descriptor &message) {
    if (options.as != description::json && !is_first)
      out.write("\n");
    out.write(text_of(message, options.as));
    is_first = false;
  });
  return ending::good;
}

} // namespace mesh_fib6::tools::cli
