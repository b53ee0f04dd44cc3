// A recording mesh for tests: defines the four MESH_ functions in the test executable, which
// interposes whatever libtolvimesh.so provides.
//
// Room: tests. Copies what it is given during the call, so that the library may release its buffers
// at once. Thread-safe.
#pragma once

#include "platform/mesh.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace fake_mesh {

struct message {
  uint32_t id;
  const void *data; // the address in the descriptor
  uint32_t length;
  std::vector<uint8_t> bytes; // copied during the call
};

struct send {
  bool to; // MESH_SendToMsg rather than MESH_SendMsg
  uint32_t destination;
  const msg_desc *descriptors; // the address as passed
  uint32_t count;
  uint64_t target; // 0 for MESH_SendMsg
  std::vector<message> messages;
};

struct registration {
  uint32_t id;
  mesh_unpack_hook unpack;
  mesh_free_hook release;
};

void reset(); // forgets calls and observer, results back to 0

std::vector<send> sends();
std::vector<registration> registrations();
std::vector<mesh_clean_hook> clean_hooks();

void set_send_result(uint64_t result);
// The n-th registration (1 = first) and only it is answered with `result`.
void refuse_registration(uint32_t n, uint32_t result);
void set_clean_result(uint32_t result);

// When set, sends copy nothing (for huge batches); only addresses and counts are kept.
void copy_payloads(bool copy);

// Called at the end of every mesh call, before it returns to the library: what has been released
// by then? The observer may ask the doubles and may send.
using send_observer = std::function<void(const send &)>;
void on_send(send_observer observer);

} // namespace fake_mesh
