// What people type and paste: names of messages, dumps of bytes, frames.
//
// Room: tests.
#include "tools/frame.h"
#include "tools/hex_text.h"
#include "tools/lookup.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace mesh_fib6::tools;
using bytes = std::vector<uint8_t>;

// ---- names ----

std::string name_found(std::string_view text) {
  const found_message found = find_message(text);
  return found.message != nullptr ? found.message->name : found.problem;
}

TEST(MessageName, MayBeWholeOrByItsModuleOrAnEndOrTheIdentifier) {
  for (const char *const text :
       {"feiBrokerFib6_ipv6FwdUpdateMsg", "feiBrokerFib6.ipv6FwdUpdateMsg", "fib6.ipv6FwdUpdateMsg",
        "BrokerFib6_ipv6FwdUpdateMsg", "brokerfib6_IPV6fwdupdatemsg", "0x5026A923", "0x5026a923",
        "0X5026A923"})
    EXPECT_EQ(name_found(text), "feiBrokerFib6_ipv6FwdUpdateMsg") << text;
  EXPECT_EQ(name_found("pidStateMsg"), "feiBrokerFib6_pidStateMsg");
}

TEST(MessageName, OfEveryMessageIsFoundInEveryForm) {
  for_each_message([](const message_descriptor &message) {
    EXPECT_EQ(find_message(message.name).message, &message);
    EXPECT_EQ(find_message(std::string(message.module) + "." + message.message).message, &message);
    EXPECT_EQ(find_message(id_text(message.id)).message, &message);
    EXPECT_EQ(find_message(message.id), &message);
  });
}

TEST(MessageName, ThatSeveralHaveIsRefusedWithAllOfThem) {
  EXPECT_EQ(name_found("ipv6FwdUpdateMsg"),
            "'ipv6FwdUpdateMsg' may be any of feiBrokerFib6_ipv6FwdUpdateMsg, "
            "fib6Sync_ipv6FwdUpdateMsg");
}

TEST(MessageName, ThatNobodyHasIsRefusedWithTheNearest) {
  EXPECT_EQ(name_found("pidStatMsg"), "unknown message 'pidStatMsg'; did you mean 'pidStateMsg'?");
  EXPECT_EQ(
      name_found("feiBrokerFib6_pidStateMgs"),
      "unknown message 'feiBrokerFib6_pidStateMgs'; did you mean 'feiBrokerFib6_pidStateMsg'?");
  EXPECT_EQ(name_found("pidState"), "unknown message 'pidState'; did you mean "
                                    "'feiBrokerFib6_pidStateMsg' or 'pidStateMsg'?");
  EXPECT_EQ(name_found("xyzzy"), "unknown message 'xyzzy'");
  EXPECT_EQ(name_found(""), "expected a message's name or identifier, found nothing");
  EXPECT_EQ(name_found("0x12345678"), "no message has the identifier 0x12345678");
  for (const char *const text : {"12", "0x", "0x1g", "0x123456789"})
    EXPECT_EQ(name_found(text), std::string("expected a name or an identifier like 0x1234ABCD, "
                                            "found '") +
                                    text + "'");
  EXPECT_EQ(name_found(std::string(100000, 'a')).substr(0, 20), "unknown message 'aaa");
}

// ---- dumps ----

// The bytes, or "line:column: what".
std::string read(std::string_view text) {
  const hex_bytes read = read_hex(text);
  if (read.problem)
    return std::to_string(read.problem->line) + ":" + std::to_string(read.problem->column) + ": " +
           read.problem->what;
  return hex_of(read.bytes.data(), read.bytes.size());
}

TEST(HexText, MayBeDigitsWithAndWithoutWhatPartsThem) {
  for (const char *const text :
       {"0c000000", "0C 00 00 00", "0c00 0000\n", "  0x0c, 0x00,\n\t0x00,0x00", "0c,00,00,00",
        "# a comment\n\n0c 00\r\n  # another\n00 00\r\n"})
    EXPECT_EQ(read(text), "0c 00 00 00") << text;
  EXPECT_EQ(read(""), "");
  EXPECT_EQ(read("\n # only this\n"), "");
}

constexpr const char *twenty = "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 61";

TEST(HexText, MayBeADumpOfXxd) {
  EXPECT_EQ(read("00000000: 0001 0203 0405 0607 0809 0a0b 0c0d 0e0f  ................\n"
                 "00000010: 1011 1261                                ...a\n"),
            twenty);
}

TEST(HexText, MayBeADumpOfHexdump) {
  EXPECT_EQ(read("00000000  00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f  |................|\n"
                 "00000010  10 11 12 61                                       |...a|\n"
                 "00000014\n"),
            twenty);
}

TEST(HexText, MayBeADumpOfTcpdump) {
  EXPECT_EQ(read("\t0x0000:  0001 0203 0405 0607 0809 0a0b 0c0d 0e0f\n"
                 "\t0x0010:  1011 1261\n"),
            twenty);
  EXPECT_EQ(read("\t0x0030:  0001 0203 0405 0607 0809 0a0b 0c0d 0e0f  ................\n"
                 "\t0x0040:  1011 1261                                ...a\n"),
            twenty);
}

TEST(HexText, MayBeWhatExplainPrints) {
  EXPECT_EQ(read("# a message\n"
                 " 0 | 0c 00 00 00                         | root offset 12\n"
                 " 4 | 08 00                               | root vtable size 8: 2 slots\n"
                 " 6 | 00                                  | unreferenced  <- x | y\n"),
            "0c 00 00 00 08 00 00");
}

TEST(HexText, RepeatsTheLineThatAStarStandsFor) {
  EXPECT_EQ(read("00000000  01 02 03 04\n*\n0000000c  05 06 07 08\n00000010\n"),
            "01 02 03 04 01 02 03 04 01 02 03 04 05 06 07 08");
  EXPECT_EQ(read("00000000: 0102\n*\n00000005: 03\n"), "3:1: expected offset 4, found 5");
  EXPECT_EQ(read("00000000: 0102\n*\nffffffff0: 03\n"),
            "3:1: expected * to stand for at most 1048576 bytes, found offset 68719476720");
  EXPECT_EQ(read("00000000: 0102\n*\n00000000: 03\n"), "3:1: expected offset 2, found 0");
  EXPECT_EQ(read("00000010: 0102\n*\n00000008: 03\n"), "3:1: expected offset 18, found 8");
  EXPECT_EQ(read("*\n00000002: 03\n"), "03");
}

TEST(HexText, ThatIsNoneSaysWhereAndWhy) {
  EXPECT_EQ(read("0c 0"), "1:4: expected a pair of hexadecimal digits, found '0' alone");
  EXPECT_EQ(read("0c\n 0g"), "2:2: expected a pair of hexadecimal digits, found '0' alone");
  EXPECT_EQ(read("hello"), "1:1: expected a pair of hexadecimal digits, found 'h'");
  EXPECT_EQ(read("0c \x80"), "1:4: expected a pair of hexadecimal digits, found byte 0x80");
  EXPECT_EQ(read("00000000: 0c00\n00000004: 0000\n"), "2:1: expected offset 2, found 4");
  EXPECT_EQ(read("0 | 0c 00 |\n3 | 00 00 |\n"), "2:1: expected offset 2, found 3");
  EXPECT_EQ(read("fffffffffffffffff: 00"), "1:1: expected an offset, found 'fffffffffffffffff'");
}

TEST(HexText, IsToldFromAMessageByItsBytes) {
  EXPECT_TRUE(looks_like_text("0c 00\n\t0x\r"));
  EXPECT_TRUE(looks_like_text(""));
  EXPECT_FALSE(looks_like_text(std::string_view("\x0c\0\0\0", 4)));
  EXPECT_FALSE(looks_like_text("caf\xc3\xa9"));
}

// ---- frames ----

std::string bytes_of(std::initializer_list<int> numbers) {
  std::string text;
  for (const int number : numbers)
    text += static_cast<char>(number);
  return text;
}

TEST(Frame, IsIdentifierAndLengthInLittleEndianOrderAndTheBytes) {
  std::string text;
  append_frame(text, 0x12345678, bytes{0xAA, 0xBB});
  append_frame(text, 1, bytes{});
  EXPECT_EQ(text,
            bytes_of({0x78, 0x56, 0x34, 0x12, 2, 0, 0, 0, 0xAA, 0xBB, 1, 0, 0, 0, 0, 0, 0, 0}));
  byte_source source(text, "text");
  frame_reader frames(source);
  ASSERT_EQ(frames.next(), frame_reader::outcome::frame);
  EXPECT_EQ(frames.number(), 1U);
  EXPECT_EQ(frames.at(), 0U);
  EXPECT_EQ(frames.id(), 0x12345678U);
  EXPECT_EQ(frames.bytes(), (bytes{0xAA, 0xBB}));
  ASSERT_EQ(frames.next(), frame_reader::outcome::frame);
  EXPECT_EQ(frames.number(), 2U);
  EXPECT_EQ(frames.at(), 10U);
  EXPECT_EQ(frames.bytes(), bytes{});
  EXPECT_EQ(frames.next(), frame_reader::outcome::end);
}

TEST(Frame, ThatIsCutOrTooLongSaysWhy) {
  const std::string good = bytes_of({1, 0, 0, 0, 2, 0, 0, 0, 0xAA, 0xBB});
  for (size_t size = 1; size < good.size(); size++) {
    byte_source source(std::string_view(good).substr(0, size), "text");
    frame_reader frames(source);
    EXPECT_EQ(frames.next(), frame_reader::outcome::bad);
    EXPECT_EQ(frames.problem(),
              size < 8 ? "expected 8 bytes of a frame's head, found " + std::to_string(size)
                       : "expected 2 bytes of a message, found " + std::to_string(size - 8));
    EXPECT_EQ(frames.next(), frame_reader::outcome::bad);
  }
  const std::string long_one = bytes_of({1, 0, 0, 0, 0, 0, 0, 0x80});
  byte_source source(long_one, "text");
  frame_reader frames(source);
  EXPECT_EQ(frames.next(), frame_reader::outcome::bad);
  EXPECT_EQ(frames.problem(), "expected a length of at most 2147483647, found 2147483648");
}

// ---- sources ----

TEST(ByteSource, GivesAFilesBytesOneByOneAndInBlocks) {
  char path[] = "/tmp/byte_source.XXXXXX";
  const int file = mkstemp(path);
  ASSERT_GE(file, 0);
  unlink(path);
  std::string text;
  for (int i = 0; i < 100000; i++)
    text += static_cast<char>(i * 7);
  ASSERT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  lseek(file, 0, SEEK_SET);
  byte_source source(file, "file");
  std::string found;
  for (int i = 0; i < 1000; i++)
    found += static_cast<char>(source.take());
  EXPECT_EQ(source.taken(), 1000U);
  const bytes block = source.take_bytes(98000);
  found.append(block.begin(), block.end());
  EXPECT_EQ(source.taken(), 99000U);
  while (source.peek() >= 0)
    found += static_cast<char>(source.take());
  EXPECT_EQ(found, text);
  EXPECT_EQ(source.take(), -1);
  EXPECT_EQ(source.error(), 0);
  close(file);
}

TEST(ByteSource, EndsWhereReadingFailsAndSaysSo) {
  const int folder = open("/", O_RDONLY | O_DIRECTORY);
  byte_source source(folder, "folder");
  EXPECT_EQ(source.take(), -1);
  EXPECT_EQ(source.error(), EISDIR);
  EXPECT_EQ(source.take_bytes(10), bytes{});
  close(folder);
}

} // namespace
