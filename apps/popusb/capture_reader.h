// A USB capture as a sequence of events, whatever recorded it: usbmon or USBPcap.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "apps/popusb/capture_copy.h"
#include "apps/popusb/capture_file.h"
#include "apps/popusb/transfer_tracker.h"
#include "apps/popusb/usb_event.h"

namespace zr::popusb {

struct Recorder;
struct TransferRecord;

struct CaptureCounts {
  uint64_t records = 0;  ///< All that were read.
  uint64_t ignored = 0;  ///< Those that are sound and tell nothing.
  uint64_t damaged =
      0;  ///< Those that are too short for what they say, and were used at most in part.
  uint64_t snapped = 0;  ///< Those of which only the first bytes were recorded; used or not.
};

class CaptureReader {
 public:
  /// Throws a Failure if there is no such file, or it is no capture of USB transfers.
  explicit CaptureReader(const std::string& path);

  /// Reads from a stream that can seek, and closes it; name is what messages call it.
  CaptureReader(std::FILE* stream, const std::string& name);

  /// What a CaptureCopy needs to know.
  const CaptureShape& Shape() const { return file_.Shape(); }

  /// Who recorded the capture, for people: "usbmon" or "USBPcap".
  const char* RecorderName() const;

  /// From here on every record goes to copy, in its order. copy must live as long as Next is
  /// called.
  void CopyTo(CaptureCopy& copy) { copy_ = &copy; }

  /// The next event; none at the end.
  std::optional<UsbEvent> Next();

  const CaptureCounts& Counts() const { return counts_; }

  /// After the end: why the file could not be read to its end, in the library's words; empty if it
  /// could.
  const std::string& Truncation() const { return file_.Truncation(); }

 private:
  std::optional<ToldEvent> Follow(TransferRecord& record);

  CaptureFile file_;
  const Recorder& recorder_;
  TransferTracker transfers_;
  CaptureCopy* copy_ = nullptr;
  CaptureCounts counts_;
};

}  // namespace zr::popusb
