/* The names of the mesh for the linker, where neither the platform's libtolvimesh.so nor its
 * stand-in is at hand. Nothing runs this: it is not installed, and the loader does not find it.
 *
 * Room: the build. Includes the declarations of the mesh: what is linked is what is declared.
 */
#include "platform/mesh.h"

enum { refused = 1 };

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  (void)destination, (void)messages, (void)count;
  return refused;
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  (void)destination, (void)messages, (void)count, (void)target;
  return refused;
}

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  (void)id, (void)unpack, (void)release;
  return refused;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean) {
  (void)clean;
  return refused;
}
