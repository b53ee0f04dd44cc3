// What a peer makes of the service's words: its table, and what it wants to ask.
//
// Room: demo. Includes public headers and the folder above; knows nothing of how records arrive.
#pragma once

#include "demo/services/agreement.h"
#include "demo/services/change.h"

#include <cstdint>
#include <optional>

namespace demo {

// Keeps the table of one service. Whatever it cannot follow ends in a wish for the whole table:
// nothing here waits for a message that may never come.
class follower {
public:
  enum class standing {
    astray,     // the table is not to be relied upon: the whole one is to be asked for
    assembling, // a whole table is on its way; the one before it stays until then
    in_step,    // the table is the service's, as of last_change()
  };

  // One message, as the decoder left its record.
  void take(uint32_t id, uint64_t target, const void *record, uint32_t size);

  // The answer to this peer's latest check: whose words count from now on, and what about the
  // table.
  void take(const check_answer &answer);

  // What a check says of this peer's table.
  check asking(uint32_t answer_to, uint32_t number) const;

  // The mesh says that something of the service is missing.
  void miss_something();

  // Nothing has come for too long: what is on its way is given up.
  void give_up() { go_astray(); }

  standing now() const { return at; }
  const digested_table &table() const { return kept; }
  uint32_t last_change() const { return change_number; }
  // The last one after which the service named the digest that the table had here, too.
  uint32_t confirmed_change() const { return confirmed; }
  uint64_t epoch() const { return service_epoch; }
  bool service_has_ended() const { return ended; }

  struct counters {
    uint64_t changes = 0;      // made
    uint64_t whole_tables = 0; // taken over
    uint64_t gaps = 0;         // times something was missing, or a table differed
    uint64_t repeated = 0;     // changes and entries that were taken before
    uint64_t refused = 0;      // messages that the decoder refused or that break the agreement
    uint64_t strangers = 0;    // messages of another service than the one that answered
  };
  const counters &counts() const { return counted; }

private:
  template <class Message>
  void take_change(const void *record, uint32_t size);
  template <class Message>
  void take_entry(const void *record, uint32_t size);
  void take_context(const void *record, uint32_t size);
  void begin_assembly(const service_context &context);
  void finish_assembly(const service_context &context);
  void compare(const service_context &context);
  void refuse();
  void miss();
  void go_astray();

  digested_table kept;
  standing at = standing::astray;
  uint64_t service_epoch = 0; // 0: none has answered yet
  uint32_t change_number = 0, confirmed = 0;
  std::optional<uint32_t> behind_at; // the last change when a check first found this peer behind
  bool ended = false;

  table_assembly assembly;
  uint32_t synchronisation = 0; // of the assembly
  uint32_t entry_number = 0;

  counters counted;
};

} // namespace demo
