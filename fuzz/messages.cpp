// The table of messages; see messages.h.
//
// Room: attacks. The root form is taken from the catalogue of tests, which is written by hand.
#include "fuzz/messages.h"

#include "modules/fib6/units.h"
#include "modules/fib6_cfg/units.h"
#include "modules/fib6_sync/units.h"
#include "tests/catalogue/catalogue.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace fuzz {
namespace {

// Of the table, not of an input. No strings: where the memory sanitizer watches this program, those
// of the C++ library, which it does not watch, must not be mixed with ours.
[[noreturn]] void give_up(const char *what, const char *why) {
  fprintf(stderr, "%s: %s\n", what, why);
  abort();
}

void add_vectors(message &result, const table_descriptor &table, uint32_t base) {
  for (const field_descriptor &field : table.fields) {
    if (field.kind == kind::table)
      add_vectors(result, *field.table, base + field.offset);
    if (!field.is_vector())
      continue;
    if (result.vector_count == max_vectors)
      give_up(table.name, "more vectors than max_vectors");
    result.vectors[result.vector_count++] = {&table, &table != result.table,
                                             base + field.count_offset, base + field.offset,
                                             field.width};
  }
}

struct units {
  mesh_fib6::runtime::unit *recv, *send;
};

units units_of(std::string_view module) {
  using namespace mesh_fib6;
  if (module == "fib6")
    return {&fib6::recv_unit, &fib6::send_unit};
  if (module == "fib6_cfg")
    return {&fib6_cfg::recv_unit, &fib6_cfg::send_unit};
  return {&fib6_sync::recv_unit, &fib6_sync::send_unit};
}

// Bound before the first execution: the first binding would reset the byte_swap flag.
void bind(mesh_fib6::runtime::unit &unit) {
  mesh_fib6::runtime::bind_general(unit);
  mesh_fib6::runtime::bind_cache(unit);
}

struct table_of_messages {
  message rows[message_count];

  table_of_messages() {
    uint32_t n = 0;
    mesh_fib6::tools::for_each_message([&](const message_descriptor &descriptor) {
      if (n == message_count)
        give_up(descriptor.name, "one message more than message_count says");
      add(rows[n++], descriptor);
    });
    if (n != message_count)
      give_up("the messages", "fewer than message_count says");
  }

private:
  static void add(message &row, const message_descriptor &descriptor) {
    static_cast<message_descriptor &>(row) = descriptor;
    if (descriptor.record_size > max_record_size)
      give_up(descriptor.name, "larger than max_record_size");
    row.table_form = catalogue::row_of(descriptor.name).form == catalogue::root_form::table_form;
    const units both = units_of(descriptor.module);
    row.recv_unit = both.recv;
    row.send_unit = both.send;
    bind(*row.recv_unit);
    bind(*row.send_unit);
    row.vector_count = 0;
    add_vectors(row, *descriptor.table, 0);
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

uint32_t message::amplification() const {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < vector_count; i++)
    sum += vectors[i].width == 1 ? 1 : (vectors[i].width + 3) / 4;
  return sum;
}

void message::set_byte_swap(uint32_t flag) const {
  recv_unit->byte_swap = flag;
  send_unit->byte_swap = flag;
}

const message &message_at(uint32_t number) {
  return first_message[number % message_count];
}

uint32_t number_of(const char *name) {
  for (uint32_t i = 0; i < message_count; i++)
    if (strcmp(the_messages().rows[i].name, name) == 0)
      return i;
  give_up(name, "no message has this name");
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
