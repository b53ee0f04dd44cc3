/* What libmesh_fib6_tap.so writes and `mesh-fib6 capture` reads: a pcapng file
 * (https://www.ietf.org/archive/id/draft-ietf-opsawg-pcapng-02.html) with one interface of link
 * type LINKTYPE_USER0 (147). Each packet is a header and the message's bytes.
 *
 * Room: tools. Plain C99, also valid C++. Nothing but libc's integers.
 */
#ifndef MESH_FIB6_TOOLS_CAPTURE_H
#define MESH_FIB6_TOOLS_CAPTURE_H

#include <stdint.h>

#define MESH_FIB6_LINK_TYPE 147u

enum mesh_fib6_direction { mesh_fib6_sent = 0, mesh_fib6_received = 1 };

/* 24 bytes, all numbers in little-endian order. */
typedef struct mesh_fib6_capture_header {
  uint8_t version;      /* 1 */
  uint8_t direction;    /* mesh_fib6_direction */
  uint16_t reserved;    /* 0 */
  uint32_t destination; /* of a message that is sent; 0xFFFFFFFF when it is not known */
  uint64_t target;      /* likewise; 0 when there is none */
  uint32_t id;          /* the message's identifier */
  uint32_t length;      /* of the message, of which the packet may hold less */
} mesh_fib6_capture_header;

#endif
