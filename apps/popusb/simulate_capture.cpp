#include "apps/popusb/simulate_capture.h"

#include <algorithm>
#include <vector>

#include "apps/popclean/counted.h"
#include "apps/popclean/failure.h"
#include "apps/popclean/sample_conversion.h"
#include "apps/popclean/sound_file_reader.h"
#include "apps/popclean/stop_request.h"
#include "apps/popclean/target_file.h"
#include "apps/popusb/capture_writer.h"
#include "platform/host/microphone/streaming_client.h"
#include "platform/host/microphone/usb_microphone.h"

namespace zr::popusb {
namespace {

using popclean::Failure;
using popclean::Quoted;

constexpr DeviceAddress kAddress = {.bus = 1, .device = 5};
constexpr double kControlSeconds = 0.001;
constexpr host::StreamShape kShape = {.transfersInFlight = 4, .packetsPerTransfer = 10};
constexpr double kTransferSeconds = 0.001 * kShape.packetsPerTransfer;

std::vector<UCHAR> ReadPcm(popclean::SoundFileReader& reader) {
  constexpr std::size_t kBlock = 4096;
  std::vector<double> frames(kBlock);
  std::vector<UCHAR> bytes;
  while (const std::size_t count = reader.Read(frames.data(), kBlock)) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto word = static_cast<uint16_t>(popclean::To16Bits(frames[i]));
      bytes.push_back(static_cast<UCHAR>(word));
      bytes.push_back(static_cast<UCHAR>(word >> 8));
    }
  }
  reader.CheckComplete();
  return bytes;
}

const host::MicrophoneSetting& SettingFor(const SimulateOptions& options,
                                          const popclean::AudioShape& shape) {
  const auto* const setting = host::FindMicrophoneSettingFor(static_cast<ULONG>(shape.rate));
  if (setting != nullptr && shape.channels == 1) return *setting;
  std::string rates;
  for (const host::MicrophoneSetting& known : host::MicrophoneSettings()) {
    if (host::FindMicrophoneSettingFor(known.hertz) == &known) {
      rates += (rates.empty() ? "" : ", ") + std::to_string(known.hertz);
    }
  }
  throw Failure(Quoted(options.audio) + " has " + std::to_string(shape.channels) + " channels at " +
                std::to_string(shape.rate) + " Hz; the simulated microphone is mono, at one of " +
                rates + " Hz");
}

// Writes what happens to the device with the time at which it happens.
class Recorder {
 public:
  explicit Recorder(CaptureWriter& writer) : writer_(writer) {}

  template <typename What>
  void Write(What what, double duration) {
    seconds_ += duration;
    writer_.Write({.device = kAddress, .seconds = seconds_, .what = std::move(what)}, duration);
  }

  // The recorded data reaches to the end of the last packet.
  void WriteTransfer(const _URB_ISOCH_TRANSFER& transfer) {
    if (transfer.Hdr.Status == USBD_STATUS_CANCELED) return;
    IsochCompleted completed = {.endpoint = host::kMicrophoneEndpoint,
                                .status = USBD_SUCCESS(transfer.Hdr.Status) ? 0 : -71,
                                .packets = {},
                                .data = {}};
    std::size_t size = 0;
    for (ULONG i = 0; i < transfer.NumberOfPackets; ++i) {
      const USBD_ISO_PACKET_DESCRIPTOR& packet = transfer.IsoPacket[i];
      completed.packets.push_back({.offset = packet.Offset,
                                   .length = packet.Length,
                                   .status = USBD_SUCCESS(packet.Status) ? 0 : -84});
      size = std::max(size, std::size_t{packet.Offset} + packet.Length);
    }
    const auto* const bytes = static_cast<const uint8_t*>(transfer.TransferBuffer);
    if (completed.status == 0) completed.data.assign(bytes, bytes + size);
    Write(std::move(completed), kTransferSeconds);
  }

 private:
  CaptureWriter& writer_;
  double seconds_ = 0.0;
};

}  // namespace

void SimulateCapture(const SimulateOptions& options) {
  popclean::SoundFileReader reader(options.audio);
  const host::MicrophoneSetting& setting = SettingFor(options, reader.Shape());
  const std::vector<UCHAR> audio = ReadPcm(reader);
  popclean::TargetFile target(options.capture);
  CaptureWriter writer(target.Descriptor(), options.capture);
  Recorder recorder(writer);

  const std::vector<UCHAR> configuration = host::CameraConfiguration();
  std::size_t position = 0;
  host::UsbMicrophone microphone(
      [&](UCHAR* room, std::size_t size) {
        const std::size_t count = std::min(size, audio.size() - position);
        std::copy_n(&audio[position], count, room);
        position += count;
        return count;
      },
      options.behaviour);
  host::StreamingClient client(microphone.PhysicalDevice());
  recorder.Write(DescriptorRead{{configuration.begin(), configuration.begin() + 9}},
                 kControlSeconds);
  recorder.Write(DescriptorRead{configuration}, kControlSeconds);
  client.SelectConfiguration(configuration);
  recorder.Write(ConfigurationSelected{host::kCameraConfigurationValue}, kControlSeconds);
  client.SelectInterface(host::kMicrophoneInterface, setting.alternateSetting, 1);
  recorder.Write(InterfaceSelected{host::kMicrophoneInterface, setting.alternateSetting},
                 kControlSeconds);
  client.Stream(
      kShape,
      [&microphone] {
        popclean::ThrowIfStopped();
        return microphone.IsDrained();
      },
      [&recorder](const _URB_ISOCH_TRANSFER& transfer) { recorder.WriteTransfer(transfer); });
  client.SelectInterface(host::kMicrophoneInterface, 0, 0);
  recorder.Write(InterfaceSelected{host::kMicrophoneInterface, 0}, kControlSeconds);
  writer.Finish();
  target.Complete();
  target.Publish();
}

}  // namespace zr::popusb
