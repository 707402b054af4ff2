// What a configuration descriptor tells of a device's audio function: its interfaces, their
// alternate settings, and the endpoints and formats of those.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zr::popusb {

/// Of a format type descriptor of type I or III.
struct AudioFormat {
  uint8_t bits = 0;
  uint8_t channels = 0;
  bool isContinuous = false;    ///< Any rate between the two.
  std::vector<uint32_t> rates;  ///< In hertz.
};

struct AudioSetting {
  uint8_t interfaceNumber = 0;
  uint8_t alternateSetting = 0;
  bool isStreaming = false;
  uint8_t endpointCount = 0;
  uint8_t inputEndpoint = 0;  ///< Isochronous, of its recorded audio; 0 if there is none.
  uint16_t packetSize = 0;    ///< Of that endpoint.
  AudioFormat format;         ///< The last that is told.

  /// The rate that the driver takes for this setting: the first of the list, 0 where there is none.
  uint32_t DriverRate() const;
};

/// The settings of all audio interfaces, in the order of the descriptor. Reads only whole parts.
std::vector<AudioSetting> ReadAudioSettings(std::span<const uint8_t> configuration);

}  // namespace zr::popusb
