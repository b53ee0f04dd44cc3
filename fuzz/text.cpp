// Target: text from anywhere is read as a record, as bytes or as frames.
//
// Room: attacks. Input: what it is, then the text.
//   byte 0     0 records of the message that bytes 1-4 identify, 1 a dump, 2 frames, 3 records that
//              say which message they are of
// A record that was read is written, and reads back as the same text and the same bytes; bytes that
// were read are written, and read back as the same.
#include "fuzz/finding.h"
#include "fuzz/messages.h"
#include "fuzz/target.h"
#include "tests/reference/mismatch.h"
#include "tools/frame.h"
#include "tools/hex_text.h"
#include "tools/record_json.h"

namespace fuzz {
namespace {

using mesh_fib6::tools::address_members;
using mesh_fib6::tools::byte_source;
using mesh_fib6::tools::frame_reader;
using mesh_fib6::tools::json_style;
using mesh_fib6::tools::record_reader;
using mesh_fib6::tools::record_writer;

std::string written(const message_descriptor &message, const void *record, bool addresses) {
  address_members members;
  if (addresses)
    members.add(*message.table, "*");
  record_writer writer(*message.table, json_style::line, members);
  writer.write(record);
  return std::string(writer.text());
}

void check_record(const message_descriptor &message, const void *record) {
  for (const bool addresses : {false, true}) {
    const std::string text = written(message, record, addresses);
    byte_source source(text, "written");
    record_reader again(*message.table, source);
    if (again.next() != record_reader::outcome::record)
      return found("%s: does not read what it wrote: %s", message.name, again.problem().c_str());
    if (written(message, again.record(), addresses) != text)
      return found("%s: reads another record than it wrote", message.name);
  }
}

// `message` is null when the records say it themselves.
void read_records(record_reader &records, const message_descriptor *message) {
  record_reader::outcome outcome = records.next();
  for (; outcome == record_reader::outcome::record; outcome = records.next())
    check_record(message != nullptr ? *message : *records.message(), records.record());
  if ((outcome == record_reader::outcome::bad) != !records.problem().empty())
    found("records end badly without a word, or well with one");
}

void read_records_of_one(const uint8_t *data, size_t size) {
  if (size < identifier_size)
    return;
  const message &message = message_of(data);
  const std::string_view text(reinterpret_cast<const char *>(data) + identifier_size,
                              size - identifier_size);
  byte_source source(text, "input");
  record_reader records(*message.table, source);
  read_records(records, &message);
}

void read_mixed_records(std::string_view text) {
  byte_source source(text, "input");
  record_reader records(source);
  read_records(records, nullptr);
}

void read_dump(std::string_view text) {
  const auto bytes = mesh_fib6::tools::read_hex(text);
  if (bytes.problem)
    return;
  const auto again =
      mesh_fib6::tools::read_hex(mesh_fib6::tools::hex_of(bytes.bytes.data(), bytes.bytes.size()));
  if (again.problem || again.bytes != bytes.bytes)
    found("bytes of a dump do not come back");
}

void read_frames(std::string_view text) {
  byte_source source(text, "input");
  frame_reader frames(source);
  std::string again;
  while (frames.next() == frame_reader::outcome::frame)
    mesh_fib6::tools::append_frame(again, frames.id(), frames.bytes());
  if (again != text.substr(0, again.size()) ||
      (frames.problem().empty() && again.size() != text.size()))
    found("frames do not come back");
}

} // namespace

const char *execute(const uint8_t *data, size_t size) {
  if (size == 0)
    return nullptr;
  forget_findings();
  const std::string_view text(reinterpret_cast<const char *>(data) + 1, size - 1);
  switch (data[0] % 4) {
  case 0:
    read_records_of_one(data + 1, size - 1);
    break;
  case 1:
    read_dump(text);
    break;
  case 2:
    read_frames(text);
    break;
  default:
    read_mixed_records(text);
    break;
  }
  return finding();
}

} // namespace fuzz
