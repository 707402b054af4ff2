// Follows control transfers from submission to completion: the request stands in the one record,
// its outcome in the other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "apps/popusb/usb_event.h"

namespace zr::popusb {

/// The eight bytes that open a control transfer.
using SetupPacket = std::array<uint8_t, 8>;

/// What a record tells.
using ToldEvent = decltype(UsbEvent::what);

class TransferTracker {
 public:
  /// id names the transfer until it completes; a later one may have the same.
  void Submit(uint64_t id, const SetupPacket& setup);

  /// Data that came before the completion.
  void TakeData(uint64_t id, std::span<const uint8_t> data);

  /// What the completed transfer tells. data are the bytes that came with the completion.
  std::optional<ToldEvent> Complete(uint64_t id, bool isSuccess, std::span<const uint8_t> data);

  /// The transfer is none of those that are followed.
  void Forget(uint64_t id) { pending_.erase(id); }

 private:
  struct Pending {
    SetupPacket setup;
    std::vector<uint8_t> data;
  };
  std::unordered_map<uint64_t, Pending> pending_;
};

}  // namespace zr::popusb
