#include "apps/popusb/audio_function.h"

namespace zr::popusb {
namespace {

constexpr uint8_t kInterface = 4;
constexpr uint8_t kEndpoint = 5;
constexpr uint8_t kAudioClass = 1;
constexpr uint8_t kStreamingSubClass = 2;

void AddEndpoint(std::span<const uint8_t> descriptor, AudioSetting& setting) {
  constexpr uint8_t kInput = 0x80;
  constexpr uint8_t kTransferType = 3;
  constexpr uint8_t kIsochronous = 1;
  const uint8_t address = descriptor[2];
  if ((address & kInput) == 0 || (descriptor[3] & kTransferType) != kIsochronous) return;
  if (setting.inputEndpoint != 0) return;
  setting.inputEndpoint = address;
  setting.packetSize = static_cast<uint16_t>((descriptor[4] | descriptor[5] << 8) & 0x7FF);
}

}  // namespace

std::vector<AudioSetting> ReadAudioSettings(std::span<const uint8_t> configuration) {
  std::vector<AudioSetting> settings;
  bool isInAudio = false;
  while (configuration.size() >= 2) {
    const std::size_t length = configuration[0];
    if (length < 2 || length > configuration.size()) break;
    const auto descriptor = configuration.first(length);
    if (descriptor[1] == kInterface && length >= 9) {
      isInAudio = descriptor[5] == kAudioClass;
      if (isInAudio) {
        settings.push_back({.interfaceNumber = descriptor[2],
                            .alternateSetting = descriptor[3],
                            .isStreaming = descriptor[6] == kStreamingSubClass,
                            .endpointCount = descriptor[4]});
      }
    } else if (descriptor[1] == kEndpoint && length >= 7 && isInAudio) {
      AddEndpoint(descriptor, settings.back());
    }
    configuration = configuration.subspan(length);
  }
  return settings;
}

}  // namespace zr::popusb
