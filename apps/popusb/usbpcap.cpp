#include "apps/popusb/usbpcap.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

namespace zr::popusb {
namespace {

static_assert(std::endian::native == std::endian::little, "records are read as they stand");

struct [[gnu::packed]] Header {
  uint16_t headerLength;  // With what follows for the kind of transfer, up to the data.
  uint64_t irpId;
  int32_t status;
  uint16_t function;
  uint8_t info;
  uint16_t bus;
  uint16_t device;
  uint8_t endpoint;
  uint8_t transferType;
  uint32_t dataLength;
};

struct [[gnu::packed]] ControlHeader {
  Header common;
  uint8_t stage;
};

struct [[gnu::packed]] IsochHeader {
  Header common;
  uint32_t startFrame;
  uint32_t packetCount;
  uint32_t errorCount;
};

struct [[gnu::packed]] PacketDescriptor {
  uint32_t offset;
  uint32_t length;
  int32_t status;
};

static_assert(sizeof(Header) == 27 && sizeof(IsochHeader) == 39 && sizeof(PacketDescriptor) == 12);

constexpr uint8_t kFromDeviceToDriver = 0x01;  // Bit of info: the request is on its way back.
constexpr uint8_t kIsochronous = 0;
constexpr uint8_t kControl = 2;
constexpr uint8_t kInEndpoint = 0x80;

enum Stage : uint8_t { kSetupStage, kDataStage, kStatusStage, kCompleteStage };

std::span<const uint8_t> DataOf(const Header& header, std::span<const uint8_t> bytes) {
  const std::size_t headerLength = std::min<std::size_t>(header.headerLength, bytes.size());
  return FirstBytes(bytes.subspan(headerLength), header.dataLength);
}

// Older versions tell data and status apart, newer ones have a single stage for both. Selections of
// configurations and interfaces, which are no control transfers for their driver, are recorded with
// the setup packet that they lead to.
void ReadControl(std::span<const uint8_t> bytes, TransferRecord& record) {
  const auto header = ReadRecord<ControlHeader>(bytes);
  if (!header || header->common.headerLength < sizeof(*header)) return;
  const auto data = DataOf(header->common, bytes);
  switch (header->stage) {
    case kSetupStage:
      if (const auto setup = ReadRecord<SetupPacket>(data)) record.what = ControlSubmitted{*setup};
      break;
    case kDataStage:
      record.what = ControlData{data};
      break;
    case kStatusStage:
    case kCompleteStage:
      record.what = ControlCompleted{.isSuccess = header->common.status >= 0, .data = data};
      break;
    default:
      break;
  }
}

void ReadIsoch(std::span<const uint8_t> bytes, TransferRecord& record) {
  const auto header = ReadRecord<IsochHeader>(bytes);
  if (!header || header->common.headerLength < sizeof(*header)) return;
  const auto table = FirstBytes(bytes, header->common.headerLength).subspan(sizeof(*header));
  const uint32_t announced = header->packetCount;
  const std::size_t count =
      std::min<std::size_t>(announced, table.size() / sizeof(PacketDescriptor));
  record.isCutShort = count < announced;
  if (announced == 0) {
    record.what = OtherRecord{};
    return;
  }
  if (count == 0) return;

  IsochReceived received;
  received.transfer.endpoint = header->common.endpoint;
  received.transfer.status = header->common.status < 0 ? header->common.status : 0;
  received.transfer.packets.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto packet = ReadRecord<PacketDescriptor>(table.subspan(i * sizeof(PacketDescriptor)));
    received.transfer.packets.push_back(
        {.offset = packet->offset, .length = packet->length, .status = packet->status});
  }
  const auto data = DataOf(header->common, bytes);
  received.transfer.data.assign(data.begin(), data.end());
  received.layout = {.table = sizeof(*header),
                     .entrySize = sizeof(PacketDescriptor),
                     .offsetField = offsetof(PacketDescriptor, offset),
                     .lengthField = offsetof(PacketDescriptor, length),
                     .packetCount = count,
                     .data = std::min<std::size_t>(header->common.headerLength, bytes.size()),
                     .dataLength = data.size()};
  record.what = std::move(received);
}

}  // namespace

TransferRecord ReadUsbpcapRecord(std::span<const uint8_t> bytes) {
  TransferRecord record;
  const auto header = ReadRecord<Header>(bytes);
  if (!header || header->headerLength < sizeof(*header)) return record;
  record.id = header->irpId;
  record.device = {.bus = header->bus, .device = header->device};
  if (header->transferType == kControl) {
    ReadControl(bytes, record);
  } else if (header->transferType == kIsochronous && (header->info & kFromDeviceToDriver) != 0 &&
             (header->endpoint & kInEndpoint) != 0) {
    ReadIsoch(bytes, record);
  } else {
    record.what = OtherRecord{};
  }
  return record;
}

}  // namespace zr::popusb
