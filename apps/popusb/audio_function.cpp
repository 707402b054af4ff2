#include "apps/popusb/audio_function.h"

namespace zr::popusb {
namespace {

constexpr uint8_t kInterface = 4;
constexpr uint8_t kEndpoint = 5;
constexpr uint8_t kClassSpecificInterface = 0x24;
constexpr uint8_t kFormatType = 2;
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

// Frequencies count as far as they fit whole; a count of 0 stands for a range.
void AddFormat(std::span<const uint8_t> descriptor, AudioSetting& setting) {
  constexpr std::size_t kFixedFields = 8;
  if (descriptor.size() < kFixedFields || (descriptor[3] != 1 && descriptor[3] != 3)) return;
  AudioFormat format = {.bits = descriptor[6],
                        .channels = descriptor[4],
                        .isContinuous = descriptor[7] == 0,
                        .rates = {}};
  const std::size_t count = format.isContinuous ? 2 : descriptor[7];
  for (std::size_t i = 0, at = kFixedFields; i < count && at + 3 <= descriptor.size();
       ++i, at += 3) {
    format.rates.push_back(
        static_cast<uint32_t>(descriptor[at] | descriptor[at + 1] << 8 | descriptor[at + 2] << 16));
  }
  setting.format = format;
}

}  // namespace

uint32_t AudioSetting::DriverRate() const {
  return format.isContinuous || format.rates.empty() ? 0 : format.rates.front();
}

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
                            .endpointCount = descriptor[4],
                            .format = {}});
      }
    } else if (isInAudio && descriptor[1] == kEndpoint && length >= 7) {
      AddEndpoint(descriptor, settings.back());
    } else if (isInAudio && settings.back().isStreaming &&
               descriptor[1] == kClassSpecificInterface && length > 2 &&
               descriptor[2] == kFormatType) {
      AddFormat(descriptor, settings.back());
    }
    configuration = configuration.subspan(length);
  }
  return settings;
}

}  // namespace zr::popusb
