// A capture through the driver: all its devices, their streams as files, and the capture as the
// class driver would have seen it.
#pragma once

#include <string>
#include <vector>

#include "apps/popusb/capture_reader.h"
#include "apps/popusb/captured_device.h"

namespace zr::popusb {

struct CleanOptions {
  std::string capture;
  CapturedDeviceOptions device;
  std::string writeCapture;  ///< Empty for none.
};

struct CaptureReport {
  std::string recorder;
  CaptureCounts counts;
  std::string truncation;  ///< Why the capture could not be read to its end; empty if it could.
  std::vector<DeviceReport> devices;  ///< Those with audio interfaces, or with doubts about them.
};

/// Throws a Failure if the capture cannot be read, or a file cannot be written.
CaptureReport CleanCapture(const CleanOptions& options);

}  // namespace zr::popusb
