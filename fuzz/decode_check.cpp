// One decoding, watched; see decode_check.h.
//
// Room: attacks.
#include "fuzz/decode_check.h"

#include "fuzz/exact_copy.h"
#include "fuzz/finding.h"
#include "fuzz/platform.h"
#include "tests/reference/decoder.h"

#include <cstring>

namespace fuzz {
namespace {

using misuse = enum circumstances::misuse;
using reference::ending;
using reference::expectation;
using reference::line;

constexpr uint8_t untouched = 0xA5;

constexpr const char *formats[] = {
    nullptr,
    "[VARKO]:Table offset(%u) is out of range(4 - %u)",
    "[VARKO]:Vtable offset(%u) is out of range(4 - %u)",
    "[VARKO]:Vtable Len(%u) is out of range(0 - %u)",
    "[VARKO]:Malloc unpack data unsuccess, size(%u)",
};

reference::decoder reader;
outcome last;

depth depth_of(ending ending) {
  return ending == ending::refused  ? depth::refused
         : ending == ending::failed ? depth::failed
                                    : depth::decoded;
}

class checked_decoding {
public:
  checked_decoding(const message &message, const uint8_t *bytes, uint32_t length,
                   const circumstances &around)
      : message_(message), bytes_(bytes), length_(length), around_(around) {}

  void run(record_visitor *visitor) {
    prepare();
    unpack();
    last = {&message_, depth::parameters, 0, 0, 0, 0};
    if (around_.misuse != misuse::none || length_ < 4)
      return check_refused_parameters();
    const expectation &expected =
        reader.decode(*message_.table, message_.form,
                      {bytes_, length_, around_.byte_swap, around_.refused_request});
    check_line(expected);
    check_requests(expected);
    check_record(expected);
    if (expected.ending == ending::decoded && visitor != nullptr)
      visitor->visit(message_.storage);
    check_release(expected);
    last = {&message_,
            depth_of(expected.ending),
            static_cast<uint32_t>(expected.line),
            expected.line == line::none ? 0 : expected.line_first,
            expected.line == line::none ? 0 : expected.line_second,
            expected.request_count};
  }

private:
  void prepare() {
    memset(message_.storage, untouched, message_.record_size);
    message_.set_byte_swap(around_.byte_swap);
    platform::begin();
    platform::now.refused_request = around_.refused_request;
  }

  void unpack() {
    const exact_copy copy(bytes_, length_, around_.odd_address);
    const uint8_t *const buffer = around_.misuse == misuse::null_buffer ? nullptr : copy.bytes();
    const uint32_t length =
        around_.misuse == misuse::negative_length ? length_ | 0x80000000 : length_;
    void *const record = around_.misuse == misuse::null_record ? nullptr : message_.storage;
    const uint32_t result = message_.unpack(buffer, length, record);
    if (result != message_.record_size)
      found("%s__unpack returned %u, not %u", message_.name, result, message_.record_size);
  }

  bool record_is_untouched() const {
    uint8_t expected[max_record_size];
    memset(expected, untouched, sizeof expected);
    return memcmp(message_.storage, expected, message_.record_size) == 0;
  }

  void check_refused_parameters() {
    const platform::log_line &logged = platform::now.line;
    const bool negative = around_.misuse == misuse::negative_length;
    if (!record_is_untouched())
      found("%s: refused parameters, but the record was written", message_.name);
    if (platform::now.block_count != 0)
      found("%s: refused parameters, but memory was asked for", message_.name);
    if (platform::now.line_count != 1 || logged.category != 22 ||
        !is_name(logged.function, message_.name, "_unpack") ||
        strcmp(logged.format, "[VARKO]:Param invalid(%s, %d, %s)") != 0 ||
        logged.first != (negative ? length_ | 0x80000000 : length_) ||
        logged.buffer_given != (around_.misuse != misuse::null_buffer) ||
        logged.record_given != (around_.misuse != misuse::null_record))
      found("%s: refused parameters are logged in other words", message_.name);
  }

  void check_line(const expectation &expected) {
    const platform::log_line &logged = platform::now.line;
    if (platform::now.line_count != (expected.line == line::none ? 0 : 1))
      return found("%s: %u lines logged, expected \"%s\"", message_.name, platform::now.line_count,
                   expected.line == line::none ? "" : formats[static_cast<int>(expected.line)]);
    if (expected.line == line::none)
      return;
    if (strcmp(logged.format, formats[static_cast<int>(expected.line)]) != 0)
      found("%s: logged \"%s\", expected \"%s\"", message_.name, logged.format,
            formats[static_cast<int>(expected.line)]);
    if (!is_name(logged.function, expected.line_name, expected.line_suffix))
      found("%s: logged under %s, expected %s%s", message_.name, logged.function,
            expected.line_name, expected.line_suffix);
    if (logged.first != expected.line_first || logged.second != expected.line_second)
      found("%s: logged \"%s\" with %u, %u, expected %u, %u", message_.name, logged.format,
            logged.first, logged.second, expected.line_first, expected.line_second);
    if (logged.category != (expected.line == line::no_memory ? 12U : 22U))
      found("%s: logged \"%s\" with category %u", message_.name, logged.format, logged.category);
  }

  // Every request as expected; what was granted is live exactly when decoding succeeded.
  void check_requests(const expectation &expected) {
    const uint32_t count = platform::now.block_count;
    if (count != expected.request_count)
      return found("%s: %u requests for memory, expected %u", message_.name, count,
                   expected.request_count);
    uint64_t total = 0;
    for (uint32_t i = 0; i < count; i++) {
      const platform::block &block = platform::now.blocks[i];
      const expectation::request &request = expected.requests[i];
      const reference::vector_place &place = message_.vectors.of[request.vector];
      total += block.size;
      if (block.size != request.size)
        found("%s: request %u is for %u bytes, expected %u", message_.name, i, block.size,
              request.size);
      if (block.module != 12 || !block.from_cache ||
          !is_name(block.tag, place.owner->name, place.embedded ? "_unpack_non_root" : "_unpack"))
        found("%s: request %u is for module %u under %s", message_.name, i, block.module,
              block.tag);
      if (block.address != nullptr && block.live != (expected.ending == ending::decoded))
        found("%s: block %u is %s", message_.name, i, block.live ? "leaked" : "gone too early");
      check_released(block, place);
    }
    if (total > uint64_t{message_.amplification()} * length_)
      found("%s: %llu bytes allocated for %u received", message_.name,
            static_cast<unsigned long long>(total), length_);
  }

  void check_released(const platform::block &block, const reference::vector_place &place) {
    if (block.release_tag != nullptr &&
        (block.release_module != 12 ||
         !is_name(block.release_tag, place.owner->name, "_free_unpacked")))
      found("%s: a block is released for module %u under %s", message_.name, block.release_module,
            block.release_tag);
  }

  // Members and elements, byte by byte: what no member owns is zero.
  void check_record(const expectation &expected) {
    if (expected.ending == ending::refused) {
      if (!record_is_untouched())
        found("%s: a bad header, but the record was written", message_.name);
      return;
    }
    alignas(8) uint8_t record[max_record_size];
    memcpy(record, message_.storage, message_.record_size);
    uint32_t live = 0;
    for (uint32_t i = 0; i < message_.vectors.count; i++)
      live += check_vector(message_.vectors.of[i], expected.elements[i], record) ? 1 : 0;
    if (live != platform::now.live_blocks())
      found("%s: %u blocks are live, the record holds %u", message_.name,
            platform::now.live_blocks(), live);
    check_members(record, expected);
  }

  // Whether the vector holds a block. Nulls its pointer in the copy of the record.
  bool check_vector(const reference::vector_place &place, const uint8_t *elements,
                    uint8_t *record) {
    void *pointer;
    memcpy(&pointer, record + place.pointer_at, sizeof pointer);
    memset(record + place.pointer_at, 0, sizeof pointer);
    if ((pointer != nullptr) != (elements != nullptr)) {
      found("%s: the pointer at %u is %s", message_.name, place.pointer_at,
            pointer == nullptr ? "null" : "not null");
      return false;
    }
    if (pointer == nullptr)
      return false;
    const platform::block *const block = platform::now.block_at(pointer);
    if (block == nullptr) {
      found("%s: the pointer at %u leads to no live block", message_.name, place.pointer_at);
      return false;
    }
    uint32_t count;
    memcpy(&count, record + place.count_at, sizeof count);
    if (block->size != count * place.width)
      found("%s: %u elements in a block of %u bytes", message_.name, count, block->size);
    else if (memcmp(pointer, elements, block->size) != 0)
      found("%s: an element of the vector at %u has another value", message_.name,
            place.pointer_at);
    return true;
  }

  void check_members(const uint8_t *record, const expectation &expected) {
    for (uint32_t i = 0; i < message_.record_size; i++)
      if (record[i] != expected.record[i])
        return found("%s: byte %u of the record is 0x%02X, expected 0x%02X", message_.name, i,
                     record[i], expected.record[i]);
  }

  void check_release(const expectation &expected) {
    if (expected.ending == ending::refused && message_.is_tree())
      return; // its pointers are not ours
    message_.free_unpacked(message_.storage);
    const uint32_t releases = platform::now.releases;
    for (uint32_t i = 0; i < platform::now.block_count; i++) {
      const platform::block &block = platform::now.blocks[i];
      if (block.live)
        found("%s: releasing left block %u", message_.name, i);
      check_released(block, message_.vectors.of[expected.requests[i].vector]);
    }
    // Pointers are null, everything else is as it was.
    if (expected.ending == ending::refused
            ? !record_is_untouched()
            : memcmp(message_.storage, expected.record.data(), message_.record_size) != 0)
      found("%s: releasing changed more than pointers, or left one", message_.name);
    message_.free_unpacked(message_.storage);
    if (platform::now.releases != releases)
      found("%s: releasing twice released something twice", message_.name);
  }

  const message &message_;
  const uint8_t *bytes_;
  uint32_t length_;
  const circumstances &around_;
};

} // namespace

void check_decode(const message &message, const uint8_t *bytes, uint32_t length,
                  const circumstances &around, record_visitor *visitor) {
  checked_decoding(message, bytes, length, around).run(visitor);
}

outcome take_outcome() {
  const outcome taken = last;
  last.message = nullptr;
  return taken;
}

} // namespace fuzz
