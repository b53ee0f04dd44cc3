/* A platform's own libtolvimesh.so, which takes everything but registrations.
 *
 * Room: tests. Includes the declarations of the mesh, installed or from the sources.
 */
#include "platform/mesh.h"

enum { refusal = 77 }; /* by which a program sees whose mesh it talks to */

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  (void)destination, (void)messages, (void)count;
  return 0;
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  (void)destination, (void)messages, (void)count, (void)target;
  return 0;
}

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  (void)id, (void)unpack, (void)release;
  return refusal;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean) {
  (void)clean;
  return 0;
}
