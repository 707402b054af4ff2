// The whole road: a simulated microphone below the interception, a class driver's client above it.
// What the client collects is what the filter makes of the bytes that the device delivered.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "platform/host/microphone/streaming_client.h"
#include "platform/host/microphone/usb_microphone.h"
#include "popfilter/pops.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;
using zr::host::MicrophoneBehaviour;
using zr::host::StreamingClient;
using zr::host::UsbMicrophone;

namespace {

namespace fs = std::filesystem;

// Speech with clicks, again and again up to the length.
std::vector<UCHAR> ClickedSpeech(std::size_t size) {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(ZR_MATERIAL_DIR)) {
    if (entry.path().string().ends_with(".clicked.pcm")) paths.push_back(entry.path());
  }
  std::ranges::sort(paths);
  std::vector<UCHAR> speech;
  while (!paths.empty() && speech.size() < size) {
    for (const fs::path& path : paths) {
      std::ifstream file(path, std::ios::binary);
      speech.insert(speech.end(), std::istreambuf_iterator<char>(file), {});
    }
  }
  speech.resize(std::min(size, speech.size()));
  return speech;
}

zr::host::AudioFeed FeedOf(const std::vector<UCHAR>& audio) {
  return [&audio, at = std::size_t{0}](UCHAR* room, std::size_t size) mutable {
    const std::size_t count = std::min(size, audio.size() - at);
    std::memcpy(room, audio.data() + at, count);
    at += count;
    return count;
  };
}

std::vector<UCHAR> FilteredWhole(std::vector<UCHAR> bytes) {
  bytes.resize(bytes.size() / 2 * 2);
  POPSState* filter = nullptr;
  EXPECT_EQ(POPSCreate(&filter), POPS_OK);
  std::vector<int16_t> samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), bytes.size());
  POPSProcess(filter, static_cast<int32_t>(samples.size()), samples.data());
  POPSDestroy(filter);
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

struct Road {
  const char* name;
  ULONG hertz;
  ULONG transfersInFlight;
  ULONG packetsPerTransfer;
  MicrophoneBehaviour behaviour;
};

class Microphone : public testing::TestWithParam<Road> {};

TEST_P(Microphone, WhatArrivesIsTheFilteredStream) {
  constexpr std::size_t kSeconds = 60;
  const Road& road = GetParam();
  const auto* const setting = zr::host::FindMicrophoneSettingFor(road.hertz);
  ASSERT_NE(setting, nullptr);
  const std::vector<UCHAR> speech = ClickedSpeech(kSeconds * road.hertz * 2);
  ASSERT_EQ(speech.size(), kSeconds * road.hertz * 2) << "no recordings in " ZR_MATERIAL_DIR;
  const LoadedServices services;
  UsbMicrophone microphone(FeedOf(speech), road.behaviour);
  InterceptedDevice filter(microphone.PhysicalDevice());
  StreamingClient client(filter.Top());
  ASSERT_EQ(client.SelectConfiguration(zr::host::CameraConfiguration()), STATUS_SUCCESS);
  ASSERT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, setting->alternateSetting, 1),
            STATUS_SUCCESS);

  const std::vector<UCHAR> heard = client.Stream({road.transfersInFlight, road.packetsPerTransfer},
                                                 [&microphone] { return microphone.IsDrained(); });

  const std::vector<UCHAR> delivered = microphone.Delivered();
  const MicrophoneBehaviour& behaviour = road.behaviour;
  EXPECT_EQ(client.Counts().failedPackets > 0, behaviour.failedPackets > 0);
  EXPECT_TRUE(behaviour.failedPackets > 0 || delivered == speech);
  const std::vector<UCHAR> expected = FilteredWhole(delivered);
  ASSERT_NE(expected, delivered);
  // At the very end the last byte may be held back: nothing came after it.
  ASSERT_GE(heard.size() + 2, expected.size());
  EXPECT_TRUE(std::equal(heard.begin(), heard.end(), expected.begin()));
}

INSTANTIATE_TEST_SUITE_P(
    Roads, Microphone,
    testing::Values(Road{"Regular48000", 48000, 4, 10, {}}, Road{"Regular44100", 44100, 4, 10, {}},
                    Road{"Prompt16000", 16000, 4, 8, {.promptTransfers = 1000}},
                    Road{"ShortOddAndEmpty8000",
                         8000,
                         3,
                         7,
                         {.shortPackets = 100, .oddPackets = 100, .emptyPackets = 50}},
                    Road{"Everything22050",
                         22050,
                         8,
                         10,
                         {.seed = 7,
                          .jitteredPackets = 100,
                          .shortPackets = 30,
                          .oddPackets = 30,
                          .emptyPackets = 30,
                          .failedPackets = 30,
                          .refusedTransfers = 30,
                          .failedTransfers = 30,
                          .promptTransfers = 500}}),
    [](const auto& row) { return row.param.name; });

// A transfer that is cancelled while it waits comes back once, and takes no audio with it.
TEST(Microphone, StopsInTheMiddleAndGoesOn) {
  const LoadedServices services;
  std::vector<UCHAR> ramp(200000);
  for (std::size_t i = 0; i < ramp.size(); ++i)
    ramp[i] = static_cast<UCHAR>(i >> 3);
  UsbMicrophone microphone(FeedOf(ramp), {});
  InterceptedDevice filter(microphone.PhysicalDevice());
  StreamingClient client(filter.Top());
  client.SelectConfiguration(zr::host::CameraConfiguration());
  std::size_t heard = 0;
  for (int run = 0; run < 20; ++run) {
    ASSERT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, 1, 1), STATUS_SUCCESS);
    int transfers = 0;
    heard += client.Stream({8, 4}, [&transfers] { return ++transfers == 10; }).size();
    ASSERT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, 0, 0), STATUS_SUCCESS);
  }
  EXPECT_EQ(heard, microphone.Delivered().size());
}

TEST(Microphone, RefusesWhatItDoesNotHave) {
  UsbMicrophone microphone([](UCHAR*, std::size_t) { return std::size_t{0}; }, {});
  StreamingClient client(microphone.PhysicalDevice());
  EXPECT_NE(client.SelectInterface(zr::host::kMicrophoneInterface, 1, 1), STATUS_SUCCESS)
      << "not configured";
  client.SelectConfiguration(zr::host::CameraConfiguration());
  EXPECT_NE(client.SelectInterface(zr::host::kMicrophoneInterface, 19, 1), STATUS_SUCCESS);
  EXPECT_NE(client.SelectInterface(1, 1, 1), STATUS_SUCCESS) << "another interface";
  client.Stream({2, 2}, [] { return true; });
  EXPECT_EQ(client.Counts().failedTransfers, 2U) << "no pipe";
}

}  // namespace
