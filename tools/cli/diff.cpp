// mesh-fib6 diff.
//
// Room: tools.
#include "tools/cli/commands.h"
#include "tools/difference.h"
#include "tools/explain.h"
#include "tools/library.h"

namespace mesh_fib6::tools::cli {
namespace {

constexpr size_t most_lines = 100;

void write(output &out, const char *heading, const std::vector<std::string> &lines) {
  if (lines.empty())
    return;
  out.write(std::string(heading) + ":\n");
  for (const std::string &line : lines)
    out.write("  " + line + "\n");
}

} // namespace

ending diff(const diff_options &options, output &out) {
  if (options.one == "-" && options.other == "-")
    throw failure(ending::usage, "expected two inputs, found standard input twice");
  const message_descriptor &message = *options.message;
  const std::vector<uint8_t> one = read_message(options.one, options.notation),
                             other = read_message(options.other, options.notation);
  const anatomy first(message, one), second(message, other);
  for (const auto &[anatomy, name] :
       {std::pair(&first, &options.one), std::pair(&second, &options.other)})
    if (anatomy->refusal())
      throw failure(ending::refused, *name + ": " + summary_of(*anatomy));
  decoded_record first_record(message), second_record(message);
  if (!first_record.read(one) || !second_record.read(other))
    throw failure(ending::input, "there is not enough memory");
  const std::vector<std::string> values =
      value_differences(*message.table, first_record.get(), second_record.get(), most_lines);
  const std::vector<std::string> places = layout_differences(first, second, most_lines);
  write(out, "values", values);
  write(out, values.empty() ? "the same values, in another layout" : "layout", places);
  if (!values.empty() || !places.empty())
    return ending::refused;
  if (one != other) {
    out.write("the same values at the same places; other bytes where nothing is read\n");
    return ending::refused;
  }
  return ending::good;
}

} // namespace mesh_fib6::tools::cli
