// Vectors of tables as any peer may lay them out, and with one element spoilt behind sound ones
// that the decoder may have learnt from.
//
// Room: tests. In every byte order: with values reversed, elements are read field by field.
#include "tests/catalogue/vectors.h"

using namespace catalogue;

namespace {

using sequence = arrangement::sequence;

// Where vtables lie.
enum class vtables {
  before_each,
  behind_each,
  one_behind_the_root_offset,
  one_before_all,
  one_behind_all,
};
constexpr vtables all_vtables[] = {vtables::before_each, vtables::behind_each,
                                   vtables::one_behind_the_root_offset, vtables::one_before_all,
                                   vtables::one_behind_all};

// Positions in a message that has been laid out.
struct laid_out {
  vector_wire sound;
  std::vector<uint32_t> table;
  std::vector<uint32_t> vtable;
};

// The message of a record, each element in its own arrangement; where a vtable is shared, it is
// that of element 0.
template <class Arrange>
laid_out lay_out(const vector_of_tables &vector, const owned_record &record, uint32_t byte_swap,
                 vtables where, Arrange arrange) {
  const uint32_t count = vector.field.count(record.get());
  laid_out result{vector_wire(vector, byte_swap), {}, {}};
  vector_wire &wire = result.sound;
  uint32_t shared = 0;
  if (where == vtables::one_behind_the_root_offset)
    shared = wire.vtable(arrange(0));
  wire.root(count);
  if (where == vtables::one_before_all)
    shared = wire.vtable(arrange(0));
  for (uint32_t i = 0; i < count; i++) {
    const arrangement how = arrange(i);
    uint32_t vtable = where == vtables::before_each ? wire.vtable(how) : shared;
    const uint32_t at = wire.table(how, i, vector.field.element(record.get(), i), vtable);
    if (where == vtables::behind_each)
      wire.wire.set_u32(at, at - (vtable = wire.vtable(how)));
    result.table.push_back(at);
    result.vtable.push_back(vtable);
  }
  if (where == vtables::one_behind_all) {
    shared = wire.vtable(arrange(0));
    for (uint32_t i = 0; i < count; i++) {
      wire.wire.set_u32(result.table[i], result.table[i] - shared);
      result.vtable[i] = shared;
    }
  }
  return result;
}

// What a decode of an element in this arrangement leaves zero is zeroed in the record.
template <class Arrange>
owned_record without_absent(const vector_of_tables &vector, uint32_t count, Arrange arrange) {
  owned_record record = record_of(vector, count);
  for (uint32_t i = 0; i < count; i++)
    for (const field_descriptor &field : vector.element.fields)
      if (arrange(i).is_absent(field.slot))
        clear_member(vector.element, vector.field.element(record.get(), i), field.slot);
  return record;
}

template <class Arrange>
void expect_read(const vector_of_tables &vector, vtables where, Arrange arrange) {
  for (const uint32_t count : {1U, 3U, 8U})
    for (const uint32_t byte_swap : {0U, 1U}) {
      SCOPED_TRACE(std::to_string(count) + " elements, byte order " + std::to_string(byte_swap));
      const owned_record full = record_of(vector, count);
      const laid_out message = lay_out(vector, full, byte_swap, where, arrange);
      decoding decoded(vector.message, message.sound.wire.bytes(), byte_swap);
      expect_decoded(vector, decoded, without_absent(vector, count, arrange));
    }
}

std::vector<uint32_t> array_slots(const table_descriptor &table) {
  std::vector<uint32_t> found;
  for (const field_descriptor &field : table.fields)
    if (field.is_fixed_array())
      found.push_back(field.slot);
  return found;
}

// ---- sound ones

// The last value, or the last vtable, ends where the buffer does.
TEST_F(EveryVector, IsReadWhereverItsVtablesAndScalarsLie) {
  each_vector([](const vector_of_tables &vector) {
    for (const vtables where : all_vtables)
      for (const sequence order :
           {sequence::scalars_first, sequence::backwards, sequence::scalars_last})
        for (const uint32_t gap : {0U, 17U})
          expect_read(vector, where,
                      [&](uint32_t) { return arrangement{.order = order, .gap = gap}; });
  });
}

// How far apart scalars may be for the decoder to move several at once is its own affair.
TEST_F(EveryVector, IsReadHoweverFarApartItsScalarsLie) {
  each_vector([](const vector_of_tables &vector) {
    for (const sequence order : {sequence::scalars_first, sequence::backwards})
      for (uint32_t gap = 0; gap < 15; gap++) {
        SCOPED_TRACE(std::to_string(gap) + " bytes apart");
        const owned_record record = record_of(vector, 3);
        const laid_out message = lay_out(vector, record, 0, vtables::one_before_all, [&](uint32_t) {
          return arrangement{.order = order, .gap = gap};
        });
        decoding decoded(vector.message, message.sound.wire.bytes());
        expect_decoded(vector, decoded, record);
      }
  });
}

TEST_F(EveryVector, IsReadHoweverNearTheEndOfTheBufferItsLastTableAndItsVtableLie) {
  each_vector([](const vector_of_tables &vector) {
    for (const vtables where : all_vtables)
      for (const sequence order : {sequence::scalars_first, sequence::scalars_last})
        for (uint32_t behind = 0; behind < 17; behind++) {
          SCOPED_TRACE(std::to_string(behind) + " bytes behind");
          const owned_record record = record_of(vector, 3);
          laid_out message = lay_out(vector, record, 0, where,
                                     [&](uint32_t) { return arrangement{.order = order}; });
          message.sound.wire.fill(behind, 0xEE);
          decoding decoded(vector.message, message.sound.wire.bytes());
          expect_decoded(vector, decoded, record);
        }
  });
}

TEST_F(EveryVector, OfElementsThatAreEachLaidOutInAnotherWayIsRead) {
  constexpr sequence orders[] = {sequence::scalars_first, sequence::backwards,
                                 sequence::scalars_last};
  each_vector([&](const vector_of_tables &vector) {
    for (const uint32_t first : {0U, 1U, 2U, 3U, 4U, 5U})
      expect_read(vector, vtables::before_each, [&](uint32_t i) {
        return arrangement{.order = orders[(first + i) % 3], .gap = (first + i) % 2 * 19};
      });
  });
}

TEST_F(EveryVector, OfElementsOfAnOlderPeerBetweenFullOnesIsRead) {
  each_vector([](const vector_of_tables &vector) {
    for (uint32_t slots = 0; slots < vector.element.fields.size(); slots++)
      for (const uint32_t old : {0U, 1U})
        expect_read(vector, vtables::before_each, [&](uint32_t i) {
          return arrangement{.slots = i % 3 == old ? slots : UINT32_MAX};
        });
  });
}

TEST_F(EveryVector, OfElementsOfANewerPeerLosesTheirExtraSlots) {
  each_vector([](const vector_of_tables &vector) {
    const auto slots = static_cast<uint32_t>(vector.element.fields.size());
    for (const vtables where : all_vtables)
      expect_read(vector, where, [&](uint32_t) { return arrangement{.slots = slots + 2}; });
    expect_read(vector, vtables::before_each, [&](uint32_t i) {
      return arrangement{.slots = i % 3 == 1 ? slots + 2 : UINT32_MAX};
    });
  });
}

TEST_F(EveryVector, OfElementsThatLackAnArrayHasZerosThereOnly) {
  each_vector([](const vector_of_tables &vector) {
    for (const uint32_t slot : array_slots(vector.element)) {
      for (const uint32_t lacking : {0U, 1U, 2U})
        expect_read(vector, vtables::before_each, [&](uint32_t i) {
          return arrangement{.absent =
                                 i % 3 == lacking ? std::vector{slot} : std::vector<uint32_t>{}};
        });
      expect_read(vector, vtables::one_behind_all,
                  [&](uint32_t) { return arrangement{.absent = {slot}}; });
    }
  });
}

// ---- the edges of a buffer of more than 64 KiB

// Two elements of one vtable that puts a field as far away as it can. The buffer ends with that
// field of the second, or so many bytes earlier.
void expect_reaching(const vector_of_tables &vector, const field_descriptor &field,
                     bool others_absent, uint32_t before, uint32_t byte_swap) {
  SCOPED_TRACE(std::string(field.name) + (others_absent ? " alone" : "") + " behind " +
               std::to_string(before) + ", byte order " + std::to_string(byte_swap));
  arrangement reaching{.far_slot = field.slot};
  for (uint32_t slot = 0; others_absent && slot < vector.element.fields.size(); slot++)
    if (slot != field.slot)
      reaching.absent.push_back(slot);
  const uint32_t count = before + 2;
  const auto arrange = [&](uint32_t i) { return i < before ? arrangement{} : reaching; };

  owned_record record = without_absent(vector, count, arrange);
  vector_wire wire(vector, byte_swap);
  wire.root(count);
  const uint32_t shared = wire.vtable(reaching);
  uint32_t far[2] = {};
  for (uint32_t i = 0; i < count; i++) {
    const bool far_away = i >= before;
    const uint32_t vtable = far_away ? shared : wire.vtable({});
    const uint32_t at = wire.table(arrange(i), i, vector.field.element(record.get(), i), vtable);
    if (far_away) {
      far[i - before] = at + 0xFFFF;
      wire.wire.fill(4, 0xEE); // so that the far words of two elements do not overlap
    }
  }
  for (uint32_t i = 0; i < 2; i++) {
    const void *const element = vector.field.element(record.get(), before + i);
    wire.wire.fill(far[i] - wire.wire.here(), 0xEE);
    if (field.kind == kind::scalar)
      wire.scalar(field, element);
    else
      wire.wire.u32(0);
  }
  for (uint32_t i = 0; field.is_fixed_array() && i < 2; i++)
    wire.wire.refer(far[i], wire.array(field, vector.field.element(record.get(), before + i)));

  const bytes sound = wire.wire.bytes();
  decoding decoded(vector.message, sound, byte_swap);
  expect_decoded(vector, decoded, record);
  decoding cut(vector.message, bytes(sound.begin(), sound.end() - 1), byte_swap);
  expect_refused(vector, cut, count);
}

TEST_F(EveryVector, IsReadWithAFieldAsFarFromItsTableAsAnEntryReachesAndRefusedAByteFarther) {
  each_vector([](const vector_of_tables &vector) {
    for (const field_descriptor &field : vector.element.fields)
      for (const bool others_absent : {false, true})
        for (const uint32_t byte_swap : {0U, 1U})
          expect_reaching(vector, field, others_absent, others_absent ? 0 : 1, byte_swap);
  });
}

// ---- one element spoilt

// Calls check(vector, sound message of six, byte order, where vtables are, which element to spoil).
template <class Check>
void each_message_to_spoil(Check check) {
  EveryVector::each_vector([&](const vector_of_tables &vector) {
    for (const uint32_t byte_swap : {0U, 1U})
      for (const vtables where : {vtables::before_each, vtables::one_before_all})
        for (const uint32_t spoilt : {0U, 1U, 5U}) {
          SCOPED_TRACE("element " + std::to_string(spoilt) + ", byte order " +
                       std::to_string(byte_swap));
          const owned_record record = record_of(vector, 6);
          const laid_out laid =
              lay_out(vector, record, byte_swap, where, [](uint32_t) { return arrangement{}; });
          check(vector, laid, byte_swap, where, spoilt);
        }
  });
}

std::string number(uint32_t value) {
  return std::to_string(value);
}

TEST_F(EveryVector, WithAnElementWhoseOffsetWrapsIsRefusedSilently) {
  each_message_to_spoil([](const vector_of_tables &vector, const laid_out &laid, uint32_t byte_swap,
                           vtables, uint32_t k) {
    const uint32_t word = laid.sound.word(k);
    const uint32_t root = laid.sound.wire.u32_at(0); // a sound table
    for (const uint32_t target : {0U, 4U, root, word - 1}) {
      wire_builder wire = laid.sound.wire;
      decoding decoded(vector.message, wire.refer(word, target).bytes(), byte_swap);
      expect_refused(vector, decoded, 6);
    }
  });
}

TEST_F(EveryVector, WithAnElementBeyondTheEndIsRefusedWithTheTablesLine) {
  each_message_to_spoil([](const vector_of_tables &vector, const laid_out &laid, uint32_t byte_swap,
                           vtables, uint32_t k) {
    const uint32_t size = laid.sound.wire.here();
    for (const uint32_t target : {size - 3, size, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
      wire_builder wire = laid.sound.wire;
      wire.refer(laid.sound.word(k), target);
      decoding decoded(vector.message, wire.bytes(), byte_swap);
      expect_refused(vector, decoded, 6, log_format::table,
                     "[VARKO]:Table offset(" + number(target) + ") is out of range(4 - " +
                         number(size) + ")");
    }
  });
}

TEST_F(EveryVector, WithAnElementWhoseVtableIsOutOfRangeIsRefusedWithTheVtablesLine) {
  each_message_to_spoil([](const vector_of_tables &vector, const laid_out &laid, uint32_t byte_swap,
                           vtables, uint32_t k) {
    const uint32_t size = laid.sound.wire.here(), at = laid.table[k];
    for (const uint32_t vtable : {0U, 3U, size - 3, size, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
      wire_builder wire = laid.sound.wire;
      wire.set_u32(at, at - vtable);
      decoding decoded(vector.message, wire.bytes(), byte_swap);
      expect_refused(vector, decoded, 6, log_format::vtable,
                     "[VARKO]:Vtable offset(" + number(at) + ") is out of range(4 - " +
                         number(size - 4) + ")");
    }
  });
}

// A vtable of 126 slots at 3 would begin with the last byte of the root offset, a zero.
TEST_F(EveryVector, WithAVtableInsideTheRootOffsetIsRefusedThoughItIsLikeTheOneBefore) {
  each_vector([](const vector_of_tables &vector) {
    const arrangement newer{.slots = 126};
    const owned_record record = record_of(vector, 2);
    vector_wire wire(vector, 0);
    wire.wire.fill(255 - wire.wire.here() + 4);
    wire.root(2);
    const uint32_t vtable = wire.vtable(newer);
    for (uint32_t i = 0; i < 256; i++) // the size's low byte is the zero at 3 already
      wire.wire.set_u8(3 + i, wire.wire.bytes()[vtable + i]);
    wire.table(newer, 0, vector.field.element(record.get(), 0), vtable);
    const uint32_t at = wire.table(newer, 1, vector.field.element(record.get(), 1), 3);
    ASSERT_EQ(wire.wire.u32_at(0) >> 24, 0U);
    decoding decoded(vector.message, wire.wire.bytes());
    expect_refused(vector, decoded, 2, log_format::vtable,
                   "[VARKO]:Vtable offset(" + number(at) + ") is out of range(4 - " +
                       number(wire.wire.here() - 4) + ")");
  });
}

TEST_F(EveryVector, WithAnElementWhoseVtableIsTooLongIsRefusedWithItsLength) {
  each_message_to_spoil([](const vector_of_tables &vector, const laid_out &laid, uint32_t byte_swap,
                           vtables where, uint32_t k) {
    if (where != vtables::before_each)
      return; // a shared one would be spoilt for element 0 already
    const uint32_t left = laid.sound.wire.here() - laid.vtable[k];
    for (const uint32_t length : {left + 1, 0xFFFFU}) {
      wire_builder wire = laid.sound.wire;
      wire.set_u16(laid.vtable[k], length);
      decoding decoded(vector.message, wire.bytes(), byte_swap);
      expect_refused(vector, decoded, 6, log_format::vtable_length,
                     "[VARKO]:Vtable Len(" + number(length) + ") is out of range(0 - " +
                         number(left) + ")");
    }
  });
}

TEST_F(EveryVector, WithAFieldOfAnElementBeyondTheEndIsRefusedSilently) {
  each_message_to_spoil([](const vector_of_tables &vector, const laid_out &laid, uint32_t byte_swap,
                           vtables where, uint32_t k) {
    if (where != vtables::before_each)
      return;
    const uint32_t left = laid.sound.wire.here() - laid.table[k];
    for (const field_descriptor &field : vector.element.fields) {
      const uint32_t width = field.kind == kind::scalar ? field.width : 4;
      for (const uint32_t entry : {left - width + 1, left, 0xFFFFU}) {
        wire_builder wire = laid.sound.wire;
        wire.set_u16(laid.vtable[k] + 4 + 2 * field.slot, entry);
        decoding decoded(vector.message, wire.bytes(), byte_swap);
        expect_refused(vector, decoded, 6);
      }
    }
  });
}

TEST_F(EveryVector, WithAnArrayOfAnElementThatWrapsOrIsOfAnotherLengthIsRefusedSilently) {
  each_message_to_spoil([](const vector_of_tables &vector, const laid_out &laid, uint32_t byte_swap,
                           vtables, uint32_t k) {
    for (const piece &piece : pieces_of(vector.element, {})) {
      if (piece.is_body || piece.field->kind == kind::scalar)
        continue;
      const wire_builder &sound = laid.sound.wire;
      const uint32_t word = laid.table[k] + piece.at, size = sound.here();
      const auto refused = [&](const wire_builder &wire) {
        decoding decoded(vector.message, wire.bytes(), byte_swap);
        expect_refused(vector, decoded, 6);
      };
      for (const uint32_t target : {0U, word - 1, size - 3, size, 0x7FFFFFFFU})
        refused(wire_builder(sound).refer(word, target));
      if (k > 0) { // a sound array, but before the word
        const uint32_t first = laid.table[0] + piece.at;
        refused(wire_builder(sound).refer(word, first + sound.u32_at(first)));
      }
      const uint32_t length = piece.field->length, body = word + sound.u32_at(word);
      for (const uint32_t other : {0U, length - 1, length + 1, 0x40000000 + length, 0x80000000U})
        refused(wire_builder(sound).set_u32(body, other));
      wire_builder cut(sound); // the array lacks its last byte
      cut.refer(word, cut.u32(length));
      cut.fill(length * piece.field->width - 1, 0xEE);
      refused(cut);
      cut.fill(1, 0xEE);
      decoding decoded(vector.message, cut.bytes(), byte_swap);
      EXPECT_NE(vector.field.pointer(decoded.record()), nullptr);
    }
  });
}

// The last table is cut off after each of its bytes; what its vtable says has been learnt.
TEST_F(EveryVector, WhoseLastElementIsCutOffAnywhereIsRefusedSilently) {
  each_vector([](const vector_of_tables &vector) {
    for (const sequence order : {sequence::scalars_first, sequence::scalars_last})
      for (const uint32_t byte_swap : {0U, 1U}) {
        const owned_record record = record_of(vector, 3);
        const laid_out laid = lay_out(vector, record, byte_swap, vtables::one_before_all,
                                      [&](uint32_t) { return arrangement{.order = order}; });
        const bytes &sound = laid.sound.wire.bytes();
        for (uint32_t size = laid.table[2] + 4; size < sound.size(); size++) {
          SCOPED_TRACE("cut to " + number(size) + " of " + number(laid.sound.wire.here()));
          decoding decoded(vector.message, bytes(sound.begin(), sound.begin() + size), byte_swap);
          expect_refused(vector, decoded, 3);
        }
      }
  });
}

// A newer peer's: what is cut off is behind the slots that are looked at.
TEST_F(EveryVector, WhoseLastLongVtableIsCutOffIsRefusedWithItsLength) {
  each_vector([](const vector_of_tables &vector) {
    const auto slots = static_cast<uint32_t>(vector.element.fields.size()) + 3;
    for (const uint32_t byte_swap : {0U, 1U}) {
      const owned_record record = record_of(vector, 3);
      const laid_out laid = lay_out(vector, record, byte_swap, vtables::behind_each,
                                    [&](uint32_t) { return arrangement{.slots = slots}; });
      for (uint32_t missing = 1; missing <= 6; missing++) {
        wire_builder wire = laid.sound.wire;
        decoding decoded(vector.message, wire.resize(wire.here() - missing).bytes(), byte_swap);
        expect_refused(vector, decoded, 3, log_format::vtable_length,
                       "[VARKO]:Vtable Len(" + number(4 + 2 * slots) + ") is out of range(0 - " +
                           number(4 + 2 * slots - missing) + ")");
      }
    }
  });
}

// The one vtable is the last thing in the buffer.
TEST_F(EveryVector, WhoseSharedVtableIsCutOffIsRefusedWithItsLength) {
  each_vector([](const vector_of_tables &vector) {
    for (const uint32_t byte_swap : {0U, 1U}) {
      const owned_record record = record_of(vector, 3);
      const laid_out laid = lay_out(vector, record, byte_swap, vtables::one_behind_all,
                                    [](uint32_t) { return arrangement{}; });
      const auto length = static_cast<uint32_t>(4 + 2 * vector.element.fields.size());
      for (uint32_t left = 4; left < length; left++) {
        wire_builder wire = laid.sound.wire;
        decoding decoded(vector.message, wire.resize(laid.vtable[0] + left).bytes(), byte_swap);
        expect_refused(vector, decoded, 3, log_format::vtable_length,
                       "[VARKO]:Vtable Len(" + number(length) + ") is out of range(0 - " +
                           number(left) + ")");
      }
    }
  });
}

} // namespace
