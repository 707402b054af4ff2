#include "apps/popusb/usbmon.h"

#include <pcap/pcap.h>
#include <pcap/usb.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

namespace zr::popusb {
namespace {

static_assert(sizeof(pcap_usb_header) == 48 && sizeof(pcap_usb_header_mmapped) == 64);

// The monitor records no more descriptors of a transfer, but the short header counts all of them.
constexpr uint32_t kMostDescriptors = 128;

// -EXDEV is the failure of single packets, which tell it themselves.
constexpr int32_t kSomePacketsFailed = -18;

struct Header {
  pcap_usb_header_mmapped fields = {};
  std::size_t size = 0;
  uint32_t packetCount = 0;
};

IsochPacket PacketOf(const usb_isodesc& descriptor) {
  return {.offset = descriptor.offset, .length = descriptor.len, .status = descriptor.status};
}

std::optional<Header> ReadShortHeader(std::span<const uint8_t> bytes) {
  if (bytes.size() < sizeof(pcap_usb_header)) return std::nullopt;
  Header header{.size = sizeof(pcap_usb_header)};
  // Both headers begin with the same fields.
  std::memcpy(&header.fields, bytes.data(), header.size);
  const int32_t all = header.fields.s.iso.numdesc;
  header.packetCount = std::min(static_cast<uint32_t>(std::max(all, 0)), kMostDescriptors);
  return header;
}

std::size_t WholeDescriptors(const Header& header, std::size_t payloadSize) {
  return std::min<std::size_t>(header.packetCount, payloadSize / sizeof(usb_isodesc));
}

void ReadIsoch(const Header& header, std::span<const uint8_t> payload, TransferRecord& record) {
  const std::size_t count = WholeDescriptors(header, payload.size());
  record.isCutShort = count < header.packetCount;
  // Kernels before 2.6.31 recorded no packet descriptors.
  if (header.packetCount == 0) {
    record.what = OtherRecord{};
    return;
  }
  if (count == 0) return;

  IsochReceived received;
  received.transfer.endpoint = header.fields.endpoint_number;
  received.transfer.status = header.fields.status == kSomePacketsFailed ? 0 : header.fields.status;
  received.transfer.packets.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto descriptor = ReadRecord<usb_isodesc>(payload.subspan(i * sizeof(usb_isodesc)));
    received.transfer.packets.push_back(PacketOf(*descriptor));
  }
  // A table that is cut short has no data behind it.
  const auto data =
      payload.subspan(record.isCutShort ? payload.size() : count * sizeof(usb_isodesc));
  received.transfer.data.assign(data.begin(), data.end());
  received.layout = {.table = header.size,
                     .entrySize = sizeof(usb_isodesc),
                     .offsetField = offsetof(usb_isodesc, offset),
                     .lengthField = offsetof(usb_isodesc, len),
                     .packetCount = count,
                     .data = header.size + payload.size() - data.size(),
                     .dataLength = data.size()};
  record.what = std::move(received);
}

void ReadControl(const Header& header, std::span<const uint8_t> payload, TransferRecord& record) {
  if (header.fields.event_type != URB_SUBMIT) {
    // A transfer that could not be submitted has come to its end as well.
    record.what = ControlCompleted{
        .isSuccess = header.fields.event_type == URB_COMPLETE && header.fields.status == 0,
        .data = payload};
  } else if (header.fields.setup_flag == 0) {
    ControlSubmitted submitted;
    std::memcpy(submitted.setup.data(), &header.fields.s.setup, submitted.setup.size());
    record.what = submitted;
  } else {
    record.what = OtherRecord{};
  }
}

TransferRecord ReadBehind(const Header& header, std::span<const uint8_t> bytes) {
  const auto& fields = header.fields;
  const auto payload = FirstBytes(bytes.subspan(header.size), fields.data_len);
  TransferRecord record;
  record.id = fields.id;
  record.device = {.bus = fields.bus_id, .device = fields.device_address};
  const bool isKnownEvent = fields.event_type == URB_SUBMIT || fields.event_type == URB_COMPLETE ||
                            fields.event_type == URB_ERROR;
  if (!isKnownEvent) return record;
  if (fields.transfer_type == URB_CONTROL) {
    ReadControl(header, payload, record);
  } else if (fields.transfer_type == URB_ISOCHRONOUS && fields.event_type == URB_COMPLETE &&
             (fields.endpoint_number & URB_TRANSFER_IN) != 0) {
    ReadIsoch(header, payload, record);
  } else {
    record.what = OtherRecord{};
  }
  return record;
}

}  // namespace

TransferRecord ReadUsbmonRecord(std::span<const uint8_t> bytes) {
  const auto header = ReadShortHeader(bytes);
  return header ? ReadBehind(*header, bytes) : TransferRecord{};
}

TransferRecord ReadMappedUsbmonRecord(std::span<const uint8_t> bytes) {
  const auto fields = ReadRecord<pcap_usb_header_mmapped>(bytes);
  if (!fields) return {};
  return ReadBehind({.fields = *fields, .size = sizeof(*fields), .packetCount = fields->ndesc},
                    bytes);
}

void TurnPacketDescriptors(std::span<uint8_t> bytes) {
  const auto header = ReadShortHeader(bytes);
  if (!header || header->fields.transfer_type != URB_ISOCHRONOUS) return;
  const auto payload = bytes.subspan(header->size);
  const std::size_t count =
      WholeDescriptors(*header, std::min<std::size_t>(payload.size(), header->fields.data_len));
  // Four words each; that the last is padding does not matter.
  constexpr std::ptrdiff_t kWord = 4;
  const auto end = payload.begin() + static_cast<std::ptrdiff_t>(count * sizeof(usb_isodesc));
  for (auto word = payload.begin(); word != end; word += kWord)
    std::reverse(word, word + kWord);
}

}  // namespace zr::popusb
