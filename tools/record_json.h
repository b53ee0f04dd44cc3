// Records as JSON, both ways.
//
//   scalar             a number; read, a text may stand for it: "32" or "0x20"
//   array of words     an array of that many numbers; of four also an IPv6 address: "2001:db8::"
//   array of bytes     hexadecimal digits, two a byte
//   embedded record    an object
//   vector of tables   an array of objects
//   vector of bytes    hexadecimal digits
//   f3_ipv6            beside f3, of four words: the address whose bytes they are, in network order
//
// Members have the names of the record. What is left out is zero or empty; what is unknown, twice
// there, too large or of another kind is an error. Reading what was written gives the same record.
//
// Room: tools. Knows descriptors, and RapidJSON inside.
#pragma once

#include "tools/byte_source.h"
#include "tools/descriptors.h"

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace mesh_fib6::tools {

// Members that are shown as IPv6 addresses as well.
class address_members {
public:
  // `f1.f3`: a member of four words by its path, or `*`: all of them. False when there is none.
  bool add(const table_descriptor &root, std::string_view path);
  bool has(const field_descriptor &field) const { return members_.count(&field) != 0; }

private:
  void add_all(const table_descriptor &table);

  std::set<const field_descriptor *> members_;
};

// Whether a member may be an IPv6 address: an array of four words.
bool may_be_address(const field_descriptor &field);

enum class json_style : uint8_t {
  line, // one line, nothing blank
  indented,
};

// Writes records, each followed by a line's end.
class record_writer {
public:
  record_writer(const table_descriptor &table, json_style style, address_members addresses = {});
  ~record_writer();

  // Appends a record to the text. Its counts have to match its pointers.
  void write(const void *record);

  std::string_view text() const;
  void clear();

private:
  struct parts;
  std::unique_ptr<parts> parts_;
};

// Reads a stream of records: JSON values one behind the other, on lines of their own or not.
class record_reader {
public:
  // All of one message.
  record_reader(const table_descriptor &table, byte_source &source);
  // Of any messages, each in an object that says which one it is:
  // {"message": "feiBrokerFib6_ipv6FwdUpdateMsg", "record": {...}}
  explicit record_reader(byte_source &source);
  ~record_reader();

  enum class outcome : uint8_t { record, end, bad };

  // Reads the next record. After `bad` nothing more can be read.
  outcome next();

  // The record, until the next call.
  const void *record() const;
  // Which message it is of; null when the records are of one message.
  const message_descriptor *message() const;
  // What was bad: "line 3: f1[0].f4: expected an integer from 0 to 255, found 256".
  const std::string &problem() const;

private:
  struct parts;
  std::unique_ptr<parts> parts_;
};

} // namespace mesh_fib6::tools
