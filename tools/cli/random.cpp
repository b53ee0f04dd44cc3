// mesh-fib6 random.
//
// Room: tools.
#include "tools/cli/commands.h"
#include "tools/random_message.h"

namespace mesh_fib6::tools::cli {

ending random(const random_options &options, output &out) {
  random_message records(*options.message->table, options.seed);
  record_writer writer(*options.message->table, json_style::line);
  for (uint64_t i = 0; i < options.count; i++) {
    writer.clear();
    writer.write(records.next());
    out.write(writer.text());
  }
  return ending::good;
}

} // namespace mesh_fib6::tools::cli
