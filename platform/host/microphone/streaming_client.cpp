#include "platform/host/microphone/streaming_client.h"

#include <algorithm>
#include <new>

#include "platform/host/execution.h"

namespace zr::host {

// An IRP with its URB, packet table and buffer, used again and again.
class StreamingClient::Transfer {
 public:
  Transfer(StreamingClient& client, USBD_PIPE_HANDLE pipe, ULONG packetSize, ULONG packets)
      : client(client),
        irp(IoAllocateIrp(client.top_->StackSize, FALSE)),
        pipe_(pipe),
        packetSize_(packetSize),
        packets_(packets),
        urb_(sizeof(URB) + packets * sizeof(USBD_ISO_PACKET_DESCRIPTOR)),
        buffer_(std::size_t{packets} * packetSize) {
    if (irp == nullptr) throw std::bad_alloc();
  }
  ~Transfer() { IoFreeIrp(irp); }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  PURB Urb() { return reinterpret_cast<PURB>(urb_.data()); }
  const _URB_ISOCH_TRANSFER& Isoch() const {
    return reinterpret_cast<const URB*>(urb_.data())->UrbIsochronousTransfer;
  }
  bool HasSucceeded() const {
    return NT_SUCCESS(irp->IoStatus.Status) && USBD_SUCCESS(Isoch().Hdr.Status);
  }

  void LayOut() {
    _URB_ISOCH_TRANSFER& isoch = Urb()->UrbIsochronousTransfer;
    isoch = {};
    isoch.Hdr.Function = URB_FUNCTION_ISOCH_TRANSFER;
    isoch.Hdr.Length = static_cast<USHORT>(urb_.size());
    isoch.PipeHandle = pipe_;
    isoch.TransferFlags = USBD_TRANSFER_DIRECTION_IN | USBD_START_ISO_TRANSFER_ASAP;
    isoch.TransferBuffer = buffer_.data();
    isoch.TransferBufferLength = static_cast<ULONG>(buffer_.size());
    isoch.NumberOfPackets = packets_;
    for (ULONG i = 0; i < packets_; ++i)
      isoch.IsoPacket[i] = {.Offset = i * packetSize_, .Length = 0, .Status = 0};
  }

  StreamingClient& client;
  PIRP const irp;
  bool isInFlight = false;

 private:
  const USBD_PIPE_HANDLE pipe_;
  const ULONG packetSize_;
  const ULONG packets_;
  std::vector<UCHAR> urb_;
  std::vector<UCHAR> buffer_;
};

namespace {

void AddressUrb(PIRP irp, PURB urb) {
  PIO_STACK_LOCATION const location = IoGetNextIrpStackLocation(irp);
  location->MajorFunction = IRP_MJ_INTERNAL_DEVICE_CONTROL;
  location->Parameters.DeviceIoControl.IoControlCode = IOCTL_INTERNAL_USB_SUBMIT_URB;
  location->Parameters.Others.Argument1 = urb;
}

NTSTATUS NTAPI SignalEnd(PDEVICE_OBJECT /*device*/, PIRP /*irp*/, PVOID event) {
  KeSetEvent(static_cast<PKEVENT>(event), IO_NO_INCREMENT, FALSE);
  return STATUS_MORE_PROCESSING_REQUIRED;
}

}  // namespace

NTSTATUS StreamingClient::Send(PURB urb) {
  PIRP const irp = IoAllocateIrp(top_->StackSize, FALSE);
  if (irp == nullptr) return STATUS_INSUFFICIENT_RESOURCES;
  KEVENT isBack;
  KeInitializeEvent(&isBack, NotificationEvent, FALSE);
  AddressUrb(irp, urb);
  IoSetCompletionRoutine(irp, &SignalEnd, &isBack, TRUE, TRUE, TRUE);
  IoCallDriver(top_, irp);
  KeWaitForSingleObject(&isBack, Executive, KernelMode, FALSE, nullptr);
  const NTSTATUS status = irp->IoStatus.Status;
  IoFreeIrp(irp);
  return status;
}

NTSTATUS StreamingClient::SelectConfiguration(const std::vector<UCHAR>& configuration) {
  std::vector<UCHAR> copy = configuration;
  URB urb = {};
  urb.UrbHeader.Function = URB_FUNCTION_SELECT_CONFIGURATION;
  urb.UrbHeader.Length = sizeof(_URB_SELECT_CONFIGURATION);
  urb.UrbSelectConfiguration.ConfigurationDescriptor =
      copy.empty() ? nullptr : reinterpret_cast<PUSB_CONFIGURATION_DESCRIPTOR>(copy.data());
  return Send(&urb);
}

NTSTATUS StreamingClient::SelectInterface(UCHAR interfaceNumber, UCHAR alternateSetting,
                                          ULONG pipes) {
  URB urb = {};
  urb.UrbHeader.Function = URB_FUNCTION_SELECT_INTERFACE;
  urb.UrbHeader.Length = sizeof(_URB_SELECT_INTERFACE);
  USBD_INTERFACE_INFORMATION& selected = urb.UrbSelectInterface.Interface;
  selected.Length = InterfaceInformationLength(pipes);
  selected.InterfaceNumber = interfaceNumber;
  selected.AlternateSetting = alternateSetting;
  selected.NumberOfPipes = pipes;
  const NTSTATUS status = Send(&urb);
  const bool hasPipe = NT_SUCCESS(status) && pipes > 0;
  pipe_ = hasPipe ? selected.Pipes[0].PipeHandle : nullptr;
  packetSize_ = hasPipe ? selected.Pipes[0].MaximumPacketSize : 0;
  return status;
}

NTSTATUS NTAPI StreamingClient::TakeBack(PDEVICE_OBJECT /*device*/, PIRP /*irp*/, PVOID context) {
  auto& transfer = *static_cast<Transfer*>(context);
  StreamingClient& client = transfer.client;
  const std::lock_guard guard(client.lock_);
  client.back_.push_back(&transfer);
  client.isBack_.notify_one();
  return STATUS_MORE_PROCESSING_REQUIRED;
}

void StreamingClient::Submit(Transfer& transfer) {
  transfer.LayOut();
  transfer.irp->IoStatus = {};
  transfer.isInFlight = true;
  AddressUrb(transfer.irp, transfer.Urb());
  IoSetCompletionRoutine(transfer.irp, &TakeBack, &transfer, TRUE, TRUE, TRUE);
  IoCallDriver(top_, transfer.irp);
}

StreamingClient::Transfer& StreamingClient::WaitForTransfer() {
  std::unique_lock guard(lock_);
  isBack_.wait(guard, [this] { return !back_.empty(); });
  Transfer& transfer = *back_.front();
  back_.pop_front();
  transfer.isInFlight = false;
  return transfer;
}

// Takes every transfer back before their memory goes, also where an observer has thrown.
class StreamingClient::TransfersInFlight {
 public:
  TransfersInFlight(StreamingClient& client, const StreamShape& shape) : client_(client) {
    for (ULONG i = 0; i < shape.transfersInFlight; ++i) {
      transfers_.push_back(std::make_unique<Transfer>(client, client.pipe_, client.packetSize_,
                                                      shape.packetsPerTransfer));
    }
  }
  ~TransfersInFlight() {
    Cancel();
    while (Any())
      client_.WaitForTransfer();
  }
  TransfersInFlight(const TransfersInFlight&) = delete;
  TransfersInFlight& operator=(const TransfersInFlight&) = delete;

  void SubmitAll() {
    for (const auto& transfer : transfers_)
      client_.Submit(*transfer);
  }
  void Cancel() {
    for (const auto& transfer : transfers_) {
      if (transfer->isInFlight) IoCancelIrp(transfer->irp);
    }
  }
  bool Any() const {
    return std::ranges::any_of(transfers_,
                               [](const auto& transfer) { return transfer->isInFlight; });
  }

 private:
  StreamingClient& client_;
  std::vector<std::unique_ptr<Transfer>> transfers_;
};

void StreamingClient::Collect(const Transfer& transfer, std::vector<UCHAR>& audio) {
  if (!transfer.HasSucceeded()) {
    ++counts_.failedTransfers;
    return;
  }
  ++counts_.transfers;
  const _URB_ISOCH_TRANSFER& isoch = transfer.Isoch();
  for (ULONG i = 0; i < isoch.NumberOfPackets; ++i) {
    const USBD_ISO_PACKET_DESCRIPTOR& packet = isoch.IsoPacket[i];
    if (!USBD_SUCCESS(packet.Status)) {
      ++counts_.failedPackets;
      continue;
    }
    const UCHAR* const bytes = static_cast<const UCHAR*>(isoch.TransferBuffer) + packet.Offset;
    audio.insert(audio.end(), bytes, bytes + packet.Length);
  }
}

std::vector<UCHAR> StreamingClient::Stream(const StreamShape& shape,
                                           const std::function<bool()>& isOver,
                                           const Observer& observer) {
  TransfersInFlight transfers(*this, shape);
  std::vector<UCHAR> audio;
  const auto takeOne = [&]() -> Transfer& {
    Transfer& transfer = WaitForTransfer();
    Collect(transfer, audio);
    if (observer) observer(transfer.Isoch());
    return transfer;
  };
  transfers.SubmitAll();
  while (true) {
    Transfer& transfer = takeOne();
    if (isOver()) break;
    Submit(transfer);
  }
  transfers.Cancel();
  while (transfers.Any())
    takeOne();
  return audio;
}

}  // namespace zr::host
