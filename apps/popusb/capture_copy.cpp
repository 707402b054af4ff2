#include "apps/popusb/capture_copy.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace zr::popusb {

CaptureCopy::CaptureCopy(const CaptureShape& shape, int descriptor, const std::string& name)
    : dump_(shape, descriptor, name) {}

void CaptureCopy::Replace(std::span<const IsochPacket> packets, std::span<const uint8_t> data) {
  if (!isoch_) throw std::invalid_argument("no isochronous transfer to write over");
  if (packets.size() != isoch_->packetCount || data.size() > isoch_->dataLength) {
    throw std::invalid_argument("packets or data that do not fit the record");
  }
  uint8_t* entry = bytes_.data() + isoch_->table;
  for (const IsochPacket& packet : packets) {
    std::memcpy(entry + isoch_->offsetField, &packet.offset, sizeof(packet.offset));
    std::memcpy(entry + isoch_->lengthField, &packet.length, sizeof(packet.length));
    entry += isoch_->entrySize;
  }
  std::ranges::copy(data, bytes_.begin() + static_cast<std::ptrdiff_t>(isoch_->data));
}

void CaptureCopy::Add(const pcap_pkthdr& header, std::span<const uint8_t> bytes,
                      const std::optional<IsochLayout>& isoch) {
  WriteHeld();
  header_ = header;
  bytes_.assign(bytes.begin(), bytes.end());
  isoch_ = isoch;
  isHolding_ = true;
}

void CaptureCopy::Finish() {
  WriteHeld();
  dump_.Finish();
}

void CaptureCopy::WriteHeld() {
  if (!isHolding_) return;
  isHolding_ = false;
  dump_.Write(header_, bytes_);
}

}  // namespace zr::popusb
