// A device stack of two for tests: at the bottom a device that a test scripts, above it one that
// offers every request to the interception as the driver's device object does.
#pragma once

#include <atomic>
#include <cstring>
#include <functional>
#include <vector>

#include "support/debug_log.h"
#include "support/perf_hooks.h"
#include "support/remove_lock.h"
#include "support/tracked_allocator.h"
#include "tests/platform/device_stack.h"
#include "usbaudio/usb_irps.h"

namespace zr::test {

/// What the bottom device does with a request: it completes it, at once or on another thread.
using Answer = std::function<NTSTATUS(PIRP irp)>;

/// A URB with room for its packets, and the transfer buffer that it points to.
class IsochUrb {
 public:
  IsochUrb(std::vector<USBD_ISO_PACKET_DESCRIPTOR> packets, std::vector<UCHAR> bytes)
      : bytes_(std::move(bytes)), storage_(Size(packets.size())) {
    _URB_ISOCH_TRANSFER& transfer = Transfer();
    transfer.Hdr.Length = static_cast<USHORT>(storage_.size());
    transfer.Hdr.Function = URB_FUNCTION_ISOCH_TRANSFER;
    transfer.TransferBuffer = bytes_.data();
    transfer.TransferBufferLength = static_cast<ULONG>(bytes_.size());
    transfer.NumberOfPackets = static_cast<ULONG>(packets.size());
    if (!packets.empty()) {
      std::memcpy(transfer.IsoPacket, packets.data(), packets.size() * sizeof(packets[0]));
    }
  }
  PURB Urb() { return reinterpret_cast<PURB>(storage_.data()); }
  _URB_ISOCH_TRANSFER& Transfer() { return Urb()->UrbIsochronousTransfer; }
  USBD_ISO_PACKET_DESCRIPTOR* Packets() { return Transfer().IsoPacket; }
  std::vector<UCHAR>& Bytes() { return bytes_; }

 private:
  static std::size_t Size(std::size_t packets) {
    return sizeof(URB) + packets * sizeof(USBD_ISO_PACKET_DESCRIPTOR);
  }
  std::vector<UCHAR> bytes_;
  std::vector<UCHAR> storage_;
};

/// The services of a loaded driver; below every member that uses them.
struct LoadedServices {
  LoadedServices() {
    PerfHooksInit();
    PoolTrackInit();
  }
  ~LoadedServices() {
    PoolTrackShutdown();
    PerfHooksShutdown();
  }
};

class InterceptedDevice {
 public:
  /// Above a device of the test, which sends requests with Send, or above one that exists.
  explicit InterceptedDevice(PDEVICE_OBJECT bottom = nullptr);
  ~InterceptedDevice();
  InterceptedDevice(const InterceptedDevice&) = delete;
  InterceptedDevice& operator=(const InterceptedDevice&) = delete;

  CUSBIRPs& Interception() { return *interception_; }
  RemoveLock& Lock() { return lock_; }
  PDEVICE_OBJECT Top() { return top_.Device(); }

  /// What the bottom does with the next requests; by default it succeeds at once.
  Answer answer;
  /// Requests that the interception refused, so that they only passed by.
  std::atomic<int> passedThrough = 0;
  /// Whether the IRP came back marked pending.
  std::atomic<bool> wasPending = false;

  /// Sends a request to the top and waits until it is complete. Gives what the dispatch returned.
  NTSTATUS Send(UCHAR major, ULONG ioControlCode, PVOID argument);
  NTSTATUS SendUrb(PURB urb) {
    return Send(IRP_MJ_INTERNAL_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB, urb);
  }
  NTSTATUS SelectConfiguration(const std::vector<UCHAR>& descriptor);
  NTSTATUS SelectInterface(UCHAR alternateSetting, ULONG pipes = 1) {
    return SelectInterfaceOfLength(alternateSetting, InterfaceInformationLength(pipes));
  }
  NTSTATUS SelectInterfaceOfLength(UCHAR alternateSetting, USHORT length);
  /// Both selections of one alternate setting with this format.
  void SelectFormat(UCHAR bits, UCHAR channels, ULONG hertz);

 private:
  NTSTATUS DispatchTop(PIRP irp);

  Layer ownBottom_;
  Layer top_;
  RemoveLock lock_;
  CUSBIRPs* interception_ = nullptr;
};

/// A configuration descriptor with one audio streaming interface for each format descriptor, under
/// the alternate settings from 1 up.
std::vector<UCHAR> ConfigurationOf(const std::vector<std::vector<UCHAR>>& formatDescriptors);

/// A type I format type descriptor with discrete frequencies.
std::vector<UCHAR> TypeOneFormat(UCHAR bits, UCHAR channels, const std::vector<ULONG>& hertz);

}  // namespace zr::test
