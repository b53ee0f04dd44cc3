// Records of any message: full, random, partly cleared, and the tables that an image of one holds.
//
// Room: tests. Takes what a record consists of from the schema's descriptors.
#pragma once

#include "tests/catalogue/every_message.h"
#include "tests/reference/wire_builder.h"
#include "tests/support/random_record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace catalogue {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::message_descriptor;
using mesh_fib6::tools::table_descriptor;
using random_record::owned_record;

// Throws when the schema has no message of that name.
const message_descriptor &descriptor_of(const message &message);
const table_descriptor &table_of(const message &message);

// Every scalar, every array word non-zero, no vector empty; always the same for a message.
owned_record full_record(const message &message);
// From full to almost bare; the same for the same message and round.
owned_record some_record(const message &message, uint32_t round);

// The full record in the compact layout and, of a flat message, in the fixed one.
std::vector<bytes> full_layouts(const message &message);

// Zeroes the members of a table's record: one, or all from a slot on.
void clear_member(const table_descriptor &table, void *record, uint32_t slot);
void clear_from(const table_descriptor &table, void *record, uint32_t slot);
// Empties every vector of a record and of its embedded records.
void clear_vectors(const table_descriptor &table, void *record);
// Whether a vector of the record or of its embedded records has an array.
bool has_array(const table_descriptor &table, const void *record);

// Empty when two records hold the same, otherwise where and how they differ.
std::string difference(const message &message, const void *expected, const void *actual);

// A table in an image and its record. Vectors are represented by their first element.
struct visited_table {
  const table_descriptor *descriptor;
  void *record;
  uint32_t at;   // position in the image
  uint32_t slot; // of the root: which one leads here; unused for the root itself
  bool is_root;
};

// The root first. The record must be full and the image its encoding.
std::vector<visited_table> tables_in(const message &message, owned_record &record,
                                     const wire_builder &wire);

// The record that is left when a decode ends at a slot of one of its tables: what was read before,
// zeros from there on. Where it was built from a tree, the vectors are empty.
owned_record stopped_record(const message &message, const wire_builder &wire, size_t table,
                            uint32_t slot);

// That a decode ended there: this record is left and every block that was asked for has gone back.
// Empties the vectors of the decoded record.
void expect_stopped(const message &message, decoding &decoded, const owned_record &expected);

// The image with every multi-byte value reversed, words of fixed arrays only if told to.
bytes reversed(const message &message, const bytes &image, bool words_too);

} // namespace catalogue
