// A device of a capture behind the driver: what the capture tells becomes the requests that the
// driver of its audio function would see, and what comes back to the class driver is recorded.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "apps/popusb/audio_function.h"
#include "apps/popusb/filtered_device.h"
#include "apps/popusb/replay_device.h"
#include "apps/popusb/stream_recording.h"
#include "apps/popusb/usb_event.h"
#include "platform/host/microphone/streaming_client.h"

namespace zr::popusb {

struct CapturedDeviceOptions {
  std::filesystem::path folder;  ///< For the files of the streams; empty for none.
  /// The alternate setting in force when the capture begins, for captures that begin within a
  /// stream.
  std::optional<uint8_t> firstSetting;
  bool hasService = false;  ///< Whether an instrumentation service stands below the driver.
};

/// An isochronous transfer as the class driver sees it.
struct HeardTransfer {
  std::vector<IsochPacket> packets;
  std::vector<uint8_t> data;
};

struct DeviceReport {
  DeviceAddress address;
  std::vector<AudioSetting> settings;  ///< Those with an input endpoint.
  std::vector<StreamReport> streams;
  std::vector<std::string> remarks;
  uint64_t unknownTransfers = 0;  ///< Isochronous, before anything told what they carry.
};

class CapturedDevice {
 public:
  /// driver: the filter driver, which outlives the device.
  CapturedDevice(host::LoadedDriver& driver, DeviceAddress address,
                 const CapturedDeviceOptions& options);

  void Take(const DescriptorRead& descriptor);
  void Take(const ConfigurationSelected& selected);
  void Take(const InterfaceSelected& selected);
  /// Nothing if the transfer is none of the audio function's.
  std::optional<HeardTransfer> Take(const IsochCompleted& transfer);

  /// Whether the driver's filter is disabled from here on, as its service has told it.
  void SetDisabled(bool isDisabled) { isDisabled_ = isDisabled; }

  /// Null without one.
  instrumentation::Service* Service() { return filtered_.Service(); }

  /// After the last event.
  DeviceReport Finish();

 private:
  bool IsConfigured() const { return !settings_.empty(); }
  void Configure(const std::vector<uint8_t>& configuration);
  void ConfigureWithWhatIsKnown();
  void Select(const AudioSetting& setting);
  const AudioSetting* FindSetting(uint8_t interfaceNumber, uint8_t alternateSetting) const;
  bool IsStreamedBy(const IsochCompleted& transfer) const;
  void BeginStream();
  void EndStream();
  void Record(const IsochCompleted& sent, const HeardTransfer& heard);

  DeviceReport report_;
  const CapturedDeviceOptions options_;
  std::map<uint8_t, std::vector<uint8_t>> configurations_;  // By value.
  std::map<uint8_t, uint8_t> selections_;                   // Setting by interface.
  std::vector<AudioSetting> settings_;                      // Of the selected configuration.
  std::optional<AudioSetting> current_;
  std::optional<StreamRecording> stream_;
  std::size_t streamCount_ = 0;
  bool isDisabled_ = false;

  ReplayDevice replay_;
  FilteredDevice filtered_;
  host::StreamingClient client_;
};

}  // namespace zr::popusb
