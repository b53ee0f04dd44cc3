// The five functions of an OSAL, declared: for tests that are one, and for those that ask which one
// the library has found.
//
// Room: tests. The library itself knows only their types and looks them up by name.
#pragma once

#include "runtime/osal.h"

extern "C" {
osal_log_write_fn VRX_OsalLogWrite;
osal_alloc_fn VRX_OsalMemAlloc;
osal_alloc_fn VRX_OsalMemCacheAlloc;
osal_free_fn VRX_OsalMemFree;
osal_use_flag_get_fn VRX_OsalMemUseFlagGet;
}
