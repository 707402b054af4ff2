// The bottom of a device stack that answers as a recorded device did: an isochronous transfer comes
// back with the packets and the data of the capture.
#pragma once

#include "apps/popusb/usb_event.h"
#include "platform/host/control/io_control.h"
#include "platform/host/usb.h"

namespace zr::popusb {

class ReplayDevice {
 public:
  explicit ReplayDevice(DeviceAddress address);
  /// Every device above must be off the stack.
  ~ReplayDevice();
  ReplayDevice(const ReplayDevice&) = delete;
  ReplayDevice& operator=(const ReplayDevice&) = delete;

  PDEVICE_OBJECT PhysicalDevice() const { return device_; }

  /// What the next isochronous transfer brings; it must have as many packets, and a buffer that
  /// holds the data. Other requests succeed.
  void Answer(const IsochCompleted& recorded) { recorded_ = &recorded; }

 private:
  static NTSTATUS NTAPI Enter(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);
  static NTSTATUS NTAPI Dispatch(PDEVICE_OBJECT device, PIRP irp);
  NTSTATUS AnswerUrb(PURB urb) const;
  NTSTATUS Fill(_URB_ISOCH_TRANSFER& transfer) const;

  host::LoadedDriver driver_;
  PDEVICE_OBJECT device_ = nullptr;
  const IsochCompleted* recorded_ = nullptr;
};

}  // namespace zr::popusb
