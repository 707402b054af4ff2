// A capture through the driver: all its devices, their streams as files, and the capture as the
// class driver would have seen it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/popusb/capture_reader.h"
#include "apps/popusb/captured_device.h"

namespace zr::popusb {

struct CleanOptions {
  std::string capture;
  CapturedDeviceOptions device;
  std::string writeCapture = {};  ///< Empty for none.
  std::string registry =
      {};  ///< Text file that fills the registry before the driver loads; or empty.
  /// Lines of the driver up to this level go to standard error; 0 for none.
  unsigned logLevel = 0;
  /// Seconds from the first record on, between which the filter is disabled through the service.
  std::optional<std::pair<double, double>> disabled = {};
};

struct CaptureReport {
  std::string recorder;
  CaptureCounts counts;
  std::string truncation;  ///< Why the capture could not be read to its end; empty if it could.
  /// Of each device's service, where there is one.
  std::map<DeviceAddress, std::map<ULONG, instrumentation::Statistic>> statistics = {};
  std::vector<DeviceReport> devices;  ///< Those with audio interfaces, or with doubts about them.
};

/// Throws a Failure if the capture cannot be read, or a file cannot be written.
CaptureReport CleanCapture(const CleanOptions& options);

}  // namespace zr::popusb
