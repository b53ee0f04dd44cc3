/* The seven operations that every message type has, documented once.
 *
 * Room: public headers. Plain C99, also valid C++. Nothing but libc's integers.
 */
#ifndef MESH_FIB6_MESSAGE_API_H
#define MESH_FIB6_MESSAGE_API_H

#include <stdint.h>

/* What the library exports. */
#if defined(__GNUC__)
#define MESH_FIB6_API __attribute__((visibility("default")))
#else
#define MESH_FIB6_API
#endif

/* What a sending or packing operation returns when it fails before the mesh is asked. */
#define MESH_FIB6_FAILED UINT32_C(0xFFFFFFFF)

/* M_ID
 *   The identifier under which the mesh carries messages of type M and hands them to a receiver: a
 *   constant, fit for `case`. It is the FNV-1a hash (32 bits,
 *   http://www.isthe.com/chongo/tech/comp/fnv/) of "<namespace>.<message>", where M is
 *   <namespace>_<message>. messages.h has a table of all types, found by identifier.
 */

/* Declares the operations of message type M. All of them may be called by any thread at any time.
 *
 * uint32_t M__pack(const M *record, uint8_t *buffer, uint32_t *length)
 *   Encodes *record in the compact layout (FlatBuffers wire format, nothing padded, zero scalars
 *   left out) into `buffer`. `*length` is the capacity in bytes on entry and the encoded size on
 *   success. Returns 0, or 0xFFFFFFFF with `*length` untouched when `record` is null, when the
 *   capacity is smaller than the encoded size or when that size exceeds 32 bits.
 *   A null `buffer` with a large enough capacity is a size query: nothing is written, the size is
 *   stored, the result is 0 (and a parameter line is logged).
 *   COUNTS MUST MATCH THEIR POINTERS: a count that is not 0 with a null array is the caller's error
 *   and is not survived, neither here nor by any M__send*: the process reads through the null
 *   pointer. A record from M__unpack may be like that (see there), so hand one on only after its
 *   pointers were tested, or with the counts of null pointers set to 0.
 *   A byte vector with a non-null pointer and length 0 is not written, yet adds 8 to the size; the
 *   last 8 bytes of the buffer then stay as they were (M__send* send zeros there).
 *   Nothing is allocated.
 *       uint32_t length = sizeof buffer;
 *       if (M__pack(&record, buffer, &length) == 0)
 *         transport(buffer, length);
 *
 * uint32_t M__unpack(const uint8_t *buffer, uint32_t length, M *record)
 *   Decodes `length` untrusted bytes into *record, whose storage is the caller's and need not be
 *   initialised. Always returns sizeof(M), on failure too: a failure shows in the record, mostly
 *   in the log as well (a member that lies behind the end is refused without a line).
 *   Refused before decoding starts (null argument, fewer than 4 bytes; in the header-first form
 *   also a bad root or vtable offset) the record is untouched, so zero it first when in doubt;
 *   refused later, whatever was allocated is released, pointers are null, scalars read so far stay.
 *   TEST THE POINTER, NOT THE COUNT: counts are scalars that stay. Of a message that was cut short,
 *   f1_count may be 1000 beside a null f1, and a loop that goes by the count alone is a crash that
 *   any peer can cause. After M_free__unpacked it is the same.
 *   A record that holds pointers owns the blocks behind them until M_free__unpacked. Absent members
 *   are zero, absent vectors have count 0 and a null pointer. With a null `record` the call only
 *   logs and returns the size: a way to learn how much storage a record needs.
 *       memset(&record, 0, sizeof record);
 *       M__unpack(bytes, size, &record);
 *       for (i = 0; record.f1 != NULL && i < record.f1_count; i++)
 *         use(&record.f1[i]);
 *       M_free__unpacked(&record);
 *
 * void M_free__unpacked(M *record)
 *   Releases what M__unpack allocated inside *record and nulls its pointers; counts stay. Null is
 *   ignored, a second call frees nothing, and a flat record (one without pointers) is not touched.
 *   Never call it on a record whose pointers are your own arrays.
 *
 * uint32_t M__sendsingle(uint32_t destination, const M *record, uint32_t ignored, uint64_t target)
 *   Encodes one record and passes it to the mesh: MESH_SendToMsg when `target` is not 0, otherwise
 *   MESH_SendMsg. Returns the low 32 bits of the mesh's result, or 0xFFFFFFFF when nothing was sent
 *   (allocation failed; for records with pointers also a null record or an impossible size).
 *   Records with pointers are sent in the compact layout from one heap block of exactly their size;
 *   flat records as a fixed image from the stack, without an allocation (a null flat record is not
 *   survived). `ignored` is not used.
 *       if (M__sendsingle(destination, &record, 0, 0) != 0)
 *         retry_later();
 *
 * uint32_t M__sendbatch(uint32_t destination, const M *records, uint32_t count, uint64_t target)
 *   Sends `count` consecutive records as M__sendsingle sends one, in one mesh call with one
 *   allocation. All or nothing: 0xFFFFFFFF means nothing was sent. Records with pointers must
 *   encode to at most 65,536 bytes together.
 *       M batch[100];
 *       fill(batch, 100);
 *       result = M__sendbatch(destination, batch, 100, 0);
 *
 * uint32_t M__sendmsg(uint32_t destination, const M *records, uint32_t count)
 *   Sends `count` consecutive records without a target: 0xFFFFFFFF for count 0, a single send
 *   for 1, a batch otherwise.
 *       result = M__sendmsg(destination, &record, 1);
 *
 * uint32_t M__sendtomsg(uint32_t destination, const M *records, uint32_t count, uint64_t target)
 *   Does what M__sendmsg does, with a target.
 *       result = M__sendtomsg(destination, records, count, session);
 */
#define MESH_FIB6_MESSAGE(M)                                                                       \
  MESH_FIB6_API uint32_t M##__pack(const M *record, uint8_t *buffer, uint32_t *length);            \
  MESH_FIB6_API uint32_t M##__unpack(const uint8_t *buffer, uint32_t length, M *record);           \
  MESH_FIB6_API void M##_free__unpacked(M *record);                                                \
  MESH_FIB6_API uint32_t M##__sendsingle(uint32_t destination, const M *record, uint32_t ignored,  \
                                         uint64_t target);                                         \
  MESH_FIB6_API uint32_t M##__sendbatch(uint32_t destination, const M *records, uint32_t count,    \
                                        uint64_t target);                                          \
  MESH_FIB6_API uint32_t M##__sendmsg(uint32_t destination, const M *records, uint32_t count);     \
  MESH_FIB6_API uint32_t M##__sendtomsg(uint32_t destination, const M *records, uint32_t count,    \
                                        uint64_t target)

#endif
