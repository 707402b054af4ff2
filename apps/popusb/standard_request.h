// The standard requests of USB that tell a driver which format a device streams in.
#pragma once

#include <cstdint>

namespace zr::popusb {

// Request types: direction and recipient.
constexpr uint8_t kToDevice = 0x00;
constexpr uint8_t kToInterface = 0x01;
constexpr uint8_t kFromDevice = 0x80;

constexpr uint8_t kGetDescriptor = 6;
constexpr uint8_t kSetConfiguration = 9;
constexpr uint8_t kSetInterface = 11;

constexpr uint8_t kConfigurationDescriptor = 2;

}  // namespace zr::popusb
