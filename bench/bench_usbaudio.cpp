// What the interception of USB audio costs: the packets of a transfer into one run of bytes and
// back, requests that it refuses, and the whole road of an audio transfer through a device stack.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "bench/speech.h"
#include "platform/host/control/io_control.h"
#include "popfilter/floating_point_bracket.h"
#include "popfilter/pops.h"
#include "support/debug_log.h"
#include "support/perf_hooks.h"
#include "support/remove_lock.h"
#include "support/tracked_allocator.h"
#include "usbaudio/iso_packets.h"
#include "usbaudio/usb_irps.h"

namespace {

// 10 ms of 16-bit mono at 48 kHz, a packet each millisecond.
constexpr ULONG kPackets = 10;
constexpr ULONG kPacketBytes = 96;
constexpr ULONG kTransferBytes = kPackets * kPacketBytes;
constexpr ULONG kGatherBytes = 4 * kTransferBytes;
// Both sides of a copy begin with a line: inside one, it takes up to 1.7 times as long.
constexpr std::size_t kCacheLine = 64;

// The services of a loaded driver.
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

// A transfer as a class driver makes it and a device fills it.
struct AudioTransfer {
  AudioTransfer() {
    _URB_ISOCH_TRANSFER& transfer = Isoch();
    transfer.Hdr.Function = URB_FUNCTION_ISOCH_TRANSFER;
    transfer.TransferBuffer = audio.data();
    transfer.TransferBufferLength = kTransferBytes;
    transfer.NumberOfPackets = kPackets;
    for (ULONG i = 0; i < kPackets; ++i) {
      transfer.IsoPacket[i] = {i * kPacketBytes, kPacketBytes, USBD_STATUS_SUCCESS};
    }
  }
  PURB Urb() { return reinterpret_cast<PURB>(storage.data()); }
  _URB_ISOCH_TRANSFER& Isoch() { return Urb()->UrbIsochronousTransfer; }

  alignas(
      URB) std::array<UCHAR, sizeof(URB) + kPackets * sizeof(USBD_ISO_PACKET_DESCRIPTOR)> storage{};
  alignas(kCacheLine) std::array<UCHAR, kTransferBytes> audio{};
};

// Ten seconds of speech without end, 10 ms into each transfer.
class SpeakingDevice {
 public:
  void Fill(AudioTransfer& transfer) {
    std::memcpy(transfer.audio.data(), speech_.data() + position_, kTransferBytes);
    position_ = (position_ + kTransferBytes / sizeof(int16_t)) % speech_.size();
  }

 private:
  const std::vector<int16_t> speech_ = zr::bench::TenSecondsOfSpeech();
  std::size_t position_ = 0;
};

// A device that does with a request what it is told.
class Device {
 public:
  using Dispatch = std::function<NTSTATUS(PIRP irp)>;

  explicit Device(Dispatch dispatch) : dispatch_(std::move(dispatch)), driver_(&Enter) {
    IoCreateDevice(driver_.Object(), sizeof(Device*), nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE,
                   &object_);
    *static_cast<Device**>(object_->DeviceExtension) = this;
    object_->Flags &= ~DO_DEVICE_INITIALIZING;
  }
  ~Device() { IoDeleteDevice(object_); }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  PDEVICE_OBJECT Object() const { return object_; }
  void SetDispatch(Dispatch dispatch) { dispatch_ = std::move(dispatch); }

 private:
  static NTSTATUS NTAPI Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
    for (PDRIVER_DISPATCH& function : driver->MajorFunction)
      function = &CallDispatch;
    return STATUS_SUCCESS;
  }
  static NTSTATUS NTAPI CallDispatch(PDEVICE_OBJECT object, PIRP irp) {
    return (*static_cast<Device**>(object->DeviceExtension))->dispatch_(irp);
  }

  Dispatch dispatch_;
  zr::host::LoadedDriver driver_;
  PDEVICE_OBJECT object_ = nullptr;
};

// A request that its maker sends again and again.
class Request {
 public:
  Request(UCHAR major, ULONG ioControlCode, PURB urb)
      : major_(major), ioControlCode_(ioControlCode), urb_(urb) {}
  explicit Request(PURB urb)
      : Request(IRP_MJ_INTERNAL_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB, urb) {}
  ~Request() { IoFreeIrp(irp_); }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  void SendTo(PDEVICE_OBJECT device) {
    PIO_STACK_LOCATION location = IoGetNextIrpStackLocation(irp_);
    location->MajorFunction = major_;
    location->Parameters.DeviceIoControl.IoControlCode = ioControlCode_;
    location->Parameters.Others.Argument1 = urb_;
    IoSetCompletionRoutine(irp_, &TakeBack, nullptr, TRUE, TRUE, TRUE);
    IoCallDriver(device, irp_);
  }

 private:
  static NTSTATUS NTAPI TakeBack(PDEVICE_OBJECT /*device*/, PIRP /*irp*/, PVOID /*context*/) {
    return STATUS_MORE_PROCESSING_REQUIRED;
  }

  const UCHAR major_;
  const ULONG ioControlCode_;
  const PURB urb_;
  const PIRP irp_ = IoAllocateIrp(2, FALSE);
};

// At the bottom a device that completes at once, above it one with the interception.
class DeviceStack {
 public:
  DeviceStack()
      : bottom_([](PIRP irp) {
          irp->IoStatus.Status = STATUS_SUCCESS;
          IoCompleteRequest(irp, IO_NO_INCREMENT);
          return STATUS_SUCCESS;
        }),
        top_([this](PIRP irp) { return OfferOrPassOn(irp); }) {
    RemoveLockInit(&lock_);
    lower_ = IoAttachDeviceToDeviceStack(top_.Object(), bottom_.Object());
    interception_->Init(top_.Object(), lower_, bottom_.Object(), nullptr, &lock_);
    SelectAudioFormat();
  }
  ~DeviceStack() { IoDetachDevice(lower_); }

  CUSBIRPs& Interception() { return *interception_; }
  Device& Top() { return top_; }
  PDEVICE_OBJECT Lower() { return lower_; }

  NTSTATUS OfferOrPassOn(PIRP irp) {
    RemoveLockAcquire(irp, &lock_);
    ULONG handled = 0;
    const NTSTATUS status = interception_->Dispatch(irp, &handled);
    return handled != 0 ? status : PassOnHeld(irp);
  }
  NTSTATUS PassOn(PIRP irp) {
    RemoveLockAcquire(irp, &lock_);
    return PassOnHeld(irp);
  }

 private:
  NTSTATUS PassOnHeld(PIRP irp) {
    IoSkipCurrentIrpStackLocation(irp);
    const NTSTATUS status = IoCallDriver(lower_, irp);
    RemoveLockRelease(irp, &lock_);
    return status;
  }

  void SelectAudioFormat() {
    // Interface 1, setting 1: 16 bits, mono, 48,000 Hz.
    constexpr UCHAR kConfiguration[] = {9,    2,    38, 0, 2, 1, 0,  0x80, 50,  // configuration
                                        9,    4,    1,  1, 1, 1, 2,  0,    0,   // interface
                                        11,   0x24, 2,  1, 1, 2, 16, 1,         // format type
                                        0x80, 0xBB, 0,                          // frequency
                                        9,    5,    1,  5, 0, 1, 4,  0,    0};  // endpoint
    static_assert(sizeof(kConfiguration) == kConfiguration[2]);
    interception_->ParseConfigurationDescriptor(kConfiguration);
    URB urb = {};
    urb.UrbHeader.Function = URB_FUNCTION_SELECT_INTERFACE;
    urb.UrbSelectInterface.Interface.Length = InterfaceInformationLength(1);
    urb.UrbSelectInterface.Interface.AlternateSetting = 1;
    Request(&urb).SendTo(top_.Object());
  }

  const LoadedServices services_;
  Device bottom_;
  Device top_;
  PDEVICE_OBJECT lower_ = nullptr;
  RemoveLock lock_;
  const std::unique_ptr<CUSBIRPs> interception_{new (NonPagedPool) CUSBIRPs};
};

void GatherAndScatter(benchmark::State& state) {
  AudioTransfer transfer;
  alignas(kCacheLine) std::array<UCHAR, kGatherBytes> buffer;
  for (auto _ : state) {
    IsoPackets packets(transfer.Isoch(), kTransferBytes);
    Gathered gathered = {.total = 0, .good = 0, .overrun = Gathered::kNoOverrun};
    packets.Gather(buffer.data(), kGatherBytes, gathered);
    benchmark::ClobberMemory();
    packets.Scatter(buffer.data(), gathered.total, gathered.total / gathered.good);
    benchmark::ClobberMemory();
  }
}
// The length is known at run time only, as it is to the interception.
void TwoCopies(benchmark::State& state) {
  AudioTransfer transfer;
  alignas(kCacheLine) std::array<UCHAR, kGatherBytes> buffer;
  ULONG length = kTransferBytes;
  for (auto _ : state) {
    benchmark::DoNotOptimize(length);
    std::memcpy(buffer.data(), transfer.audio.data(), length);
    benchmark::ClobberMemory();
    std::memcpy(transfer.audio.data(), buffer.data(), length);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(GatherAndScatter)->Name("gather_and_scatter/ours");
BENCHMARK(TwoCopies)->Name("gather_and_scatter/two_copies");

struct Refusal {
  const char* reason;
  UCHAR major;
  ULONG ioControlCode;
  USHORT urbFunction;
  ULONG isFilterDisabled;
  int logStatements;
};
constexpr Refusal kRefusals[] = {
    {"other_major_function", IRP_MJ_READ, 0, 0, 0, 1},
    {"other_control_code", IRP_MJ_INTERNAL_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB + 4, 0, 0,
     2},
    {"other_urb", IRP_MJ_INTERNAL_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB,
     URB_FUNCTION_CONTROL_TRANSFER, 0, 3},
    {"audio_while_disabled", IRP_MJ_INTERNAL_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB,
     URB_FUNCTION_ISOCH_TRANSFER, 1, 4},
};

// A refusal leaves no trace, so the top device offers the same request for as long as it has it.
void Refuse(benchmark::State& state, const Refusal& refusal) {
  DeviceStack stack;
  AudioTransfer transfer;
  transfer.Urb()->UrbHeader.Function = refusal.urbFunction;
  stack.Top().SetDispatch([&](PIRP irp) {
    ULONG handled = 0;
    for (auto _ : state) {
      stack.Interception().Dispatch(irp, &handled);
      if (handled == 0) continue;
      state.SkipWithError("the request was taken");
      return STATUS_SUCCESS;
    }
    return stack.PassOn(irp);
  });
  g_ulDisablePopFilter = refusal.isFilterDisabled;
  Request(refusal.major, refusal.ioControlCode, transfer.Urb()).SendTo(stack.Top().Object());
  g_ulDisablePopFilter = 0;
}
void CallLowerDevice(benchmark::State& state, const Refusal& refusal) {
  DeviceStack stack;
  AudioTransfer transfer;
  transfer.Urb()->UrbHeader.Function = refusal.urbFunction;
  Request request(refusal.major, refusal.ioControlCode, transfer.Urb());
  for (auto _ : state)
    request.SendTo(stack.Lower());
}
// As many as the interception makes on the way to the refusal.
void LogStatements(benchmark::State& state, int count) {
  const LoadedServices services;
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) {
      g_USBIrpsLog.Log(4, "CUSBIRPs::HandleURB> Received:%s (0x%lx)\n", kNoLogName,
                       LogWord(ULONG{URB_FUNCTION_ISOCH_TRANSFER}));
    }
  }
}

void SendTransfers(benchmark::State& state, bool isIntercepted) {
  DeviceStack stack;
  if (!isIntercepted) stack.Top().SetDispatch([&](PIRP irp) { return stack.PassOn(irp); });
  AudioTransfer transfer;
  Request request(transfer.Urb());
  std::iota(transfer.audio.begin(), transfer.audio.end(), UCHAR{1});
  const auto ramp = transfer.audio;
  request.SendTo(stack.Top().Object());
  if ((transfer.audio != ramp) != isIntercepted) {
    state.SkipWithError("the audio is filtered where it should not be, or the other way round");
    return;
  }
  SpeakingDevice device;
  for (auto _ : state) {
    device.Fill(transfer);
    request.SendTo(stack.Top().Object());
  }
}
void FilterTransfers(benchmark::State& state) {
  const LoadedServices services;
  POPSState* filter = nullptr;
  if (POPSCreate(&filter) != POPS_OK) {
    state.SkipWithError("no memory");
    return;
  }
  AudioTransfer transfer;
  SpeakingDevice device;
  for (auto _ : state) {
    device.Fill(transfer);
    POPSProcessBuffer(filter, 0, transfer.audio.data(), kTransferBytes, transfer.audio.data(),
                      kTransferBytes, 0);
  }
  POPSDestroy(filter);
}
BENCHMARK_CAPTURE(SendTransfers, intercepted, true)->Name("audio_transfer/ours");
BENCHMARK_CAPTURE(SendTransfers, bare, false)->Name("audio_transfer/without_interception");
BENCHMARK(FilterTransfers)->Name("audio_transfer/filter_alone");

// What the road is made of, beside the filter and the packets.
void EmptyBracket(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(WithFloatingPoint(POPS_ERR_NOTREADY, [] { return POPS_OK; }));
}
BENCHMARK(EmptyBracket)->Name("audio_transfer_part/floating_point_bracket");
BENCHMARK_CAPTURE(LogStatements, road, 4)->Name("audio_transfer_part/4_log_statements");

[[maybe_unused]] const bool kRefusalsAreRegistered = [] {
  for (const Refusal& refusal : kRefusals) {
    const std::string name = std::string("refuse_") + refusal.reason;
    benchmark::RegisterBenchmark((name + "/ours").c_str(), Refuse, refusal);
    benchmark::RegisterBenchmark((name + "/call_of_lower_device").c_str(), CallLowerDevice,
                                 refusal);
    benchmark::RegisterBenchmark((name + "/its_log_statements").c_str(), LogStatements,
                                 refusal.logStatements);
  }
  return true;
}();

}  // namespace
