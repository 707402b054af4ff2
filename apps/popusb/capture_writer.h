// A capture made from scratch, as usbmon would have recorded it: each transfer is a record of its
// submission and one of its completion.
#pragma once

#include <pcap/pcap.h>
#include <pcap/usb.h>

#include <cstdint>
#include <span>
#include <string>

#include "apps/popusb/capture_dump.h"
#include "apps/popusb/usb_event.h"

namespace zr::popusb {

class CaptureWriter {
 public:
  /// Writes to the file behind descriptor, which stays the caller's; name is what messages call it.
  CaptureWriter(int descriptor, const std::string& name);

  /// Writes the transfer that ends in event. It was submitted duration seconds before; so that time
  /// runs forward in the capture, that should not be before the transfer written last.
  /// The slot that a packet was offered reaches to the offset of the next; the last slot is as long
  /// as the longest.
  void Write(const UsbEvent& event, double duration);

  /// After the last transfer: everything has gone to the descriptor, or a Failure is thrown.
  void Finish() { dump_.Finish(); }

 private:
  void WriteRecord(pcap_usb_header_mmapped fields, std::span<const uint8_t> payload,
                   double seconds);

  CaptureDump dump_;
  uint64_t transferCount_ = 0;
  uint32_t frame_ = 0;  // Of the bus, one for each packet.
};

}  // namespace zr::popusb
