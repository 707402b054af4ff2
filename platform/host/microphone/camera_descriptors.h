// The configuration of a simulated USB camera: video beside a microphone whose alternate settings
// offer the usual rates.
#pragma once

#include <vector>

#include "platform/host/types.h"

namespace zr::host {

inline constexpr UCHAR kCameraConfigurationValue = 1;
inline constexpr UCHAR kMicrophoneInterface = 3;
inline constexpr UCHAR kMicrophoneEndpoint = 0x84;

/// An alternate setting of the microphone's streaming interface.
struct MicrophoneSetting {
  UCHAR alternateSetting;
  UCHAR channels;
  UCHAR bits;
  ULONG hertz;         ///< First frequency of the list, or the lowest of a continuous range.
  ULONG highestHertz;  ///< 0 where the frequencies are a list.
  ULONG otherHertz;    ///< Second frequency of the list, or 0.

  ULONG BytesPerFrame() const { return ULONG{channels} * bits / 8; }
  /// Of the endpoint: a millisecond at the highest rate, and one frame more for the device's clock.
  USHORT MaximumPacketSize() const;
};

/// The settings with an endpoint; alternate setting 0 has none.
const std::vector<MicrophoneSetting>& MicrophoneSettings();

/// Null if there is no such setting with an endpoint.
const MicrophoneSetting* FindMicrophoneSetting(UCHAR alternateSetting);
/// The mono 16-bit setting whose first rate this is, or null.
const MicrophoneSetting* FindMicrophoneSettingFor(ULONG hertz);

/// The whole configuration descriptor, as GET_DESCRIPTOR brings it.
std::vector<UCHAR> CameraConfiguration();

}  // namespace zr::host
