// The feed: from a routing daemon's connection to the mesh.
//
// Room: fpm. Includes this folder.
#pragma once

#include "fpm/address.h"

#include <cstdint>
#include <string>

namespace fpm {

struct feed_options {
  std::string listen = "127.0.0.1:2620"; // where FRR's module connects to when it is told nothing
  listen_address address;
  uint32_t destination = 6; // of the receiver
  uint32_t requests = 7;    // where receivers ask for the whole table
  uint32_t grace_seconds = 60;
  uint32_t limit = 4'000'000;
  std::string dump_path; // where to write the table as text; empty: nowhere
};

// Until SIGINT or SIGTERM. Returns the exit status; throws demo::failure.
int run_feed(const feed_options &options);

// What a run returns when something that a daemon said could not be understood.
inline constexpr int malformed_status = 3;

} // namespace fpm
