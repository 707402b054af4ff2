// A capture written again, record by record as it is read, with other audio in its isochronous
// transfers.
#pragma once

#include <pcap/pcap.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/popusb/capture_dump.h"
#include "apps/popusb/isoch_layout.h"
#include "apps/popusb/usb_event.h"

namespace zr::popusb {

class CaptureCopy {
 public:
  /// A copy of a capture of that shape into the file behind descriptor, which stays the caller's;
  /// name is what messages call it. A CaptureReader fills it, see CaptureReader::CopyTo. Throws a
  /// Failure if that cannot be.
  CaptureCopy(const CaptureShape& shape, int descriptor, const std::string& name);

  /// Lays other packets and data over the isochronous transfer that CaptureReader::Next gave last.
  /// packets: as many as the event has; their offsets and lengths are written, their status is not.
  /// data: at most as many bytes as the event has; behind them the recorded ones stay, and so do
  /// the headers and the size of the record.
  /// Throws std::invalid_argument for any other number, or if no isochronous transfer came last.
  void Replace(std::span<const IsochPacket> packets, std::span<const uint8_t> data);

  /// After the last record: everything has gone to the descriptor, or a Failure is thrown.
  void Finish();

  /// For the reader: the next record, with the layout of the isochronous transfer that it gives.
  void Add(const pcap_pkthdr& header, std::span<const uint8_t> bytes,
           const std::optional<IsochLayout>& isoch);

 private:
  void WriteHeld();

  CaptureDump dump_;
  // The last record waits, as it may still be written over.
  bool isHolding_ = false;
  pcap_pkthdr header_ = {};
  std::vector<uint8_t> bytes_;
  std::optional<IsochLayout> isoch_;
};

}  // namespace zr::popusb
