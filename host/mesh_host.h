/* The receiving interface of the development host's mesh stand-in (libtolvimesh.so).
 *
 * Room: host. Plain C99, also valid C++. The four sending and registering functions are declared in
 * ../platform/mesh.h; this header adds what a receiver needs on a development machine. It is this
 * stand-in's own interface: the device's mesh has another.
 */
#ifndef MESH_FIB6_HOST_MESH_HOST_H
#define MESH_FIB6_HOST_MESH_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Results of the send functions (their low 32 bits) and of the functions below. */
enum mesh_host_result {
  MESH_HOST_OK = 0,
  MESH_HOST_FULL = 0x4D480001,        /* the receiver took nothing within the send time-out */
  MESH_HOST_NO_RECEIVER = 0x4D480002, /* nobody attached to the destination within the time-out */
  MESH_HOST_PEER_LOST = 0x4D480003,   /* the receiver died with messages unacknowledged */
  MESH_HOST_BAD_ARGUMENT = 0x4D480004,
  MESH_HOST_BAD_CONFIG =
      0x4D480005, /* the configuration file or the private directory is unusable */
  MESH_HOST_TOO_LARGE = 0x4D480006, /* a message above the frame limit */
  MESH_HOST_DUPLICATE = 0x4D480007, /* an identifier or a destination that is taken already */
  MESH_HOST_SYSTEM = 0x4D480008     /* no memory, no socket */
};

typedef struct mesh_host_receiver mesh_host_receiver;

/* Called on the polling thread for each decoded record. `record` is storage of the host, zeroed
 * before decoding, released by the registered release hook and reused after the handler returns.
 * `target` is what the sender gave (0 when none). A handler may send, but neither poll nor detach
 * its own receiver, and must not throw. */
typedef void (*mesh_host_handler)(void *context, uint32_t id, uint64_t target, const void *record,
                                  uint32_t record_size);

/* Makes this process the receiver of `destination`. 0 or a mesh_host_result. */
uint32_t mesh_host_attach(uint32_t destination, mesh_host_receiver **receiver);

/* Waits up to `timeout_ms` (-1: without limit, 0: not at all) for messages, hands every message
 * that has arrived to `handler` (at least one, at most a bounded number per call) and acknowledges
 * them afterwards. Returns the number of messages handled, 0 after a time-out or a signal, -1 on an
 * error that ends this receiver (told on stderr) and after a detach in another thread. Messages
 * that are refused (unknown identifier, oversize, malformed) do not end the wait. One thread at a
 * time: a second poll of the same receiver returns -1 and leaves the first alone. */
int mesh_host_poll(mesh_host_receiver *receiver, int timeout_ms, mesh_host_handler handler,
                   void *context);

/* Ends the attachment; unhandled messages are refused to their senders, not lost silently. A poll
 * in another thread ends first. */
void mesh_host_detach(mesh_host_receiver *receiver);

/* Waits until every message this process has sent to `destination` was handled there. MESH_HOST_OK,
 * MESH_HOST_FULL when they were not by then, MESH_HOST_PEER_LOST. */
uint32_t mesh_host_flush(uint32_t destination, int timeout_ms);

/* Flushes all destinations, then calls the registered clean hooks in the order of registration.
 * MESH_HOST_OK or the first failure of a flush; the hooks are called in either case. */
uint32_t mesh_host_clean(int timeout_ms);

/* What went through this process and what it refused, for tests and summaries. Bytes are those of
 * encoded messages, without the frames around them. `sent` counts messages accepted for sending,
 * `delivered` those handed to a handler. */
typedef struct mesh_host_counters {
  uint64_t sent, delivered, bytes_sent, bytes_received;
  uint64_t unknown_identifier, oversize, malformed;
} mesh_host_counters;
void mesh_host_get_counters(mesh_host_counters *into);

/* A text for a mesh_host_result or any other result of a send operation, never null. */
const char *mesh_host_result_text(uint32_t result);

#ifdef __cplusplus
}
#endif

#endif
