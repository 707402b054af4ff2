// The kernel that the driver runs on: the only platform header that driver code includes. For the
// NT kernel it is the published headers; elsewhere the same names with the same meaning,
// implemented by platform/host in user mode.
#pragma once

#ifdef ZR_PLATFORM_NT
#include "platform/nt/kernel_nt.h"
#else
#include "platform/host/debug.h"
#include "platform/host/execution.h"
#include "platform/host/io.h"
#include "platform/host/pool.h"
#include "platform/host/registry.h"
#include "platform/host/types.h"
#include "platform/host/usb.h"
#include "platform/host/wide_text.h"
#endif
