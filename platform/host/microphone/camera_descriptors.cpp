// Descriptors by USB 2.0, the Video Class 1.1 and the Audio Class 1.0.
#include "platform/host/microphone/camera_descriptors.h"

#include <algorithm>
#include <initializer_list>

namespace zr::host {
namespace {

using Bytes = std::vector<UCHAR>;

constexpr UCHAR kVideo = 0x0E;
constexpr UCHAR kAudio = 0x01;
constexpr UCHAR kControl = 0x01;
constexpr UCHAR kStreaming = 0x02;

constexpr UCHAR Low(ULONG word) {
  return static_cast<UCHAR>(word);
}
constexpr UCHAR High(ULONG word) {
  return static_cast<UCHAR>(word >> 8);
}

// Appends one descriptor; its length goes in front.
void Append(Bytes& bytes, std::initializer_list<UCHAR> fields) {
  bytes.push_back(static_cast<UCHAR>(fields.size() + 1));
  bytes.insert(bytes.end(), fields);
}

void AppendInterface(Bytes& bytes, UCHAR number, UCHAR setting, UCHAR endpoints, UCHAR classCode,
                     UCHAR subClass) {
  Append(bytes, {4, number, setting, endpoints, classCode, subClass, 0, 0});
}

void AppendVideo(Bytes& bytes) {
  Append(bytes, {0x0B, 0, 2, kVideo, 3, 0, 0});  // the two interfaces are one function
  AppendInterface(bytes, 0, 0, 0, kVideo, kControl);
  Append(bytes, {0x24, 1, 0x10, 1, 13, 0, 0x80, 0xC3, 0xC9, 1, 1, 1});
  AppendInterface(bytes, 1, 0, 0, kVideo, kStreaming);
  AppendInterface(bytes, 1, 1, 1, kVideo, kStreaming);
  Append(bytes, {5, 0x81, 5, 0x00, 0x14, 1});  // isochronous, 3 packets of 1,024 a microframe
}

void AppendAudioControl(Bytes& bytes) {
  Append(bytes, {0x0B, 2, 2, kAudio, kStreaming, 0, 0});
  AppendInterface(bytes, 2, 0, 0, kAudio, kControl);
  Append(bytes, {0x24, 1, 0, 1, 30, 0, 1, kMicrophoneInterface});
  Append(bytes, {0x24, 2, 1, 0x01, 0x02, 0, 1, 0, 0, 0, 0});  // input terminal: microphone
  Append(bytes, {0x24, 3, 2, 0x01, 0x01, 0, 1, 0});           // output terminal: USB stream
}

void AppendFormat(Bytes& bytes, const MicrophoneSetting& setting) {
  Bytes frequencies;
  const auto addFrequency = [&frequencies](ULONG hertz) {
    if (hertz == 0) return;
    for (const int shift : {0, 8, 16})
      frequencies.push_back(static_cast<UCHAR>(hertz >> shift));
  };
  addFrequency(setting.hertz);
  addFrequency(setting.highestHertz != 0 ? setting.highestHertz : setting.otherHertz);
  const bool isContinuous = setting.highestHertz != 0;
  const auto count = static_cast<UCHAR>(isContinuous ? 0 : frequencies.size() / 3);
  const Bytes fields = {
      static_cast<UCHAR>(8 + frequencies.size()), 0x24,         2,    1, setting.channels,
      static_cast<UCHAR>(setting.bits / 8),       setting.bits, count};
  bytes.insert(bytes.end(), fields.begin(), fields.end());
  bytes.insert(bytes.end(), frequencies.begin(), frequencies.end());
}

void AppendMicrophone(Bytes& bytes) {
  AppendInterface(bytes, kMicrophoneInterface, 0, 0, kAudio, kStreaming);
  for (const MicrophoneSetting& setting : MicrophoneSettings()) {
    const USHORT packet = setting.MaximumPacketSize();
    AppendInterface(bytes, kMicrophoneInterface, setting.alternateSetting, 1, kAudio, kStreaming);
    Append(bytes, {0x24, 1, 2, 1, 1, 0});  // PCM of the output terminal
    AppendFormat(bytes, setting);
    Append(bytes, {5, kMicrophoneEndpoint, 5, Low(packet), High(packet), 4, 0, 0});
    Append(bytes, {0x25, 1, 1, 0, 0, 0});  // with a control of the sampling frequency
  }
}

}  // namespace

USHORT MicrophoneSetting::MaximumPacketSize() const {
  const ULONG highest = std::max({hertz, highestHertz, otherHertz});
  return static_cast<USHORT>(((highest + 999) / 1000 + 1) * BytesPerFrame());
}

const std::vector<MicrophoneSetting>& MicrophoneSettings() {
  static const std::vector<MicrophoneSetting> settings = {
      {1, 1, 16, 8000, 0, 0},      {2, 1, 16, 11025, 0, 0},    {3, 1, 16, 16000, 0, 0},
      {4, 1, 16, 22050, 0, 0},     {5, 1, 16, 44100, 0, 0},    {6, 1, 16, 48000, 0, 0},
      {7, 1, 16, 32000, 0, 24000}, {8, 1, 16, 8000, 48000, 0}, {9, 2, 16, 48000, 0, 44100},
  };
  return settings;
}

const MicrophoneSetting* FindMicrophoneSetting(UCHAR alternateSetting) {
  const auto& settings = MicrophoneSettings();
  const auto found =
      std::ranges::find(settings, alternateSetting, &MicrophoneSetting::alternateSetting);
  return found == settings.end() ? nullptr : &*found;
}

const MicrophoneSetting* FindMicrophoneSettingFor(ULONG hertz) {
  const auto& settings = MicrophoneSettings();
  const auto found = std::ranges::find_if(settings, [hertz](const MicrophoneSetting& setting) {
    return setting.channels == 1 && setting.highestHertz == 0 && setting.hertz == hertz;
  });
  return found == settings.end() ? nullptr : &*found;
}

std::vector<UCHAR> CameraConfiguration() {
  Bytes bytes;
  constexpr UCHAR kInterfaces = 4;
  Append(bytes, {2, 0, 0, kInterfaces, kCameraConfigurationValue, 0, 0x80, 250});
  AppendVideo(bytes);
  AppendAudioControl(bytes);
  AppendMicrophone(bytes);
  constexpr std::size_t kTotalLength = 2;
  bytes[kTotalLength] = Low(static_cast<ULONG>(bytes.size()));
  bytes[kTotalLength + 1] = High(static_cast<ULONG>(bytes.size()));
  return bytes;
}

}  // namespace zr::host
