// The peer's reading side: verification by generated code, values by reflection.
//
// Room: tests.
#include "tests/interop/flatbuffers_peer.h"
#include "tests/interop/reflected.h"

#include "fib6_cfg_generated.h"
#include "fib6_generated.h"
#include "fib6_sync_generated.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

namespace flatbuffers_peer {
namespace {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::table_descriptor;
using random_record::owned_record;
using table_offset = flatbuffers::Offset<flatbuffers::Table>;

template <class Generated>
bool verify(flatbuffers::Verifier &verifier) {
  return verifier.VerifyBuffer<Generated>();
}

using verify_function = bool (*)(flatbuffers::Verifier &);

const std::map<std::string, verify_function> &verifiers() {
  static const std::map<std::string, verify_function> all = {
#include "verifiers.inc"
  };
  return all;
}

// Reads tables into records, as the schema directs.
class table_reader {
public:
  table_reader(const reflected &from, owned_record &owner) : from_(from), owner_(owner) {}

  void read(const reflection::Object &object, const flatbuffers::Table &table,
            const table_descriptor &into, void *record) {
    ASSERT_EQ(object.fields()->size(), into.fields.size());
    for (const reflection::Field *field : *object.fields())
      read_field(*field, table, into.fields[field->id()], record);
  }

private:
  void read_field(const reflection::Field &field, const flatbuffers::Table &table,
                  const field_descriptor &into, void *record) {
    ASSERT_EQ(field.name()->str(), into.name);
    ASSERT_TRUE(same_width(field, into)) << into.name;
    switch (field.type()->base_type()) {
    case reflection::UByte:
      return into.set_number(record, flatbuffers::GetFieldI<uint8_t>(table, field));
    case reflection::UShort:
      return into.set_number(record, flatbuffers::GetFieldI<uint16_t>(table, field));
    case reflection::UInt:
      return into.set_number(record, flatbuffers::GetFieldI<uint32_t>(table, field));
    case reflection::Obj:
      return read_sub_table(field, table, into, record);
    case reflection::Vector:
      return read_vector(field, table, into, record);
    default:
      FAIL() << "a type that no message has";
    }
  }

  void read_sub_table(const reflection::Field &field, const flatbuffers::Table &table,
                      const field_descriptor &into, void *record) {
    const flatbuffers::Table *const sub_table = flatbuffers::GetFieldT(table, field);
    ASSERT_NE(sub_table, nullptr) << into.name;
    read(from_.object_of(field), *sub_table, *into.table, into.member(record));
  }

  void read_vector(const reflection::Field &field, const flatbuffers::Table &table,
                   const field_descriptor &into, void *record) {
    switch (field.type()->element()) {
    case reflection::UByte:
      return read_numbers(flatbuffers::GetFieldV<uint8_t>(table, field), into, record);
    case reflection::UInt:
      return read_numbers(flatbuffers::GetFieldV<uint32_t>(table, field), into, record);
    case reflection::Obj:
      return read_tables(field, flatbuffers::GetFieldV<table_offset>(table, field), into, record);
    default:
      FAIL() << "a vector that no message has";
    }
  }

  template <class Number>
  void read_numbers(const flatbuffers::Vector<Number> *numbers, const field_descriptor &into,
                    void *record) {
    if (into.is_vector())
      make_room(numbers, into, record);
    else
      ASSERT_TRUE(numbers != nullptr && numbers->size() == into.length) << into.name;
    for (uint32_t i = 0; numbers != nullptr && i < numbers->size(); i++)
      into.set_number(record, numbers->Get(i), i);
  }

  void read_tables(const reflection::Field &field, const flatbuffers::Vector<table_offset> *tables,
                   const field_descriptor &into, void *record) {
    make_room(tables, into, record);
    for (uint32_t i = 0; tables != nullptr && i < tables->size(); i++) {
      read(from_.object_of(field), *tables->Get(i), *into.table, into.element(record, i));
    }
  }

  // An empty vector is not written.
  template <class Vector>
  void make_room(const Vector *vector, const field_descriptor &into, void *record) {
    if (vector == nullptr)
      return;
    EXPECT_NE(vector->size(), 0U) << into.name;
    into.set_vector(record, owner_.add_block(size_t{vector->size()} * into.width), vector->size());
  }

  const reflected &from_;
  owned_record &owner_;
};

bytes load_schema(const std::string &module) {
  const std::string path = MESH_FIB6_BFBS_DIR "/" + module + ".bfbs";
  std::ifstream file(path, std::ios::binary);
  bytes schema{std::istreambuf_iterator<char>(file), {}};
  flatbuffers::Verifier verifier(schema.data(), schema.size());
  if (!reflection::VerifySchemaBuffer(verifier))
    throw std::runtime_error(path + " is no schema");
  return schema;
}

// A module's compiled schema, loaded once.
const reflection::Schema &schema_of(const char *module) {
  static std::map<std::string, bytes> loaded;
  if (!loaded.contains(module))
    loaded[module] = load_schema(module);
  return *reflection::GetSchema(loaded[module].data());
}

} // namespace

reflected reflect(const message_descriptor &message) {
  const reflection::Schema &schema = schema_of(message.module);
  const std::string name = std::string(message.wire_namespace) + "." + message.message;
  const reflection::Object *const root = schema.objects()->LookupByKey(name.c_str());
  if (root == nullptr)
    throw std::runtime_error("the schema does not know " + name);
  return {schema, *root};
}

bool same_width(const reflection::Field &field, const field_descriptor &member) {
  const reflection::BaseType type = field.type()->base_type() == reflection::Vector
                                        ? field.type()->element()
                                        : field.type()->base_type();
  return type == reflection::Obj || flatbuffers::GetTypeSize(type) == member.width;
}

bool verifies(const message_descriptor &message, const bytes &buffer, bool check_alignment) {
  flatbuffers::Verifier::Options options;
  options.check_alignment = check_alignment;
  flatbuffers::Verifier verifier(buffer.data(), buffer.size(), options);
  return verifiers().at(message.name)(verifier);
}

random_record::owned_record read(const message_descriptor &message, const bytes &buffer) {
  owned_record record(*message.table);
  const reflected from = reflect(message);
  table_reader(from, record)
      .read(from.root, *flatbuffers::GetAnyRoot(buffer.data()), *message.table, record.get());
  return record;
}

} // namespace flatbuffers_peer
