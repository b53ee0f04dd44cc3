// Reads an untrusted buffer into a record.
//
// Room: wire. Checks narrow in stages: parameters, table position, vtable position, vtable length,
// then each field before it is read. The first three stages of a table tell the log what was wrong,
// as does a failed allocation; a field out of bounds fails without a word. Either arrangement of
// the format is accepted, and any other that obeys the FlatBuffers rules.
#pragma once

#include "platform/memory.h"
#include "wire/bounds.h"
#include "wire/byte_order.h"
#include "wire/compact_reader.h"
#include "wire/fixed_image.h"
#include "wire/layout.h"
#include "wire/names.h"
#include "wire/release.h"
#include "wire/table_reader.h"

namespace mesh_fib6::wire {

// When the root's header is checked. Peers see the difference in the record after a bad header
// (untouched or zeroed) and in the name under which the failure is logged.
enum class root_form : uint8_t {
  header_first, // header, then binding, then the record is zeroed; logged as <message>_unpack
  table,        // binding and zeroing first; logged as <message>_unpack_non_root
};

// About how many bytes of decoded elements are cleared at once.
inline constexpr uint32_t cleared_at_once = 4096;

// More elements than this could not have their offset words inside any buffer.
inline constexpr uint32_t max_word_count = 0x3FFFFFFF;

// Says in the log what is wrong with the header of the table at `at`; see open_table().
template <class Order>
void report_table(runtime::unit &unit, received in, Order order, uint32_t at, const char *function);

// Whether the table at `at` and its vtable are inside the buffer; if so, describes it.
template <class Order>
[[gnu::always_inline]] inline bool find_table(const received &in, Order order, uint32_t at,
                                              table_ref &table) {
  if (at < root_offset_size || !in.holds(at, soffset_size))
    return false;
  const uint32_t vtable = at - order.template load<uint32_t>(in.bytes + at);
  if (vtable < root_offset_size || !in.holds(vtable, 4))
    return false;
  table = {at, vtable, order.template load<uint16_t>(in.bytes + vtable)};
  return in.holds(vtable, table.vtable_size);
}

// The same; logs under `function` what is wrong.
template <class Order>
inline bool open_table(runtime::unit &unit, const received &in, Order order, uint32_t at,
                       const char *function, table_ref &table) {
  if (__builtin_expect(find_table(in, order, at, table), true))
    return true;
  report_table(unit, in, order, at, function);
  return false;
}

// The same as a call that all messages share.
template <class Order>
bool open_table_by_call(runtime::unit &unit, received in, Order order, uint32_t at,
                        const char *function, table_ref &table);

// clear_memory() as a call: of a size that is known to be small compilers make a `rep stos`, which
// takes longer to begin than libc's function takes in all.
void clear_block(void *block, size_t size);

// Says in the log that a block of `size` bytes was not to be had.
void report_no_memory(runtime::unit &unit, uint32_t size, const char *function);

// The steps that fields are read in.
template <class Order>
class decode_steps {
public:
  decode_steps(Order order, const received &in) : order_(order), in_(in) {}

  template <class Value>
  Value load(uint32_t at) const {
    return order_.template load<Value>(in_.bytes + at);
  }

  // Where the field of a slot lies. A vtable shorter than the schema comes from an older peer: what
  // it lacks is absent, as is what it says is not there.
  bool find(const table_ref &table, uint32_t slot, uint32_t &at) const {
    if (table.vtable_size < 6 + 2 * slot)
      return false;
    const uint32_t entry = load<uint16_t>(table.vtable + 4 + 2 * slot);
    at = table.at + entry;
    return entry != 0;
  }

  // Follows the uoffset at `at`.
  bool follow(uint32_t at, uint32_t &target) const {
    if (!in_.holds(at, uoffset_size))
      return false;
    target = at + load<uint32_t>(at);
    return target >= at;
  }

  // A vector of `width`-byte items: where the first one lies and how many there are.
  bool open_vector(uint32_t at, uint32_t width, uint32_t &items, uint32_t &count) const {
    uint32_t vector = 0;
    if (!follow(at, vector) || !in_.holds(vector, vector_length_size))
      return false;
    count = load<uint32_t>(vector);
    items = vector + vector_length_size;
    return (width == 1 || count <= max_word_count) && in_.holds(items, width * count);
  }

  template <class Value>
  [[gnu::always_inline]] bool read_scalar(const table_ref &table, uint32_t slot,
                                          Value &value) const {
    uint32_t at = 0;
    if (!find(table, slot, at))
      return true;
    if (!in_.holds(at, sizeof value))
      return false;
    value = load<Value>(at);
    return true;
  }

  template <class Value>
  [[gnu::always_inline]] bool read_array(const table_ref &table, uint32_t slot, Value *values,
                                         uint32_t length) const {
    uint32_t at = 0, items = 0, count = 0;
    if (!find(table, slot, at))
      return true;
    if (!open_vector(at, sizeof *values, items, count) || count != length)
      return false;
    if constexpr (sizeof(Value) == 4)
      order_.load_words(values, in_.bytes + items, length);
    else
      memcpy(values, in_.bytes + items, length);
    return true;
  }

protected:
  Order order_;
  received in_;
};

// The same steps as calls that all messages share: for the rare order, where size counts and speed
// does not.
template <class Order>
class shared_decode_steps : public decode_steps<Order> {
  using steps = decode_steps<Order>;

public:
  using steps::steps;

  template <class Value>
  [[gnu::noinline]] bool read_scalar(const table_ref &table, uint32_t slot, Value &value) const {
    return steps::read_scalar(table, slot, value);
  }
  template <class Value>
  [[gnu::noinline]] bool read_array(const table_ref &table, uint32_t slot, Value *values,
                                    uint32_t length) const {
    return steps::read_array(table, slot, values, length);
  }
};

template <class Order, class Steps = std::conditional_t<Order::is_common, decode_steps<Order>,
                                                        shared_decode_steps<Order>>>
class decoder : Steps {
  using Steps::in_;
  using Steps::order_;

  template <class, class>
  friend class decoder;

public:
  decoder(runtime::unit &unit, Order order, const received &in) : Steps(order, in), unit_(unit) {}

  // The header of the root table; logs under `function` what is wrong with it.
  bool open_root(const char *function, table_ref &table) {
    const auto root = this->template load<uint32_t>(0);
    if constexpr (Order::is_common)
      return open_table(unit_, in_, order_, root, function, table);
    return open(root, function, table);
  }

  // What the root table holds, into a zeroed record; what was allocated goes back when it is
  // refused.
  template <class Record>
  void read_root(const table_ref &table, Record &record) {
    if (!read_fields(table, record, names<Record>::unpack.text))
      release(unit_, &record);
  }

private:
  bool open(uint32_t at, const char *function, table_ref &table) {
    return open_table_by_call(unit_, in_, order_, at, function, table);
  }
  // Fields of a table into a zeroed record. `decoding` names the function on whose behalf members
  // are allocated.
  template <class Record>
  bool read_fields(const table_ref &table, Record &record, const char *decoding) {
    return all_fields<Record>(
        [&](auto field) { return read_field(field, table, record, decoding); });
  }

  template <class Field, class Record>
  bool read_field(Field, const table_ref &table, Record &record, const char *decoding) {
    if constexpr (Field::is_scalar) {
      return this->read_scalar(table, Field::slot, Field::value(record));
    } else if constexpr (Field::is_fixed_array) {
      return this->read_array(table, Field::slot, &Field::value(record), Field::length);
    } else {
      uint32_t at = 0;
      if (!this->find(table, Field::slot, at))
        return true;
      if constexpr (Field::of == kind::table)
        return read_table(at, Field::value(record));
      else if constexpr (Field::of == kind::byte_vector)
        return read_bytes(at, Field::count(record), Field::pointer(record), decoding);
      else
        return read_tables(at, Field::count(record), Field::pointer(record), decoding);
    }
  }

  template <class Record>
  bool read_table(uint32_t at, Record &record) {
    constexpr const char *function = names<Record>::unpack_non_root.text;
    uint32_t target = 0;
    table_ref table{};
    return this->follow(at, target) && open(target, function, table) &&
           read_fields(table, record, function);
  }

  bool read_bytes(uint32_t at, uint32_t &length, uint8_t *&bytes, const char *decoding) {
    uint32_t items = 0, count = 0;
    if (!this->open_vector(at, 1, items, count))
      return false;
    length = count;
    if (count == 0)
      return true;
    bytes = static_cast<uint8_t *>(allocate(count, decoding));
    if (bytes == nullptr)
      return false;
    copy_memory(bytes, in_.bytes + items, count);
    return true;
  }

  template <class Record>
  bool read_tables(uint32_t at, uint32_t &length, Record *&records, const char *decoding) {
    uint32_t items = 0, count = 0;
    if (!this->open_vector(at, uoffset_size, items, count))
      return false;
    length = count;
    if (count == 0)
      return true;
    // The block's size is 32-bit arithmetic by contract. A product that wraps would give a block
    // too small for its elements, so it counts as an allocation that failed.
    uint32_t size = 0;
    if (__builtin_mul_overflow(count, static_cast<uint32_t>(sizeof(Record)), &size)) {
      report_no_memory(unit_, size, decoding);
      return false;
    }
    auto *const block = static_cast<Record *>(allocate(size, decoding));
    if (block == nullptr)
      return false;
    records = block;
    return read_elements(items, block, count);
  }

  // Elements into a block that is cleared piece by piece, each right before it is filled: a large
  // block would have left the cache by then. What a refused element leaves uncleared is released.
  template <class Record>
  bool read_elements(uint32_t word, Record *records, uint32_t count) {
    constexpr uint32_t piece =
        sizeof(Record) < cleared_at_once ? cleared_at_once / sizeof(Record) : 1;
    while (count != 0) {
      const uint32_t now = count < piece ? count : piece;
      clear_block(records, sizeof(Record) * now);
      if (!read_cleared(word, records, now))
        return false;
      word += uoffset_size * now;
      records += now;
      count -= now;
    }
    return true;
  }

  template <class Record>
  bool read_cleared(uint32_t word, Record *records, uint32_t count) {
#ifdef MESH_FIB6_LANES
    if constexpr (Order::is_common) {
      const uint32_t done = read_compact(in_, word, records, count);
      return done == count || read_known_elements(unit_, in_, word + uoffset_size * done,
                                                  records + done, count - done);
    }
#endif
    for (uint32_t i = 0; i < count; i++)
      if (!read_element(word + uoffset_size * i, records[i]))
        return false;
    return true;
  }

  template <class Record>
  bool read_element(uint32_t word, Record &record) {
    const char *const function = names<Record>::unpack_non_root.text;
    const uint32_t at = word + this->template load<uint32_t>(word);
    table_ref table{};
    return at >= word && open(at, function, table) && read_fields(table, record, function);
  }

#ifdef MESH_FIB6_LANES
  // The same for elements that are not compact, learning from each element how to read the next.
  template <class Record>
  [[gnu::noinline]] static bool read_known_elements(runtime::unit &unit, const received in,
                                                    uint32_t word, Record *records,
                                                    uint32_t count) {
    table_reader<Record> reader(in);
    for (uint32_t i = 0; i < count; i++, word += uoffset_size) {
      const uint32_t at = word + Order::template load<uint32_t>(in.bytes + word);
      if (at < word)
        return false;
      if (__builtin_expect(!reader.knows(at), false)) {
        constexpr const char *function = names<Record>::unpack_non_root.text;
        table_ref table{};
        if (!open_table_by_call(unit, in, Order{}, at, function, table))
          return false;
        if (!reader.learn(table)) {
          if (!field_by_field(unit, in).read_fields(table, records[i], function))
            return false;
          continue;
        }
      }
      if (!reader.read(at, records[i]))
        return false;
    }
    return true;
  }

  // Elements that nothing can be learnt from are rare: by the shared steps, where size counts.
  static auto field_by_field(runtime::unit &unit, const received &in) {
    return decoder<Order, shared_decode_steps<Order>>(unit, Order{}, in);
  }
#endif

  void *allocate(uint32_t size, const char *decoding) {
    void *const block = unit_.runtime.cache_alloc(size, runtime::cache_module_id, decoding);
    if (block == nullptr)
      report_no_memory(unit_, size, decoding);
    return block;
  }

  runtime::unit &unit_;
};

void report_refused(runtime::unit &unit, const uint8_t *buffer, int32_t length, const void *record,
                    const char *function);

// Whether there is something to decode and somewhere to decode it to; logs under `function` if not.
inline bool accept(runtime::unit &unit, const uint8_t *buffer, uint32_t length, const void *record,
                   const char *function) {
  const auto signed_length = static_cast<int32_t>(length);
  constexpr auto least = static_cast<int32_t>(least_received);
  if (__builtin_expect(buffer != nullptr && signed_length >= least && record != nullptr, true))
    return true;
  report_refused(unit, buffer, signed_length, record, function);
  return false;
}

// Decodes in the common order. `found` is the root table when its header has been read already.
template <root_form Form, class Record>
[[gnu::noinline]] void decode_native(runtime::unit &unit, const received in, Record &record,
                                     const table_ref *found) {
  decoder decode(unit, native_order{}, in);
  table_ref table{};
  if constexpr (Form == root_form::header_first) {
    if (__builtin_expect(found != nullptr, false))
      table = *found;
    else if (!decode.open_root(names<Record>::unpack.text, table))
      return;
    runtime::bind_cache(unit);
    clear_memory(&record, sizeof record);
  } else {
    clear_memory(&record, sizeof record);
    if (!decode.open_root(names<Record>::unpack_non_root.text, table))
      return;
  }
  decode.read_root(table, record);
}

// Decodes in the order that a flag other than 0 asks for. A first binding clears the flag: then
// only the header, which is read before it, is reversed.
template <root_form Form, class Record>
[[gnu::cold, gnu::noinline]] void decode_reversed(runtime::unit &unit, uint32_t flag,
                                                  const received in, Record &record) {
  decoder decode(unit, reversed_order{flag == 1}, in);
  table_ref table{};
  if constexpr (Form == root_form::header_first) {
    if (!decode.open_root(names<Record>::unpack.text, table))
      return;
    runtime::bind_cache(unit);
    const uint32_t bound_flag = byte_swap_of(unit);
    if (bound_flag == 0)
      return decode_native<Form>(unit, in, record, &table);
    clear_memory(&record, sizeof record);
    decoder(unit, reversed_order{bound_flag == 1}, in).read_root(table, record);
  } else {
    clear_memory(&record, sizeof record);
    if (decode.open_root(names<Record>::unpack_non_root.text, table))
      decode.read_root(table, record);
  }
}

template <root_form Form, class Record>
[[gnu::always_inline]] inline void decode(runtime::unit &unit, uint32_t flag, const received in,
                                          Record &record) {
  if (__builtin_expect(flag != 0, false))
    decode_reversed<Form>(unit, flag, in, record);
  else
    decode_native<Form>(unit, in, record, nullptr);
}

// The table form's first decode of a unit. Apart, so that no other has to keep its arguments for
// after a call that binds.
template <class Record>
[[gnu::cold, gnu::noinline]] void bind_and_decode(runtime::unit &unit, const received in,
                                                  Record &record) {
  runtime::bind_cache(unit);
  decode<root_form::table>(unit, byte_swap_of(unit), in, record);
}

// Decodes into *record; see M__unpack in modules/message_api.h for the contract. The table form
// binds before it reads a value, the other one behind the header: a flag that was set before the
// unit's first use matters to that header and to nothing else.
template <root_form Form, class Record>
[[gnu::always_inline]] inline uint32_t unpack(runtime::unit &unit, const uint8_t *buffer,
                                              uint32_t length, Record *record) {
  if (!accept(unit, buffer, length, record, names<Record>::unpack.text))
    return sizeof(Record);
  const received in{buffer, length};
  if constexpr (Form == root_form::table) {
    if (__builtin_expect(!runtime::is_cache_bound(unit), false)) {
      bind_and_decode(unit, in, *record);
      return sizeof(Record);
    }
  }
  const uint32_t flag = byte_swap_of(unit);
  if constexpr (!is_tree<Record>()) {
    // Flat messages mostly come from a peer's send operation.
    if (__builtin_expect(flag == 0, true) && read_image(buffer, length, *record)) {
      if constexpr (Form == root_form::header_first)
        runtime::bind_cache(unit);
      return sizeof(Record);
    }
  }
  decode<Form>(unit, flag, in, *record);
  return sizeof(Record);
}

} // namespace mesh_fib6::wire
