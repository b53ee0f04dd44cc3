/* All message types in a table: what has arrived under an identifier, and how to handle it.
 *
 * Room: public headers. C99, also valid C++; header-only, exports nothing. A program that includes
 * it refers to every function of the library, and each of its sources that uses the table has one.
 *
 * For programs that treat messages alike: recorders, filters, tools. Who knows the types that he
 * wants compares identifiers with M_ID and calls M__unpack.
 *
 *     const mesh_fib6_message *type = mesh_fib6_find_message(id);
 *     void *record = type != NULL ? calloc(1, type->record_size) : NULL;
 *     if (record != NULL) {
 *       type->unpack(bytes, length, record);
 *       printf("%s\n", type->name);
 *       type->free_unpacked(record);
 *       free(record);
 *     }
 */
#ifndef MESH_FIB6_MESSAGES_H
#define MESH_FIB6_MESSAGES_H

#include "fib6.h"
#include "fib6_cfg.h"
#include "fib6_sync.h"
#include "message_list.h"

#include <stddef.h>
#include <stdint.h>

/* A message type. The functions are those of message_api.h, with records untyped: a record must be
 * of the type's struct. Constant; any thread. */
typedef struct mesh_fib6_message {
  uint32_t id;          /* M_ID */
  const char *name;     /* M: of the struct, and what its functions begin with */
  const char *module;   /* whose <module>_recv_init registers it */
  uint32_t record_size; /* sizeof(M) */
  uint32_t image_size;  /* bytes that M__send* sends for a record without pointers; otherwise 0 */
  /* M__pack */
  uint32_t (*pack)(const void *record, uint8_t *buffer, uint32_t *length);
  /* M__unpack */
  uint32_t (*unpack)(const uint8_t *buffer, uint32_t length, void *record);
  /* M_free__unpacked */
  void (*free_unpacked)(void *record);
  /* M__sendsingle */
  uint32_t (*sendsingle)(uint32_t destination, const void *record, uint32_t ignored,
                         uint64_t target);
  /* M__sendbatch */
  uint32_t (*sendbatch)(uint32_t destination, const void *records, uint32_t count, uint64_t target);
  /* M__sendmsg */
  uint32_t (*sendmsg)(uint32_t destination, const void *records, uint32_t count);
  /* M__sendtomsg */
  uint32_t (*sendtomsg)(uint32_t destination, const void *records, uint32_t count, uint64_t target);
} mesh_fib6_message;

#ifdef __cplusplus
#define MESH_FIB6_AS(type, pointer) static_cast<type>(pointer)
#else
#define MESH_FIB6_AS(type, pointer) (pointer)
#endif

/* The functions of the library take typed pointers. A call through a pointer of another type is not
 * defined, so each has a neighbour that is typed as the table is. */
#define MESH_FIB6_UNTYPED(M, module, image_size)                                                   \
  static inline uint32_t mesh_fib6_pack_##M(const void *record, uint8_t *buffer,                   \
                                            uint32_t *length) {                                    \
    return M##__pack(MESH_FIB6_AS(const M *, record), buffer, length);                             \
  }                                                                                                \
  static inline uint32_t mesh_fib6_unpack_##M(const uint8_t *buffer, uint32_t length,              \
                                              void *record) {                                      \
    return M##__unpack(buffer, length, MESH_FIB6_AS(M *, record));                                 \
  }                                                                                                \
  static inline void mesh_fib6_free_unpacked_##M(void *record) {                                   \
    M##_free__unpacked(MESH_FIB6_AS(M *, record));                                                 \
  }                                                                                                \
  static inline uint32_t mesh_fib6_sendsingle_##M(uint32_t destination, const void *record,        \
                                                  uint32_t ignored, uint64_t target) {             \
    return M##__sendsingle(destination, MESH_FIB6_AS(const M *, record), ignored, target);         \
  }                                                                                                \
  static inline uint32_t mesh_fib6_sendbatch_##M(uint32_t destination, const void *records,        \
                                                 uint32_t count, uint64_t target) {                \
    return M##__sendbatch(destination, MESH_FIB6_AS(const M *, records), count, target);           \
  }                                                                                                \
  static inline uint32_t mesh_fib6_sendmsg_##M(uint32_t destination, const void *records,          \
                                               uint32_t count) {                                   \
    return M##__sendmsg(destination, MESH_FIB6_AS(const M *, records), count);                     \
  }                                                                                                \
  static inline uint32_t mesh_fib6_sendtomsg_##M(uint32_t destination, const void *records,        \
                                                 uint32_t count, uint64_t target) {                \
    return M##__sendtomsg(destination, MESH_FIB6_AS(const M *, records), count, target);           \
  }
MESH_FIB6_EACH_MESSAGE(MESH_FIB6_UNTYPED)
#undef MESH_FIB6_UNTYPED
#undef MESH_FIB6_AS

/* Where a type is in the table, which has them in the order in which they are registered. */
#define MESH_FIB6_INDEX(M, module, image_size) mesh_fib6_index_of_##M,
enum { MESH_FIB6_EACH_MESSAGE(MESH_FIB6_INDEX) mesh_fib6_message_count };
#undef MESH_FIB6_INDEX

/* The table: mesh_fib6_message_count types. */
static inline const mesh_fib6_message *mesh_fib6_messages(void) {
#define MESH_FIB6_ROW(M, module, image_size)                                                       \
  {M##_ID,                                                                                         \
   #M,                                                                                             \
   #module,                                                                                        \
   sizeof(M),                                                                                      \
   image_size,                                                                                     \
   mesh_fib6_pack_##M,                                                                             \
   mesh_fib6_unpack_##M,                                                                           \
   mesh_fib6_free_unpacked_##M,                                                                    \
   mesh_fib6_sendsingle_##M,                                                                       \
   mesh_fib6_sendbatch_##M,                                                                        \
   mesh_fib6_sendmsg_##M,                                                                          \
   mesh_fib6_sendtomsg_##M},
  static const mesh_fib6_message all[] = {MESH_FIB6_EACH_MESSAGE(MESH_FIB6_ROW)};
#undef MESH_FIB6_ROW
  return all;
}

/* The type with an identifier; null when there is none. */
#if defined(__GNUC__)
__attribute__((unused)) /* an editor looks at this file alone */
#endif
static inline const mesh_fib6_message *
mesh_fib6_find_message(uint32_t id) {
  switch (id) {
#define MESH_FIB6_CASE(M, module, image_size)                                                      \
  case M##_ID:                                                                                     \
    return &mesh_fib6_messages()[mesh_fib6_index_of_##M];
    MESH_FIB6_EACH_MESSAGE(MESH_FIB6_CASE)
#undef MESH_FIB6_CASE
  default:
    return NULL;
  }
}

#endif
