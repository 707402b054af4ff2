// Records of USBPcap, the capture driver of Windows: little-endian, without padding.
#pragma once

#include <cstdint>
#include <span>

#include "apps/popusb/transfer_record.h"

namespace zr::popusb {

TransferRecord ReadUsbpcapRecord(std::span<const uint8_t> bytes);

}  // namespace zr::popusb
