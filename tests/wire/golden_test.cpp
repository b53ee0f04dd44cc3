// The messages of golden_records.h against their reviewed bytes, in both directions.
//
// Room: tests.
#include "tests/wire/golden_checks.h"

namespace golden_checks {

INSTANTIATE_TYPED_TEST_SUITE_P(Reviewed, Golden, all_messages, message_names);
INSTANTIATE_TYPED_TEST_SUITE_P(Reviewed, GoldenBlocks, all_messages, message_names);

} // namespace golden_checks
