// The connection to an instrumentation service: who connects, what arrives, and that nothing
// reaches the service once it has been left.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "apps/instrumentation/service.h"
#include "driver/driver_entry.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "platform/host/microphone/streaming_client.h"
#include "platform/host/microphone/usb_microphone.h"
#include "support/debug_log.h"
#include "support/instrumentation/perf_items.h"
#include "support/instrumentation/stack_interface.h"
#include "support/perf_hooks.h"
#include "tests/platform/device_stack.h"

using namespace zr::host;
using zr::instrumentation::Answers;
using zr::instrumentation::Service;
using zr::test::TopOf;

namespace {

// Silence without end.
std::size_t Silence(UCHAR* room, std::size_t size) {
  std::fill_n(room, size, UCHAR{0});
  return size;
}

// A microphone with a service on its stack, and the filter above once it is admitted.
struct Device {
  explicit Device(LoadedDriver& driver, const Answers& answers = {}, ULONG perfMode = 1)
      : microphone(&Silence, {}), service(microphone.PhysicalDevice()), driver_(driver) {
    service.SetAnswers(answers);
    SetRegistryDword(HardwareKeyPath(Pdo()), u"ZRPerfMode", perfMode);
  }
  PDEVICE_OBJECT Pdo() { return microphone.PhysicalDevice(); }
  void Admit() { EXPECT_EQ(driver_.AddDevice(Pdo()), STATUS_SUCCESS); }
  void Start() { SendPnpRequest(Pdo(), IRP_MN_START_DEVICE); }
  void Remove() { SendPnpRequest(Pdo(), IRP_MN_REMOVE_DEVICE); }

  // Transfers that the driver takes, which report to the statistic of the filter's time.
  void Hear(int transfers) {
    StreamingClient client(TopOf(Pdo()));
    client.SelectConfiguration(CameraConfiguration());
    client.SelectInterface(kMicrophoneInterface, 6, 1);
    int heard = 0;
    client.Stream({1, 10}, [&] { return ++heard == transfers; });
  }

  UsbMicrophone microphone;
  Service service;

 private:
  LoadedDriver& driver_;
};

class Instrumentation : public testing::Test {
 protected:
  ~Instrumentation() override {
    driver_.Unload();
    EXPECT_EQ(PoolLeakReport(), "");
    ClearRegistry();
  }
  LoadedDriver driver_{&DriverEntry};
};

TEST_F(Instrumentation, StatisticsArriveAsTheyWereSent) {
  Device device(driver_);
  device.Admit();
  EXPECT_EQ(device.service.Modules(), (std::vector<std::string>{"DrvMain", "Device", "ZDebug",
                                                                "Registry", "OSDep", "USBIrps"}));
  device.Hear(7);
  const auto filter = device.service.Statistics()[kStatFilterTime];
  EXPECT_EQ(filter.name, "% Time spent in POPS Filter");
  EXPECT_EQ(filter.intervals, 7U);
  device.Remove();
  EXPECT_EQ(device.service.References(), 0);
}

TEST_F(Instrumentation, LinesComeWithTheirModule) {
  Device device(driver_);
  device.Admit();
  std::vector<std::string> lines;
  device.service.SetLineSink([&](const std::string& module, ULONG level, const char* line) {
    lines.push_back(module + " " + std::to_string(level) + " " + line);
  });
  SendRequest(device.Pdo(), IRP_MJ_CREATE);
  device.service.SetLineSink({});
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(),
            "Device 3 ZRPOPFLT.Device: CDevice::DispatchPassThrough> Passing through...\n");
  device.Remove();
}

// Any subset connects; the third interface is asked for in mode 1 alone.
TEST_F(Instrumentation, WhatConnectsFollowsFromTheAnswersAndTheMode) {
  const struct {
    const char* name;
    Answers answers;
    ULONG perfMode;
    int references;
    bool hasStatistics;
    bool hasFlag;
  } rows[] = {
      {"all", {}, 1, 3, true, true},
      {"mode 0", {}, 0, 2, true, false},
      {"mode 2", {}, 2, 2, true, false},
      {"statistics alone", {.debug = false, .mode = false}, 1, 1, true, false},
      {"lines alone", {.statistics = false, .mode = false}, 1, 1, false, false},
      {"nothing", {.statistics = false, .debug = false, .mode = false}, 1, 0, false, false},
      {"no tables", {.tablesFail = true}, 1, 3, false, false},
  };
  for (const auto& row : rows) {
    Device device(driver_, row.answers, row.perfMode);
    device.Admit();
    EXPECT_EQ(device.service.References(), row.references) << row.name;
    EXPECT_EQ(!device.service.Statistics().empty(), row.hasStatistics) << row.name;
    EXPECT_EQ(device.service.SetFlag("POP Filter Disabler", 0), row.hasFlag) << row.name;
    device.Remove();
    EXPECT_EQ(device.service.References(), 0) << row.name;
  }
}

TEST_F(Instrumentation, AServiceThatComesLateIsFoundAtTheStart) {
  Device device(driver_, {.statistics = false, .debug = false, .mode = false});
  device.Admit();
  device.service.SetAnswers({});
  EXPECT_EQ(device.service.References(), 0);
  device.Start();
  EXPECT_EQ(device.service.References(), 3);
  EXPECT_TRUE(device.service.SetFlag("POP Filter Disabler", 0)) << "and gets its names";
  device.Remove();
}

// Each hook leads to the operation of its name.
TEST_F(Instrumentation, EveryReportReachesItsOperation) {
  Device device(driver_);
  device.Admit();
  PerfHooks.PerfCounterAdd(20, 9, 0);
  PerfHooks.PerfCounterSet(20, 5, 1);
  PerfHooks.PerfCounterAdd(20, 2, 0);
  PerfHooks.PerfSpanAdd(21, 9, 0);
  PerfHooks.PerfSpanSet(21, 7, 0);
  PerfHooks.PerfSpanAdd(21, 0xffffffff, 0xffffffff);
  PerfHooks.PerfSetName(22, "counter");
  PerfHooks.PerfSpanName(23, "span");
  for (const ULONG id : {24U, 26U}) {
    PerfHooks.PerfTimerStart(id);
    PerfHooks.PerfTimerStop(id);
  }
  PerfHooks.PerfTimerStop(24);
  PerfHooks.PerfTimerReset(26);
  for (const ULONG id : {25U, 27U}) {
    PerfHooks.PerfSpanStart(id);
    PerfHooks.PerfSpanStop(id);
  }
  PerfHooks.PerfSpanReset(27);
  auto statistics = device.service.Statistics();
  EXPECT_EQ(statistics[20].value, 0x100000007);
  EXPECT_EQ(statistics[21].value, 6);
  EXPECT_EQ(statistics[22].name, "counter");
  EXPECT_EQ(statistics[23].name, "span");
  EXPECT_EQ(statistics[24].intervals, 1U);
  EXPECT_EQ(statistics[25].intervals, 1U);
  EXPECT_EQ(statistics[26].intervals, 0U);
  EXPECT_EQ(statistics[27].intervals, 0U);
  device.Remove();
}

// The service is on the stack of a device that answers as the test says.
TEST_F(Instrumentation, AStartIsWaitedForAndARemovalDetachesFirst) {
  std::thread below;
  bool hasStarted = false;
  int referencesAtRemoval = -1;
  const Service* above = nullptr;
  zr::test::Layer bus([&](PDEVICE_OBJECT /*device*/, PIRP irp) {
    const UCHAR minor = IoGetCurrentIrpStackLocation(irp)->MinorFunction;
    if (minor == IRP_MN_START_DEVICE) {
      IoMarkIrpPending(irp);
      below = std::thread([&hasStarted, irp] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        hasStarted = true;
        zr::test::Complete(irp, STATUS_DEVICE_NOT_CONNECTED);
      });
      return STATUS_PENDING;
    }
    if (minor == IRP_MN_REMOVE_DEVICE) referencesAtRemoval = above->References();
    return zr::test::Complete(irp, STATUS_NOT_SUPPORTED);
  });
  zr::test::MakeUsbDevice(bus.Device());
  Service service(bus.Device());
  above = &service;
  service.SetAnswers({.statistics = false, .debug = false, .mode = false});
  EXPECT_EQ(driver_.AddDevice(bus.Device()), STATUS_SUCCESS);
  service.SetAnswers({});
  EXPECT_EQ(SendPnpRequest(bus.Device(), IRP_MN_START_DEVICE), STATUS_DEVICE_NOT_CONNECTED);
  EXPECT_TRUE(hasStarted);
  below.join();
  EXPECT_EQ(service.References(), 2) << "however the start went";
  EXPECT_EQ(SendPnpRequest(bus.Device(), IRP_MN_REMOVE_DEVICE), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(referencesAtRemoval, 0);
}

TEST_F(Instrumentation, OneDeviceOwnsItAndTheRemovalOfAnyEndsIt) {
  Device first(driver_);
  Device second(driver_);
  first.Admit();
  second.Admit();
  EXPECT_EQ(first.service.References(), 3);
  EXPECT_EQ(second.service.References(), 0);
  second.Remove();
  EXPECT_EQ(first.service.References(), 0);
  first.Start();
  EXPECT_EQ(first.service.References(), 3) << "it connects again at its next start";
  first.Remove();
}

TEST_F(Instrumentation, TheFlagActsFromTheNextTransferOn) {
  Device device(driver_);
  device.Admit();
  const auto timed = [&device] { return device.service.Statistics()[kStatFilterTime].intervals; };
  device.Hear(3);
  EXPECT_EQ(timed(), 3U);
  ASSERT_TRUE(device.service.SetFlag("POP Filter Disabler", 1));
  device.Hear(3);
  EXPECT_EQ(timed(), 0U) << "the selection starts the statistic again, and no transfer reaches it";
  ASSERT_TRUE(device.service.SetFlag("POP Filter Disabler", 0));
  device.Hear(2);
  EXPECT_EQ(timed(), 2U);
  OnChangeGlobalFlagHandler(&g_ulDisablePopFilter, 1, 5);
  OnChangeGlobalFlagHandler(nullptr, 0, 5);
  EXPECT_EQ(g_ulDisablePopFilter, 0U) << "another flag, and no place for the value";
  device.Remove();
}

TEST_F(Instrumentation, HeldInterfacesAreKnown) {
  Device device(driver_);
  StackInterface stranger = {};
  PerfDebugInterface table = {};
  EXPECT_EQ(StackInterfaceAcquire(device.Pdo(), nullptr, &kDebugInterface), 3U);
  EXPECT_EQ(StackInterfaceRelease(&stranger), 2U);
  EXPECT_EQ(StackInterfaceGetTable(&stranger, &table, sizeof(table)), 2U);
  StackInterface* held = nullptr;
  {
    const FailNthAllocation failure(1);
    EXPECT_EQ(StackInterfaceAcquire(device.Pdo(), &held, &kDebugInterface), 5U);
  }
  FailIrpAllocations(1);
  EXPECT_EQ(StackInterfaceAcquire(device.Pdo(), &held, &kDebugInterface), 6U);
  EXPECT_EQ(held, nullptr);
  ASSERT_EQ(StackInterfaceAcquire(device.Pdo(), &held, &kDebugInterface), 0U);
  EXPECT_EQ(StackInterfaceGetTable(held, nullptr, sizeof(table)), 3U);
  EXPECT_EQ(device.service.References(), 1);
  // One that is still held is given up at unload.
  driver_.Unload();
  EXPECT_EQ(device.service.References(), 0);
}

// Reports from several threads while the connection comes and goes: each reaches a live table or
// nothing at all.
TEST_F(Instrumentation, ReportsMeetALiveTableOrNone) {
  Device device(driver_);
  device.Admit();
  std::atomic<bool> isOver = false;
  std::vector<std::thread> reporters;
  for (int i = 0; i < 3; ++i) {
    reporters.emplace_back([&isOver] {
      while (!isOver) {
        PerfHooks.PerfCounterAdd(1, 1, 0);
        g_DeviceLog.Log(3, "line\n");
      }
    });
  }
  std::thread other([&] {
    while (!isOver)
      PerfHooks.PerfAttach(device.Pdo(), device.Pdo()->AttachedDevice, device.Pdo());
  });
  for (int round = 0; round < 1000; ++round) {
    PerfHooks.PerfDetach();
    PerfHooks.PerfAttach(device.Pdo(), device.Pdo()->AttachedDevice, device.Pdo());
    EXPECT_EQ(device.service.References(), 3);
  }
  isOver = true;
  other.join();
  for (auto& reporter : reporters)
    reporter.join();
  device.Remove();
  EXPECT_EQ(device.service.References(), 0);
}

}  // namespace
