// What decoding must give, worked out a second time: slowly, from the descriptors, in 64-bit
// arithmetic and without anything of wire/ but its schema.
//
// Room: attacks. The library's decoder is compiled per message and written for speed; this one is
// written to be compared with docs/wire-format.md and modules/message_api.h line by line.
#pragma once

#include "fuzz/messages.h"

#include <cstdint>
#include <vector>

namespace fuzz {

// A structural word of a buffer: what a mutation of structure changes.
enum class role : uint8_t { root_offset, soffset, vtable_size, vtable_entry, uoffset, count };
struct site {
  uint32_t at;
  fuzz::role role;
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

// What decoding must do.
struct expectation {
  fuzz::ending ending;

  // The record, pointers null.
  alignas(8) uint8_t record[max_record_size];

  // Elements of the vectors, by the message's vector_place; null where nothing must be allocated or
  // where it must be released again.
  const uint8_t *elements[max_vectors];

  // Requests for memory in order: size and vector.
  struct request {
    uint32_t size;
    uint32_t vector;
  };
  request requests[max_vectors];
  uint32_t request_count;

  // The one line that is logged, under `<line_name><line_suffix>`.
  fuzz::line line;
  const char *line_name, *line_suffix;
  uint32_t line_first, line_second;
};

class reference_decoder {
public:
  // The expectation lives until the next call. The parameters have been accepted: at least 4 bytes.
  const expectation &decode(const message &message, const received_message &received);

  // The structural words that decoding reads, in the order in which it reads them.
  struct site_list {
    site of[256];
    uint32_t count;
  };
  void list_sites(const message &message, const received_message &received, site_list &sites);

private:
  struct table_ref {
    uint64_t at, vtable;
    uint32_t vtable_size;
  };

  bool holds(uint64_t at, uint64_t count) const { return at + count <= received_.length; }
  uint32_t number(uint64_t at, uint32_t width) const;
  uint32_t structural(uint64_t at, uint32_t width, fuzz::role role);
  bool fail(fuzz::line line, const char *name, const char *suffix, uint64_t first, uint64_t second);
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

  const message *message_ = nullptr;
  received_message received_{};
  expectation expected_{};
  std::vector<uint8_t> element_storage_;
  size_t element_bytes_ = 0;
  site_list *sites_ = nullptr;
};

} // namespace fuzz
