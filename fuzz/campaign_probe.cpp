// Target of a test: what is known to go wrong with some inputs, for the campaign to find.
//
// Room: attacks. The byte behind the circumstances says what: a finding, a byte behind the buffer
// that is read, an end of the process.
#include "fuzz/decode_check.h"
#include "fuzz/exact_copy.h"
#include "fuzz/finding.h"
#include "fuzz/target.h"

#include <cstdlib>

namespace fuzz {

const material made_of = material::message;

const char *execute(const uint8_t *data, size_t size) {
  forget_findings();
  check_decode(message_of(data), data, static_cast<uint32_t>(size), {});
  if (size <= identifier_size + 1)
    return nullptr;
  const exact_copy copy(data, static_cast<uint32_t>(size), false);
  const volatile uint8_t *const bytes = copy.bytes();
  switch (bytes[identifier_size + 1]) {
  case 'f':
    found("known to be wrong");
    break;
  case 'r':
    if (bytes[size] == 0)
      return nullptr;
    break;
  case 'e':
    abort();
  default:
    break;
  }
  return finding();
}

} // namespace fuzz
