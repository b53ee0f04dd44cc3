// The control messages of module fib6 against their reviewed bytes, in both directions.
//
// Room: tests.
#include "tests/wire/golden_checks.h"
#include "tests/wire/golden_records_fib6_control.h"

namespace golden_checks {

INSTANTIATE_TYPED_TEST_SUITE_P(Control, Golden, control_messages, message_names);
INSTANTIATE_TYPED_TEST_SUITE_P(Control, GoldenBlocks, control_messages, message_names);

} // namespace golden_checks
