// A USB camera's microphone at the bottom of a device stack: its bus driver answers the selections
// and the isochronous transfers as a host controller does, on a thread of its own at
// DISPATCH_LEVEL, in the order in which they were sent.
//
//   UsbMicrophone microphone(feed, behaviour);
//   ... attach devices above microphone.PhysicalDevice(), stream, take them off again
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "platform/host/control/io_control.h"
#include "platform/host/microphone/packet_plan.h"
#include "platform/host/usb.h"

namespace zr::host {

/// Fills the room with the next bytes of PCM and gives their number; fewer only at the end. Called
/// on the threads of the device, one at a time.
using AudioFeed = std::function<std::size_t(UCHAR* room, std::size_t size)>;

class UsbMicrophone {
 public:
  /// Builds the physical device, PASSIVE_LEVEL. Throws std::runtime_error if that fails.
  UsbMicrophone(AudioFeed feed, const MicrophoneBehaviour& behaviour);
  /// Every request must be back, and every device above taken off.
  ~UsbMicrophone();
  UsbMicrophone(const UsbMicrophone&) = delete;
  UsbMicrophone& operator=(const UsbMicrophone&) = delete;

  PDEVICE_OBJECT PhysicalDevice() const { return device_; }

  /// Whether the feed has ended and its last byte went into a transfer that is complete.
  bool IsDrained() const;
  /// The bytes of all packets that did not fail, in the order of their completion.
  std::vector<UCHAR> Delivered() const;

 private:
  static NTSTATUS NTAPI Enter(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);
  static NTSTATUS NTAPI DispatchUrb(PDEVICE_OBJECT device, PIRP irp);
  static VOID NTAPI CancelTransfer(PDEVICE_OBJECT device, PIRP irp);

  NTSTATUS SelectConfiguration(_URB_SELECT_CONFIGURATION& urb);
  NTSTATUS SelectInterface(USBD_INTERFACE_INFORMATION& selected);
  NTSTATUS StartTransfer(PIRP irp, _URB_ISOCH_TRANSFER& transfer);
  bool IsTransferSound(const _URB_ISOCH_TRANSFER& transfer) const;

  void CompleteWaiting();
  PIRP TakeWaiting();
  void CompleteTransfer(PIRP irp);
  NTSTATUS FillTransfer(_URB_ISOCH_TRANSFER& transfer);
  bool Happens(uint32_t thousandths);

  const AudioFeed feed_;
  const MicrophoneBehaviour behaviour_;
  LoadedDriver driver_;
  PDEVICE_OBJECT device_ = nullptr;

  mutable std::mutex lock_;  // Guards what follows.
  std::condition_variable isChanged_;
  bool isConfigured_ = false;
  const MicrophoneSetting* setting_ = nullptr;
  std::optional<PacketPlan> plan_;
  std::mt19937 random_;
  std::deque<PIRP> waiting_;
  bool isCompleting_ = false;  // One transfer at a time is filled and completed.
  bool isStopping_ = false;
  bool feedHasEnded_ = false;
  std::vector<UCHAR> delivered_;

  std::thread controller_;
};

}  // namespace zr::host
