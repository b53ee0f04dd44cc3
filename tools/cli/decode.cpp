// mesh-fib6 decode.
//
// Room: tools.
#include "tools/cli/commands.h"
#include "tools/explain.h"
#include "tools/frame.h"
#include "tools/library.h"
#include "tools/lookup.h"
#include "tools/words.h"

#include <map>
#include <memory>

namespace mesh_fib6::tools::cli {
namespace {

// What decoding messages of one type needs.
struct decoding {
  decoding(const message_descriptor &message, const decode_options &options)
      : record(message), writer(*message.table, options.style, addresses_of(message, options)) {}

  // A path need not be of every message of a stream.
  static address_members addresses_of(const message_descriptor &message,
                                      const decode_options &options) {
    address_members addresses;
    for (const std::string &path : options.addresses)
      if (!addresses.add(*message.table, path) && options.message != nullptr)
        throw failure(ending::usage, "--ipv6: " + std::string(message.name) +
                                         " has no member of four words '" + path + "'");
    return addresses;
  }

  decoded_record record;
  record_writer writer;
};

// Writes the record of a message; complains, and says so, when there is none.
bool decode_one(const message_descriptor &message, decoding &decoding,
                std::span<const uint8_t> bytes, const std::string &what, output &out,
                std::string_view before, std::string_view behind) {
  if (!is_sound(message, bytes)) {
    // The reason takes a closer look; nothing of it but the refusal is wanted.
    const anatomy anatomy(message, bytes, 0, 0);
    complain(what + text_of(anatomy, *anatomy.refusal()));
    return false;
  }
  if (!decoding.record.read(bytes))
    throw failure(ending::input, what + "there is not enough memory");
  decoding.writer.clear();
  decoding.writer.write(decoding.record.get());
  std::string_view text = decoding.writer.text();
  out.write(before);
  if (!behind.empty())
    text.remove_suffix(1); // the line's end
  out.write(text);
  out.write(behind);
  return true;
}

// A path that no message has is nobody's.
void check_addresses(const decode_options &options) {
  for (const std::string &path : options.addresses) {
    bool is_known = false;
    for_each_message([&](const message_descriptor &message) {
      is_known |= address_members().add(*message.table, path);
    });
    if (!is_known)
      throw failure(ending::usage,
                    "--ipv6: no message has a member of four words " + tools::quoted(path));
  }
}

ending decode_frames(const decode_options &options, output &out) {
  check_addresses(options);
  std::map<uint32_t, std::unique_ptr<decoding>> decodings;
  input from(options.from);
  progress progress(from);
  frame_reader frames(from.source());
  ending result = ending::good;
  for (;;) {
    const frame_reader::outcome outcome = frames.next();
    from.check();
    if (outcome == frame_reader::outcome::end)
      return result;
    progress.show();
    const std::string where = from.source().name() + ": frame " + std::to_string(frames.number()) +
                              " at byte " + std::to_string(frames.at()) + ": ";
    if (outcome == frame_reader::outcome::bad)
      throw failure(ending::input, where + frames.problem());
    const message_descriptor *const message = find_message(frames.id());
    if (options.message != nullptr && message != options.message)
      continue;
    bool is_good = message != nullptr;
    if (message == nullptr) {
      complain(where + "no message has the identifier " + id_text(frames.id()));
    } else {
      std::unique_ptr<decoding> &decoding = decodings[message->id];
      if (decoding == nullptr)
        decoding = std::make_unique<cli::decoding>(*message, options);
      is_good =
          decode_one(*message, *decoding, frames.bytes(), where + message->name + ": ", out,
                     "{\"message\":\"" + std::string(message->name) + "\",\"record\":", "}\n");
    }
    if (!is_good) {
      result = ending::refused;
      if (!options.keeps_going)
        return result;
    }
  }
}

} // namespace

ending decode(const decode_options &options, output &out) {
  if (options.in_frames)
    return decode_frames(options, out);
  decoding decoding(*options.message, options);
  const std::vector<uint8_t> bytes = read_message(options.from, options.notation);
  return decode_one(*options.message, decoding, bytes, std::string(options.message->name) + ": ",
                    out, "", "")
             ? ending::good
             : ending::refused;
}

} // namespace mesh_fib6::tools::cli
