// The audio path: packets in, packets out, byte by byte.
#include <algorithm>
#include <numeric>
#include <sstream>
#include <string>

#include "tests/support/support_fixture.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

constexpr USBD_STATUS kFailed = USBD_STATUS_CRC;

int spanStarts = 0;
int spanStops = 0;
int spanResets = 0;

class Isoch : public testing::Test {
 protected:
  Isoch() {
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

// Packets of a transfer as text: offset + length, and ! behind one that failed.
std::vector<USBD_ISO_PACKET_DESCRIPTOR> Packets(const std::string& text) {
  std::vector<USBD_ISO_PACKET_DESCRIPTOR> packets;
  std::istringstream words(text);
  USBD_ISO_PACKET_DESCRIPTOR packet = {};
  for (char plus = 0; words >> packet.Offset >> plus >> packet.Length; packets.push_back(packet)) {
    packet.Status = words.peek() == '!' ? kFailed : USBD_STATUS_SUCCESS;
    if (packet.Status == kFailed) words.get();
  }
  return packets;
}

std::string TextOf(const USBD_ISO_PACKET_DESCRIPTOR* packets, std::size_t count) {
  std::ostringstream text;
  for (std::size_t i = 0; i < count; ++i) {
    text << (i == 0 ? "" : " ") << packets[i].Offset << '+' << packets[i].Length;
    if (packets[i].Status == kFailed) text << '!';
  }
  return text.str();
}

struct TransferRow {
  const char* what;
  const char* before;
  const char* after;
  std::size_t bufferSize;
  int filterCalls;
  bool holdsByte;
};

// 8000 Hz, 16 bits, mono: two bytes a frame, 40 ms are 640 bytes.
const TransferRow kTransferRows[] = {
    {"equal shares around an empty and a failed packet, the odd byte held",
     "0+32 32+0 32+32! 64+33", "0+34 34+30 32+32! 64+0", 97, 1, true},
    {"one good packet", "16+16", "0+16", 32, 1, false},
    {"no packets", "", "", 8, 0, false},
    {"all failed", "0+8! 8+8!", "0+8! 8+8!", 16, 0, false},
    {"all empty", "0+0 8+0", "0+0 8+0", 16, 0, false},
    {"one byte is held, and the filter refuses nothing at all", "0+1", "0+0", 8, 1, true},
    {"40 ms to the byte", "0+320 320+320", "0+320 320+320", 640, 1, false},
    {"a byte more: the last packet stays out and goes out empty", "0+320 320+321", "0+320 320+0",
     641, 1, false},
    {"the first packet alone is too large", "0+642 642+2", "0+642 642+2", 644, 0, false},
    {"a packet behind the buffer's end is a failed one", "0+8 12+8 8+4", "0+6 12+8 6+6", 16, 1,
     false},
    {"offset and length that wrap around", "4294967280+32 0+8", "4294967280+32 0+8", 64, 1, false},
};

TEST_F(Isoch, PacketsAreLaidAnewInEqualShares) {
  for (const auto& row : kTransferRows) {
    InterceptedDevice device;
    device.SelectFormat(16, 1, 8000);
    spanStarts = spanStops = 0;
    const auto packets = Packets(row.before);
    IsochUrb urb(packets, CountingBytes(row.bufferSize));
    EXPECT_EQ(device.SendUrb(urb.Urb()), STATUS_SUCCESS) << row.what;
    EXPECT_EQ(TextOf(urb.Packets(), packets.size()), row.after) << row.what;
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
  const struct {
    bool hasFormat;
    bool hasBuffer;
    USBD_STATUS urbStatus;
    NTSTATUS irpStatus;
  } rows[] = {{false, true, 0, STATUS_SUCCESS},
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
      return Complete(irp, row.irpStatus);
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
    return Complete(irp, STATUS_SUCCESS);
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
  KeepLines();
  // 15 bytes fill the buffer; with the held one they are 16.
  IsochUrb full({{0, 15, 0}}, CountingBytes(15));
  device.SendUrb(full.Urb());
  EXPECT_EQ(full.Packets()[0].Length, 14U);
  EXPECT_EQ(CountLines("No room"), 1);
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
  for (const auto& row : rows) {
    InterceptedDevice device;
    device.SelectFormat(row.bits, row.channels, row.hertz);
    for (const ULONG length : {row.fits, row.fits + 4}) {
      KeepLines();
      IsochUrb urb({{0, length, 0}}, std::vector<UCHAR>(length + 4, 0));
      device.SendUrb(urb.Urb());
      EXPECT_EQ(CountLines("!!!!URB has more than 40ms buffer... ISO Packet No. - 0 !!!!"),
                length > row.fits ? 1 : 0)
          << int{row.bits} << " bits " << row.hertz;
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
  device.answer = [](PIRP irp) { return Complete(irp, STATUS_UNSUCCESSFUL); };
  device.SelectInterface(1, 1);
  EXPECT_EQ(spanResets, 3) << "a failed selection counts like one that succeeded";
}

}  // namespace
