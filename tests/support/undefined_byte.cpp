// Sends one message with a byte that nobody wrote: what a run under valgrind must not let pass.
//
// Room: tests.
#include "tests/support/definedness.h"
#include "tests/support/fake_mesh.h"

int main() {
  uint8_t data[16] = {};
  definedness::forget(data + 7, 1);
  const msg_desc message{data, 1, sizeof data};
  return MESH_SendMsg(6, &message, 1) == 0 ? 0 : 1;
}
