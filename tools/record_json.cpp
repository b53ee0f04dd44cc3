// Records as JSON; see record_json.h.
//
// Room: tools. RapidJSON writes and parses; what a value may be is said here.
#include "tools/record_json.h"

#include "tools/hex_text.h"
#include "tools/json_text.h"
#include "tools/lookup.h"
#include "tools/record_memory.h"
#include "tools/words.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstring>
#include <limits>
#include <rapidjson/error/en.h>
#include <utility>

namespace mesh_fib6::tools {

// ---- addresses ----

namespace {

constexpr size_t address_size = sizeof(in6_addr);
constexpr std::string_view address_suffix = "_ipv6";

} // namespace

bool may_be_address(const field_descriptor &field) {
  return field.kind == kind::words && size_t{field.length} * field.width == address_size;
}

void address_members::add_all(const table_descriptor &table) {
  for (const field_descriptor &field : table.fields)
    if (may_be_address(field))
      members_.insert(&field);
    else if (field.table != nullptr)
      add_all(*field.table);
}

bool address_members::add(const table_descriptor &root, std::string_view path) {
  if (path == "*") {
    add_all(root);
    return true;
  }
  const std::string_view name = path.substr(0, path.find('.'));
  for (const field_descriptor &field : root.fields) {
    if (name != field.name)
      continue;
    if (name.size() < path.size())
      return field.table != nullptr && add(*field.table, path.substr(name.size() + 1));
    return may_be_address(field) && (members_.insert(&field), true);
  }
  return false;
}

// ---- writing ----

struct record_writer::parts {
  const table_descriptor &table;
  json_style style;
  address_members addresses;
  json_buffer buffer;

  template <class Writer>
  void write(Writer &to, const table_descriptor &of, const void *record) {
    to.StartObject();
    for (const field_descriptor &field : of.fields) {
      to.Key(field.name);
      write(to, field, record);
      if (addresses.has(field))
        write_address(to, field, record);
    }
    to.EndObject();
  }

  template <class Writer>
  void write(Writer &to, const field_descriptor &field, const void *record) {
    switch (field.kind) {
    case kind::scalar:
      to.Uint(field.number(record));
      break;
    case kind::words:
      to.StartArray();
      for (uint32_t i = 0; i < field.length; i++)
        to.Uint(field.number(record, i));
      to.EndArray();
      break;
    case kind::bytes:
      write_bytes(to, static_cast<const uint8_t *>(field.member(record)), field.length);
      break;
    case kind::byte_vector:
      write_bytes(to, static_cast<const uint8_t *>(field.pointer(record)), field.count(record));
      break;
    case kind::table:
      write(to, *field.table, field.member(record));
      break;
    case kind::table_vector:
      to.StartArray();
      for (uint32_t i = 0; i < field.count(record); i++)
        write(to, *field.table, field.element(record, i));
      to.EndArray();
      break;
    }
  }

  template <class Writer>
  void write_bytes(Writer &to, const uint8_t *bytes, uint32_t count) {
    digits.clear();
    for (uint32_t i = 0; bytes != nullptr && i < count; i++) {
      digits += "0123456789abcdef"[bytes[i] >> 4];
      digits += "0123456789abcdef"[bytes[i] & 15];
    }
    to.String(digits.data(), static_cast<rapidjson::SizeType>(digits.size()));
  }

  template <class Writer>
  void write_address(Writer &to, const field_descriptor &field, const void *record) {
    char text[INET6_ADDRSTRLEN];
    digits.assign(field.name).append(address_suffix);
    to.Key(digits.data(), static_cast<rapidjson::SizeType>(digits.size()));
    to.String(inet_ntop(AF_INET6, field.member(record), text, sizeof text));
  }

  std::string digits;
};

record_writer::record_writer(const table_descriptor &table, json_style style,
                             address_members addresses)
    : parts_(new parts{table, style, std::move(addresses), {}, {}}) {}

record_writer::~record_writer() = default;

void record_writer::write(const void *record) {
  if (parts_->style == json_style::line) {
    json_text to(parts_->buffer);
    parts_->write(to, parts_->table, record);
  } else {
    pretty_json_text to(parts_->buffer);
    to.SetIndent(' ', 2);
    to.SetFormatOptions(rapidjson::kFormatSingleLineArray);
    parts_->write(to, parts_->table, record);
  }
  parts_->buffer.Put('\n');
}

std::string_view record_writer::text() const {
  return {parts_->buffer.GetString(), parts_->buffer.GetSize()};
}

void record_writer::clear() {
  parts_->buffer.Clear();
}

// ---- reading ----

// Named, as a class that others know by name has them as members.
namespace json_reading {

// A stream as RapidJSON reads one, which knows in which line it is.
class json_stream {
public:
  using Ch = char;

  explicit json_stream(byte_source &source) : source_(source) {}

  char Peek() const {
    const int byte = source_.peek();
    return byte < 0 ? '\0' : static_cast<char>(byte);
  }
  char Take() {
    const int byte = source_.take();
    line_ += byte == '\n' ? 1 : 0;
    return byte < 0 ? '\0' : static_cast<char>(byte);
  }
  size_t Tell() const { return source_.taken(); }

  // For writers, of which there is none.
  static char *PutBegin() { return nullptr; }
  static void Put(char) {}
  static void Flush() {}
  static size_t PutEnd(char *) { return 0; }

  uint64_t line() const { return line_; }
  bool is_at_end() const { return source_.peek() < 0; }

private:
  byte_source &source_;
  uint64_t line_ = 1;
};

// Decimal or 0x; false when it is neither or more than 64 bits.
bool parse(std::string_view text, uint64_t &number) {
  const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
  text.remove_prefix(is_hex ? 2 : 0);
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, is_hex ? 16 : 10);
  return error == std::errc() && stop == end;
}

constexpr size_t most_members_of(const table_descriptor &table) {
  size_t most = table.fields.size();
  for (const field_descriptor &field : table.fields)
    if (field.kind == kind::table || field.kind == kind::table_vector)
      most = std::max(most, most_members_of(*field.table));
  return most;
}

consteval size_t most_members() {
  size_t most = 0;
  for_each_message([&](const message_descriptor &message) {
    most = std::max(most, most_members_of(*message.table));
  });
  return most;
}

// What RapidJSON finds, put into a record. Each function says whether to go on.
class builder {
public:
  // Without a table, records come in objects that say which message they are of.
  explicit builder(const table_descriptor *table) : is_wrapped_(table == nullptr), table_(table) {}

  void begin() {
    memory_.reset();
    levels_.clear();
    problem_.clear();
    is_open_ = false;
    message_ = nullptr;
    around_ = wrapping::outside;
    if (!is_wrapped_)
      record_ = memory_.block(table_->record_size);
  }

  const void *record() const { return record_; }
  const message_descriptor *message() const { return message_; }
  const std::string &problem() const { return problem_; }

  bool Null() { return wrong("null"); }
  bool Bool(bool value) { return wrong(value ? "true" : "false"); }
  // Numbers come as texts.
  bool Int(int) { return wrong("a number"); }
  bool Uint(unsigned) { return wrong("a number"); }
  bool Int64(int64_t) { return wrong("a number"); }
  bool Uint64(uint64_t) { return wrong("a number"); }
  bool Double(double) { return wrong("a number"); }

  bool RawNumber(const char *text, rapidjson::SizeType size, bool) {
    const std::string_view found(text, size);
    if (!expects_number())
      return wrong(std::string(found));
    return put_number(found, std::string(found));
  }

  bool String(const char *text, rapidjson::SizeType size, bool) {
    const std::string_view found(text, size);
    if (around_ == wrapping::message)
      return put_message(found);
    if (expects_number())
      return put_number(found, quoted(found));
    if (levels_.empty() || top().field == nullptr)
      return wrong(quoted(found));
    const field_descriptor &field = *top().field;
    if (field.kind == kind::bytes)
      return put_digits(field, found);
    if (field.kind == kind::byte_vector)
      return put_byte_vector(field, found);
    if (may_be_address(field))
      return put_address(field, found);
    return wrong(quoted(found));
  }

  bool StartObject() {
    if (is_wrapped_ && around_ == wrapping::outside) {
      around_ = wrapping::between;
      return true;
    }
    if (is_wrapped_ && around_ != wrapping::record)
      return wrong("an object");
    if (!is_open_) {
      is_open_ = true;
      levels_.push_back({.table = table_, .record = record_});
      return true;
    }
    level &at = top();
    if (at.field == nullptr || at.is_address)
      return wrong("an object");
    if (at.field->kind == kind::table) {
      levels_.push_back({.table = at.field->table,
                         .record = static_cast<uint8_t *>(at.field->member(at.record))});
      return true;
    }
    if (at.field->kind != kind::table_vector || !at.is_in_array)
      return wrong("an object");
    const size_t width = at.field->width;
    if ((at.index + 1) * width > at.items.size())
      at.items.resize(std::max(2 * at.items.size(), 4 * width));
    uint8_t *const element = at.items.data() + at.index * width;
    at.index++;
    std::memset(element, 0, width);
    levels_.push_back({.table = at.field->table, .record = element});
    return true;
  }

  bool Key(const char *text, rapidjson::SizeType size, bool) {
    const std::string_view name(text, size);
    if (levels_.empty())
      return put_wrapper_key(name);
    level &at = top();
    at.is_address = false;
    at.field = find(*at.table, name);
    if (at.field == nullptr && name.ends_with(address_suffix)) {
      at.field = find(*at.table, name.substr(0, name.size() - address_suffix.size()));
      at.is_address = at.field != nullptr && may_be_address(*at.field);
      at.field = at.is_address ? at.field : nullptr;
    }
    if (at.field == nullptr)
      return unknown(*at.table, name);
    const uint64_t bit = uint64_t{1} << at.field->slot;
    uint64_t &seen = at.is_address ? at.seen_addresses : at.seen;
    if ((seen & bit) != 0)
      return fail("expected it once, found it twice");
    seen |= bit;
    return true;
  }

  bool EndObject(rapidjson::SizeType) {
    if (levels_.empty())
      return is_open_ || fail("expected a member 'record', found none");
    levels_.pop_back();
    if (is_wrapped_ && levels_.empty())
      around_ = wrapping::between;
    done_with_value();
    return true;
  }

  bool StartArray() {
    if (levels_.empty() || top().field == nullptr || top().is_address || top().is_in_array)
      return wrong("an array");
    level &at = top();
    const bool is_list = at.field->kind == kind::words || at.field->kind == kind::table_vector;
    if (!is_list)
      return wrong("an array");
    at.is_in_array = true;
    at.index = 0;
    return true;
  }

  bool EndArray(rapidjson::SizeType) {
    level &at = top();
    const field_descriptor &field = *at.field;
    at.is_in_array = false;
    if (field.kind == kind::words) {
      if (at.index != field.length)
        return fail("expected " + std::to_string(field.length) + " numbers, found " +
                    std::to_string(at.index));
      return agree(field);
    }
    if (at.index != 0) {
      const size_t size = size_t{at.index} * field.width;
      uint8_t *const block = memory_.block(size);
      std::memcpy(block, at.items.data(), size);
      field.set_vector(at.record, block, at.index);
    }
    at.items.clear();
    done_with_value();
    return true;
  }

private:
  // Members that were seen are bits of a word.
  static_assert(most_members() <= 64);

  // An object that is open, and the member of it that is read.
  struct level {
    const table_descriptor *table;
    uint8_t *record;
    const field_descriptor *field = nullptr; // null between two members
    uint64_t seen = 0;                       // members, a bit each
    uint64_t seen_addresses = 0;             // likewise
    bool is_address = false;                 // the member's address is read
    bool is_in_array = false;
    uint32_t index = 0;                // how many items of the array there are
    std::vector<uint8_t> items = {};   // those of a vector of tables
    uint8_t before[address_size] = {}; // what the words were when they came first
  };

  // Where, in the object around a record.
  enum class wrapping : uint8_t { outside, between, message, record };

  level &top() { return levels_.back(); }

  bool put_wrapper_key(std::string_view name) {
    if (name != "message" && name != "record")
      return fail("expected a member 'message' or 'record', found " + quoted(name));
    if (name == "message" ? message_ != nullptr : is_open_)
      return fail(std::string(name) + ": expected it once, found it twice");
    if (name == "record" && message_ == nullptr)
      return fail("expected 'message' in front of 'record'");
    around_ = name == "message" ? wrapping::message : wrapping::record;
    return true;
  }

  bool put_message(std::string_view name) {
    const found_message found = find_message(name);
    if (found.message == nullptr)
      return fail(found.problem);
    message_ = found.message;
    table_ = message_->table;
    record_ = memory_.block(table_->record_size);
    around_ = wrapping::between;
    return true;
  }

  static const field_descriptor *find(const table_descriptor &table, std::string_view name) {
    for (const field_descriptor &field : table.fields)
      if (name == field.name)
        return &field;
    return nullptr;
  }

  void done_with_value() {
    if (!levels_.empty() && !top().is_in_array)
      top().field = nullptr;
  }

  // The path of the value that is read.
  std::string path() const {
    std::string text = around_ == wrapping::message  ? "message"
                       : around_ == wrapping::record ? "record"
                                                     : "";
    for (const level &each : levels_) {
      if (each.field == nullptr)
        continue;
      text += (text.empty() ? "" : ".") + std::string(each.field->name);
      if (each.is_address)
        text += address_suffix;
      if (!each.is_in_array)
        continue;
      // An element counts when it begins, a number when it is there.
      const bool is_begun = each.field->kind == kind::table_vector && &each != &levels_.back();
      text += "[" + std::to_string(each.index - (is_begun ? 1 : 0)) + "]";
    }
    return text;
  }

  bool fail(const std::string &what) {
    const std::string where = path();
    problem_ = (where.empty() ? "" : where + ": ") + what;
    return false;
  }

  bool unknown(const table_descriptor &table, std::string_view name) {
    std::vector<std::string> names;
    for (const field_descriptor &field : table.fields)
      names.emplace_back(field.name);
    return fail(std::string(table.name) + " has no member " + quoted(name) + ", only " +
                names.front() + " to " + names.back());
  }

  std::string expectation() const {
    if (around_ == wrapping::message)
      return "a message's name";
    if (is_wrapped_ && around_ != wrapping::record)
      return "an object with the members 'message' and 'record'";
    if (levels_.empty())
      return "an object with the members of " + std::string(table_->name);
    const level &at = levels_.back();
    if (at.field == nullptr)
      return "a member";
    const field_descriptor &field = *at.field;
    if (at.is_address)
      return "an IPv6 address";
    if (expects_number())
      return "an integer from 0 to " + std::to_string(largest(field));
    switch (field.kind) {
    case kind::words:
      return "an array of " + std::to_string(field.length) + " integers" +
             (may_be_address(field) ? " or an IPv6 address" : "");
    case kind::bytes:
      return std::to_string(2 * field.length) + " hexadecimal digits";
    case kind::byte_vector:
      return "hexadecimal digits";
    case kind::table:
      return "an object with the members of " + std::string(field.table->name);
    default:
      return at.is_in_array ? "an object with the members of " + std::string(field.table->name)
                            : "an array of objects";
    }
  }

  bool wrong(const std::string &found) {
    return fail("expected " + expectation() + ", found " + found);
  }

  static uint32_t largest(const field_descriptor &field) {
    return std::numeric_limits<uint32_t>::max() >> (32 - 8 * field.width);
  }

  bool expects_number() const {
    if (levels_.empty() || levels_.back().field == nullptr || levels_.back().is_address)
      return false;
    const level &at = levels_.back();
    return at.field->kind == kind::scalar || (at.field->kind == kind::words && at.is_in_array);
  }

  bool put_number(std::string_view text, const std::string &found) {
    level &at = top();
    const field_descriptor &field = *at.field;
    uint64_t number = 0;
    if (!parse(text, number) || number > largest(field))
      return wrong(found);
    if (field.kind == kind::scalar) {
      field.set_number(at.record, static_cast<uint32_t>(number));
      done_with_value();
      return true;
    }
    if (at.index == field.length)
      return fail("expected " + std::to_string(field.length) + " numbers, found more");
    if (at.index == 0)
      std::memcpy(at.before, field.member(at.record),
                  std::min<size_t>(address_size, size_t{4} * field.length));
    field.set_number(at.record, static_cast<uint32_t>(number), at.index++);
    return true;
  }

  // Words and address of one member are the same, when both are there.
  bool agree(const field_descriptor &field) {
    level &at = top();
    const uint64_t bit = uint64_t{1} << field.slot;
    const bool both = (at.seen & at.seen_addresses & bit) != 0;
    if (both && std::memcmp(at.before, field.member(at.record), address_size) != 0)
      return fail("not the same as " + std::string(field.name) +
                  (at.is_address ? "" : std::string(address_suffix)));
    done_with_value();
    return true;
  }

  bool put_address(const field_descriptor &field, std::string_view text) {
    level &at = top();
    in6_addr address{};
    if (at.is_in_array || text.find('\0') != std::string_view::npos ||
        inet_pton(AF_INET6, std::string(text).c_str(), &address) != 1)
      return wrong(quoted(text));
    std::memcpy(at.before, field.member(at.record), address_size);
    std::memcpy(field.member(at.record), &address, address_size);
    return agree(field);
  }

  // The bytes of hexadecimal digits; complains when they are none.
  bool put_digits(std::string_view digits, uint8_t *bytes) {
    for (size_t i = 0; i < digits.size(); i += 2) {
      const int high = hex_digit(digits[i]), low = hex_digit(digits[i + 1]);
      if (high < 0 || low < 0)
        return wrong(quoted(digits.substr(i, 2)) + " at digit " + std::to_string(i));
      bytes[i / 2] = static_cast<uint8_t>(high * 16 + low);
    }
    done_with_value();
    return true;
  }

  bool put_digits(const field_descriptor &field, std::string_view digits) {
    if (digits.size() != size_t{2} * field.length)
      return wrong(std::to_string(digits.size()) + " characters");
    return put_digits(digits, static_cast<uint8_t *>(field.member(top().record)));
  }

  bool put_byte_vector(const field_descriptor &field, std::string_view digits) {
    if (digits.size() % 2 != 0)
      return wrong("an odd number of characters");
    if (digits.empty()) {
      done_with_value();
      return true;
    }
    uint8_t *const block = memory_.block(digits.size() / 2);
    field.set_vector(top().record, block, static_cast<uint32_t>(digits.size() / 2));
    return put_digits(digits, block);
  }

  bool is_wrapped_;
  const table_descriptor *table_; // null before a wrapped record's message is known
  const message_descriptor *message_ = nullptr;
  wrapping around_ = wrapping::outside;
  record_memory memory_;
  uint8_t *record_ = nullptr;
  std::vector<level> levels_;
  bool is_open_ = false;
  std::string problem_;
};

} // namespace json_reading

struct record_reader::parts {
  json_reading::json_stream stream;
  json_reading::builder builder;
  json_reader reader;
  std::string problem;
};

record_reader::record_reader(const table_descriptor &table, byte_source &source)
    : parts_(new parts{json_reading::json_stream(source), json_reading::builder(&table), {}, {}}) {}

record_reader::record_reader(byte_source &source)
    : parts_(new parts{json_reading::json_stream(source), json_reading::builder(nullptr), {}, {}}) {
}

record_reader::~record_reader() = default;

record_reader::outcome record_reader::next() {
  parts &in = *parts_;
  if (!in.problem.empty())
    return outcome::bad;
  while (!in.stream.is_at_end() && std::strchr(" \t\r\n", in.stream.Peek()) != nullptr &&
         in.stream.Peek() != '\0')
    in.stream.Take();
  if (in.stream.is_at_end())
    return outcome::end;
  in.builder.begin();
  constexpr unsigned flags = rapidjson::kParseStopWhenDoneFlag | rapidjson::kParseIterativeFlag |
                             rapidjson::kParseNumbersAsStringsFlag |
                             rapidjson::kParseValidateEncodingFlag;
  const rapidjson::ParseResult result = in.reader.Parse<flags>(in.stream, in.builder);
  if (!result.IsError())
    return outcome::record;
  in.problem = "line " + std::to_string(in.stream.line()) + ": ";
  if (result.Code() == rapidjson::kParseErrorTermination)
    in.problem += in.builder.problem();
  else
    in.problem += std::string("expected JSON: ") + rapidjson::GetParseError_En(result.Code()) +
                  " At byte " + std::to_string(result.Offset()) + ".";
  return outcome::bad;
}

const void *record_reader::record() const {
  return parts_->builder.record();
}

const message_descriptor *record_reader::message() const {
  return parts_->builder.message();
}

const std::string &record_reader::problem() const {
  return parts_->problem;
}

} // namespace mesh_fib6::tools
