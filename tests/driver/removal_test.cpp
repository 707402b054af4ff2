// A removal in the middle of traffic. Senders hold a reference to the device object, as an open
// file does, and stop at their first refusal. That keeps the device object, but not what it leads
// to: so none of them may still be on its way into the driver when the removal ends, and the device
// below holds requests back until all senders have left.
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <latch>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "driver/device.h"
#include "driver/device_extension.h"
#include "driver/driver_entry.h"
#include "platform/host/control/execution_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/microphone/streaming_client.h"
#include "tests/platform/device_stack.h"

using namespace zr::test;

namespace {

// What a thread does in front of each interlocked change of a count. Between two of them lie the
// places where a thread must be able to stand still for as long as it likes.
thread_local const std::function<void()>* beforeCount = nullptr;

class BeforeEachCount {
 public:
  explicit BeforeEachCount(std::function<void()> run) : run_(std::move(run)) {
    beforeCount = &run_;
  }
  ~BeforeEachCount() { beforeCount = nullptr; }
  BeforeEachCount(const BeforeEachCount&) = delete;
  BeforeEachCount& operator=(const BeforeEachCount&) = delete;

 private:
  const std::function<void()> run_;
};

}  // namespace

// The linker leads every call in this program here.
extern "C" LONG __real_InterlockedIncrement(volatile LONG* addend);
extern "C" LONG __real_InterlockedDecrement(volatile LONG* addend);
extern "C" LONG __wrap_InterlockedIncrement(volatile LONG* addend) {
  if (beforeCount != nullptr) (*beforeCount)();
  return __real_InterlockedIncrement(addend);
}
extern "C" LONG __wrap_InterlockedDecrement(volatile LONG* addend) {
  if (beforeCount != nullptr) (*beforeCount)();
  return __real_InterlockedDecrement(addend);
}

namespace {

constexpr int kSenders = 4;
constexpr int kMajorFunctions = IRP_MJ_MAXIMUM_FUNCTION + 1;
constexpr UCHAR kHarmlessPnp = IRP_MN_QUERY_STOP_DEVICE;

// Succeeds and fails in turn, and answers some requests late, whenever CompleteLate is called.
class Bus {
 public:
  Bus() {
    layer_.dispatch = [this](PDEVICE_OBJECT /*device*/, PIRP irp) { return Answer(irp); };
    MakeUsbDevice(Device());
  }
  PDEVICE_OBJECT Device() const { return layer_.Device(); }

  void CompleteLate() {
    std::vector<PIRP> late;
    {
      const std::lock_guard guard(lock_);
      late.swap(late_);
    }
    const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
    for (PIRP irp : late)
      Complete(irp, STATUS_SUCCESS);
  }

  std::atomic<int> answered = 0;        ///< Of what the senders send.
  std::atomic<PIRP> kept = nullptr;     ///< Its sender completes it.
  std::atomic<bool> holdsNext = false;  ///< The next request waits in its dispatch.
  std::function<void()> hold;           ///< That wait.

 private:
  NTSTATUS Answer(PIRP irp) {
    const UCHAR major = IoGetCurrentIrpStackLocation(irp)->MajorFunction;
    const UCHAR minor = IoGetCurrentIrpStackLocation(irp)->MinorFunction;
    if (major == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
    if (major == IRP_MJ_PNP && minor != kHarmlessPnp) {
      return Complete(irp, minor == IRP_MN_REMOVE_DEVICE ? STATUS_SUCCESS : STATUS_NOT_SUPPORTED);
    }
    if (irp == kept) {
      IoMarkIrpPending(irp);
      return STATUS_PENDING;
    }
    if (holdsNext.exchange(false)) {
      hold();
      return Complete(irp, STATUS_SUCCESS);
    }
    const int number = ++answered;
    if (number % 3 != 0) {
      return Complete(irp, number % 2 == 0 ? STATUS_SUCCESS : STATUS_DEVICE_NOT_CONNECTED);
    }
    IoMarkIrpPending(irp);
    const std::lock_guard guard(lock_);
    late_.push_back(irp);
    return STATUS_PENDING;
  }

  std::mutex lock_;  // Guards the queue.
  std::vector<PIRP> late_;
  Layer layer_;
};

NTSTATUS SendUrb(PDEVICE_OBJECT device) {
  URB urb = {};
  urb.UrbHeader.Function = URB_FUNCTION_ISOCH_TRANSFER;
  return zr::host::StreamingClient(device).Send(&urb);
}

NTSTATUS Send(PDEVICE_OBJECT device, UCHAR major) {
  if (major == IRP_MJ_INTERNAL_DEVICE_CONTROL) return SendUrb(device);
  return zr::host::SendRequest(device, major, major == IRP_MJ_PNP ? kHarmlessPnp : 0);
}

// Over all rounds.
struct Outcome {
  std::array<std::atomic<int>, kMajorFunctions> refused{};
  std::atomic<int> passed = 0;
  std::atomic<int> otherStatus = 0;
  std::atomic<int> touchedAfterRemoval = 0;
};

// One device, from its admission to its end.
class Removal {
 public:
  Removal(zr::host::LoadedDriver& driver, Bus& bus, Outcome& outcome, int round)
      : bus_(bus), outcome_(outcome), round_(round) {
    EXPECT_EQ(driver.AddDevice(bus.Device()), STATUS_SUCCESS);
    top_ = IoGetAttachedDeviceReference(bus.Device());
    bus_.hold = [this] {
      readerIsHeld_.count_down();
      readerMayGo_.wait();
    };
  }
  ~Removal() { ObDereferenceObject(top_); }
  Removal(const Removal&) = delete;
  Removal& operator=(const Removal&) = delete;

  void Run() {
    KeepTransfer();
    bus_.holdsNext = true;
    std::thread reader([this] { Read(); });
    readerIsHeld_.wait();
    std::vector<std::thread> senders;
    senders.emplace_back([this] { SendAfterAStandstill(); });
    newcomerStands_.wait();
    for (int i = 0; i < kSenders; ++i)
      senders.emplace_back([this, i] { SendUntilRefused(round_ * 5 + i * 7); });
    const int enough = bus_.answered + round_ % 50;
    while (bus_.answered < enough)
      AnswerLate();
    const auto removal = std::async(std::launch::async, [this] { Remove(); });
    while (sendersLeft_ > 0)
      AnswerLate();
    for (std::thread& sender : senders)
      sender.join();

    // Both holders are below: taken requests do not count as inside any more.
    EXPECT_EQ(ExtensionOf(top_).pDevice->InDispatch(), readsUrb_ ? 0 : 1);
    EXPECT_EQ(TopOf(bus_.Device()), top_);
    EXPECT_FALSE(isRemoved_);
    LetTheHoldersGo(reader);
    if (removal.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
      zr::host::StopSystem(zr::host::BugCheck::kDriverVerifierDetectedViolation,
                           "the removal waits for a hold that nobody gives up");
    }
    EXPECT_EQ(TopOf(bus_.Device()), bus_.Device());
    EXPECT_EQ(refusals_, kSenders + 1);
  }

 private:
  void AnswerLate() {
    bus_.CompleteLate();
    std::this_thread::yield();
  }

  void KeepTransfer() {
    transferUrb_.UrbHeader.Function = URB_FUNCTION_ISOCH_TRANSFER;
    transfer_ = MakeOwnIrp(top_);
    PIO_STACK_LOCATION location = IoGetNextIrpStackLocation(transfer_);
    location->Parameters.DeviceIoControl.IoControlCode = IOCTL_INTERNAL_USB_SUBMIT_URB;
    location->Parameters.Others.Argument1 = &transferUrb_;
    bus_.kept = transfer_;
    EXPECT_EQ(IoCallDriver(top_, transfer_), STATUS_PENDING);
  }

  // Each holder in turn is the last one, and sometimes they race for it.
  void LetTheHoldersGo(std::thread& reader) {
    const bool isTransferLast = round_ % 3 == 0;
    readerMayGo_.count_down();
    if (isTransferLast) reader.join();
    {
      const BeforeEachCount linger([this] { Linger(); });
      bus_.kept = nullptr;
      Complete(transfer_, STATUS_SUCCESS);
    }
    if (!isTransferLast) reader.join();
    EXPECT_EQ(transfer_->IoStatus.Status, STATUS_SUCCESS);
    IoFreeIrp(transfer_);
  }

  void Read() {
    const BeforeEachCount linger([this] { Linger(); });
    EXPECT_EQ(Send(top_, readsUrb_ ? IRP_MJ_INTERNAL_DEVICE_CONTROL : IRP_MJ_READ), STATUS_SUCCESS);
  }

  // In some rounds a holder leaves so slowly that the removal would end in front of each count that
  // it still has to change, had it given up its hold before.
  void Linger() {
    constexpr auto kLongEnough = std::chrono::milliseconds(2);
    if (round_ % 50 > 2 || !readerMayGo_.try_wait()) return;
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (!isRemoved_ && std::chrono::steady_clock::now() < end)
      std::this_thread::yield();
    if (isRemoved_) ++outcome_.touchedAfterRemoval;
  }

  // It has entered the driver, but the lock has not yet counted it when the removal begins.
  void SendAfterAStandstill() {
    bool hasStood = false;
    const BeforeEachCount standStill([&] {
      if (std::exchange(hasStood, true)) return;
      newcomerStands_.count_down();
      newcomerMayGo_.wait(false);
    });
    Record(IRP_MJ_READ, zr::host::SendRequest(top_, IRP_MJ_READ));
    --sendersLeft_;
  }

  void SendUntilRefused(int firstMajor) {
    NTSTATUS status = STATUS_SUCCESS;
    for (int i = firstMajor; status != STATUS_DELETE_PENDING && !isRemoved_; ++i) {
      const auto major = static_cast<UCHAR>(i % kMajorFunctions);
      status = Send(top_, major);
      Record(major, status);
    }
    --sendersLeft_;
  }

  void Record(UCHAR major, NTSTATUS status) {
    if (status == STATUS_DELETE_PENDING) {
      ++outcome_.refused[major];
      if (refusals_++ == 0) LetTheNewcomerGo();
    } else {
      ++outcome_.passed;
      if (status != STATUS_SUCCESS && status != STATUS_DEVICE_NOT_CONNECTED) ++outcome_.otherStatus;
    }
  }

  void LetTheNewcomerGo() {
    newcomerMayGo_ = true;
    newcomerMayGo_.notify_one();
  }

  void Remove() {
    EXPECT_EQ(zr::host::SendPnpRequest(top_, IRP_MN_REMOVE_DEVICE), STATUS_SUCCESS);
    isRemoved_ = true;
    LetTheNewcomerGo();  // Where nothing was refused.
  }

  Bus& bus_;
  Outcome& outcome_;
  const int round_;
  const bool readsUrb_ = round_ % 2 == 0;
  PDEVICE_OBJECT top_ = nullptr;
  URB transferUrb_ = {};
  PIRP transfer_ = nullptr;
  std::latch readerIsHeld_{1};
  std::latch readerMayGo_{1};
  std::latch newcomerStands_{1};
  std::atomic<bool> newcomerMayGo_ = false;
  std::atomic<int> sendersLeft_ = kSenders + 1;
  std::atomic<int> refusals_ = 0;
  std::atomic<bool> isRemoved_ = false;  // The request is back, and the device's object destroyed.
};

// The kernel stops on a request that is completed twice; one that is never completed keeps its
// sender for ever.
TEST(RemovalInTraffic, RefusesTheLateAndOutlivesNobody) {
  const std::size_t irps = zr::host::IrpCount();
  const std::size_t devices = zr::host::DeviceCount();
  Outcome outcome;
  {
    Bus bus;
    zr::host::LoadedDriver driver(&DriverEntry);
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round)
      Removal(driver, bus, outcome, round).Run();
    EXPECT_EQ(outcome.passed, bus.answered) << "a request went down after it had been refused";
  }
  for (std::size_t major = 0; major < outcome.refused.size(); ++major)
    EXPECT_GT(outcome.refused[major], 0) << major;
  EXPECT_EQ(outcome.otherStatus, 0);
  EXPECT_EQ(outcome.touchedAfterRemoval, 0);
  EXPECT_EQ(zr::host::IrpCount(), irps);
  EXPECT_EQ(zr::host::DeviceCount(), devices);
  EXPECT_EQ(zr::host::PoolLeakReport(), "");
}

}  // namespace
