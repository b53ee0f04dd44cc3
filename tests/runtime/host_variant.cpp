// The values of one variant, from its compile definitions.
//
// Room: tests.
#include "tests/runtime/host_variant.h"

namespace host_variant {

const bool general_from_osal = VARIANT_GENERAL_FROM_OSAL;
const bool cache_from_osal = VARIANT_CACHE_FROM_OSAL;
const bool logs = VARIANT_LOGS;
const bool flag_is_asked = VARIANT_FLAG_IS_ASKED;
const uint32_t use_flag = VARIANT_USE_FLAG;

} // namespace host_variant
