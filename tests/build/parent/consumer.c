/* A source of the parent, with a header of its own that is called like one inside the library. */
#include "transport/send.h"

int parents_own(void) {
  return PARENTS_OWN;
}
