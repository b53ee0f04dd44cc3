// What docs/log-messages.md says of the log: each of its examples gives the line beside it, and
// what is said to write none writes none.
//
// Room: tests. That the document has the lines of the sources is checked by log_lines_test.py.
#include "tests/documents/tables.h"
#include "tests/support/pattern.h"
#include "tests/support/record_text.h"
#include "tests/wire/golden_cases.h"
#include "tests/wire/log_expectation.h"

#include <functional>
#include <map>
#include <set>

using documents::table_row;
using golden::bytes;
using golden::message_descriptor;

namespace {

constexpr const char *log_document = "docs/log-messages.md";
constexpr uint32_t refused_with = 17;

std::string unquoted(const std::string &cell) {
  const std::vector<std::string> quoted = documents::quoted_in(cell);
  return quoted.empty() ? "" : quoted.front();
}

// Of a format's arguments only their places matter here.
struct documented_line {
  uint32_t category;
  std::string filed_under;
};

std::map<std::string, documented_line> documented_lines() {
  std::map<std::string, documented_line> lines;
  for (const table_row &row : documents::table_of(
           log_document, {"line", "category", "level", "filed under", "harmless?"})) {
    EXPECT_EQ(row.cells[2], "2");
    lines[unquoted(row.cells[0])] = {static_cast<uint32_t>(std::stoul(row.cells[1])), row.cells[3]};
  }
  return lines;
}

// The route that docs/wire-format.md lists, and what may be done with it.
class LogDocument : public testing::Test {
protected:
  using update = feiBrokerFib6_ipv6FwdUpdateMsg;

  LogDocument() {
    const documents::listings all = documents::of_wire_format();
    for (const annotated::record &each : all.text.records)
      if (each.name == message_.name)
        record_ = record_text::read(*message_.table, all.text.path, each.lines);
    wire_ = annotated::bytes_of(all.text.images, message_.name);
    bind_units(units_of(message_.name));
    fake_osal::reset();
    fake_mesh::reset();
  }
  ~LogDocument() override {
    fake_osal::fail_allocation(0);
    EXPECT_EQ(fake_osal::live_blocks(), 0U);
  }

  struct outcome {
    std::string record; // "f0 = 7, f1_count = 1", of a decode
    std::vector<fake_osal::log_line> lines;
  };

  // Does what a cell says: "unpacked with byte 28 = 44: and why", for example.
  outcome provoke(const std::string &example) const {
    pattern::groups found;
    const auto is = [&](const char *form) {
      found = pattern::matched(example, form).value_or(pattern::groups());
      return !found.empty();
    };
    if (is(R"(packed without a buffer, capacity ([0-9]+))")) {
      uint32_t length = number(found[1]);
      EXPECT_EQ(message_.pack(record_.get(), nullptr, &length), 0U);
      EXPECT_EQ(length, wire_.size());
      return {"", fake_osal::log_lines()};
    }
    if (is("unpacked without a record")) {
      EXPECT_EQ(message_.unpack(wire_.data(), size(), nullptr), sizeof(update));
      return {"", fake_osal::log_lines()};
    }
    if (is(R"(unpacked without a buffer, length ([0-9]+))")) {
      update record{};
      EXPECT_EQ(message_.unpack(nullptr, number(found[1]), &record), sizeof(update));
      return {"", fake_osal::log_lines()};
    }
    if (is(R"(its first ([0-9]+) bytes unpacked(: .*)?)"))
      return decoded(message_, bytes(wire_.begin(), wire_.begin() + number(found[1])), {});
    if (is(R"(unpacked( as `([A-Za-z0-9_]+)`)? with byte ([0-9]+) = ([0-9a-f ]+)(: .*)?)"))
      return decoded(found[1].empty() ? message_ : golden::message_named(found[2]),
                     changed(number(found[3]), found[4]), {});
    if (is("unpacked, but the allocator refuses the block for one route"))
      return decoded(message_, wire_, {.fail_allocation = 1});
    if (is(R"(a `([A-Za-z0-9_]+)` with one byte in `f0\.f2` unpacked, but the allocator refuses the block for it)"))
      return decoded(golden::message_named(found[1]),
                     golden::of(found[1]).bytes_of("zero_elements"), {.fail_allocation = 1});
    ADD_FAILURE() << log_document << ": what is \"" << example << "\"?";
    return {};
  }

  static uint32_t number(const std::string &text) {
    return static_cast<uint32_t>(std::stoul(text));
  }
  uint32_t size() const { return static_cast<uint32_t>(wire_.size()); }

  bytes changed(size_t at, const std::string &hexadecimal) const {
    bytes wire = wire_;
    std::istringstream pairs(hexadecimal);
    for (std::string pair; pairs >> pair; ++at)
      wire.at(at) = static_cast<uint8_t>(std::stoul(pair, nullptr, 16));
    EXPECT_NE(wire, wire_);
    return wire;
  }

  outcome decoded(const message_descriptor &message, const bytes &wire,
                  const conditions &given) const {
    const golden::decoding run(message, wire, given);
    if (&message != &message_)
      return {"", run.lines};
    const auto &record = *static_cast<const update *>(run.memory());
    EXPECT_TRUE(run.untouched() || record.f1 == nullptr);
    return {"f0 = " + std::to_string(record.f0) + ", f1_count = " + std::to_string(record.f1_count),
            run.lines};
  }

  const message_descriptor &message_ = golden::message_named("feiBrokerFib6_ipv6FwdUpdateMsg");
  random_record::owned_record record_{*message_.table};
  bytes wire_;
};

TEST_F(LogDocument, GivesForEachExampleTheLineThatComes) {
  const std::map<std::string, documented_line> lines = documented_lines();
  std::set<std::string> provoked, expected;
  for (const table_row &row :
       documents::table_of(log_document, {"the example", "filed under", "line"})) {
    SCOPED_TRACE(std::string(log_document) + ":" + std::to_string(row.line));
    fake_osal::reset();
    const outcome seen = provoke(row.cells[0]);
    ASSERT_EQ(seen.lines.size(), 1U);
    const std::string format = seen.lines.front().format;
    ASSERT_TRUE(lines.count(format) != 0) << format << " is not in the table of lines";
    const documented_line &line = lines.at(format);
    expect_one_line(seen.lines, unquoted(row.cells[1]), format, unquoted(row.cells[2]),
                    line.category);
    provoked.insert(format);
  }
  for (const auto &[format, line] : lines)
    expected.insert(format);
  EXPECT_EQ(provoked, expected) << "each line needs an example";
}

// By the last parts of the names in the table of lines; an example of each.
TEST_F(LogDocument, SaysUnderWhichNamesEachLineIsFiled) {
  const std::map<std::string, documented_line> lines = documented_lines();
  std::map<std::string, std::set<std::string>> said, seen;
  for (const auto &[format, line] : lines)
    for (const std::string &name : documents::quoted_in(line.filed_under))
      said[format].insert(name.substr(name.find('>') + 1));
  for (const table_row &row :
       documents::table_of(log_document, {"the example", "filed under", "line"})) {
    fake_osal::reset();
    for (const fake_osal::log_line &line : provoke(row.cells[0]).lines) {
      const auto ending = pattern::found(line.function, "(_pack|_unpack|_unpack_non_root)$");
      ASSERT_TRUE(ending) << line.function;
      seen[line.format].insert((*ending)[1]);
    }
  }
  EXPECT_EQ(said, seen);
}

// A root offset that leads out of the message, to each message; the document lists those of one
// form.
TEST_F(LogDocument, ListsTheMessagesThatFileTheirOwnTableAsASubTable) {
  const std::string text = documents::text_of(log_document);
  const std::string begin = "These messages file a bad header of their own table";
  const size_t at = text.find(begin);
  ASSERT_NE(at, std::string::npos);
  const std::string paragraph = text.substr(at, text.find("\n\n", at) - at);
  const std::vector<std::string> listed = documents::quoted_in(paragraph);
  EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()).size(), listed.size());
  std::set<std::string> found;
  for (const message_descriptor *message : golden::messages()) {
    SCOPED_TRACE(message->name);
    const golden::decoding run(*message, bytes(4, 0xFF));
    ASSERT_EQ(run.lines.size(), 1U);
    if (run.lines.front().function == std::string(message->name) + "_unpack_non_root")
      found.insert(message->name);
  }
  EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), found);
}

TEST_F(LogDocument, SaysOfWhichDamageNothingIsLoggedAndWhatTheRecordHoldsThen) {
  for (const table_row &row :
       documents::table_of(log_document, {"what is wrong", "the example", "the record then"})) {
    SCOPED_TRACE(std::string(log_document) + ":" + std::to_string(row.line));
    const outcome seen = provoke(row.cells[1]);
    EXPECT_TRUE(seen.lines.empty());
    EXPECT_EQ(seen.record, unquoted(row.cells[2]));
  }
}

TEST_F(LogDocument, SaysThatASoundMessageIsReadInSilence) {
  const golden::decoding run(message_, wire_);
  EXPECT_TRUE(run.silent());
  golden::expect_same_record(*message_.table, record_.get(), run.memory());
}

TEST_F(LogDocument, SaysWhichOperationsFailInSilenceAndWhatTheyReturn) {
  update record = *static_cast<const update *>(record_.get());
  fib6_cfg_query_dfx_key long_query{};
  bind_units(units_of("fib6_cfg_query_dfx_key"));
  uint8_t byte = 0;
  long_query.f0.f2 = &byte;
  long_query.f0.f2_count = UINT32_MAX;
  const auto packed = [](auto pack, const auto *from, uint8_t *buffer, uint32_t length) {
    return pack(from, buffer, &length);
  };
  const auto pack = feiBrokerFib6_ipv6FwdUpdateMsg__pack;
  bytes buffer(size());
  // As many records as are a byte too many for a batch together.
  const std::vector<update> many(65536 / size() + 1, record);
  const std::map<std::string, std::function<uint32_t()>> operations = {
      {"`M__pack` without a record",
       [&] { return packed(pack, static_cast<update *>(nullptr), buffer.data(), size()); }},
      {"`M__pack` with a capacity one byte too small",
       [&] { return packed(pack, &record, buffer.data(), size() - 1); }},
      {"`M__pack` without a buffer, with a capacity one byte too small",
       [&] { return packed(pack, &record, nullptr, size() - 1); }},
      {"`M__pack` of a message of more than 32 bits can count",
       [&] { return packed(fib6_cfg_query_dfx_key__pack, &long_query, nullptr, UINT32_MAX); }},
      {"`M__sendsingle` without a record (of a type with pointers)",
       [&] { return message_.sendsingle(9, nullptr, 0, 0); }},
      {"`M__sendsingle`, but the allocator refuses the block",
       [&] {
         fake_osal::fail_allocation(1);
         return message_.sendsingle(9, &record, 0, 0);
       }},
      {"`M__sendbatch`, but the allocator refuses the block",
       [&] {
         fake_osal::fail_allocation(1);
         return message_.sendbatch(9, &record, 1, 0);
       }},
      {"`M__sendbatch` of more than 65,536 bytes (of a type with pointers)",
       [&] { return message_.sendbatch(9, many.data(), static_cast<uint32_t>(many.size()), 0); }},
      {"`M__sendmsg` of no records", [&] { return message_.sendmsg(9, &record, 0); }},
      {"`M__sendmsg`, but the mesh answers 17",
       [&] {
         fake_mesh::set_send_result(refused_with);
         return message_.sendmsg(9, &record, 1);
       }},
      {"`<module>_recv_init`, but the mesh answers 17 to one of the messages",
       [&] {
         fake_mesh::refuse_registration(3, refused_with);
         return fib6_recv_init();
       }},
      {"`<module>_send_init`, but the mesh answers 17",
       [&] {
         fake_mesh::set_clean_result(refused_with);
         return fib6_send_init();
       }},
  };
  std::set<std::string> done;
  for (const table_row &row : documents::table_of(log_document, {"operation", "result"})) {
    SCOPED_TRACE(std::string(log_document) + ":" + std::to_string(row.line) + ": " + row.cells[0]);
    ASSERT_EQ(operations.count(row.cells[0]), 1U) << "no test does this";
    fake_osal::reset();
    fake_mesh::reset();
    const std::string result = unquoted(row.cells[1]);
    EXPECT_EQ(operations.at(row.cells[0])(), static_cast<uint32_t>(std::stoul(result, nullptr, 0)));
    EXPECT_TRUE(fake_osal::log_lines().empty());
    EXPECT_EQ(fake_mesh::sends().size(), result == "17" && row.cells[0][1] == 'M' ? 1U : 0U);
    done.insert(row.cells[0]);
  }
  EXPECT_EQ(done.size(), operations.size()) << "the document lacks one";
}

} // namespace
