#include "apps/popusb/transfer_tracker.h"

#include <utility>

#include "apps/popusb/standard_request.h"

namespace zr::popusb {
namespace {

bool IsRequest(const SetupPacket& setup, uint8_t type, uint8_t request) {
  return setup[0] == type && setup[1] == request;
}

bool ReadsConfiguration(const SetupPacket& setup) {
  return IsRequest(setup, kFromDevice, kGetDescriptor) && setup[3] == kConfigurationDescriptor;
}

bool IsFollowed(const SetupPacket& setup) {
  return ReadsConfiguration(setup) || IsRequest(setup, kToDevice, kSetConfiguration) ||
         IsRequest(setup, kToInterface, kSetInterface);
}

}  // namespace

void TransferTracker::Submit(uint64_t id, const SetupPacket& setup) {
  if (IsFollowed(setup)) {
    pending_[id] = {setup, {}};
  } else {
    Forget(id);
  }
}

void TransferTracker::TakeData(uint64_t id, std::span<const uint8_t> data) {
  const auto found = pending_.find(id);
  if (found != pending_.end()) found->second.data.assign(data.begin(), data.end());
}

std::optional<ToldEvent> TransferTracker::Complete(uint64_t id, bool isSuccess,
                                                   std::span<const uint8_t> data) {
  if (!data.empty()) TakeData(id, data);
  auto transfer = pending_.extract(id);
  if (transfer.empty()) return std::nullopt;
  auto& [setup, received] = transfer.mapped();
  // A selection counts whatever became of it: the driver does not look at its outcome either.
  if (IsRequest(setup, kToDevice, kSetConfiguration)) return ConfigurationSelected{setup[2]};
  if (IsRequest(setup, kToInterface, kSetInterface)) {
    return InterfaceSelected{.interfaceNumber = setup[4], .alternateSetting = setup[2]};
  }
  if (!isSuccess || received.empty()) return std::nullopt;
  return DescriptorRead{std::move(received)};
}

}  // namespace zr::popusb
