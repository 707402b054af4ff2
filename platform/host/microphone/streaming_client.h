// What a USB audio class driver does above a device stack: it selects a configuration and an
// alternate setting, keeps several isochronous transfers in flight, and collects the audio in the
// order in which they come back.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/host/io.h"
#include "platform/host/usb.h"

namespace zr::host {

struct StreamShape {
  ULONG transfersInFlight = 4;
  ULONG packetsPerTransfer = 10;
};

struct StreamCounts {
  ULONG transfers = 0;        ///< Came back with success.
  ULONG failedTransfers = 0;  ///< Came back with an error, the cancelled ones at the end included.
  ULONG failedPackets = 0;    ///< In transfers that succeeded.
};

/// All operations at PASSIVE_LEVEL, on one thread at a time.
class StreamingClient {
 public:
  /// top: the device that requests are sent to, referenced by the caller.
  explicit StreamingClient(PDEVICE_OBJECT top) : top_(top) {}

  /// configuration: a whole configuration descriptor, or empty to unconfigure the device.
  NTSTATUS SelectConfiguration(const std::vector<UCHAR>& configuration);

  /// pipes: of the alternate setting, 0 or 1. With one, Stream uses it.
  NTSTATUS SelectInterface(UCHAR interfaceNumber, UCHAR alternateSetting, ULONG pipes);

  /// Sends any URB, waits until it is back, and gives the status of its request.
  NTSTATUS Send(PURB urb);

  /// Looks at a transfer that has come back, before it is sent again.
  using Observer = std::function<void(const _URB_ISOCH_TRANSFER& transfer)>;

  /// Streams until isOver, asked after each transfer, says so; then cancels what is in flight.
  /// Gives the bytes of the packets that did not fail. Throws std::bad_alloc if there are no IRPs.
  std::vector<UCHAR> Stream(const StreamShape& shape, const std::function<bool()>& isOver,
                            const Observer& observer = {});

  const StreamCounts& Counts() const { return counts_; }

 private:
  class Transfer;
  class TransfersInFlight;

  static NTSTATUS NTAPI TakeBack(PDEVICE_OBJECT device, PIRP irp, PVOID context);
  void Submit(Transfer& transfer);
  Transfer& WaitForTransfer();
  void Collect(const Transfer& transfer, std::vector<UCHAR>& audio);

  PDEVICE_OBJECT const top_;
  USBD_PIPE_HANDLE pipe_ = nullptr;
  ULONG packetSize_ = 0;
  StreamCounts counts_;

  std::mutex lock_;  // Guards the queue.
  std::condition_variable isBack_;
  std::deque<Transfer*> back_;
};

}  // namespace zr::host
