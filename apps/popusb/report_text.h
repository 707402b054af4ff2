// What a run has learnt and done, for the person who started it.
#pragma once

#include <string>

#include "apps/popusb/clean_capture.h"

namespace zr::popusb {

/// The table of alternate settings and formats, and the streams with their gaps and repairs; the
/// lines end. name is what the capture is called.
std::string ReportText(const std::string& name, const CaptureReport& report);

}  // namespace zr::popusb
