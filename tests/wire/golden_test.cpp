// The messages of golden_records.h against their reviewed bytes, in both directions.
//
// Room: tests.
#include "tests/wire/golden_checks.h"

namespace golden_checks {

[[maybe_unused]] static const bool added = add_golden_and_blocks<all_messages>("Reviewed");

} // namespace golden_checks
