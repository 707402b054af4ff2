#include "apps/popusb/captured_device.h"

#include <algorithm>
#include <cstring>

namespace zr::popusb {
namespace {

constexpr std::size_t kConfigurationHeader = 9;

std::size_t TotalLength(const std::vector<uint8_t>& configuration) {
  return static_cast<std::size_t>(configuration[2] | configuration[3] << 8);
}

// The interval of the buffer that the class driver had for its packets; the recorded data can be
// shorter.
std::size_t BufferSize(const IsochCompleted& transfer, std::size_t packetSize) {
  std::size_t size = transfer.data.size();
  for (const IsochPacket& packet : transfer.packets) {
    if (packet.offset < transfer.data.size()) size = std::max(size, packet.offset + packetSize);
  }
  return size;
}

// A packet that lies in the buffer, for what it is worth there.
std::span<const uint8_t> BytesOf(const IsochPacket& packet, const std::vector<uint8_t>& data) {
  if (packet.status != 0 || uint64_t{packet.offset} + packet.length > data.size()) return {};
  return std::span(data).subspan(packet.offset, packet.length);
}

void Append(std::vector<uint8_t>& bytes, std::span<const uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace

CapturedDevice::CapturedDevice(host::LoadedDriver& driver, DeviceAddress address,
                               const CapturedDeviceOptions& options)
    : options_(options),
      replay_(address),
      filtered_(driver, replay_.PhysicalDevice(), options.hasService),
      client_(filtered_.Top()) {
  report_.address = address;
}

void CapturedDevice::Take(const DescriptorRead& descriptor) {
  if (descriptor.bytes.size() < kConfigurationHeader) return;
  std::vector<uint8_t> bytes = descriptor.bytes;
  bytes.resize(std::min(bytes.size(), TotalLength(bytes)));
  if (bytes.size() <= kConfigurationHeader) return;  // Read for its length alone.
  const uint8_t value = bytes[5];
  std::vector<uint8_t>& known = configurations_[value];
  if (bytes.size() > known.size()) known = std::move(bytes);
}

void CapturedDevice::Take(const ConfigurationSelected& selected) {
  EndStream();
  selections_.clear();
  settings_.clear();
  const auto found = configurations_.find(selected.value);
  if (found != configurations_.end()) {
    Configure(found->second);
  } else if (selected.value == 0) {
    client_.SelectConfiguration({});
  } else {
    report_.remarks.push_back("configuration " + std::to_string(selected.value) +
                              " was selected before its descriptor was read");
  }
}

// The driver copies as many bytes as the descriptor tells; one that was cut tells what there is.
void CapturedDevice::Configure(const std::vector<uint8_t>& configuration) {
  std::vector<uint8_t> bytes = configuration;
  if (bytes.size() < TotalLength(bytes)) {
    report_.remarks.push_back("only " + std::to_string(bytes.size()) + " of " +
                              std::to_string(TotalLength(bytes)) +
                              " bytes of the configuration descriptor were recorded");
    bytes[2] = static_cast<uint8_t>(bytes.size());
    bytes[3] = static_cast<uint8_t>(bytes.size() >> 8);
  }
  settings_ = ReadAudioSettings(bytes);
  client_.SelectConfiguration(bytes);
  for (const AudioSetting& setting : settings_) {
    if (setting.inputEndpoint == 0) continue;
    std::erase_if(report_.settings, [&setting](const AudioSetting& other) {
      return other.interfaceNumber == setting.interfaceNumber &&
             other.alternateSetting == setting.alternateSetting;
    });
    report_.settings.push_back(setting);
  }
}

// A capture that began after the device was configured knows the descriptor where something read
// it again.
void CapturedDevice::ConfigureWithWhatIsKnown() {
  if (IsConfigured() || configurations_.empty()) return;
  Configure(configurations_.begin()->second);
  const auto selections = selections_;
  for (const auto& [interfaceNumber, alternateSetting] : selections) {
    if (const AudioSetting* setting = FindSetting(interfaceNumber, alternateSetting)) {
      Select(*setting);
    }
  }
  if (current_ || !options_.firstSetting) return;
  const auto first = std::ranges::find_if(settings_, [this](const AudioSetting& setting) {
    return setting.isStreaming && setting.alternateSetting == *options_.firstSetting &&
           setting.inputEndpoint != 0;
  });
  if (first != settings_.end()) Select(*first);
}

const AudioSetting* CapturedDevice::FindSetting(uint8_t interfaceNumber,
                                                uint8_t alternateSetting) const {
  const auto found = std::ranges::find_if(settings_, [&](const AudioSetting& setting) {
    return setting.interfaceNumber == interfaceNumber &&
           setting.alternateSetting == alternateSetting;
  });
  return found == settings_.end() ? nullptr : &*found;
}

void CapturedDevice::Take(const InterfaceSelected& selected) {
  ConfigureWithWhatIsKnown();
  selections_[selected.interfaceNumber] = selected.alternateSetting;
  const AudioSetting* const setting =
      FindSetting(selected.interfaceNumber, selected.alternateSetting);
  if (setting != nullptr) Select(*setting);
}

void CapturedDevice::Select(const AudioSetting& setting) {
  if (!setting.isStreaming) return;
  const bool endsCurrent = current_ && current_->interfaceNumber == setting.interfaceNumber;
  if (endsCurrent) EndStream();
  client_.SelectInterface(setting.interfaceNumber, setting.alternateSetting,
                          setting.endpointCount > 0 ? 1 : 0);
  if (setting.inputEndpoint == 0) return;
  EndStream();
  current_ = setting;
  BeginStream();
}

void CapturedDevice::BeginStream() {
  StreamReport report;
  report.alternateSetting = current_->alternateSetting;
  report.format = {.bits = current_->format.bits,
                   .channels = current_->format.channels,
                   .rate = static_cast<int>(current_->DriverRate())};
  report.name = std::to_string(report_.address.bus) + "-" + std::to_string(report_.address.device) +
                "-" + std::to_string(streamCount_ + 1);
  stream_.emplace(options_.folder, std::move(report));
}

void CapturedDevice::EndStream() {
  current_.reset();
  if (!stream_) return;
  StreamReport report = stream_->Finish();
  stream_.reset();
  if (report.transfers == 0) return;
  report_.streams.push_back(std::move(report));
  ++streamCount_;
}

bool CapturedDevice::IsStreamedBy(const IsochCompleted& transfer) const {
  return current_ && current_->inputEndpoint == transfer.endpoint;
}

std::optional<HeardTransfer> CapturedDevice::Take(const IsochCompleted& transfer) {
  ConfigureWithWhatIsKnown();
  if (!IsStreamedBy(transfer)) {
    if (!IsConfigured() || (!current_ && std::ranges::any_of(settings_, [&](const auto& setting) {
          return setting.inputEndpoint == transfer.endpoint;
        }))) {
      ++report_.unknownTransfers;
    }
    return std::nullopt;
  }
  HeardTransfer heard;
  heard.data.resize(BufferSize(transfer, current_->packetSize));
  std::vector<uint8_t> storage(sizeof(URB) +
                               transfer.packets.size() * sizeof(USBD_ISO_PACKET_DESCRIPTOR));
  auto* const urb = reinterpret_cast<PURB>(storage.data());
  _URB_ISOCH_TRANSFER& isoch = urb->UrbIsochronousTransfer;
  isoch.Hdr.Function = URB_FUNCTION_ISOCH_TRANSFER;
  isoch.Hdr.Length = static_cast<USHORT>(storage.size());
  isoch.TransferBuffer = heard.data.data();
  isoch.TransferBufferLength = static_cast<ULONG>(heard.data.size());
  isoch.NumberOfPackets = static_cast<ULONG>(transfer.packets.size());
  replay_.Answer(transfer);
  client_.Send(urb);
  for (std::size_t i = 0; i < transfer.packets.size(); ++i) {
    const USBD_ISO_PACKET_DESCRIPTOR& packet = isoch.IsoPacket[i];
    heard.packets.push_back(
        {.offset = packet.Offset, .length = packet.Length, .status = packet.Status});
  }
  Record(transfer, heard);
  return heard;
}

void CapturedDevice::Record(const IsochCompleted& sent, const HeardTransfer& heard) {
  if (sent.status != 0) {
    stream_->AddFailedTransfer();
    return;
  }
  std::vector<uint8_t> sentBytes;
  std::vector<uint8_t> heardBytes;
  for (std::size_t i = 0; i < sent.packets.size(); ++i) {
    const std::span<const uint8_t> bytes = BytesOf(sent.packets[i], sent.data);
    if (!bytes.empty()) {
      stream_->EndGap();
    } else if (sent.packets[i].length > 0 || sent.packets[i].status != 0) {
      stream_->AddFailedPacket(sentBytes.size());
    }
    Append(sentBytes, bytes);
    Append(heardBytes, BytesOf(heard.packets[i], heard.data));
  }
  if (isDisabled_ || !filtered_.HasDriver()) {
    stream_->AddUnfiltered(heardBytes);
  } else {
    stream_->Add(sentBytes, heardBytes);
  }
}

DeviceReport CapturedDevice::Finish() {
  EndStream();
  return std::move(report_);
}

}  // namespace zr::popusb
