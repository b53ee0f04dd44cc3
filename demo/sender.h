// The sending process: reads routes, gives them next hops, sends the table, deletes it again.
//
// Room: demo. Includes this folder only.
#pragma once

#include "demo/report.h"

#include <cstdint>
#include <string>

namespace demo {

struct sender_options {
  std::string input;        // a file, or "-" for standard input
  uint32_t destination = 6; // where the receiver is attached
  uint32_t batch = 600;     // entries a message
  uint32_t vrf = 0;
  uint32_t pause_ms = 0;  // between two calls that send
  bool withdraw = false;  // delete everything at the end without being asked
  std::string table_path; // where to write the table as text; empty: nowhere
  std::string receiver; // the program to start where nobody receives; empty: that is not for users
};

inline constexpr uint32_t largest_batch_option = 100'000;

// Returns the exit status; throws failure. `parent` may be null. To it are told:
//   loaded     the input is read: lines bad_lines duplicates routes next_hops groups
//   sent       everything is handled at the receiver: messages bytes ..., see sender.cpp
//   withdrawn  everything is deleted there
// and it may tell "withdraw".
int run_sender(const sender_options &options, report_channel *parent);

// What a run returns when all went well but lines of the input were bad.
inline constexpr int bad_input_status = 3;

} // namespace demo
