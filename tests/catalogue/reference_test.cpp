// Every message beside the second codec: what is packed and sent, and what is read from sound
// messages, from cut and from spoiled ones, in every byte order.
//
// Room: tests. What is expected comes from tests/reference, which knows the format's description
// and the descriptors and nothing of the codec. Records and defects follow from GoogleTest's seed,
// so that `catalogue --gtest_filter='AsTheReference.*' --gtest_shuffle --gtest_repeat=100` tries
// others.
#include "tests/catalogue/records.h"
#include "tests/reference/decoder.h"
#include "tests/reference/encoder.h"
#include "tests/wire/log_expectation.h"

#include <array>
#include <cstdio>
#include <functional>

using namespace catalogue;

namespace {

using random_record::below;
using random_record::generator;

constexpr random_record::density densities[] = {
    {.zero_percent = 0, .max_elements = 2, .max_bytes = 9},
    {.zero_percent = 30, .max_elements = 4, .pointers_to_empty = true},
    {.zero_percent = 80, .max_elements = 9, .pointers_to_empty = true},
    {.zero_percent = 15, .max_elements = 24, .max_bytes = 200},
};

reference::encoder &encoder() {
  static reference::encoder &instance = *new reference::encoder;
  return instance;
}

reference::root_form form_of(const message &message) {
  return message.form == root_form::table_form ? reference::root_form::table_form
                                               : reference::root_form::header_first;
}

std::string hexadecimal(const bytes &wire) {
  std::string text;
  std::array<char, 4> byte{};
  for (const uint8_t each : wire) {
    (void)snprintf(byte.data(), byte.size(), "%02x ", each);
    text += byte.data();
  }
  return text;
}

// One decode and what it had to be.
class comparison {
public:
  comparison(const message &message, const bytes &wire, uint32_t byte_swap, uint32_t refused)
      : message_(message), wire_(wire), decoded_(message, wire, byte_swap, refused),
        vectors_(reference::vectors_of(table_of(message))) {
    if (wire.size() < 4) {
      compare_refusal();
      return;
    }
    static reference::decoder &reader = *new reference::decoder;
    const reference::expectation &expected =
        reader.decode(table_of(message), form_of(message),
                      {wire.data(), static_cast<uint32_t>(wire.size()), byte_swap, refused});
    compare_line(expected);
    compare_calls(expected);
    compare_record(expected);
  }

  // Empty when all is as it should be.
  const std::string &difference() const { return difference_; }

private:
  void note(const std::string &what) { difference_ += what + "\n"; }

  void compare_refusal() {
    if (!decoded_.untouched())
      note("the record of refused parameters is touched");
    if (!decoded_.calls.empty())
      note("memory is asked for with refused parameters");
    expect_line(log_format::unpack_parameters,
                "[VARKO]:Param invalid(nonNull, " + std::to_string(wire_.size()) + ", nonNull)",
                std::string(message_.name) + "_unpack", 22);
  }

  void expect_line(const std::string &format, const std::string &text, const std::string &function,
                   uint32_t category) {
    if (decoded_.lines.size() != 1)
      return note(std::to_string(decoded_.lines.size()) + " lines are logged, expected one of " +
                  function + ": " + text);
    const fake_osal::log_line &line = decoded_.lines.front();
    if (line.format != format || line.message != text || line.function != function ||
        line.category != category)
      note("logged is " + line.function + ": " + line.message + ", expected " + function + ": " +
           text);
  }

  void compare_line(const reference::expectation &expected) {
    const std::string first = std::to_string(expected.line_first),
                      second = std::to_string(expected.line_second);
    const auto expect = [&](const char *format, const std::string &text, uint32_t category) {
      expect_line(format, "[VARKO]:" + text, std::string(expected.line_name) + expected.line_suffix,
                  category);
    };
    switch (expected.line) {
    case reference::line::none:
      if (!decoded_.lines.empty())
        note("logged is " + decoded_.lines.front().message + ", expected nothing");
      return;
    case reference::line::table_offset:
      return expect(log_format::table,
                    "Table offset(" + first + ") is out of range(4 - " + second + ")", 22);
    case reference::line::vtable_offset:
      return expect(log_format::vtable,
                    "Vtable offset(" + first + ") is out of range(4 - " + second + ")", 22);
    case reference::line::vtable_length:
      return expect(log_format::vtable_length,
                    "Vtable Len(" + first + ") is out of range(0 - " + second + ")", 22);
    case reference::line::no_memory:
      return expect(log_format::allocation, "Malloc unpack data unsuccess, size(" + first + ")",
                    12);
    }
  }

  // The requests in their order; after a failure every granted block has gone back, once.
  void compare_calls(const reference::expectation &expected) {
    const bool failed = expected.ending != reference::ending::decoded;
    std::vector<std::string> wanted, found, given_back, to_be_given_back;
    for (uint32_t i = 0; i < expected.request_count; i++) {
      const reference::vector_place &place = vectors_.of[expected.requests[i].vector];
      wanted.push_back(std::to_string(expected.requests[i].size) + " for module 12 under " +
                       place.owner->name + (place.embedded ? "_unpack_non_root" : "_unpack"));
    }
    for (const fake_osal::call &call : decoded_.calls) {
      const std::string text = std::to_string(call.size) + " for module " +
                               std::to_string(call.module) + " under " + call.caller;
      if (call.kind == fake_osal::call_kind::free) {
        given_back.push_back(text);
        continue;
      }
      if (call.kind != fake_osal::call_kind::cache_alloc || !given_back.empty())
        note("a request of another kind, or after a release: " + text);
      if (failed && call.block != nullptr && found.size() < expected.request_count)
        to_be_given_back.push_back(std::to_string(call.size) + " for module 12 under " +
                                   vectors_.of[expected.requests[found.size()].vector].owner->name +
                                   "_free_unpacked");
      found.push_back(text);
    }
    compare("requests", wanted, found);
    std::sort(given_back.begin(), given_back.end());
    std::sort(to_be_given_back.begin(), to_be_given_back.end());
    compare("releases", to_be_given_back, given_back);
  }

  void compare(const std::string &what, const std::vector<std::string> &wanted,
               const std::vector<std::string> &found) {
    if (wanted == found)
      return;
    std::string text = what + ":";
    for (const std::string &each : found)
      text += " " + each + ";";
    text += " expected:";
    for (const std::string &each : wanted)
      text += " " + each + ";";
    note(text);
  }

  // Members and elements byte by byte: what no member owns is zero.
  void compare_record(const reference::expectation &expected) {
    if (expected.ending == reference::ending::refused) {
      if (!decoded_.untouched())
        note("the record of a bad header is touched");
      return;
    }
    bytes record = decoded_.record_bytes();
    for (uint32_t i = 0; i < vectors_.count; i++)
      compare_vector(vectors_.of[i], expected.elements[i], record);
    for (uint32_t i = 0; i < message_.record_size; i++)
      if (record[i] != expected.record[i])
        return note("byte " + std::to_string(i) + " of the record is " + std::to_string(record[i]) +
                    ", expected " + std::to_string(expected.record[i]));
  }

  // Nulls the vector's pointer in the copy of the record.
  void compare_vector(const reference::vector_place &place, const uint8_t *elements,
                      bytes &record) {
    const void *pointer;
    uint32_t count;
    std::memcpy(&pointer, &record[place.pointer_at], sizeof pointer);
    std::memcpy(&count, &record[place.count_at], sizeof count);
    std::memset(&record[place.pointer_at], 0, sizeof pointer);
    const std::string where = "the vector at " + std::to_string(place.pointer_at);
    if ((pointer != nullptr) != (elements != nullptr))
      return note(where + (pointer == nullptr ? " has no elements" : " has elements"));
    if (pointer != nullptr && std::memcmp(pointer, elements, size_t{count} * place.width) != 0)
      note("an element of " + where + " has another value");
  }

  const message &message_;
  const bytes &wire_;
  decoding decoded_;
  reference::vector_list vectors_;
  std::string difference_;
};

void expect_read(const message &message, const bytes &wire, uint32_t byte_swap, const char *what,
                 uint32_t refused = 0) {
  const comparison compared(message, wire, byte_swap, refused);
  if (!compared.difference().empty())
    ADD_FAILURE() << compared.difference() << what << ", byte order " << byte_swap << ", request "
                  << refused << " refused, " << wire.size() << " bytes: " << hexadecimal(wire);
}

// A message as it may travel.
struct travelling {
  const catalogue::message &message;
  bytes wire;
  uint32_t byte_swap;
};

class AsTheReference : public EveryMessage {
protected:
  // Calls check(message, record, byte order, random numbers) for records of several densities.
  template <class Check>
  static void each_record(Check check) {
    each([&check](const message &message) {
      auto choice = static_cast<uint64_t>(testing::UnitTest::GetInstance()->random_seed()) << 8;
      for (const random_record::density &density : densities)
        for (const uint32_t byte_swap : byte_orders) {
          generator random(uint64_t{message.id} << 32 | choice++);
          const owned_record record = random_record::make(table_of(message), random, density);
          check(message, record.get(), byte_swap, random);
        }
    });
  }

  // Likewise with the bytes of each record, in both arrangements where there are two.
  template <class Check>
  static void each_wire(Check check) {
    each_record([&check](const message &message, const void *record, uint32_t byte_swap,
                         generator &random) {
      check(travelling{message, compact(message, record, byte_swap), byte_swap}, random);
      if (!message.is_tree())
        check(travelling{message, fixed(message, record, byte_swap), byte_swap}, random);
    });
  }

  // What pointers to nothing add to the size is zero.
  static bytes compact(const message &message, const void *record, uint32_t byte_swap) {
    const auto encoded = encoder().compact(table_of(message), record, byte_swap);
    bytes result(encoded.bytes, encoded.bytes + encoded.written);
    result.resize(encoded.size);
    return result;
  }
  static bytes fixed(const message &message, const void *record, uint32_t byte_swap) {
    const auto encoded = encoder().fixed(table_of(message), record, byte_swap);
    return {encoded.bytes, encoded.bytes + encoded.written};
  }
};

TEST_F(AsTheReference, EveryRecordIsPacked) {
  each_record([](const message &message, const void *record, uint32_t byte_swap, generator &) {
    EXPECT_EQ(packed(message, record, byte_swap), compact(message, record, byte_swap))
        << "byte order " << byte_swap;
  });
}

TEST_F(AsTheReference, EveryRecordIsSent) {
  each_record([](const message &message, const void *record, uint32_t byte_swap, generator &) {
    EXPECT_EQ(sent(message, record, byte_swap), message.is_tree()
                                                    ? compact(message, record, byte_swap)
                                                    : fixed(message, record, byte_swap))
        << "byte order " << byte_swap;
  });
}

TEST_F(AsTheReference, EverySoundMessageIsRead) {
  each_wire([](const travelling &sound, generator &) {
    expect_read(sound.message, sound.wire, sound.byte_swap, "a sound message");
  });
}

TEST_F(AsTheReference, EveryMessageIsReadInByteOrdersThatAreNotItsOwn) {
  each_wire([](const travelling &sound, generator &) {
    for (const uint32_t other : byte_orders)
      if (other != sound.byte_swap)
        expect_read(sound.message, sound.wire, other, "a message in another byte order");
  });
}

TEST_F(AsTheReference, EveryWantOfMemoryIsReportedAndSurvived) {
  uint32_t refusals = 0;
  each_wire([&refusals](const travelling &sound, generator &) {
    const uint32_t vectors = reference::vectors_of(table_of(sound.message)).count;
    for (uint32_t request = 1; request <= vectors; request++, refusals++)
      expect_read(sound.message, sound.wire, sound.byte_swap, "a sound message", request);
  });
  EXPECT_GE(refusals, 100U);
}

TEST_F(AsTheReference, EveryCutMessageIsRead) {
  each_wire([](const travelling &sound, generator &random) {
    const auto size = static_cast<uint32_t>(sound.wire.size());
    // Among others each of the last bytes and of the first ones.
    for (uint32_t i = 0; i < 24; i++) {
      const uint32_t length = i < 5 ? size - 1 - i : i < 10 ? i - 3 : below(random, size);
      expect_read(sound.message, bytes(sound.wire.begin(), sound.wire.begin() + length),
                  sound.byte_swap, "a cut message");
    }
  });
}

TEST_F(AsTheReference, EveryMessageWithFlippedBitsIsRead) {
  each_wire([](const travelling &sound, generator &random) {
    bytes spoiled = sound.wire;
    for (uint32_t i = 0; i < 32; i++) {
      const uint32_t bit = below(random, 8 * static_cast<uint32_t>(spoiled.size()));
      spoiled[bit / 8] = static_cast<uint8_t>(spoiled[bit / 8] ^ 1U << bit % 8);
      expect_read(sound.message, spoiled, sound.byte_swap, "a message with a flipped bit");
      if (i % 4 != 3) // some have more than one
        spoiled[bit / 8] = sound.wire[bit / 8];
    }
  });
}

// A structural word and what becomes of it.
uint32_t spoiled_word(const reference::site &site, uint32_t old, uint32_t size, generator &random) {
  constexpr uint32_t edges[] = {0,          1,          2,          3,          4,
                                5,          6,          0x7FFF,     0xFFFF,     0x3FFFFFFF,
                                0x40000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFF};
  const uint32_t rest = size - site.at; // what leads right behind the end
  switch (below(random, 4)) {
  case 0:
    return edges[below(random, static_cast<uint32_t>(std::size(edges)))];
  case 1:
    return old + below(random, 17) - 8;
  case 2:
    return (site.role == reference::role::soffset ? 0 - rest : rest) + below(random, 13) - 8;
  default:
    return site.role == reference::role::count ? (rest + below(random, 13) - 8) / 4
                                               : below(random, size);
  }
}

TEST_F(AsTheReference, EveryMessageWhoseOffsetsAndCountsLieIsRead) {
  each_wire([](const travelling &sound, generator &random) {
    static reference::decoder::site_list sites;
    reference::decoder().list_sites(
        table_of(sound.message),
        {sound.wire.data(), static_cast<uint32_t>(sound.wire.size()), sound.byte_swap, 0}, sites);
    for (uint32_t i = 0; i < 32; i++) {
      const reference::site &site = sites.of[below(random, sites.count)];
      const bool is_short =
          site.role == reference::role::vtable_size || site.role == reference::role::vtable_entry;
      wire_builder spoiled(sound.wire, sound.byte_swap != 0 ? wire_builder::order::big
                                                            : wire_builder::order::little);
      const uint32_t old = is_short ? spoiled.u16_at(site.at) : spoiled.u32_at(site.at);
      const uint32_t word =
          spoiled_word(site, old, static_cast<uint32_t>(sound.wire.size()), random);
      if (is_short)
        spoiled.set_u16(site.at, word);
      else
        spoiled.set_u32(site.at, word);
      expect_read(sound.message, spoiled.bytes(), sound.byte_swap, "a message that lies");
    }
  });
}

} // namespace
