// The table of messages; see messages.h.
//
// Room: attacks. The root form is taken from the catalogue of tests, which is written by hand.
#include "fuzz/messages.h"

#include "tests/catalogue/catalogue.h"
#include "tests/support/units.h"

#include <cstdlib>

namespace fuzz {
namespace {

struct table_of_messages {
  message rows[message_count];

  table_of_messages() {
    uint32_t n = 0;
    mesh_fib6::tools::for_each_message(
        [&](const message_descriptor &descriptor) { add(rows[n++], descriptor); });
  }

private:
  static void add(message &row, const message_descriptor &descriptor) {
    static_cast<message_descriptor &>(row) = descriptor;
    row.form = catalogue::row_of(descriptor.name).form == catalogue::root_form::table_form
                   ? reference::root_form::table_form
                   : reference::root_form::header_first;
    const unit_pair units = units_of(descriptor.name);
    bind_units(
        units); // before the first execution: the first binding would reset the byte_swap flag
    row.recv_unit = &units.recv;
    row.send_unit = &units.send;
    row.vectors = reference::vectors_of(*descriptor.table);
    row.storage = malloc(descriptor.record_size);
  }
};

const table_of_messages &the_messages() {
  static const table_of_messages &all = *new table_of_messages;
  return all;
}

// Once, so that an execution does not ask whether the table is there.
const message *const first_message = the_messages().rows;

} // namespace

void message::set_byte_swap(uint32_t flag) const {
  recv_unit->byte_swap = flag;
  send_unit->byte_swap = flag;
}

std::span<const message, message_count> all_messages() {
  return std::span<const message, message_count>(first_message, message_count);
}

const message &message_of(const uint8_t *input) {
  uint32_t identifier = 0;
  for (uint32_t i = 0; i < identifier_size; i++)
    identifier |= uint32_t{input[i]} << (8 * i);
  const message *nearest = first_message;
  for (const message &each : all_messages()) {
    if (each.id == identifier)
      return each;
    if ((each.id ^ identifier) < (nearest->id ^ identifier))
      nearest = &each;
  }
  return *nearest;
}

bool is_name(const char *text, const char *name, const char *suffix) {
  while (*name != 0 && *text == *name)
    text++, name++;
  if (*name != 0)
    return false;
  while (*suffix != 0 && *text == *suffix)
    text++, suffix++;
  return *suffix == 0 && *text == 0;
}

} // namespace fuzz
