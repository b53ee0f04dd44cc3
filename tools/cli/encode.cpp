// mesh-fib6 encode.
//
// Room: tools.
#include "tools/cli/commands.h"
#include "tools/frame.h"
#include "tools/hex_text.h"
#include "tools/library.h"

namespace mesh_fib6::tools::cli {
namespace {

std::vector<uint8_t> bytes_of(const message_descriptor &message, layout layout,
                              const void *record) {
  if (layout == layout::fixed)
    return fixed_image(message, record);
  auto bytes = packed(message, record);
  if (!bytes)
    throw failure(ending::input, "the record takes 4 GiB and more");
  return std::move(*bytes);
}

} // namespace

ending encode(const encode_options &options, output &out) {
  if (options.message != nullptr && options.layout == layout::fixed &&
      options.message->shape != shape::flat)
    throw failure(ending::usage, std::string(options.message->name) +
                                     " has vectors, so there is no fixed layout of it: "
                                     "expected --layout compact");
  input from(options.from);
  progress progress(from);
  record_reader records = options.message != nullptr
                              ? record_reader(*options.message->table, from.source())
                              : record_reader(from.source());
  for (uint64_t count = 0;; count++) {
    const record_reader::outcome outcome = records.next();
    from.check();
    if (outcome == record_reader::outcome::bad)
      throw failure(ending::input, from.source().name() + ": " + records.problem());
    if (outcome == record_reader::outcome::end && count != 0)
      return ending::good;
    if (outcome == record_reader::outcome::end)
      throw failure(ending::input, from.source().name() + ": expected a record, found nothing");
    if (count != 0 && !options.in_frames && !options.as_hex)
      throw failure(ending::input, from.source().name() +
                                       ": expected one record, found more: several need --frames "
                                       "or --hex, which tell where each of them ends");
    const message_descriptor &message =
        options.message != nullptr ? *options.message : *records.message();
    // Of mixed records, those that have a fixed layout.
    const layout layout = message.shape == shape::flat ? options.layout : layout::compact;
    const std::vector<uint8_t> bytes = bytes_of(message, layout, records.record());
    std::string text;
    if (options.in_frames)
      append_frame(text, message.id, bytes);
    else
      text.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    if (options.as_hex)
      text = hex_of(reinterpret_cast<const uint8_t *>(text.data()), text.size()) + "\n";
    out.write(text);
    progress.show();
  }
}

} // namespace mesh_fib6::tools::cli
