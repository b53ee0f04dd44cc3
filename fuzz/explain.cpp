// Target: a buffer from anywhere is taken apart and explained.
//
// Room: attacks. Input as in decode.cpp, whose corpus is this one's too; of the circumstances only
// the byte order; its highest two bits say what is printed: text, JSON, or nothing. The verdict is
// the second decoder's, with and without notes; each byte is accounted for once; what is printed
// reads back as the bytes.
#include "tools/explain.h"
#include "fuzz/finding.h"
#include "fuzz/input.h"
#include "fuzz/messages.h"
#include "fuzz/target.h"
#include "tests/reference/decoder.h"
#include "tools/anatomy.h"
#include "tools/hex_text.h"

namespace fuzz {
namespace {

using mesh_fib6::tools::anatomy;
using mesh_fib6::tools::stretch;

constexpr uint32_t header_size = identifier_size + 1;

reference::decoder second;

bool is_decoded(const message &message, std::span<const uint8_t> bytes, uint32_t byte_swap) {
  return bytes.size() >= 4 &&
         second.decode(*message.table, message.form,
                       {bytes.data(), static_cast<uint32_t>(bytes.size()), byte_swap, 0})
                 .ending == reference::ending::decoded;
}

void check_stretches(const message &message, const anatomy &anatomy) {
  size_t at = 0;
  for (const stretch &each : anatomy.stretches()) {
    if (each.at != at || each.size == 0)
      return found("%s: a stretch of %u bytes at %u behind one that ends at %zu", message.name,
                   each.size, each.at, at);
    at += each.size;
  }
  if (at != anatomy.bytes().size())
    found("%s: %zu of %zu bytes are accounted for", message.name, at, anatomy.bytes().size());
}

void check_text(const message &message, const anatomy &anatomy) {
  const mesh_fib6::tools::hex_bytes again =
      mesh_fib6::tools::read_hex(mesh_fib6::tools::explained(anatomy, false));
  const auto bytes = anatomy.bytes();
  if (again.problem)
    found("%s: line %zu: %s", message.name, again.problem->line, again.problem->what.c_str());
  else if (!std::equal(bytes.begin(), bytes.end(), again.bytes.begin(), again.bytes.end()))
    found("%s: what is explained are other bytes", message.name);
}

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  if (size < header_size)
    return nullptr;
  forget_findings();
  const message &message = message_of(data);
  const uint32_t byte_swap = byte_swap_of(data[identifier_size] >> 1);
  const std::span<const uint8_t> bytes(data + header_size, size - header_size);
  const bool is_good = is_decoded(message, bytes, byte_swap);
  if (mesh_fib6::tools::is_sound(message, bytes, byte_swap) != is_good)
    found("%s: sound for one, refused by the other", message.name);
  const anatomy anatomy(message, bytes, byte_swap);
  if (anatomy.refusal().has_value() == is_good)
    found("%s: another verdict with notes", message.name);
  check_stretches(message, anatomy);
  switch (data[identifier_size] >> 6) {
  case 0:
    check_text(message, anatomy);
    break;
  case 1:
    if (mesh_fib6::tools::explained_as_json(anatomy).empty())
      found("%s: no JSON", message.name);
    break;
  default:
    break;
  }
  return finding();
}

} // namespace fuzz
