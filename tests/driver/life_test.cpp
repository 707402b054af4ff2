// Lives of devices: the driver is loaded, admits them, hears their audio, lets them go while
// requests are out, and unloads; nothing stays behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "driver/driver_entry.h"
#include "platform/host/control/io_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/microphone/streaming_client.h"
#include "platform/host/microphone/usb_microphone.h"
#include "popfilter/pops.h"
#include "support/perf_hooks.h"
#include "tests/platform/device_stack.h"
#include "tests/support/support_fixture.h"

using zr::host::LoadedDriver;
using zr::host::StreamingClient;
using zr::host::UsbMicrophone;
using zr::test::TopOf;

namespace {

// A quiet ramp with a click now and then.
zr::host::AudioFeed ClickedRamp(std::size_t size) {
  return [size, at = std::size_t{0}](UCHAR* room, std::size_t wanted) mutable {
    const std::size_t count = std::min(wanted, size - at);
    for (std::size_t i = 0; i < count; ++i, ++at)
      room[i] = static_cast<UCHAR>(at % 2 == 0 ? at / 7 : (at / 2 % 997 == 0 ? 0x40 : 0));
    return count;
  };
}

void StartAndSelect(UsbMicrophone& microphone, StreamingClient& client) {
  EXPECT_EQ(zr::host::SendPnpRequest(microphone.PhysicalDevice(), IRP_MN_START_DEVICE),
            STATUS_SUCCESS);
  EXPECT_EQ(client.SelectConfiguration(zr::host::CameraConfiguration()), STATUS_SUCCESS);
  EXPECT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, 6, 1), STATUS_SUCCESS);
}

void Remove(UsbMicrophone& microphone) {
  PDEVICE_OBJECT const pdo = microphone.PhysicalDevice();
  EXPECT_EQ(zr::host::SendPnpRequest(pdo, IRP_MN_QUERY_REMOVE_DEVICE), STATUS_SUCCESS);
  EXPECT_EQ(zr::host::SendPnpRequest(pdo, IRP_MN_SURPRISE_REMOVAL), STATUS_SUCCESS);
  EXPECT_EQ(zr::host::SendPnpRequest(pdo, IRP_MN_REMOVE_DEVICE), STATUS_SUCCESS);
  EXPECT_EQ(TopOf(pdo), pdo);
}

// One life of the driver with as many devices; each is removed with its transfers out.
void Live(int deviceCount, std::size_t audioBytes) {
  const std::size_t devicesBefore = zr::host::DeviceCount();
  {
    LoadedDriver driver(&DriverEntry);
    std::vector<std::unique_ptr<UsbMicrophone>> microphones;
    for (int i = 0; i < deviceCount; ++i) {
      microphones.push_back(std::make_unique<UsbMicrophone>(ClickedRamp(audioBytes),
                                                            zr::host::MicrophoneBehaviour{}));
      ASSERT_EQ(driver.AddDevice(microphones.back()->PhysicalDevice()), STATUS_SUCCESS);
    }
    for (auto& microphone : microphones) {
      ASSERT_NE(TopOf(microphone->PhysicalDevice()), microphone->PhysicalDevice());
      StreamingClient client(TopOf(microphone->PhysicalDevice()));
      StartAndSelect(*microphone, client);
      bool isRemoved = false;
      const auto heard = client.Stream({8, 10}, [&] {
        if (!microphone->IsDrained()) return false;
        // Eight transfers are out, or coming back: the removal waits for them.
        if (!isRemoved) Remove(*microphone);
        isRemoved = true;
        return true;
      });
      EXPECT_EQ(heard.size(), audioBytes);
      EXPECT_NE(heard, microphone->Delivered()) << "the filter has done nothing";
    }
    driver.Unload();
  }
  EXPECT_EQ(zr::test::BugCheckOf([] { PerfHooks.PerfCounterAdd(1, 1, 0); }), 0xDEADBEEF);
  EXPECT_EQ(zr::host::DeviceCount(), devicesBefore);
  EXPECT_EQ(zr::host::PoolLeakReport(), "");
}

TEST(Life, OfSixteenDevices) {
  Live(16, 9600);
}
TEST(Life, AThousandInARow) {
  for (int life = 0; life < 1000; ++life)
    Live(1, 960);
}

}  // namespace
