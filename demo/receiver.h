// The receiving process: rebuilds the table from the messages that arrive.
//
// Room: demo. Includes this folder only.
#pragma once

#include "demo/report.h"

#include <cstdint>
#include <string>

namespace demo {

struct receiver_options {
  uint32_t destination = 6;
  bool once = false;                // end after the first table was withdrawn
  bool spoil = false;               // change one received route, to see that it is noticed
  std::string table_path;           // where to write a complete table; empty: nowhere
  std::string withdrawn_table_path; // where to write what is left after the withdrawal
};

// What a run without a parent returns when it ended as asked, but messages were lost, refused or of
// no use.
inline constexpr int incomplete_status = 3;

// Returns the exit status; throws failure. Without `once` or a parent it ends by SIGINT or SIGTERM.
// With a parent (`parent` may be null) it ends when the parent tells "end" or is gone, and tells
//   ready             attached, may be sent to
//   table_sent        a table is complete: messages routes next_hops groups refused ...
//   table_withdrawn   it was deleted again, the same numbers
int run_receiver(const receiver_options &options, report_channel *parent);

} // namespace demo
