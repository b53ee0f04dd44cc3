// The control messages of module fib6 against their reviewed bytes, in both directions.
//
// Room: tests.
#include "tests/wire/golden_checks.h"
#include "tests/wire/golden_records_fib6_control.h"

namespace golden_checks {

[[maybe_unused]] static const bool added = add_golden_and_blocks<control_messages>("Control");

} // namespace golden_checks
