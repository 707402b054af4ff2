// What a configuration descriptor tells of a device's audio function: which interfaces belong to
// it, and the endpoints of their alternate settings. Formats are left to the driver.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zr::popusb {

struct AudioSetting {
  uint8_t interfaceNumber = 0;
  uint8_t alternateSetting = 0;
  bool isStreaming = false;
  uint8_t endpointCount = 0;
  uint8_t inputEndpoint = 0;  ///< Isochronous, of its recorded audio; 0 if there is none.
  uint16_t packetSize = 0;    ///< Of that endpoint.
};

/// The settings of all audio interfaces, in the order of the descriptor. Reads only whole parts.
std::vector<AudioSetting> ReadAudioSettings(std::span<const uint8_t> configuration);

}  // namespace zr::popusb
