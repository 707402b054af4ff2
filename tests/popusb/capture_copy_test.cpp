// Captures that are written: copies, with and without other audio in them, and new ones.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "apps/popclean/failure.h"
#include "apps/popusb/capture_writer.h"
#include "tests/popusb/read_capture.h"

using namespace zr::test;
using namespace zr::popusb;

namespace {

// The same transfer, whose audio now stands contiguous; what lay behind it is left.
const Isoch kCleaned = {.packets = {{0, 2, 0}, {2, 0, -18}, {2, 4, 0}},
                        .data = {11, 12, 13, 14, 15, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6}};

struct CopyRow {
  const char* name;
  uint32_t linkType;
  bool hasNanoseconds;
  std::shared_ptr<RecorderModel> recorder;
};

const CopyRow kRows[] = {
    {"usbmon 48", 189, false, Usbmon(48)},
    {"usbmon 64", 220, false, Usbmon(64)},
    {"usbmon 64, nanoseconds", 220, true, Usbmon(64)},
    {"USBPcap", 249, false, Usbpcap()},
};

Bytes FileWith(const CopyRow& row, const Isoch& second) {
  const Bytes unreadable = {1, 2, 3};
  return PcapFile(row.linkType,
                  {{row.recorder->Submit(1, kSetInterface), 0},
                   {row.recorder->Receive(kHeard), 0},
                   {unreadable, 50},
                   {row.recorder->Complete(1, true, {}).back(), 0},
                   {row.recorder->Receive(second), 7},
                   {row.recorder->Other(3), 0}},
                  ByteOrder::kLittle, row.hasNanoseconds);
}

TEST(CaptureCopy, ChangesOnlyTheTransferThatIsReplaced) {
  for (const auto& row : kRows) {
    for (const bool isReplaced : {false, true}) {
      const Bytes input = FileWith(row, kHeard);
      const auto reader = OpenCapture(input);
      const auto output = MemoryFile();
      CaptureCopy copy(reader->Shape(), output.Get(), "output");
      reader->CopyTo(copy);
      int isochCount = 0;
      while (const auto event = reader->Next()) {
        if (!std::holds_alternative<IsochCompleted>(event->what)) {
          EXPECT_THROW(copy.Replace({}, {}), std::invalid_argument) << row.name;
        } else if (++isochCount == 2 && isReplaced) {
          auto packets = kCleaned.packets;
          packets[1].status = 99;  // Not written.
          copy.Replace(packets, std::span(kCleaned.data).first(6));
        }
      }
      copy.Finish();
      EXPECT_EQ(isochCount, 2) << row.name;
      EXPECT_EQ(ContentOf(output), FileWith(row, isReplaced ? kCleaned : kHeard)) << row.name;
    }
  }
}

// libpcap turns headers into the host's order; a copy in that order tells the same.
TEST(CaptureCopy, OfOtherKindsOfFilesTellsTheSame) {
  const auto twice = [](const RecorderModel& recorder) {
    return std::vector<Recorded>{{recorder.Receive(kHeard), 0}, {recorder.Receive(kHeard), 3}};
  };
  constexpr auto kBig = ByteOrder::kBig;
  const Bytes inputs[] = {PcapFile(189, twice(*Usbmon(48, kBig)), kBig),
                          PcapFile(220, twice(*Usbmon(64, kBig)), kBig),
                          PcapngFile(220, twice(*Usbmon(64)))};
  for (const Bytes& input : inputs) {
    const auto reader = OpenCapture(input);
    const auto output = MemoryFile();
    CaptureCopy copy(reader->Shape(), output.Get(), "output");
    reader->CopyTo(copy);
    const auto events = ReadEvents(*reader);
    copy.Finish();
    EXPECT_EQ(events.size(), 2U);
    const Bytes written = ContentOf(output);
    EXPECT_EQ(ReadEvents(*OpenCapture(written)), events);
  }
}

TEST(CaptureCopy, RefusesWhatDoesNotFitAndTellsOfWriteErrors) {
  const Bytes input = FileWith(kRows[1], kHeard);
  const auto reader = OpenCapture(input);
  const zr::popclean::OwnedDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  CaptureCopy copy(reader->Shape(), full.Get(), "output");
  reader->CopyTo(copy);
  ASSERT_TRUE(reader->Next());
  const Bytes tooLong(kHeard.data.size() + 1);
  EXPECT_THROW(copy.Replace(kHeard.packets, tooLong), std::invalid_argument);
  EXPECT_THROW(copy.Replace(std::span(kHeard.packets).first(2), {}), std::invalid_argument);
  ReadEvents(*reader);
  EXPECT_THROW(copy.Finish(), zr::popclean::Failure);
}

TEST(CaptureWriter, WritesWhatTheReaderTells) {
  const DeviceAddress device = {.bus = 3, .device = 12};
  const std::vector<UsbEvent> events = {
      {device, 1.25, DescriptorRead{{9, 2, 0x12, 0}}},
      {device, 1.5, ConfigurationSelected{1}},
      {device, 2.000001, InterfaceSelected{2, 4}},
      {device, 3.125, IsochCompleted{0x84, 0, kHeard.packets, kHeard.data}},
      {device, 3.25, IsochCompleted{0x84, -104, {{0, 0, -18}}, {}}},
  };
  const auto file = MemoryFile();
  CaptureWriter writer(file.Get(), "output");
  std::vector<std::string> expected;
  for (const auto& event : events) {
    writer.Write(event, 0.125);
    expected.push_back(TextOf(event));
  }
  writer.Finish();
  const Bytes written = ContentOf(file);
  const auto reader = OpenCapture(written);
  EXPECT_EQ(ReadEvents(*reader), expected);
  EXPECT_EQ(reader->Counts().records, 2 * events.size());
  EXPECT_EQ(reader->Counts().ignored, events.size());
}

}  // namespace
