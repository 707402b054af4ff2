// The whole road: a simulated microphone below the interception, a class driver's client above it.
// What the client collects is what the filter makes of the bytes that the device delivered.
#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "platform/host/microphone/streaming_client.h"
#include "platform/host/microphone/usb_microphone.h"
#include "tests/popfilter/filter_fixture.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;
using zr::host::MicrophoneBehaviour;
using zr::host::StreamingClient;
using zr::host::UsbMicrophone;

namespace {

// Speech with clicks, again and again up to the length.
std::vector<UCHAR> ClickedSpeech(std::size_t size) {
  const Samples speech = Material("alsa-48000.clicked.pcm");
  std::vector<UCHAR> bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = reinterpret_cast<const UCHAR*>(speech.data())[i % (2 * speech.size())];
  return bytes;
}

zr::host::AudioFeed FeedOf(const std::vector<UCHAR>& audio) {
  return [&audio, at = std::size_t{0}](UCHAR* room, std::size_t size) mutable {
    const std::size_t count = std::min(size, audio.size() - at);
    std::memcpy(room, audio.data() + at, count);
    at += count;
    return count;
  };
}

// The samples that are whole go through the filter.
std::vector<UCHAR> FilteredBytes(POPSState* filter, std::vector<UCHAR> bytes) {
  bytes.resize(bytes.size() / 2 * 2);
  Samples samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), bytes.size());
  samples = Filtered(filter, samples);
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

struct Road {
  const char* name;
  ULONG hertz;
  zr::host::StreamShape shape;
  MicrophoneBehaviour behaviour;
};

const Road kRoads[] = {
    {"Regular48000", 48000, {4, 10}, {}},
    {"Regular44100", 44100, {4, 10}, {}},
    {"Prompt16000", 16000, {4, 8}, {.promptTransfers = 1000}},
    {"ShortOddAndEmpty8000",
     8000,
     {3, 7},
     {.shortPackets = 100, .oddPackets = 100, .emptyPackets = 50}},
    {"Everything22050",
     22050,
     {8, 10},
     {.seed = 7,
      .jitteredPackets = 100,
      .shortPackets = 30,
      .oddPackets = 30,
      .emptyPackets = 30,
      .failedPackets = 30,
      .refusedTransfers = 30,
      .failedTransfers = 30,
      .promptTransfers = 500}},
};

class Microphone : public testing::TestWithParam<Road> {};

TEST_P(Microphone, WhatArrivesIsTheFilteredStream) {
  constexpr std::size_t kSeconds = 60;
  const Road& road = GetParam();
  const auto* const setting = zr::host::FindMicrophoneSettingFor(road.hertz);
  ASSERT_NE(setting, nullptr);
  const std::vector<UCHAR> speech = ClickedSpeech(kSeconds * road.hertz * 2);
  const LoadedServices services;
  UsbMicrophone microphone(FeedOf(speech), road.behaviour);
  InterceptedDevice filter(microphone.PhysicalDevice());
  StreamingClient client(filter.Top());
  ASSERT_EQ(client.SelectConfiguration(zr::host::CameraConfiguration()), STATUS_SUCCESS);
  ASSERT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, setting->alternateSetting, 1),
            STATUS_SUCCESS);

  const auto heard = client.Stream(road.shape, [&] { return microphone.IsDrained(); });

  const std::vector<UCHAR> delivered = microphone.Delivered();
  const MicrophoneBehaviour& behaviour = road.behaviour;
  EXPECT_EQ(client.Counts().failedPackets > 0, behaviour.failedPackets > 0);
  EXPECT_TRUE(behaviour.failedPackets > 0 || delivered == speech);
  const std::vector<UCHAR> expected = FilteredBytes(MakeFilter().get(), delivered);
  ASSERT_NE(expected, delivered);
  // At the very end the last byte may be held back: nothing came after it.
  ASSERT_GE(heard.size() + 2, expected.size());
  EXPECT_TRUE(std::equal(heard.begin(), heard.end(), expected.begin()));
}

INSTANTIATE_TEST_SUITE_P(Roads, Microphone, testing::ValuesIn(kRoads),
                         [](const auto& row) { return row.param.name; });

// A transfer that is cancelled while it waits comes back once, and takes no audio with it. Each
// selection flushes the filter, and drops a byte that waits for its second one.
TEST(Microphone, StopsInTheMiddleAndGoesOn) {
  const LoadedServices services;
  const std::vector<UCHAR> speech = ClickedSpeech(400000);
  UsbMicrophone microphone(FeedOf(speech), {.oddPackets = 300});
  InterceptedDevice filter(microphone.PhysicalDevice());
  StreamingClient client(filter.Top());
  client.SelectConfiguration(zr::host::CameraConfiguration());
  const Filter reference = MakeFilter();
  std::size_t start = 0;
  for (int run = 0; run < 100; ++run) {
    ASSERT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, 1, 1), STATUS_SUCCESS);
    POPSSetParameter(reference.get(), POPS_ID_FLUSH, 1);
    int transfers = 0;
    const auto heard = client.Stream({8, 4}, [&transfers] { return ++transfers == 10; });
    ASSERT_EQ(client.SelectInterface(zr::host::kMicrophoneInterface, 0, 0), STATUS_SUCCESS);
    const auto delivered = microphone.Delivered();
    ASSERT_LE(start + heard.size(), delivered.size());
    ASSERT_LE(delivered.size(), start + heard.size() + 2);
    const UCHAR* const bytes = delivered.data() + start;
    ASSERT_EQ(heard, FilteredBytes(reference.get(), {bytes, bytes + heard.size()})) << run;
    start = delivered.size();
  }
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
