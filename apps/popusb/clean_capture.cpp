#include "apps/popusb/clean_capture.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <variant>

#include "apps/popclean/failure.h"
#include "apps/popclean/stop_request.h"
#include "apps/popclean/target_file.h"
#include "driver/driver_entry.h"
#include "platform/host/control/registry_control.h"

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

void LoadRegistry(const std::string& path) {
  std::ifstream file(path);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file && !file.eof()) throw Failure("cannot read " + Quoted(path));
  try {
    host::LoadRegistryText(text);
  } catch (const std::runtime_error& error) {
    throw Failure(Quoted(path) + ": " + error.what());
  }
}

// The devices of a capture above one driver that is loaded for them.
class CaptureRun {
 public:
  explicit CaptureRun(const CleanOptions& options) : options_(options), driver_(&DriverEntry) {}

  /// What the class driver gets of an isochronous transfer that is a microphone's.
  std::optional<HeardTransfer> Take(const UsbEvent& event) {
    CapturedDevice& device = DeviceOf(event.device);
    SwitchFilter(event.seconds);
    if (const auto* transfer = std::get_if<IsochCompleted>(&event.what)) {
      return device.Take(*transfer);
    }
    if (const auto* descriptor = std::get_if<DescriptorRead>(&event.what)) {
      device.Take(*descriptor);
    } else if (const auto* configuration = std::get_if<ConfigurationSelected>(&event.what)) {
      device.Take(*configuration);
    } else if (const auto* selection = std::get_if<InterfaceSelected>(&event.what)) {
      device.Take(*selection);
    }
    return std::nullopt;
  }

  void Finish(CaptureReport& report) {
    for (auto& [address, device] : devices_) {
      if (device.Service() != nullptr) {
        report.statistics[address] = device.Service()->Statistics();
      }
      DeviceReport ofDevice = device.Finish();
      if (IsWorthTelling(ofDevice)) report.devices.push_back(std::move(ofDevice));
    }
  }

 private:
  CapturedDevice& DeviceOf(DeviceAddress address) {
    const auto [place, isNew] = devices_.try_emplace(address, driver_, address, options_.device);
    CapturedDevice& device = place->second;
    if (isNew) device.SetDisabled(isDisabled_);
    if (isNew && options_.logLevel > 0 && device.Service() != nullptr) {
      device.Service()->SetLineSink(
          [most = options_.logLevel](const std::string& /*module*/, ULONG level, const char* line) {
            if (level <= most) std::fputs(line, stderr);
          });
    }
    return device;
  }

  // Through the service's flag, which whichever device is connected holds.
  void SwitchFilter(double seconds) {
    if (!options_.disabled) return;
    if (!firstSeconds_) firstSeconds_ = seconds;
    const double at = seconds - *firstSeconds_;
    const bool isDisabled = at >= options_.disabled->first && at < options_.disabled->second;
    if (isDisabled == isDisabled_) return;
    isDisabled_ = isDisabled;
    // The driver is connected to one of them, which holds the flag for all.
    bool hasFlag = false;
    for (auto& [address, device] : devices_)
      hasFlag = device.Service()->SetFlag("POP Filter Disabler", isDisabled ? 1 : 0) || hasFlag;
    if (!hasFlag) throw Failure("the driver has not registered its flag at the service");
    for (auto& [address, device] : devices_)
      device.SetDisabled(isDisabled);
  }

  const CleanOptions& options_;
  host::LoadedDriver driver_;
  std::map<DeviceAddress, CapturedDevice> devices_;
  std::optional<double> firstSeconds_;
  bool isDisabled_ = false;
};

}  // namespace

CaptureReport CleanCapture(const CleanOptions& options) {
  CaptureReader reader(options.capture);
  if (!options.registry.empty()) LoadRegistry(options.registry);
  std::unique_ptr<popclean::TargetFile> target;
  std::unique_ptr<CaptureCopy> copy;
  if (!options.writeCapture.empty()) {
    target = std::make_unique<popclean::TargetFile>(options.writeCapture);
    copy =
        std::make_unique<CaptureCopy>(reader.Shape(), target->Descriptor(), options.writeCapture);
    reader.CopyTo(*copy);
  }
  if (!options.device.folder.empty()) MakeFolder(options.device.folder);

  CaptureRun run(options);
  while (const std::optional<UsbEvent> event = reader.Next()) {
    popclean::ThrowIfStopped();
    std::optional<HeardTransfer> heard = run.Take(*event);
    if (heard && copy) Replace(*copy, std::get<IsochCompleted>(event->what), std::move(*heard));
  }
  CaptureReport report = {.recorder = reader.RecorderName(),
                          .counts = reader.Counts(),
                          .truncation = reader.Truncation(),
                          .statistics = {},
                          .devices = {}};
  run.Finish(report);
  if (copy) {
    copy->Finish();
    target->Complete();
    target->Publish();
  }
  return report;
}

}  // namespace zr::popusb
