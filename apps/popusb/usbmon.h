// Records of usbmon, the monitor of Linux, as libpcap hands them out: headers and packet
// descriptors in the host's byte order, the setup packet as it went over the bus.
#pragma once

#include <cstdint>
#include <span>

#include "apps/popusb/transfer_record.h"

namespace zr::popusb {

/// A record with the header of 48 bytes that reading the monitor gives.
TransferRecord ReadUsbmonRecord(std::span<const uint8_t> bytes);

/// A record with the header of 64 bytes that mapping the monitor's buffer gives.
TransferRecord ReadMappedUsbmonRecord(std::span<const uint8_t> bytes);

/// Turns the packet descriptors of a record with the header of 48 bytes into the other byte order.
/// Where a capture comes from a machine of that order, libpcap turns them behind the header of 64
/// bytes alone.
void TurnPacketDescriptors(std::span<uint8_t> bytes);

}  // namespace zr::popusb
