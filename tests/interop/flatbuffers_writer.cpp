// The peer's writing side: FlatBuffers' builder, table by table, as the schema directs.
//
// Room: tests.
#include "tests/interop/flatbuffers_peer.h"
#include "tests/interop/reflected.h"

#include <algorithm>
#include <stdexcept>

namespace flatbuffers_peer {
namespace {

using flatbuffers::uoffset_t;
using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::table_descriptor;
using table_offset = flatbuffers::Offset<flatbuffers::Table>;
using fields = std::vector<const reflection::Field *>;

class table_writer {
public:
  table_writer(const reflected &to, const style &style, random_record::generator &random)
      : to_(to), style_(style), random_(random) {
    builder_.ForceDefaults(style.force_defaults);
    builder_.DedupVtables(style.share_vtables);
  }

  bytes finish(const table_descriptor &from, const void *record) {
    builder_.Finish(write(to_.root, from, record), style_.file_identifier ? "FIB6" : nullptr);
    return {builder_.GetBufferPointer(), builder_.GetBufferPointer() + builder_.GetSize()};
  }

private:
  // What a table refers to comes before it.
  table_offset write(const reflection::Object &object, const table_descriptor &from,
                     const void *record) {
    std::vector<uoffset_t> targets(from.fields.size());
    for (const reflection::Field *field : *object.fields())
      targets[field->id()] = write_target(*field, from.fields[field->id()], record);
    const uoffset_t start = builder_.StartTable();
    for (const reflection::Field *field : ordered(*object.fields()))
      add_field(*field, from.fields[field->id()], record, targets[field->id()]);
    return builder_.EndTable(start);
  }

  // Widest first, as generated code has it, or any order.
  fields ordered(const flatbuffers::Vector<flatbuffers::Offset<reflection::Field>> &all) {
    fields result(all.begin(), all.end());
    const auto wider = [](const reflection::Field *a, const reflection::Field *b) {
      const size_t sizes[] = {flatbuffers::GetTypeSize(a->type()->base_type()),
                              flatbuffers::GetTypeSize(b->type()->base_type())};
      return sizes[0] != sizes[1] ? sizes[0] > sizes[1] : a->id() < b->id();
    };
    if (style_.any_order)
      std::shuffle(result.begin(), result.end(), random_);
    else
      std::sort(result.begin(), result.end(), wider);
    return result;
  }

  void add_field(const reflection::Field &field, const field_descriptor &from, const void *record,
                 uoffset_t target) {
    switch (field.type()->base_type()) {
    case reflection::UByte:
      return add_number<uint8_t>(field, from.number(record));
    case reflection::UShort:
      return add_number<uint16_t>(field, from.number(record));
    case reflection::UInt:
      return add_number<uint32_t>(field, from.number(record));
    default: // what is absent has target 0 and is not added
      builder_.AddOffset(field.offset(), flatbuffers::Offset<void>(target));
    }
  }

  template <class Number>
  void add_number(const reflection::Field &field, uint32_t value) {
    builder_.AddElement(field.offset(), static_cast<Number>(value),
                        static_cast<Number>(field.default_integer()));
  }

  // Writes what the field refers to; 0 when it is a scalar or stays absent.
  uoffset_t write_target(const reflection::Field &field, const field_descriptor &from,
                         const void *record) {
    if (field.type()->base_type() == reflection::Obj)
      return write_sub_table(field, from, record);
    if (field.type()->base_type() != reflection::Vector)
      return 0;
    if (from.is_vector() && from.count(record) == 0 && !style_.force_defaults)
      return 0;
    if (from.is_fixed_array() && style_.omit_zero && array_is_zero(from, record))
      return 0;
    switch (field.type()->element()) {
    case reflection::UByte:
      return write_numbers<uint8_t>(from, record);
    case reflection::UInt:
      return write_numbers<uint32_t>(from, record);
    case reflection::Obj:
      return write_tables(field, from, record);
    default:
      throw std::runtime_error("a vector that no message has");
    }
  }

  uoffset_t write_sub_table(const reflection::Field &field, const field_descriptor &from,
                            const void *record) {
    const void *const sub_record = from.member(record);
    if (style_.omit_zero && random_record::is_zero(*from.table, sub_record))
      return 0;
    return write(to_.object_of(field), *from.table, sub_record).o;
  }

  template <class Number>
  uoffset_t write_numbers(const field_descriptor &from, const void *record) {
    const uint32_t count = from.is_vector() ? from.count(record) : from.length;
    std::vector<Number> numbers(count);
    for (uint32_t i = 0; i < count; i++)
      numbers[i] = static_cast<Number>(from.number(record, i));
    return builder_.CreateVector(numbers).o;
  }

  uoffset_t write_tables(const reflection::Field &field, const field_descriptor &from,
                         const void *record) {
    std::vector<table_offset> tables;
    for (uint32_t i = 0; i < from.count(record); i++)
      tables.push_back(write(to_.object_of(field), *from.table, from.element(record, i)));
    return builder_.CreateVector(tables).o;
  }

  static bool array_is_zero(const field_descriptor &from, const void *record) {
    for (uint32_t i = 0; i < from.length; i++)
      if (from.number(record, i) != 0)
        return false;
    return true;
  }

  const reflected &to_;
  const style &style_;
  random_record::generator &random_;
  flatbuffers::FlatBufferBuilder builder_;
};

} // namespace

bytes write(const message_descriptor &message, const void *record, const style &style,
            random_record::generator &random) {
  const reflected to = reflect(message);
  return table_writer(to, style, random).finish(*message.table, record);
}

} // namespace flatbuffers_peer
