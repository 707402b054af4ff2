// The packets of one isochronous transfer: their audio into one run of bytes, and back in equal
// shares. The device chose the packet lengths on the way in; the class driver only reads Offset and
// Length on the way out, so the audio can stand contiguous from the start of the transfer buffer.
#pragma once

#include "platform/kernel.h"

/// What a gather has brought.
struct Gathered {
  static constexpr ULONG kNoOverrun = 0xffffffff;
  ULONG total;    ///< Bytes in the gather buffer, a held byte in front included.
  ULONG good;     ///< Packets that they came from.
  ULONG overrun;  ///< The first packet that did not fit, or kNoOverrun.
};

class IsoPackets {
 public:
  /// bufferSize is what the transfer buffer holds. A packet with bytes beyond it counts as failed.
  IsoPackets(_URB_ISOCH_TRANSFER& transfer, ULONG bufferSize)
      : transfer_(transfer), bufferSize_(bufferSize) {}

  /// Appends the bytes of the good packets to the first gathered.total of buffer, up to the first
  /// packet that does not fit into its size.
  void Gather(PUCHAR buffer, ULONG size, Gathered& gathered) const;

  /// Lays length bytes, no more than the transfer buffer holds, into the packets that did not fail,
  /// in order and in shares of share bytes, from the start of the transfer buffer. Failed packets
  /// stay as they came.
  void Scatter(const UCHAR* buffer, ULONG length, ULONG share);

 private:
  bool IsFailed(const USBD_ISO_PACKET_DESCRIPTOR& packet) const;
  PUCHAR Bytes() const { return static_cast<PUCHAR>(transfer_.TransferBuffer); }

  _URB_ISOCH_TRANSFER& transfer_;
  const ULONG bufferSize_;
};
