// The first broken promise of an execution; see finding.h.
//
// Room: attacks.
#include "fuzz/finding.h"

#include <cstdarg>
#include <cstdio>

namespace fuzz {
namespace {

char text[512];

} // namespace

void forget_findings() {
  text[0] = 0;
}

void found(const char *format, ...) {
  if (text[0] != 0)
    return;
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
}

const char *finding() {
  return text[0] == 0 ? nullptr : text;
}

} // namespace fuzz
