/* What a process of the development host tells about itself while it runs: counters in a file.
 *
 * Room: host. Plain C99, also valid C++. Each process that attaches or sends keeps the file
 * `<directory>/<process id>.status` mapped and counts in it, so that others can read the numbers
 * without asking. The file is locked (flock) as long as its process lives, and removed when the
 * process ends in order; one that is not locked was left by a process that was killed, and the next
 * process to start removes it. Numbers are in the machine's byte order and may be read at any
 * moment; each is right by itself, several of them are not of one instant.
 */
#ifndef MESH_FIB6_HOST_STATUS_FILE_H
#define MESH_FIB6_HOST_STATUS_FILE_H

#include <stdint.h>

#define MESH_HOST_STATUS_MAGIC UINT64_C(0x31544154534D484D) /* "MHMSTAT1" */
#define MESH_HOST_STATUS_ROWS 512 /* the room of a file; further destinations are not shown */

/* The beginning of a file. Rows follow it, `rows` of them valid. */
typedef struct mesh_host_status_head {
  uint64_t magic;
  uint32_t process;
  uint32_t rows;
  uint64_t sender; /* this process's number among senders */
  uint64_t reserved[5];
} mesh_host_status_head;

enum mesh_host_role { MESH_HOST_SENDS = 1, MESH_HOST_RECEIVES = 2 };

/* One destination, one direction. What the other direction would count stays 0. The members are
 * explained at mesh_host_counters. */
typedef struct mesh_host_status_row {
  uint32_t destination;
  uint32_t role; /* mesh_host_role, 0 while the row is being made */
  uint64_t accepted, handled, refused, lost, losses, bytes_sent;
  uint64_t messages_under_way, bytes_under_way;
  uint64_t most_messages_under_way, most_bytes_under_way;
  uint64_t delivered, redelivered, bytes_received, gaps;
  uint64_t unknown_identifier, oversize, malformed;
  uint64_t reserved[6];
} mesh_host_status_row;

#endif
