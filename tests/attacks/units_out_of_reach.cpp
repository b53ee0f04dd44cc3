// See many_threads.h: for the library as it ships.
//
// Room: tests.
#include "tests/attacks/many_threads.h"

bool reset_units() {
  return false;
}
