// The first broken promise of an execution; see finding.h.
//
// Room: attacks.
#include "fuzz/finding.h"

#include <cstdarg>
#include <cstdio>

namespace fuzz {
namespace {

char first[512];

} // namespace

void forget_findings() {
  first[0] = 0;
}

void found(const char *format, ...) {
  if (first[0] != 0)
    return;
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(first, sizeof first, format, arguments);
  va_end(arguments);
}

const char *finding() {
  return first[0] == 0 ? nullptr : first;
}

} // namespace fuzz
