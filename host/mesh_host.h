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
  MESH_HOST_FULL = 0x4D480001,        /* no room for the messages within the send time-out */
  MESH_HOST_NO_RECEIVER = 0x4D480002, /* nobody attached to the destination within the time-out */
  MESH_HOST_PEER_LOST = 0x4D480003,   /* accepted messages may not have been handled; see below */
  MESH_HOST_BAD_ARGUMENT = 0x4D480004,
  MESH_HOST_BAD_CONFIG =
      0x4D480005, /* the configuration file or the private directory is unusable */
  MESH_HOST_TOO_LARGE = 0x4D480006, /* a message or a batch above the limit */
  MESH_HOST_DUPLICATE = 0x4D480007, /* an identifier or a destination that is taken already */
  MESH_HOST_SYSTEM = 0x4D480008     /* no memory, no descriptor, no server */
};

/* A process's attachment to a destination. */
typedef struct mesh_host_receiver mesh_host_receiver;

/* Called on the polling thread for each decoded record. `record` is storage of the host, zeroed
 * before decoding, released by the registered release hook and reused after the handler returns.
 * `target` is what the sender gave (0 when none). A handler may send, but neither poll nor detach
 * its own receiver, and must not throw. */
typedef void (*mesh_host_handler)(void *context, uint32_t id, uint64_t target, const void *record,
                                  uint32_t record_size);

/* Makes this process the receiver of `destination`. 0 or a mesh_host_result. */
uint32_t mesh_host_attach(uint32_t destination, mesh_host_receiver **receiver);

/* Waits up to `timeout_ms` (-1: without limit, 0: not at all) for messages, hands what has arrived
 * to `handler` (at least one message, at most a bounded number of batches per call) and
 * acknowledges it afterwards. Returns the number of messages handled, 0 after a time-out or a
 * signal, -1 on an error that ends this receiver (told on stderr) and after a detach in another
 * thread. Messages that are refused (unknown identifier, oversize, malformed) do not end the wait.
 * One thread at a time: a second poll of the same receiver returns -1 and leaves the first alone.
 */
int mesh_host_poll(mesh_host_receiver *receiver, int timeout_ms, mesh_host_handler handler,
                   void *context);

/* Ends the attachment; what is unhandled is told to its senders (or kept, where the way keeps it),
 * not lost silently. A poll in another thread ends first. */
void mesh_host_detach(mesh_host_receiver *receiver);

/* A sender numbers the messages it sends to a destination: 1, 2, ... When a receiver gets message
 * number N of a sender and has not had all before it (it attached late, its predecessor was killed,
 * something was lost), it has a gap. It is told before the message is handled, on the polling
 * thread, and should ask that sender for a full synchronisation. */
typedef struct mesh_host_gap {
  uint64_t sender;      /* a number that each sending process draws at random */
  uint64_t first, last; /* numbers of the messages that this receiver did not get */
} mesh_host_gap;

/* Told of a gap. */
typedef void (*mesh_host_gap_handler)(void *context, const mesh_host_gap *gap);

/* Names the function that is told of gaps; null for none. Before the first poll. */
void mesh_host_on_gap(mesh_host_receiver *receiver, mesh_host_gap_handler handler, void *context);

/* Where the message comes from that is being handled; inside a handler of `receiver` only, and all
 * zero elsewhere. `repeated` is 1 when the message was handed to a handler before (see
 * MESH_HOST_FAULT_DUPLICATE). */
typedef struct mesh_host_origin {
  uint64_t sender, number; /* the sender's, and the message's among its messages */
  uint32_t repeated;       /* 1 or 0 */
} mesh_host_origin;

/* Says where the message under way comes from. */
void mesh_host_get_origin(const mesh_host_receiver *receiver, mesh_host_origin *into);

/* Waits until every message this process has sent to `destination` was handled there. MESH_HOST_OK,
 * MESH_HOST_FULL when they were not by then, MESH_HOST_PEER_LOST.
 *
 * MESH_HOST_PEER_LOST is a report. Each loss is reported to each thread that had messages in it, by
 * its next send or flush to that destination, whatever other threads were told; and to every other
 * thread by its next flush. The send that reports sends nothing. */
uint32_t mesh_host_flush(uint32_t destination, int timeout_ms);

/* How far the messages of this process to `destination` have come, without waiting. */
typedef struct mesh_host_progress {
  uint64_t sender;   /* the number of this process among senders */
  uint64_t accepted; /* number of the last message accepted */
  uint64_t handled;  /* number up to which nothing is outstanding any more: handled, or lost */
  uint64_t losses;   /* how often messages were lost */
  uint64_t lost_first, lost_last; /* of the last loss: which numbers are not known to be handled */
} mesh_host_progress;

/* Says how far they are. */
void mesh_host_get_progress(uint32_t destination, mesh_host_progress *into);

/* Flushes all destinations, then calls the registered clean hooks in the order of registration.
 * MESH_HOST_OK or the first failure of a flush; the hooks are called in either case. */
uint32_t mesh_host_clean(int timeout_ms);

/* What went through this process since it began, all destinations together. Bytes are those of
 * encoded messages, without the frames around them. */
typedef struct mesh_host_counters {
  /* Of sending: messages. accepted = handled + lost + those under way. */
  uint64_t accepted, handled, refused, lost; /* messages to be sent, by what became of them */
  uint64_t bytes_sent;                       /* of accepted messages */
  uint64_t most_messages_under_way, most_bytes_under_way; /* at any moment, of any destination */
  /* Of receiving. */
  uint64_t delivered;                               /* messages handed to a handler */
  uint64_t redelivered;                             /* that came a second time and were dropped */
  uint64_t bytes_received;                          /* of delivered messages */
  uint64_t gaps;                                    /* in the numbers of a sender's messages */
  uint64_t unknown_identifier, oversize, malformed; /* messages refused, by why */
} mesh_host_counters;

/* Says what they are now. */
void mesh_host_get_counters(mesh_host_counters *into);

/* A text for a mesh_host_result or any other result of a send operation, never null. */
const char *mesh_host_result_text(uint32_t result);

#ifdef __cplusplus
}
#endif

#endif
