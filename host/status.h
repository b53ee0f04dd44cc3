// The counters of this process, by destination, in a file that others can read.
//
// Room: host. Standard library, POSIX.
#pragma once

#include "host/mesh_host.h"
#include "host/status_file.h"

#include <cstdint>
#include <string>

namespace mesh_host {

// Counting is done by several threads, and read by other processes.
inline void add(uint64_t &counter, uint64_t amount) {
  __atomic_fetch_add(&counter, amount, __ATOMIC_RELAXED);
}
inline void set(uint64_t &counter, uint64_t value) {
  __atomic_store_n(&counter, value, __ATOMIC_RELAXED);
}
// To a counter that nobody else writes meanwhile.
inline void add_alone(uint64_t &counter, uint64_t amount) {
  set(counter, counter + amount);
}
inline uint64_t value_of(const uint64_t &counter) {
  return __atomic_load_n(&counter, __ATOMIC_RELAXED);
}

// Where a destination is counted; valid for the life of the process. `directory` is where the file
// is made at the first call; without one, or when it cannot be made (told), only this process sees
// the numbers.
mesh_host_status_row &status_row(const std::string &directory, uint32_t destination,
                                 mesh_host_role role);

// The number that this process drew.
uint64_t own_sender_number();

mesh_host_counters sum_of_counters();

// A forked child counts for itself, in a file of its own.
void lock_status();
void unlock_status();
void renew_status_in_child(); // with the lock held; leaves it free

// When the process ends.
void remove_status_file();

} // namespace mesh_host
