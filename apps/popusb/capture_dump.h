// A pcap file in the making, through libpcap.
#pragma once

#include <pcap/pcap.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "apps/popusb/capture_shape.h"

namespace zr::popusb {

struct ClosePcap {
  void operator()(pcap_t* handle) const { pcap_close(handle); }
};
using PcapHandle = std::unique_ptr<pcap_t, ClosePcap>;

struct CloseDumper {
  void operator()(pcap_dumper_t* dumper) const { pcap_dump_close(dumper); }
};

class CaptureDump {
 public:
  /// Writes to the file behind descriptor, which stays the caller's; name is what messages call it.
  /// Throws a Failure if that cannot be.
  CaptureDump(const CaptureShape& shape, int descriptor, const std::string& name);

  /// header.ts carries nanoseconds, whatever the shape says. Throws a Failure if an earlier record
  /// could not be written.
  void Write(const pcap_pkthdr& header, std::span<const uint8_t> bytes);

  /// After the last record: everything has gone to the descriptor, or a Failure is thrown.
  void Finish();

 private:
  void ThrowOnWriteError() const;

  std::string name_;
  bool hasNanoseconds_;
  PcapHandle shape_;
  std::unique_ptr<pcap_dumper_t, CloseDumper> dumper_;
};

}  // namespace zr::popusb
