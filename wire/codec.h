// The entrance to the codec: what a message type's exports and the send operations are made of.
//
// Room: wire. The only header of this room that transport/ and modules/ include, beside the
// vocabulary in wire/format/schema.h.
//
// Each operation asks once whether the unit is bound and its byte order is the common one. If so
// the quick path does the work; whatever it declines, a unit's first use and the reversed orders go
// to the general codec. What comes out is the same.
#pragma once

#include "wire/general/message.h"
#include "wire/quick/fixed_image.h"
#include "wire/quick/flat_reader.h"
#include "wire/quick/release.h"
#include "wire/quick/sizer.h"
#include "wire/quick/table_writer.h"
#include "wire/quick/tree_reader.h"

namespace mesh_fib6::wire {

// When the header of a message's root table is checked; see general/message.h.
enum class root_form : uint8_t { header_first, table };

// Whether the unit is bound and stores values as memory does. Who asks again may be told otherwise:
// another thread can bind the unit in between.
[[gnu::always_inline]] inline bool is_common(const runtime::unit &unit) {
  return __builtin_expect(runtime::is_cache_bound(unit) && byte_swap_of(unit) == 0, true);
}

// Encoded size of the message whose Record is at `record`. 0 when it cannot be encoded: no record,
// or more than 32 bits can say.
template <class Record>
[[gnu::noinline]] uint32_t message_size(const void *record) {
  return record != nullptr ? compact_size(*static_cast<const Record *>(record)) : 0;
}

// The write pass of a message for which there is room; returns the bytes written.
template <class Record>
[[gnu::noinline]] uint32_t write(uint8_t *buffer, const void *record) {
  return write_message(buffer, *static_cast<const Record *>(record));
}

// Whether a message fits into so many bytes whatever its scalars are. A byte vector's size may be
// more than what is written, so what has one is always measured.
template <class Record>
[[gnu::always_inline]] inline bool surely_fits(const Record &record, uint32_t room) {
  if constexpr (!has_byte_vector<Record>())
    return __builtin_expect(compact_bound(record) <= room, true);
  return false;
}

// Encodes a record that has to be measured, for all messages: the unit is bound, its order the
// common one, nothing null.
uint32_t pack_measured(const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *), uint32_t (*write)(uint8_t *, const void *));

// Encodes a record for a unit that is not bound or has another order, and says the size of one that
// comes without a buffer; for all messages.
uint32_t pack_uncommon(runtime::unit &unit, const general::table_info &root, const char *packing,
                       const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *));

// Encodes *record into a caller's buffer; see M__pack in mesh_fib6/message_api.h for the contract.
template <class Record>
uint32_t pack(runtime::unit &unit, const Record *record, uint8_t *buffer, uint32_t *length) {
  if (!is_common(unit) || __builtin_expect(record == nullptr, false) ||
      __builtin_expect(buffer == nullptr, false))
    return pack_uncommon(unit, general::info_of<Record>(), names<Record>::pack.text, record, buffer,
                         length, message_size<Record>);
  if (!surely_fits(*record, *length))
    return pack_measured(record, buffer, length, message_size<Record>, write<Record>);
  *length = write<Record>(buffer, record);
  return 0;
}

// Writes the message whose Record is at `record` into `size` bytes, its encoded size. What the size
// counts and nobody writes, behind byte vectors that are empty but not null, is cleared.
template <class Record>
void write_measured(runtime::unit &unit, uint8_t *buffer, uint32_t size, const void *record) {
  const uint32_t written = is_common(unit)
                               ? write<Record>(buffer, record)
                               : general::write(unit, general::info_of<Record>(), buffer, record);
  if constexpr (has_byte_vector<Record>())
    memset(buffer + written, 0, size - written);
}

// Encodes the Record at `record` into the first of `room` bytes; returns its encoded size, 0 when
// it has no room or cannot be encoded.
template <class Record>
uint32_t encode(runtime::unit &unit, uint8_t *buffer, uint32_t room, const void *record) {
  const auto *const typed = static_cast<const Record *>(record);
  if (record != nullptr && is_common(unit) && surely_fits(*typed, room))
    return write<Record>(buffer, record);
  const uint32_t size = message_size<Record>(record);
  if (size == 0 || size > room)
    return 0;
  write_measured<Record>(unit, buffer, size, record);
  return size;
}

// Writes the image of the Record at `record` into a slot of fixed_image_size<Record> bytes. Cannot
// fail.
template <class Record>
[[gnu::noinline]] void write_fixed(runtime::unit &unit, uint8_t *slot, const void *record) {
  if (is_common(unit))
    write_image(slot, *static_cast<const Record *>(record));
  else
    general::write_image(unit, general::info_of<Record>(), slot, fixed_image_size<Record>, record);
}

// What the quick path declines, for a message of one form.
template <root_form Form, class Record>
[[gnu::always_inline]] inline uint32_t unpack_generally(runtime::unit &unit, const uint8_t *buffer,
                                                        uint32_t length, Record *record) {
  constexpr auto unpack =
      Form == root_form::table ? general::unpack_as_table : general::unpack_header_first;
  return unpack(unit, general::info_of<Record>(), names<Record>::unpack.text, buffer, length,
                record);
}

// A flat message that is not a fixed image. A call, for the sake of those that are: most flat
// messages, for which no register should be saved that only this needs.
template <root_form Form, class Record>
[[gnu::noinline]] uint32_t unpack_compact(runtime::unit &unit, const uint8_t *buffer,
                                          uint32_t length, Record *record) {
  if (__builtin_expect(read_compact(received{buffer, length}, *record), true))
    return sizeof(Record);
  return unpack_generally<Form>(unit, buffer, length, record);
}

// Decodes into *record; see M__unpack in mesh_fib6/message_api.h for the contract.
template <root_form Form, class Record>
[[gnu::always_inline]] inline uint32_t unpack(runtime::unit &unit, const uint8_t *buffer,
                                              uint32_t length, Record *record) {
  constexpr auto least = static_cast<int32_t>(least_received);
  const bool is_sound =
      buffer != nullptr && record != nullptr && static_cast<int32_t>(length) >= least;
  if (!__builtin_expect(is_sound, true) || !is_common(unit))
    return unpack_generally<Form>(unit, buffer, length, record);
  if constexpr (is_tree<Record>()) {
    if (__builtin_expect(read_tree(unit, received{buffer, length}, *record), true))
      return sizeof(Record);
  } else {
    if (load<uint32_t>(buffer) != root_offset_size) // the fixed image's root
      return unpack_compact<Form>(unit, buffer, length, record);
    if (__builtin_expect(read_image(buffer, length, *record), true))
      return sizeof(Record);
  }
  return unpack_generally<Form>(unit, buffer, length, record);
}

// Gives back what decoding allocated; see M_free__unpacked in mesh_fib6/message_api.h.
template <class Record>
[[gnu::always_inline]] inline void release(runtime::unit &unit, Record *record) {
  if constexpr (is_tree<Record>()) {
    if (record == nullptr)
      return;
    runtime::bind_cache(unit);
    release_blocks(unit, *record);
  }
}

} // namespace mesh_fib6::wire
