// Completions on several threads, selections between them, the disable flag flipping.
#include <atomic>
#include <thread>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

TEST(Races, NoTransferNoContextNoHoldIsLost) {
  constexpr int kThreads = 4;
  constexpr int kTransfers = 500;
  const LoadedServices services;
  InterceptedDevice device;
  device.answer = [](PIRP irp) {
    const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
    return Complete(irp, STATUS_SUCCESS);
  };
  device.SelectFormat(16, 1, 8000);
  std::atomic<bool> isStreaming = true;
  std::atomic<int> bytes = 0;
  std::thread selections([&] {
    while (isStreaming)
      device.SelectFormat(16, 1, 48000);
  });
  std::thread flips([&] {
    while (isStreaming) {
      g_ulDisablePopFilter = 1 - g_ulDisablePopFilter;
      std::this_thread::yield();
    }
  });
  OnThreads(kThreads, [&](int) {
    for (int i = 0; i < kTransfers; ++i) {
      IsochUrb urb({{0, 32, 0}, {32, 32, 0}}, std::vector<UCHAR>(64, 1));
      device.SendUrb(urb.Urb());
      bytes += static_cast<int>(urb.Packets()[0].Length + urb.Packets()[1].Length);
    }
  });
  isStreaming = false;
  selections.join();
  flips.join();
  g_ulDisablePopFilter = 0;
  EXPECT_EQ(bytes.load(), kThreads * kTransfers * 64);
}

// A completion gives its hold on the device up last: a removal that waited for it finds no request.
TEST(Races, ARemovalWaitsUntilTheLastRequestIsDoneWith) {
  const LoadedServices services;
  for (int round = 0; round < 200; ++round) {
    InterceptedDevice device;
    std::thread completer;
    device.answer = [&](PIRP irp) {
      IoMarkIrpPending(irp);
      completer = std::thread([irp] { Complete(irp, STATUS_SUCCESS); });
      EXPECT_EQ(RemoveLockAcquire(nullptr, &device.Lock()), STATUS_SUCCESS);
      RemoveLockReleaseAndWait(nullptr, &device.Lock());
      EXPECT_EQ(device.Interception().RequestsInFlight(), 0);
      return STATUS_PENDING;
    };
    EXPECT_EQ(device.SelectInterface(0, 0), STATUS_PENDING);
    completer.join();
    RemoveLockInit(&device.Lock());  // Once more removed by the device's destructor.
  }
}

}  // namespace
