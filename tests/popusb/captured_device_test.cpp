// What a capture tells of a device, in whatever order and however little, becomes requests to the
// driver; and what is heard is told and written as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "apps/popclean/filter_bank.h"
#include "apps/popclean/sample_conversion.h"
#include "apps/popclean/sound_file_reader.h"
#include "apps/popusb/captured_device.h"
#include "apps/popusb/clean_capture.h"
#include "apps/popusb/repair_finder.h"
#include "apps/popusb/report_text.h"
#include "apps/popusb/simulate_capture.h"
#include "driver/driver_entry.h"
#include "platform/host/control/io_control.h"
#include "platform/host/microphone/camera_descriptors.h"
#include "tests/common/temp_folder.h"

using namespace zr::popusb;
using zr::host::LoadedDriver;
using zr::test::TempFolder;

namespace {

const std::string kSpeech = ZR_MATERIAL_DIR "/alsa-48000.clicked.wav";

std::vector<int16_t> SamplesOf(const std::string& path) {
  zr::popclean::SoundFileReader reader(path);
  std::vector<int16_t> samples;
  std::vector<double> frames(4096);
  while (const std::size_t count = reader.Read(frames.data(), frames.size())) {
    for (std::size_t i = 0; i < count; ++i)
      samples.push_back(zr::popclean::To16Bits(frames[i]));
  }
  return samples;
}

// What popclean makes of a raw stream.
std::vector<int16_t> Filtered(std::vector<int16_t> samples, int rate) {
  const LoadedDriver driver(&DriverEntry);  // The filter's memory comes from it here.
  zr::popclean::FilterBank bank(1, rate, {}, samples.size());
  bank.Process(samples.data(), samples.size());
  return samples;
}

TEST(TwoRoads, GiveTheSameAudioAndTheWrittenCaptureHoldsIt) {
  const zr::host::MicrophoneBehaviour irregular = {.seed = 3,
                                                   .jitteredPackets = 100,
                                                   .shortPackets = 30,
                                                   .emptyPackets = 30,
                                                   .failedPackets = 10,
                                                   .failedTransfers = 10};
  for (const auto& behaviour : {zr::host::MicrophoneBehaviour{}, irregular}) {
    SCOPED_TRACE(behaviour.seed);
    const TempFolder folder;
    SimulateCapture({.audio = kSpeech, .capture = folder / "heard.pcap", .behaviour = behaviour});
    const CaptureReport report =
        CleanCapture({.capture = folder / "heard.pcap",
                      .device = {.folder = folder / "first", .firstSetting = {}},
                      .writeCapture = folder / "cleaned.pcap"});
    ASSERT_EQ(report.devices.size(), 1U);
    ASSERT_EQ(report.devices[0].streams.size(), 1U);
    const StreamReport& stream = report.devices[0].streams[0];
    EXPECT_GT(stream.repairs, 10U);
    EXPECT_EQ(stream.failedTransfers > 0, behaviour.failedTransfers > 0);
    EXPECT_EQ(stream.gaps.empty(), behaviour.failedPackets == 0);
    const auto original = SamplesOf(folder / "first/1-5-1.original.wav");
    const auto cleaned = SamplesOf(folder / "first/1-5-1.cleaned.wav");
    auto expected = Filtered(original, 48000);
    // The last frame can wait for its second byte, or for room, when the stream ends.
    ASSERT_LE(expected.size() - cleaned.size(), 1U);
    expected.resize(cleaned.size());
    EXPECT_EQ(cleaned, expected);

    CleanCapture({.capture = folder / "cleaned.pcap",
                  .device = {.folder = folder / "second", .firstSetting = {}},
                  .writeCapture = {}});
    EXPECT_EQ(SamplesOf(folder / "second/1-5-1.original.wav"), cleaned);
  }
}

// Through its service the driver tells what it did, and is disabled for a part.
TEST(WholeDriver, ReportsToItsServiceAndIsDisabledThroughIt) {
  const TempFolder folder;
  SimulateCapture({.audio = kSpeech, .capture = folder / "heard.pcap", .behaviour = {}});
  CleanOptions options = {.capture = folder / "heard.pcap",
                          .device = {.folder = folder / "out", .firstSetting = {}}};
  options.device.hasService = true;
  options.disabled = {2.0, 1e9};
  const CaptureReport report = CleanCapture(options);
  ASSERT_EQ(report.statistics.size(), 1U);
  const uint64_t filtered = report.statistics.begin()->second.at(9).intervals;
  EXPECT_GT(filtered, 190U);
  EXPECT_LT(filtered, 201U) << "a transfer is 10 ms";
  const auto original = SamplesOf(folder / "out/1-5-1.original.wav");
  const auto cleaned = SamplesOf(folder / "out/1-5-1.cleaned.wav");
  const auto switched = static_cast<std::ptrdiff_t>(480 * filtered);
  ASSERT_EQ(original.size(), cleaned.size());
  EXPECT_TRUE(std::equal(original.begin() + switched, original.end(), cleaned.begin() + switched));
  EXPECT_EQ(std::vector(cleaned.begin(), cleaned.begin() + switched),
            Filtered({original.begin(), original.begin() + switched}, 48000));
}

IsochCompleted Transfer(std::size_t packets, uint8_t endpoint = zr::host::kMicrophoneEndpoint) {
  IsochCompleted transfer = {.endpoint = endpoint, .status = 0, .packets = {}, .data = {}};
  for (std::size_t i = 0; i < packets; ++i)
    transfer.packets.push_back({.offset = static_cast<uint32_t>(100 * i), .length = 96});
  transfer.data.assign(100 * packets, 7);
  return transfer;
}

// A device with the simulated camera's descriptors, and what is told of it.
class Captured : public testing::Test {
 protected:
  DeviceReport Finish() { return device_.Finish(); }

  const std::vector<uint8_t> configuration_ = zr::host::CameraConfiguration();
  const InterfaceSelected mono_ = {zr::host::kMicrophoneInterface, 6};
  LoadedDriver driver_{&DriverEntry};
  CapturedDevice device_{driver_, {1, 2}, {.folder = {}, .firstSetting = 6}};
};

TEST_F(Captured, WithoutDescriptorsTransfersAreUnknown) {
  device_.Take(mono_);
  EXPECT_FALSE(device_.Take(Transfer(4)));
  const DeviceReport report = Finish();
  EXPECT_EQ(report.unknownTransfers, 1U);
  EXPECT_TRUE(report.streams.empty());
}

// A stream that runs already has the setting that is named, 6, unless one was selected.
TEST_F(Captured, DescriptorsThatComeLateServeWhatRunsAlready) {
  for (const bool isSelected : {false, true}) {
    CapturedDevice device(driver_, {1, 3}, {.folder = {}, .firstSetting = 6});
    if (isSelected) device.Take(InterfaceSelected{zr::host::kMicrophoneInterface, 5});
    device.Take(DescriptorRead{configuration_});
    EXPECT_TRUE(device.Take(Transfer(4)));
    const DeviceReport report = device.Finish();
    ASSERT_EQ(report.streams.size(), 1U);
    EXPECT_EQ(report.streams[0].alternateSetting, isSelected ? 5U : 6U);
    EXPECT_EQ(report.streams[0].format.rate, isSelected ? 44100 : 48000);
    EXPECT_EQ(report.streams[0].audioBytes, 4U * 96);
  }
}

TEST_F(Captured, OnlyTheMicrophonesEndpointIsAudio) {
  device_.Take(DescriptorRead{configuration_});
  device_.Take(ConfigurationSelected{zr::host::kCameraConfigurationValue});
  device_.Take(InterfaceSelected{1, 1});
  EXPECT_FALSE(device_.Take(Transfer(4, 0x81))) << "video";
  device_.Take(mono_);
  EXPECT_FALSE(device_.Take(Transfer(4, 0x81))) << "video";
  EXPECT_TRUE(device_.Take(Transfer(4)));
  device_.Take(InterfaceSelected{zr::host::kMicrophoneInterface, 0});
  EXPECT_FALSE(device_.Take(Transfer(4))) << "the stream was stopped";
  EXPECT_EQ(Finish().streams.size(), 1U);
}

TEST_F(Captured, WhatIsCutOrNonsenseIsPassedOver) {
  std::vector<uint8_t> cut = configuration_;
  cut.resize(cut.size() - 40);
  device_.Take(DescriptorRead{{}});
  device_.Take(DescriptorRead{cut});
  device_.Take(ConfigurationSelected{9});
  device_.Take(ConfigurationSelected{zr::host::kCameraConfigurationValue});
  device_.Take(mono_);
  IsochCompleted transfer = Transfer(4);
  transfer.data.resize(250);  // Two packets are whole.
  transfer.packets[3].offset = 0xFFFFFFF0;
  ASSERT_TRUE(device_.Take(transfer));
  EXPECT_TRUE(device_.Take(Transfer(0)));
  const DeviceReport report = Finish();
  EXPECT_EQ(report.remarks.size(), 2U);
  ASSERT_EQ(report.streams.size(), 1U);
  EXPECT_EQ(report.streams[0].audioBytes, 2U * 96);
  ASSERT_EQ(report.streams[0].gaps.size(), 1U);
  EXPECT_EQ(report.streams[0].gaps[0].packets, 2U);
}

TEST_F(Captured, FormatsThatTheFilterDoesNotServeAreToldSo) {
  device_.Take(DescriptorRead{configuration_});
  device_.Take(ConfigurationSelected{zr::host::kCameraConfigurationValue});
  for (const uint8_t setting : {uint8_t{8}, uint8_t{9}}) {
    device_.Take(InterfaceSelected{zr::host::kMicrophoneInterface, setting});
    ASSERT_TRUE(device_.Take(Transfer(2)));
  }
  const CaptureReport report = {
      .recorder = "usbmon", .counts = {}, .truncation = {}, .devices = {Finish()}};
  const std::string text = ReportText("talk", report);
  EXPECT_NE(text.find("its audio passes unfiltered"), std::string::npos) << text;
  EXPECT_NE(text.find("serves 16-bit mono alone"), std::string::npos) << text;
}

TEST(RepairFinder, ComparesBehindTheDelayUntilBytesAreMissing) {
  std::vector<zr::popclean::Repair> repairs;
  RepairFinder finder(
      [&repairs](const zr::popclean::Repair& repair) { repairs.push_back(repair); });
  std::vector<uint8_t> sent(40);
  std::vector<uint8_t> heard(40);
  for (std::size_t i = 0; i < 24; ++i)
    heard[16 + i] = sent[i] = static_cast<uint8_t>(i);
  heard[16 + 6] = 99;
  finder.Compare(std::span(sent).first(9), std::span(heard).first(8));
  finder.Compare(std::span(sent).subspan(9), std::span(heard).subspan(8));
  ASSERT_EQ(repairs.size(), 1U);
  EXPECT_EQ(repairs[0].sample, 3);
  EXPECT_EQ(repairs[0].before, 0x0706);
  EXPECT_EQ(repairs[0].after, 0x0763);
  EXPECT_FALSE(finder.HasLostTrack());
  finder.Compare(sent, std::span(heard).first(30));
  EXPECT_TRUE(finder.HasLostTrack());
}

}  // namespace
