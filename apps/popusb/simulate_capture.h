// A capture of a microphone that was never plugged in: the simulated one plays an audio file.
#pragma once

#include <string>

#include "platform/host/microphone/packet_plan.h"

namespace zr::popusb {

struct SimulateOptions {
  std::string audio;    ///< Mono; its rate must be one of the microphone's.
  std::string capture;  ///< usbmon's format, in a pcap file.
  host::MicrophoneBehaviour behaviour;
};

/// Throws a Failure if the audio does not fit the microphone, or a file cannot be read or written.
void SimulateCapture(const SimulateOptions& options);

}  // namespace zr::popusb
