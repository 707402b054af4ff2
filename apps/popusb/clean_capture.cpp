#include "apps/popusb/clean_capture.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <variant>

#include "apps/popclean/failure.h"
#include "apps/popclean/stop_request.h"
#include "apps/popclean/target_file.h"

namespace zr::popusb {
namespace {

namespace fs = std::filesystem;
using popclean::Failure;
using popclean::Quoted;

// The written capture takes the place of the recorded data, which holds fewer bytes than the
// buffer did.
void Replace(CaptureCopy& copy, const IsochCompleted& recorded, HeardTransfer heard) {
  heard.data.resize(recorded.data.size());
  for (IsochPacket& packet : heard.packets) {
    if (packet.status != 0) continue;
    const auto size = static_cast<uint32_t>(recorded.data.size());
    packet.offset = std::min(packet.offset, size);
    packet.length = std::min(packet.length, size - packet.offset);
  }
  copy.Replace(heard.packets, heard.data);
}

void MakeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Failure("the folder " + Quoted(folder.string()) + ": " + error.message());
}

bool IsWorthTelling(const DeviceReport& report) {
  return !report.settings.empty() || !report.streams.empty() || report.unknownTransfers > 0;
}

}  // namespace

CaptureReport CleanCapture(const CleanOptions& options) {
  CaptureReader reader(options.capture);
  std::unique_ptr<popclean::TargetFile> target;
  std::unique_ptr<CaptureCopy> copy;
  if (!options.writeCapture.empty()) {
    target = std::make_unique<popclean::TargetFile>(options.writeCapture);
    copy =
        std::make_unique<CaptureCopy>(reader.Shape(), target->Descriptor(), options.writeCapture);
    reader.CopyTo(*copy);
  }
  if (!options.device.folder.empty()) MakeFolder(options.device.folder);

  const FilterServices services;
  std::map<DeviceAddress, CapturedDevice> devices;
  while (const std::optional<UsbEvent> event = reader.Next()) {
    popclean::ThrowIfStopped();
    CapturedDevice& device =
        devices.try_emplace(event->device, event->device, options.device).first->second;
    if (const auto* transfer = std::get_if<IsochCompleted>(&event->what)) {
      std::optional<HeardTransfer> heard = device.Take(*transfer);
      if (heard && copy) Replace(*copy, *transfer, std::move(*heard));
    } else if (const auto* descriptor = std::get_if<DescriptorRead>(&event->what)) {
      device.Take(*descriptor);
    } else if (const auto* configuration = std::get_if<ConfigurationSelected>(&event->what)) {
      device.Take(*configuration);
    } else if (const auto* selection = std::get_if<InterfaceSelected>(&event->what)) {
      device.Take(*selection);
    }
  }

  CaptureReport report = {.recorder = reader.RecorderName(),
                          .counts = reader.Counts(),
                          .truncation = reader.Truncation(),
                          .devices = {}};
  for (auto& [address, device] : devices) {
    DeviceReport ofDevice = device.Finish();
    if (IsWorthTelling(ofDevice)) report.devices.push_back(std::move(ofDevice));
  }
  if (copy) {
    copy->Finish();
    target->Complete();
    target->Publish();
  }
  return report;
}

}  // namespace zr::popusb
