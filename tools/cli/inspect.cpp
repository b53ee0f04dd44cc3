// mesh-fib6 verify and explain.
//
// Room: tools.
#include "tools/byte_map.h"
#include "tools/cli/commands.h"
#include "tools/explain.h"
#include "tools/library.h"
#include "tools/page.h"

namespace mesh_fib6::tools::cli {
namespace {

// What is refused has one layout only, and so has what holds vectors.
std::string page_with_both_layouts(const anatomy &of) {
  const message_descriptor &message = of.message();
  decoded_record record(message);
  if (of.refusal() || message.shape != shape::flat || !record.read(of.bytes()))
    return page_of(of, nullptr);
  const bool is_fixed = of.bytes().size() == message.fixed_image_size;
  const std::vector<uint8_t> other =
      is_fixed ? packed(message, record.get()).value_or(std::vector<uint8_t>())
               : fixed_image(message, record.get());
  const anatomy of_other(message, other);
  return page_of(of, &of_other);
}

} // namespace

ending verify(const inspect_options &options, output &out) {
  const std::vector<uint8_t> bytes = read_message(options.from, options.notation);
  const anatomy anatomy(*options.message, bytes, options.byte_swap, 0);
  if (options.as_json)
    out.write(verdict_as_json(anatomy));
  else if (!options.is_quiet)
    out.write(summary_of(anatomy) + "\n");
  return anatomy.refusal() ? ending::refused : ending::good;
}

ending explain(const inspect_options &options, output &out) {
  const std::vector<uint8_t> bytes = read_message(options.from, options.notation);
  const anatomy anatomy(*options.message, bytes, options.byte_swap);
  if (options.as_map)
    out.write(picture_of(anatomy));
  else if (options.as_page)
    out.write(page_with_both_layouts(anatomy));
  else
    out.write(options.as_json ? explained_as_json(anatomy) : explained(anatomy, options.coloured));
  return anatomy.refusal() ? ending::refused : ending::good;
}

} // namespace mesh_fib6::tools::cli
