// What decoding must give, worked out a second time: slowly, from the descriptors, in 64-bit
// arithmetic.
//
// Room: reference. The library's decoder is written for speed; this one is written to be compared
// with docs/wire-format.md and mesh_fib6/message_api.h line by line.
#pragma once

#include "tests/reference/vectors.h"

#include <cstdint>
#include <vector>

namespace reference {

// How the root's header is treated.
enum class root_form : uint8_t {
  header_first, // a bad one leaves the record untouched
  table_form,   // a bad one leaves it zeroed, and is reported as an embedded record's is
};

// A structural word of a buffer: what a mutation of structure changes.
enum class role : uint8_t { root_offset, soffset, vtable_size, vtable_entry, uoffset, count };
struct site {
  uint32_t at;
  reference::role role;
};

// What the parameters of a decoding are.
struct received_message {
  const uint8_t *bytes;
  uint32_t length;
  uint32_t byte_swap;
  uint32_t refused_request; // which request for memory fails, from 1; 0: none
};

enum class ending : uint8_t {
  refused, // the record is not touched
  failed,  // what was read so far stays, pointers are null
  decoded,
};
enum class line : uint8_t { none, table_offset, vtable_offset, vtable_length, no_memory };

// What decoding must do. Vectors are numbered as in vectors_of().
struct expectation {
  reference::ending ending;

  // The record, pointers null.
  std::vector<uint8_t> record;

  // Elements of the vectors; null where nothing must be allocated or where it must be released
  // again.
  const uint8_t *elements[max_vectors];

  // Requests for memory in order: size and vector.
  struct request {
    uint32_t size;
    uint32_t vector;
  };
  request requests[max_vectors];
  uint32_t request_count;

  // The one line that is logged, under `<line_name><line_suffix>`.
  reference::line line;
  const char *line_name, *line_suffix;
  uint32_t line_first, line_second;
};

class decoder {
public:
  // The expectation lives until the next call. The parameters have been accepted: at least 4 bytes.
  const expectation &decode(const table_descriptor &root, root_form form,
                            const received_message &received);

  // The structural words that decoding reads, in the order in which it reads them.
  struct site_list {
    site of[256];
    uint32_t count;
  };
  void list_sites(const table_descriptor &root, const received_message &received, site_list &sites);

private:
  struct table_ref {
    uint64_t at, vtable;
    uint32_t vtable_size;
  };

  bool holds(uint64_t at, uint64_t count) const { return at + count <= received_.length; }
  uint32_t number(uint64_t at, uint32_t width) const;
  uint32_t structural(uint64_t at, uint32_t width, reference::role role);
  bool fail(reference::line line, const char *name, const char *suffix, uint64_t first,
            uint64_t second);
  bool open_table(uint64_t at, const char *name, const char *suffix, table_ref &table);
  bool read_fields(const table_descriptor &descriptor, const table_ref &table, uint8_t *record,
                   bool is_element);
  bool read_field(const table_descriptor &owner, const field_descriptor &field, uint64_t at,
                  uint8_t *record, bool is_element);
  bool follow(uint64_t at, uint64_t &target);
  bool open_vector(uint64_t at, uint64_t width, uint64_t &items, uint32_t &count);
  bool read_array(const field_descriptor &field, uint64_t at, uint8_t *record);
  bool read_vector(const table_descriptor &owner, const field_descriptor &field, uint64_t at,
                   uint8_t *record);
  bool read_elements(const field_descriptor &field, uint64_t items, uint32_t count,
                     uint8_t *elements);

  const table_descriptor *root_ = nullptr;
  received_message received_{};
  expectation expected_{};
  std::vector<uint8_t> element_storage_;
  size_t element_bytes_ = 0;
  site_list *sites_ = nullptr;
};

} // namespace reference
