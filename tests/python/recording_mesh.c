/* A mesh that keeps what it is given last and answers 42.
 *
 * Room: tests. Loaded in front of the library, so that it is asked instead of the development host.
 */
#include "platform/mesh.h"

#include <string.h>

enum { answer = 42, most = 4096 };

struct sent {
  uint32_t destination, id, count, length;
  uint64_t target;
  uint8_t bytes[most];
};
extern struct sent mesh_last;
struct sent mesh_last;

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  return MESH_SendToMsg(destination, messages, count, 0);
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  mesh_last.destination = destination;
  mesh_last.id = messages[0].id;
  mesh_last.count = count;
  mesh_last.length = messages[0].length;
  mesh_last.target = target;
  if (messages[0].length <= most)
    memcpy(mesh_last.bytes, messages[0].data, messages[0].length);
  return answer;
}
