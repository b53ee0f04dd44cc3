/* A mesh that takes no registration, to be loaded before the development host's.
 *
 * Room: tests. Includes the declarations of the mesh.
 */
#include "platform/mesh.h"

enum { refusal = 77 };

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  (void)id, (void)unpack, (void)release;
  return refusal;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean) {
  (void)clean;
  return refusal;
}
