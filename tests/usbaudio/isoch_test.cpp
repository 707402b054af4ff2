// The audio path: packets in, packets out, byte by byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>

#include "popfilter/pops.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

constexpr USBD_STATUS kFailed = USBD_STATUS_CRC;

std::vector<std::string> lines;
void KeepLine(ULONG level, const char* line) {
  if (level <= 2) lines.emplace_back(line);
}
int spanStarts = 0;
int spanStops = 0;
int spanResets = 0;

class Isoch : public testing::Test {
 protected:
  Isoch() {
    lines.clear();
    spanStarts = spanStops = spanResets = 0;
    PerfHooks.PerfSpanStart.Set([](ULONG id) { spanStarts += id == 9; });
    PerfHooks.PerfSpanStop.Set([](ULONG id) { spanStops += id == 9; });
    PerfHooks.PerfSpanReset.Set([](ULONG id) { spanResets += id == 9; });
  }

  LoadedServices services_;
};

std::vector<UCHAR> CountingBytes(std::size_t count) {
  std::vector<UCHAR> bytes(count);
  std::iota(bytes.begin(), bytes.end(), UCHAR{1});
  return bytes;
}

struct Packet {
  ULONG offset;
  ULONG length;
  USBD_STATUS status;
  bool operator==(const Packet&) const = default;
};

struct TransferRow {
  const char* what;
  std::vector<Packet> before;
  std::vector<Packet> after;
  std::size_t bufferSize;
  int filterCalls;
  bool holdsByte;
};

// 8000 Hz, 16 bits, mono: two bytes a frame, 40 ms are 640 bytes.
const TransferRow kTransferRows[] = {
    {"equal shares around an empty and a failed packet, the odd byte held",
     {{0, 32, 0}, {32, 0, 0}, {32, 32, kFailed}, {64, 33, 0}},
     {{0, 34, 0}, {34, 30, 0}, {32, 32, kFailed}, {64, 0, 0}},
     97,
     1,
     true},
    {"one good packet", {{16, 16, 0}}, {{0, 16, 0}}, 32, 1, false},
    {"no packets", {}, {}, 8, 0, false},
    {"all failed",
     {{0, 8, kFailed}, {8, 8, kFailed}},
     {{0, 8, kFailed}, {8, 8, kFailed}},
     16,
     0,
     false},
    {"all empty", {{0, 0, 0}, {8, 0, 0}}, {{0, 0, 0}, {8, 0, 0}}, 16, 0, false},
    {"one byte is held, and the filter refuses nothing at all",
     {{0, 1, 0}},
     {{0, 0, 0}},
     8,
     1,
     true},
    {"40 ms to the byte",
     {{0, 320, 0}, {320, 320, 0}},
     {{0, 320, 0}, {320, 320, 0}},
     640,
     1,
     false},
    {"a byte more: the last packet stays out and goes out empty",
     {{0, 320, 0}, {320, 321, 0}},
     {{0, 320, 0}, {320, 0, 0}},
     641,
     1,
     false},
    {"the first packet alone is too large",
     {{0, 642, 0}, {642, 2, 0}},
     {{0, 642, 0}, {642, 2, 0}},
     644,
     0,
     false},
    {"a packet behind the buffer's end is a failed one",
     {{0, 8, 0}, {12, 8, 0}, {8, 4, 0}},
     {{0, 6, 0}, {12, 8, 0}, {6, 6, 0}},
     16,
     1,
     false},
    {"offset and length that wrap around",
     {{0xFFFFFFF0, 32, 0}, {0, 8, 0}},
     {{0xFFFFFFF0, 32, 0}, {0, 8, 0}},
     64,
     1,
     false},
};

TEST_F(Isoch, PacketsAreLaidAnewInEqualShares) {
  for (const auto& row : kTransferRows) {
    InterceptedDevice device;
    device.SelectFormat(16, 1, 8000);
    spanStarts = spanStops = 0;
    std::vector<USBD_ISO_PACKET_DESCRIPTOR> packets;
    for (const auto& packet : row.before) {
      packets.push_back({packet.offset, packet.length, packet.status});
    }
    IsochUrb urb(packets, CountingBytes(row.bufferSize));
    EXPECT_EQ(device.SendUrb(urb.Urb()), STATUS_SUCCESS) << row.what;
    std::vector<Packet> after;
    for (std::size_t i = 0; i < packets.size(); ++i) {
      const auto& packet = urb.Packets()[i];
      after.push_back({packet.Offset, packet.Length, packet.Status});
    }
    EXPECT_EQ(after, row.after) << row.what;
    EXPECT_EQ(spanStarts, row.filterCalls) << row.what;
    EXPECT_EQ(spanStops, row.filterCalls) << row.what;

    // A held byte goes first into the next transfer, which then has one too many.
    IsochUrb next({{0, 16, 0}, {16, 15, 0}}, CountingBytes(32));
    device.SendUrb(next.Urb());
    EXPECT_EQ(next.Packets()[0].Length + next.Packets()[1].Length, row.holdsByte ? 32U : 30U)
        << row.what;
  }
}

TEST_F(Isoch, TransfersThatMustNotBeTouchedAreNot) {
  struct Row {
    bool hasFormat;
    bool hasBuffer;
    USBD_STATUS urbStatus;
    NTSTATUS irpStatus;
  };
  const Row rows[] = {{false, true, 0, STATUS_SUCCESS},
                      {true, false, 0, STATUS_SUCCESS},
                      {true, true, kFailed, STATUS_SUCCESS},
                      {true, true, 0, STATUS_UNSUCCESSFUL}};
  for (const auto& row : rows) {
    InterceptedDevice device;
    if (row.hasFormat) device.SelectFormat(16, 1, 8000);
    IsochUrb urb({{8, 8, 0}}, CountingBytes(16));
    if (!row.hasBuffer) urb.Transfer().TransferBuffer = nullptr;
    device.answer = [&](PIRP irp) {
      urb.Transfer().Hdr.Status = row.urbStatus;
      return CompleteWith(irp, row.irpStatus);
    };
    device.SendUrb(urb.Urb());
    EXPECT_EQ(urb.Packets()[0].Offset, 8U);
    EXPECT_EQ(urb.Bytes(), CountingBytes(16));
  }
  EXPECT_EQ(spanStarts, 0);
}

TEST_F(Isoch, TheBufferIsAsLargeAsItWasOnTheWayDown) {
  InterceptedDevice device;
  device.SelectFormat(16, 1, 8000);
  IsochUrb urb({{16, 8, 0}}, CountingBytes(24));
  device.answer = [&](PIRP irp) {
    urb.Transfer().TransferBufferLength = 8;  // As the host controller leaves it.
    return CompleteWith(irp, STATUS_SUCCESS);
  };
  device.SendUrb(urb.Urb());
  EXPECT_EQ(urb.Packets()[0].Offset, 0U);
  EXPECT_EQ(urb.Packets()[0].Length, 8U);
}

TEST_F(Isoch, AHeldByteIsLostWithoutAudioOrPushesAFrameOut) {
  InterceptedDevice device;
  device.SelectFormat(16, 1, 8000);
  for (const ULONG length : {1U, 0U, 1U}) {
    IsochUrb urb({{0, length, 0}}, CountingBytes(8));
    device.SendUrb(urb.Urb());
    EXPECT_EQ(urb.Packets()[0].Length, 0U) << "the two bytes make no sample";
  }
  PerfHooks.PerfDebugSink.Set(&KeepLine);
  // 15 bytes fill the buffer; with the held one they are 16.
  IsochUrb full({{0, 15, 0}}, CountingBytes(15));
  device.SendUrb(full.Urb());
  EXPECT_EQ(full.Packets()[0].Length, 14U);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_NE(lines[0].find("No room"), std::string::npos);
}

// The byte of a clicked tone at a position of the stream, wherever a packet cuts its sample.
UCHAR ToneByte(ULONG position) {
  const ULONG index = position / 2;
  const double value = index % 37 == 20 ? 32000 : 6000 * std::sin(0.03 * index);
  const auto sample = static_cast<uint16_t>(static_cast<int16_t>(value));
  return static_cast<UCHAR>(position % 2 == 0 ? sample : sample >> 8);
}

// Packets of any kind and length carry a stream; gathered, it equals the filter's own output over
// that stream. The held byte joins the transfers, a selection drops it and flushes.
TEST_F(Isoch, AStreamInPacketsEqualsTheFilterOverTheStream) {
  constexpr ULONG kSlot = 101;
  std::mt19937 random(21);
  InterceptedDevice device;
  device.SelectFormat(16, 1, 48000);
  POPSState* reference = nullptr;
  ASSERT_EQ(POPSCreate(&reference), POPS_OK);
  ULONG position = 0;
  std::vector<UCHAR> gathered;
  std::vector<int16_t> expected;
  for (int stretch = 0; stretch < 200; ++stretch) {
    std::vector<UCHAR> stream;
    for (int transfer = 0; transfer < 5; ++transfer) {
      std::vector<USBD_ISO_PACKET_DESCRIPTOR> packets;
      std::vector<UCHAR> bytes(6 * kSlot, 0xEE);
      for (ULONG offset = 0; offset < bytes.size(); offset += kSlot) {
        const bool isFailed = random() % 16 == 0;
        const auto length = static_cast<ULONG>(random() % 8 == 0 ? 0 : 80 + random() % 22);
        packets.push_back({offset, length, isFailed ? kFailed : 0});
        for (ULONG i = 0; !isFailed && i < length; ++i)
          stream.push_back(bytes[offset + i] = ToneByte(position++));
      }
      IsochUrb urb(packets, bytes);
      ASSERT_EQ(device.SendUrb(urb.Urb()), STATUS_SUCCESS);
      for (std::size_t i = 0; i < packets.size(); ++i) {
        const auto& packet = urb.Packets()[i];
        if (!USBD_SUCCESS(packet.Status)) continue;
        const UCHAR* const laid = urb.Bytes().data() + packet.Offset;
        gathered.insert(gathered.end(), laid, laid + packet.Length);
      }
    }
    position += position % 2;
    std::vector<int16_t> block(stream.size() / 2);
    std::memcpy(block.data(), stream.data(), block.size() * 2);
    POPSProcess(reference, static_cast<int32_t>(block.size()), block.data());
    expected.insert(expected.end(), block.begin(), block.end());
    device.SelectInterface(1);
    POPSSetParameter(reference, POPS_ID_FLUSH, 1);
  }
  POPSDestroy(reference);
  ASSERT_GT(expected.size(), 100000U);
  ASSERT_EQ(gathered.size(), expected.size() * 2);
  EXPECT_EQ(std::memcmp(gathered.data(), expected.data(), gathered.size()), 0);
}

TEST_F(Isoch, ASelectionPutsItsRowInForce) {
  struct Row {
    UCHAR bits;
    UCHAR channels;
    ULONG hertz;
    ULONG fits;  // Bytes that 40 ms hold in 32-bit arithmetic; more overrun.
  };
  const Row rows[] = {{16, 1, 8000, 640},   {16, 1, 11025, 882},  {16, 1, 16000, 1280},
                      {16, 1, 22050, 1764}, {16, 1, 44100, 3528}, {16, 1, 48000, 3840},
                      {16, 2, 48000, 7680}, {8, 1, 8000, 320},    {4, 1, 8000, 0},
                      {12, 2, 8000, 960},   {16, 8, 6711000, 72}};
  PerfHooks.PerfDebugSink.Set(&KeepLine);
  for (const auto& row : rows) {
    InterceptedDevice device;
    device.SelectFormat(row.bits, row.channels, row.hertz);
    for (const ULONG length : {row.fits, row.fits + 4}) {
      lines.clear();
      IsochUrb urb({{0, length, 0}}, std::vector<UCHAR>(length + 4, 0));
      device.SendUrb(urb.Urb());
      const bool isOverrun = std::ranges::any_of(lines, [](const std::string& line) {
        return line.find("!!!!URB has more than 40ms buffer... ISO Packet No. - 0 !!!!") !=
               std::string::npos;
      });
      EXPECT_EQ(isOverrun, length > row.fits) << int{row.bits} << " bits " << row.hertz;
    }
  }
}

TEST_F(Isoch, SelectionsWithoutAPipeOrOutOfRangeChangeNothing) {
  InterceptedDevice device;
  device.SelectFormat(16, 1, 8000);
  EXPECT_EQ(spanResets, 1);
  device.SelectInterface(0, 0);
  device.SelectInterface(20, 1);
  device.SelectInterfaceOfLength(1, sizeof(USBD_INTERFACE_INFORMATION) - 1);
  EXPECT_EQ(spanResets, 1) << "none of them begins a stream";
  device.SelectInterface(2, 1);
  EXPECT_EQ(spanResets, 2) << "an invalid row begins one";
  IsochUrb urb({{4, 4, 0}}, CountingBytes(8));
  device.SendUrb(urb.Urb());
  EXPECT_EQ(urb.Packets()[0].Offset, 0U) << "the old format is still in force";
  device.answer = [](PIRP irp) { return CompleteWith(irp, STATUS_UNSUCCESSFUL); };
  device.SelectInterface(1, 1);
  EXPECT_EQ(spanResets, 3) << "a failed selection counts like one that succeeded";
}

}  // namespace
