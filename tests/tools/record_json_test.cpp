// Records as JSON: what is written, what may be read, and what is said of all else.
//
// Room: tests.
#include "tools/record_json.h"

#include "tests/wire/golden_cases.h"
#include "tools/lookup.h"

#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>

namespace golden {
namespace {

using mesh_fib6::tools::address_members;
using mesh_fib6::tools::byte_source;
using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::find_message;
using mesh_fib6::tools::json_style;
using mesh_fib6::tools::record_reader;
using mesh_fib6::tools::record_writer;
using outcome = record_reader::outcome;

template <class M>
const message_descriptor &of_type() {
  return *find_message(mesh_fib6::operations<M>::name).message;
}

std::string written(const message_descriptor &message, const void *record,
                    json_style style = json_style::line, const char *address = nullptr) {
  address_members addresses;
  if (address != nullptr) {
    EXPECT_TRUE(addresses.add(*message.table, address)) << address;
  }
  record_writer writer(*message.table, style, addresses);
  writer.write(record);
  return std::string(writer.text());
}

// What is said of a text that holds no record.
std::string complaint(const message_descriptor &message, std::string_view text) {
  byte_source source(text, "text");
  record_reader reader(*message.table, source);
  while (reader.next() == outcome::record)
    ;
  return reader.problem();
}

using RecordJson = EachMessage;
INSTANTIATE_TEST_SUITE_P(EveryMessage, RecordJson, testing::ValuesIn(messages()), name_of);

TEST_P(RecordJson, GivesTheRecordThatWasWritten) {
  random_record::generator random(1);
  for (int i = 0; i < 20; i++) {
    const random_record::owned_record record =
        random_record::make(*message().table, random, random_record::density{});
    for (const json_style style : {json_style::line, json_style::indented})
      for (const char *const address : {static_cast<const char *>(nullptr), "*"}) {
        const std::string text = written(message(), record.get(), style, address);
        byte_source source(text, "text");
        record_reader reader(*message().table, source);
        ASSERT_EQ(reader.next(), outcome::record) << reader.problem() << "\n" << text;
        EXPECT_EQ(random_record::difference(*message().table, record.get(), reader.record()), "")
            << text;
        EXPECT_EQ(reader.next(), outcome::end);
      }
  }
}

TEST_P(RecordJson, ThatIsCutAnywhereIsNoRecord) {
  random_record::generator random(2);
  const random_record::owned_record record =
      random_record::make(*message().table, random, random_record::density{});
  const std::string text = written(message(), record.get());
  for (size_t size = 1; size + 1 < text.size(); size++)
    EXPECT_NE(complaint(message(), std::string_view(text).substr(0, size)), "") << size;
}

feiBrokerFib6_ipv6Fwd a_route() {
  feiBrokerFib6_ipv6Fwd route{};
  route.f1 = 4294967295;
  route.f3[0] = 0xB80D0120; // 2001:db8:: in network order
  route.f4 = 32;
  return route;
}

TEST(RecordAsJson, HasTheMembersNamesAndAnArrayForAVector) {
  feiBrokerFib6_ipv6Fwd route = a_route();
  const feiBrokerFib6_ipv6FwdUpdateMsg record{.f0 = 7, .f1_count = 1, .f1 = &route};
  EXPECT_EQ(written(of_type<feiBrokerFib6_ipv6FwdUpdateMsg>(), &record),
            R"({"f0":7,"f1":[{"f0":0,"f1":4294967295,"f2":0,"f3":[3087860000,0,0,0],"f4":32,)"
            R"("f5":0,"f6":0,"f7":0,"f8":0,"f9":0,"f10":0,"f11":0,"f12":0,"f13":0}]})"
            "\n");
}

TEST(RecordAsJson, ShowsAnAddressBesideItsWordsWhenItIsAsked) {
  feiBrokerFib6_ipv6Fwd route = a_route();
  const feiBrokerFib6_ipv6FwdUpdateMsg record{.f0 = 7, .f1_count = 1, .f1 = &route};
  const message_descriptor &message = of_type<feiBrokerFib6_ipv6FwdUpdateMsg>();
  for (const char *const path : {"f1.f3", "*"})
    EXPECT_NE(written(message, &record, json_style::line, path)
                  .find(R"("f3":[3087860000,0,0,0],"f3_ipv6":"2001:db8::","f4":32)"),
              std::string::npos);
  address_members addresses;
  for (const char *const path : {"", "f0", "f1", "f3", "f1.f4", "f1.f3.f0", "f1.", "f9.f3"})
    EXPECT_FALSE(addresses.add(*message.table, path)) << path;
}

// The route that a text says, all else being zero.
void expect_route(std::string_view text, const feiBrokerFib6_ipv6Fwd &expected) {
  byte_source source(text, "text");
  record_reader reader(*of_type<feiBrokerFib6_ipv6FwdUpdateMsg>().table, source);
  ASSERT_EQ(reader.next(), outcome::record) << reader.problem();
  const auto &record = *static_cast<const feiBrokerFib6_ipv6FwdUpdateMsg *>(reader.record());
  ASSERT_EQ(record.f1_count, 1U);
  EXPECT_EQ(std::memcmp(record.f1, &expected, sizeof expected), 0);
}

TEST(RecordFromJson, MayHaveAddressesAndHexadecimalNumbersInTheirPlaces) {
  const feiBrokerFib6_ipv6Fwd route = a_route();
  expect_route(R"({"f1":[{"f1":4294967295,"f3":[3087860000,0,0,0],"f4":32}]})", route);
  expect_route(R"({"f1":[{"f1":"0xffffffff","f3":["0xB80D0120","0",0,0],"f4":"0x20"}]})", route);
  expect_route(R"({"f1":[{"f4":32,"f3":"2001:db8::","f1":"4294967295"}]})", route);
  expect_route(R"({"f1":[{"f4":32,"f3_ipv6":"2001:db8::","f1":4294967295}]})", route);
  expect_route(R"({"f1":[{"f4":32,"f3_ipv6":"2001:DB8:0::0","f1":4294967295,)"
               R"("f3":[3087860000,0,0,0]}]})",
               route);
}

TEST(RecordFromJson, LeavesOutWhatIsZeroOrEmpty) {
  byte_source source("{}\n\n{\"f0\":1,\"f1\":[]} {\"f1\":[{}, {\"f0\":1}]}", "text");
  record_reader reader(*of_type<feiBrokerFib6_ipv6FwdUpdateMsg>().table, source);
  const auto record = [&] {
    return static_cast<const feiBrokerFib6_ipv6FwdUpdateMsg *>(reader.record());
  };
  ASSERT_EQ(reader.next(), outcome::record);
  EXPECT_EQ(record()->f0, 0U);
  EXPECT_EQ(record()->f1, nullptr);
  ASSERT_EQ(reader.next(), outcome::record);
  EXPECT_EQ(record()->f0, 1U);
  EXPECT_EQ(record()->f1_count, 0U);
  EXPECT_EQ(record()->f1, nullptr);
  ASSERT_EQ(reader.next(), outcome::record);
  EXPECT_EQ(record()->f0, 0U) << "nothing is left of the record before";
  ASSERT_EQ(record()->f1_count, 2U);
  EXPECT_EQ(record()->f1[0].f0, 0U);
  EXPECT_EQ(record()->f1[1].f0, 1U);
  EXPECT_EQ(reader.next(), outcome::end);
  EXPECT_EQ(reader.next(), outcome::end);
}

TEST(RecordFromJson, ThatIsNoneSaysWhereAndWhatWasExpected) {
  const message_descriptor &routes = of_type<feiBrokerFib6_ipv6FwdUpdateMsg>();
  const auto of = [&](std::string_view text) { return complaint(routes, text); };
  const std::string object = "expected an object with the members of feiBrokerFib6_ipv6";
  EXPECT_EQ(of("5"), "line 1: " + object + "FwdUpdateMsg, found 5");
  EXPECT_EQ(of("[]"), "line 1: " + object + "FwdUpdateMsg, found an array");
  EXPECT_EQ(of("\n{\"f0\":4294967296}"),
            "line 2: f0: expected an integer from 0 to 4294967295, found 4294967296");
  for (const char *const found : {"-1", "1.0", "1e3", "18446744073709551616", "null", "true", "{}"})
    EXPECT_EQ(of(std::string("{\"f0\":") + found + "}"),
              std::string("line 1: f0: expected an integer from 0 to 4294967295, found ") +
                  (found == std::string("{}") ? "an object" : found));
  for (const char *const found : {"", "0x", "x", " 1", "1 ", "0x100000000", "0b1"})
    EXPECT_EQ(of(std::string("{\"f0\":\"") + found + "\"}"),
              std::string("line 1: f0: expected an integer from 0 to 4294967295, found '") + found +
                  "'");
  EXPECT_EQ(of(R"({"f1":{}})"), "line 1: f1: expected an array of objects, found an object");
  EXPECT_EQ(of(R"({"f1":"ab"})"), "line 1: f1: expected an array of objects, found 'ab'");
  EXPECT_EQ(of(R"({"f1":[{},5]})"), "line 1: f1[1]: " + object + "Fwd, found 5");
  EXPECT_EQ(of(R"({"f1":[[]]})"), "line 1: f1[0]: " + object + "Fwd, found an array");
  EXPECT_EQ(of(R"({"f1":[{},{"f4":256}]})"),
            "line 1: f1[1].f4: expected an integer from 0 to 255, found 256");
  EXPECT_EQ(of(R"({"f1":[{"f3":[1,2,3]}]})"), "line 1: f1[0].f3: expected 4 numbers, found 3");
  EXPECT_EQ(of(R"({"f1":[{"f3":[1,2,3,4,5]}]})"),
            "line 1: f1[0].f3[4]: expected 4 numbers, found more");
  EXPECT_EQ(of(R"({"f1":[{"f3":[1,{}]}]})"),
            "line 1: f1[0].f3[1]: expected an integer from 0 to 4294967295, found an object");
  EXPECT_EQ(of(R"({"f1":[{"f3":7}]})"),
            "line 1: f1[0].f3: expected an array of 4 integers or an IPv6 address, found 7");
  EXPECT_EQ(
      of(R"({"f1":[{"f3":"1.2.3.4"}]})"),
      "line 1: f1[0].f3: expected an array of 4 integers or an IPv6 address, found '1.2.3.4'");
  EXPECT_EQ(of(R"({"f1":[{"f3_ipv6":[1]}]})"),
            "line 1: f1[0].f3_ipv6: expected an IPv6 address, found an array");
  EXPECT_EQ(of(R"({"f1":[{"f3_ipv6":"::\u0000"}]})"),
            "line 1: f1[0].f3_ipv6: expected an IPv6 address, found '::\\x00'");
  EXPECT_EQ(of(R"({"f1":[{"f3":"::1","f3_ipv6":"::2"}]})"),
            "line 1: f1[0].f3_ipv6: not the same as f3");
  EXPECT_EQ(of(R"({"f1":[{"f3_ipv6":"::2","f3":[0,0,0,1]}]})"),
            "line 1: f1[0].f3: not the same as f3_ipv6");
  EXPECT_EQ(of(R"({"f0":1,"f0":1})"), "line 1: f0: expected it once, found it twice");
  EXPECT_EQ(of(R"({"f1":[],"f1":[]})"), "line 1: f1: expected it once, found it twice");
  EXPECT_EQ(of(R"({"f2":1})"),
            "line 1: feiBrokerFib6_ipv6FwdUpdateMsg has no member 'f2', only f0 to f1");
  EXPECT_EQ(of(R"({"f0_ipv6":"::"})"),
            "line 1: feiBrokerFib6_ipv6FwdUpdateMsg has no member 'f0_ipv6', only f0 to f1");
  EXPECT_EQ(of(R"({"f1":[{"f99":1}]})"),
            "line 1: f1[0]: feiBrokerFib6_ipv6Fwd has no member 'f99', only f0 to f13");
}

TEST(RecordFromJson, OfBytesNeedsPairsOfDigits) {
  const message_descriptor &query = of_type<fib6_cfg_query_fib6_key>();
  const auto of = [&](const std::string &value) {
    return complaint(query, "{\"f0\":{\"f2\":" + value + "}}");
  };
  EXPECT_EQ(of(R"("")"), "");
  EXPECT_EQ(of(R"("00ffAb")"), "");
  EXPECT_EQ(of(R"("0")"),
            "line 1: f0.f2: expected hexadecimal digits, found an odd number of characters");
  EXPECT_EQ(of(R"("000g")"), "line 1: f0.f2: expected hexadecimal digits, found '0g' at digit 2");
  EXPECT_EQ(of("[1]"), "line 1: f0.f2: expected hexadecimal digits, found an array");

  const message_descriptor &keys = of_type<feiBrokerFib6_ipv6FwdDelMsg>();
  EXPECT_EQ(complaint(keys, R"({"f1":[{"f4":"0102ff"}]})"), "");
  EXPECT_EQ(complaint(keys, R"({"f1":[{"f4":"0102"}]})"),
            "line 1: f1[0].f4: expected 6 hexadecimal digits, found 4 characters");
}

TEST(RecordFromJson, ThatIsNoJsonIsRefusedByThePlace) {
  const message_descriptor &message = of_type<feiBrokerFib6_ipv6FwdUpdateMsg>();
  EXPECT_EQ(complaint(message, "{\"f0\":1,}"),
            "line 1: expected JSON: Missing a name for object member. At byte 8.");
  EXPECT_EQ(complaint(message, "{}\n{\n"),
            "line 3: expected JSON: Missing a name for object member. At byte 5.");
  EXPECT_EQ(complaint(message, "nul"), "line 1: expected JSON: Invalid value. At byte 3.");
  EXPECT_NE(complaint(message, "{\"f0\xFF\":1}"), "");
  EXPECT_NE(complaint(message, std::string_view("{}\0{}", 5)), "");
  // However deep: the first value that is not expected ends it.
  EXPECT_EQ(complaint(message, "{\"f1\":[" + std::string(1000000, '[')),
            "line 1: f1[0]: expected an object with the members of feiBrokerFib6_ipv6Fwd, found an "
            "array");
}

} // namespace
} // namespace golden
