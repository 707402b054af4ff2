// One conversation with a device as every recorder writes it, whole, cut off and damaged.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "apps/popclean/failure.h"
#include "tests/popusb/read_capture.h"

using namespace zr::test;
using testing::HasSubstr;
using zr::popclean::Failure;
using zr::popusb::CaptureReader;

namespace {

using Texts = std::vector<std::string>;

const Bytes kGetConfiguration = {0x80, 6, 0, 2, 0, 0, 9, 0};
const Bytes kGetDevice = {0x80, 6, 0, 1, 0, 0, 18, 0};
const Bytes kSetConfiguration = {0x00, 9, 1, 0, 0, 0, 0, 0};
const char kHeardText[] =
    "isoch 81, status 0, 0+4:0 8+0:-18 16+2:0, data 010203040000000000000000000000000506";

struct Conversation {
  std::vector<Recorded> records;
  Texts events;
};

// Interleaved transfers, of which every other one is of no interest.
Conversation Converse(const RecorderModel& recorder) {
  Conversation conversation;
  const auto add = [&](const Bytes& record) { conversation.records.push_back({record, 0}); };
  const auto complete = [&](uint64_t id, bool isSuccess, const Bytes& data) {
    for (const Bytes& record : recorder.Complete(id, isSuccess, data))
      add(record);
  };
  const auto expect = [&](const std::string& what) {
    const double second = 99.5 + static_cast<double>(conversation.records.size());
    std::ostringstream text;
    text << second << " 2.5 " << what;
    conversation.events.push_back(text.str());
  };

  complete(1, true, {9, 9});  // Its submission was not recorded.
  add(recorder.Submit(1, kGetDevice));
  add(recorder.Submit(2, kGetConfiguration));
  complete(1, true, {18, 1});
  complete(2, true, {9, 2, 0x40, 0});
  expect("descriptor 09024000");
  add(recorder.Submit(2, kGetConfiguration));
  complete(2, false, {9, 2});
  add(recorder.Submit(2, kGetConfiguration));
  complete(2, true, {});
  add(recorder.Submit(3, kSetConfiguration));
  add(recorder.Submit(4, kSetInterface));
  complete(4, false, {});
  expect("interface 3, setting 2");
  complete(3, true, {});
  expect("configuration 1");
  add(recorder.Receive(kHeard));
  expect(kHeardText);
  add(recorder.Receive({.endpoint = 0x01, .packets = {{0, 4, 0}}, .data = {}}));
  add(recorder.Receive({.status = -104, .packets = {{0, 0, -18}}, .data = {}}));
  expect("isoch 81, status -104, 0+0:-18, data ");
  add(recorder.Receive({.packets = {{0, 8, -18}}, .data = {}, .isSubmission = true}));
  // Another request has taken the name of the first, a bulk transfer that of the second.
  add(recorder.Submit(5, kSetConfiguration));
  add(recorder.Submit(5, kGetDevice));
  complete(5, true, {18, 1});
  add(recorder.Submit(5, kSetConfiguration));
  add(recorder.Other(5));
  complete(5, true, {});
  return conversation;
}

constexpr auto kLittle = ByteOrder::kLittle;
constexpr auto kBig = ByteOrder::kBig;
enum class Container { kPcap, kNanosecondPcap, kPcapng };

struct FileRow {
  const char* name;
  uint32_t linkType;
  std::shared_ptr<RecorderModel> recorder;
  ByteOrder order = kLittle;
  Container container = Container::kPcap;

  Bytes File(const std::vector<Recorded>& records) const {
    if (container == Container::kPcapng) return PcapngFile(linkType, records, order);
    return PcapFile(linkType, records, order, container == Container::kNanosecondPcap);
  }
};

const FileRow kFiles[] = {
    {"usbmon 48", 189, Usbmon(48)},
    {"usbmon 48, big-endian", 189, Usbmon(48, kBig), kBig},
    {"usbmon 64", 220, Usbmon(64)},
    {"usbmon 64, big-endian", 220, Usbmon(64, kBig), kBig},
    {"usbmon 64, nanoseconds", 220, Usbmon(64), kLittle, Container::kNanosecondPcap},
    {"usbmon 64, pcapng", 220, Usbmon(64), kLittle, Container::kPcapng},
    {"usbmon 64, big-endian pcapng", 220, Usbmon(64, kBig), kBig, Container::kPcapng},
    {"USBPcap", 249, Usbpcap()},
    {"USBPcap, status stage", 249, Usbpcap(true)},
    {"USBPcap, big-endian file", 249, Usbpcap(), kBig},
    {"USBPcap, pcapng", 249, Usbpcap(), kLittle, Container::kPcapng},
};

Bytes First(const Bytes& bytes, std::size_t count) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

TEST(CaptureReader, TellsOneConversationWhoeverRecordedIt) {
  for (const auto& row : kFiles) {
    const Conversation conversation = Converse(*row.recorder);
    const Bytes file = row.File(conversation.records);
    const auto reader = OpenCapture(file);
    EXPECT_EQ(ReadEvents(*reader), conversation.events) << row.name;
    EXPECT_EQ(reader->Truncation(), "") << row.name;
    const auto& counts = reader->Counts();
    EXPECT_EQ(counts.records, conversation.records.size()) << row.name;
    EXPECT_EQ(counts.ignored, conversation.records.size() - conversation.events.size()) << row.name;
    EXPECT_EQ(counts.damaged + counts.snapped, 0U) << row.name;
  }
}

// Wherever a file ends, what is whole is told, and the end is told of unless it lies between
// records.
TEST(CaptureReader, UsesWhatIsWholeOfATruncatedFile) {
  for (const auto& row : kFiles) {
    const Conversation conversation = Converse(*row.recorder);
    const Bytes whole = row.File(conversation.records);
    std::vector<std::size_t> ends;
    std::vector<Recorded> records;
    ends.push_back(row.File(records).size());
    for (const Recorded& record : conversation.records) {
      records.push_back(record);
      ends.push_back(row.File(records).size());
    }
    for (std::size_t size = ends.front(); size < whole.size(); ++size) {
      SCOPED_TRACE(row.name + std::to_string(size));
      const Bytes file = First(whole, size);
      const auto reader = OpenCapture(file);
      const Texts events = ReadEvents(*reader);
      const auto wholeRecords = std::ranges::upper_bound(ends, size) - ends.begin() - 1;
      ASSERT_EQ(reader->Counts().records, static_cast<uint64_t>(wholeRecords));
      ASSERT_LE(events.size(), conversation.events.size());
      ASSERT_TRUE(std::equal(events.begin(), events.end(), conversation.events.begin()));
      ASSERT_EQ(reader->Truncation().empty(), std::ranges::binary_search(ends, size));
      ASSERT_FALSE(reader->Next());
    }
    for (std::size_t size = 0; size < ends.front(); ++size) {
      EXPECT_THROW(OpenCapture(First(whole, size)), Failure) << row.name << size;
    }
  }
}

Bytes With(Bytes bytes, std::size_t place, const Bytes& other) {
  std::ranges::copy(other, bytes.begin() + static_cast<std::ptrdiff_t>(place));
  return bytes;
}

TEST(CaptureReader, CountsRecordsThatDoNotHoldWhatTheyAnnounce) {
  const Bytes shortHeader = Usbmon(48)->Receive(kHeard);
  const Bytes longHeader = Usbmon(64)->Receive(kHeard);
  const Bytes usbpcap = Usbpcap()->Receive(kHeard);
  const Bytes usbpcapSetup = Usbpcap()->Submit(1, kSetInterface);
  const std::string twoPackets = "isoch 81, status 0, 0+4:0 8+0:-18, data ";
  const std::string noData = "isoch 81, status 0, 0+4:0 8+0:-18 16+2:0, data ";
  const std::string data = "010203040000000000000000000000000506";

  const struct {
    const char* name;
    uint32_t linkType;
    Bytes record;
    std::string event;
    uint64_t ignored;
    uint64_t damaged;
  } rows[] = {
      {"nothing", 220, {}, "", 0, 1},
      {"no whole header of 48", 189, First(shortHeader, 47), "", 0, 1},
      {"no whole header of 64", 220, First(longHeader, 63), "", 0, 1},
      {"an unknown kind of event", 220, With(longHeader, 8, {'X'}), "", 0, 1},
      {"data cut off", 220, First(longHeader, 64 + 48 + 2), noData + "0102", 0, 0},
      {"a table cut off", 220, First(longHeader, 64 + 47), twoPackets, 0, 1},
      {"a table that the data length cuts off", 220, With(longHeader, 36, {33}), twoPackets, 0, 1},
      {"no packet whole", 220, First(longHeader, 64 + 15), "", 0, 1},
      {"more packets than any record holds", 220,
       With(With(longHeader, 60, {0xFF, 0xFF, 0xFF, 0xFF}), 36, {48}), noData, 0, 1},
      {"no packets", 220, With(longHeader, 60, {0, 0, 0, 0}), "", 1, 0},
      {"fewer packets than none", 189, With(shortHeader, 44, {0, 0, 0, 0x80}), "", 1, 0},
      {"some packets failed, of the transfer", 220, With(longHeader, 28, {0xEE, 0xFF, 0xFF, 0xFF}),
       kHeardText, 0, 0},
      {"no whole header of USBPcap", 249, First(usbpcap, 26), "", 0, 1},
      {"no whole header for packets", 249, First(usbpcap, 38), "", 0, 1},
      {"a header shorter than its fields", 249, With(usbpcap, 0, {26}), "", 0, 1},
      {"a header without its packet count", 249, With(usbpcap, 0, {38}), "", 0, 1},
      {"a header beyond the record", 249, With(usbpcap, 0, {0xFF, 0xFF}), noData, 0, 0},
      {"a table that the header cuts off", 249, With(With(usbpcap, 0, {74}), 23, {0}), twoPackets,
       0, 1},
      {"more packets than the header holds", 249, With(usbpcap, 31, {0xFF, 0xFF, 0xFF, 0xFF}),
       kHeardText, 0, 1},
      {"a warning of the transfer", 249, With(usbpcap, 10, {0, 0, 0, 0x40}), kHeardText, 0, 0},
      {"an error of the transfer", 249, With(usbpcap, 10, {6, 0, 0, 0xC0}),
       "isoch 81, status -1073741818, 0+4:0 8+0:-18 16+2:0, data " + data, 0, 0},
      {"half a setup packet", 249, First(usbpcapSetup, 32), "", 0, 1},
      {"no stage", 249, First(usbpcapSetup, 27), "", 0, 1},
      {"an unknown stage", 249, With(usbpcapSetup, 27, {9}), "", 0, 1},
  };
  for (const auto& row : rows) {
    const Bytes file = PcapFile(row.linkType, {{row.record, 1000}});
    const auto reader = OpenCapture(file);
    const Texts events = ReadEvents(*reader);
    const Texts expected = row.event.empty() ? Texts{} : Texts{"100.5 2.5 " + row.event};
    EXPECT_EQ(events, expected) << row.name;
    EXPECT_EQ(reader->Counts().ignored, row.ignored) << row.name;
    EXPECT_EQ(reader->Counts().damaged, row.damaged) << row.name;
    EXPECT_EQ(reader->Counts().snapped, 1U) << row.name;
  }
}

// The short header counts all packets of a transfer, the record holds the descriptors of 128.
TEST(CaptureReader, ReadsNoDataAsDescriptorsBehindTheLastThatUsbmonRecords) {
  Isoch isoch;
  isoch.packets.assign(128, {0, 1, 0});
  isoch.data.assign(64, 0x55);
  const Bytes record = With(Usbmon(48)->Receive(isoch), 44, {200});
  const Bytes file = PcapFile(189, {{record, 0}});
  const auto event = OpenCapture(file)->Next();
  ASSERT_TRUE(event);
  const auto& received = std::get<zr::popusb::IsochCompleted>(event->what);
  EXPECT_EQ(received.packets.size(), 128U);
  EXPECT_EQ(received.data, isoch.data);
}

std::string RefusalOf(const std::string& path) {
  try {
    const CaptureReader reader(path);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "none";
}

TEST(CaptureReader, SaysWhatItCannotRead) {
  const auto refusalOf = [](const Bytes& bytes) {
    const auto file = MemoryFile();
    EXPECT_EQ(write(file.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    return RefusalOf("/proc/self/fd/" + std::to_string(file.Get()));
  };
  EXPECT_THAT(refusalOf({}), HasSubstr("' is empty"));
  EXPECT_THAT(refusalOf(Bytes(100, 'x')), HasSubstr("' is no capture in pcap or pcapng format"));
  EXPECT_THAT(refusalOf(PcapFile(1, {})), HasSubstr("' holds records of link type 1 (Ethernet)"));
  EXPECT_THAT(refusalOf(PcapFile(186, {})), HasSubstr("usbmon (189, 220) and of USBPcap (249)"));
  EXPECT_THAT(RefusalOf("/"), HasSubstr("cannot read '/': "));
  EXPECT_EQ(RefusalOf("no-such-file"), "cannot read 'no-such-file': No such file or directory");
}

}  // namespace
