// What the driver names at the service: the statistic of the filter's time, and the flag that
// disables the filter.
#pragma once

#include "platform/kernel.h"

/// Tells the service both; it may hear them again. PASSIVE_LEVEL.
void NamePerfItems();

/// Called by the service when the flag changes. Value goes into g_ulDisablePopFilter, whatever the
/// other two are.
void OnChangeGlobalFlagHandler(PVOID Context, ULONG Index, ULONG Value);
