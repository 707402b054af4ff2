// The records of a pcap or pcapng file, through libpcap.
#pragma once

#include <pcap/pcap.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/popusb/capture_dump.h"
#include "apps/popusb/capture_shape.h"

namespace zr::popusb {

struct CaptureRecord {
  pcap_pkthdr header = {};         ///< Its time stamp carries nanoseconds.
  std::span<const uint8_t> bytes;  ///< What was recorded; good until the next record is read.
};

class CaptureFile {
 public:
  /// Throws a Failure if there is no such file or it is no capture.
  explicit CaptureFile(const std::string& path);

  /// Reads from a stream that can seek, and closes it; name is what messages call it.
  CaptureFile(std::FILE* stream, const std::string& name);

  const CaptureShape& Shape() const { return shape_; }

  /// The next whole record, with usbmon's fields in the host's byte order; none at the end, or
  /// where the file cannot be read further.
  std::optional<CaptureRecord> Next();

  /// What is wrong where the file cannot be read further, in the library's words; empty as long as
  /// nothing is.
  const std::string& Truncation() const { return truncation_; }

 private:
  PcapHandle capture_;
  CaptureShape shape_;
  std::string truncation_;
  // The library leaves a part of each record in the other byte order, see TurnPacketDescriptors.
  bool isHalfTurned_ = false;
  std::vector<uint8_t> turned_;
};

}  // namespace zr::popusb
