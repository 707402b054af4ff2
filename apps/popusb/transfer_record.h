// What one record says, in words that the recorders share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <variant>

#include "apps/popusb/isoch_layout.h"
#include "apps/popusb/transfer_tracker.h"
#include "apps/popusb/usb_event.h"

namespace zr::popusb {

struct ControlSubmitted {
  SetupPacket setup = {};
};

/// Data of a control transfer that some recorders tell apart from its completion.
struct ControlData {
  std::span<const uint8_t> data;
};

struct ControlCompleted {
  bool isSuccess = false;
  std::span<const uint8_t> data;
};

struct IsochReceived {
  IsochCompleted transfer;
  IsochLayout layout;
};

/// Sound, and of no interest here.
struct OtherRecord {};

/// Too short for what it says that it is.
struct DamagedRecord {};

struct TransferRecord {
  uint64_t id = 0;  ///< Names the transfer from its submission to its completion.
  DeviceAddress device;
  bool isCutShort = false;  ///< It announces more packets than stand in it.
  std::variant<DamagedRecord, OtherRecord, ControlSubmitted, ControlData, ControlCompleted,
               IsochReceived>
      what;
};

/// Copies a T from the start of bytes, which need not be aligned; none if they do not hold one.
template <typename T>
std::optional<T> ReadRecord(std::span<const uint8_t> bytes) {
  if (bytes.size() < sizeof(T)) return std::nullopt;
  T record;
  std::memcpy(&record, bytes.data(), sizeof(T));
  return record;
}

/// At most the first count bytes.
inline std::span<const uint8_t> FirstBytes(std::span<const uint8_t> bytes, std::size_t count) {
  return bytes.first(count < bytes.size() ? count : bytes.size());
}

}  // namespace zr::popusb
