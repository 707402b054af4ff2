// Gather and scatter of isochronous packets. Sums are formed in 64 bits: lengths and offsets are
// foreign.
#include "usbaudio/iso_packets.h"

#include <algorithm>
#include <cstring>

bool IsoPackets::IsFailed(const USBD_ISO_PACKET_DESCRIPTOR& packet) const {
  if (!USBD_SUCCESS(packet.Status)) return true;
  return packet.Length != 0 && ULONGLONG{packet.Offset} + packet.Length > bufferSize_;
}

void IsoPackets::Gather(PUCHAR buffer, ULONG size, Gathered& gathered) const {
  ULONG total = gathered.total;
  for (ULONG i = 0; i < transfer_.NumberOfPackets; ++i) {
    const USBD_ISO_PACKET_DESCRIPTOR packet = transfer_.IsoPacket[i];
    if (IsFailed(packet) || packet.Length == 0) continue;
    if (ULONGLONG{total} + packet.Length > size) {
      gathered.overrun = i;
      break;
    }
    std::memcpy(buffer + total, Bytes() + packet.Offset, packet.Length);
    total += packet.Length;
    ++gathered.good;
  }
  gathered.total = total;
}

void IsoPackets::Scatter(const UCHAR* buffer, ULONG length, ULONG share) {
  ULONG offset = 0;
  for (ULONG i = 0; i < transfer_.NumberOfPackets; ++i) {
    USBD_ISO_PACKET_DESCRIPTOR& packet = transfer_.IsoPacket[i];
    if (IsFailed(packet)) continue;
    packet.Offset = offset;
    packet.Length = std::min(share, length - offset);
    offset += packet.Length;
  }
  // The shares lie one behind the other on both sides.
  std::memcpy(Bytes(), buffer, offset);
}
