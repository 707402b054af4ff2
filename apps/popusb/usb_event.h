// What a USB capture tells, whatever recorded it: the events that a driver of the device would have
// a part in, in the order of their completion.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace zr::popusb {

struct DeviceAddress {
  uint16_t bus = 0;
  uint16_t device = 0;
  auto operator<=>(const DeviceAddress&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// A configuration descriptor was read, wholly or its first bytes alone.
struct DescriptorRead {
  std::vector<uint8_t> bytes;
};

struct ConfigurationSelected {
  uint8_t value = 0;
};

struct InterfaceSelected {
  uint8_t interfaceNumber = 0;
  uint8_t alternateSetting = 0;
};

struct IsochPacket {
  uint32_t offset = 0;
  uint32_t length = 0;
  int32_t status = 0;  ///< 0 is success; the rest is the recorder's own code.
};

/// An isochronous transfer has come back from the device.
struct IsochCompleted {
  uint8_t endpoint = 0;  ///< Address, with the direction in bit 7.
  int32_t status = 0;    ///< 0 is success.
  std::vector<IsochPacket> packets;
  std::vector<uint8_t> data;  ///< The bytes that were recorded; packets may reach beyond.
};

struct UsbEvent {
  DeviceAddress device;
  double seconds = 0.0;  ///< Time of the record.
  std::variant<DescriptorRead, ConfigurationSelected, InterfaceSelected, IsochCompleted> what;
};

}  // namespace zr::popusb
