#include "apps/popusb/capture_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <variant>
#include <vector>

#include "apps/popusb/standard_request.h"

namespace zr::popusb {
namespace {

// The length is the library's own limit for USB: nothing is snapped.
constexpr CaptureShape kShape = {
    .linkType = DLT_USB_LINUX_MMAPPED, .snapshotLength = 128 << 20, .hasNanoseconds = false};

// Statuses of a transfer under way: of its request, -EINPROGRESS, and of its packets, -EXDEV.
constexpr int32_t kUnderWay = -115;
constexpr int32_t kPacketUnderWay = -18;

// What the header's flags say instead of 0 where there is no setup packet, and why there is no
// data.
constexpr char kNoSetup = '-';
constexpr char kDataWillCome = '<';
constexpr char kDataWasSent = '>';

constexpr uint32_t kStartAsSoonAsPossible = 0x0002;
constexpr uint32_t kDirectionIn = 0x0200;

// Request blocks of a kernel stand at addresses like this, in the upper half.
constexpr uint64_t kFirstId = 0xFFFF888000000000;
constexpr uint64_t kIdStep = 0xC0;

struct Record {
  pcap_usb_header_mmapped fields = {};
  std::vector<uint8_t> payload;
};

struct Transfer {
  Record submission;
  Record completion;
};

Transfer TransferOfKind(uint8_t transferType, uint8_t endpoint) {
  Transfer transfer;
  for (Record* const record : {&transfer.submission, &transfer.completion}) {
    record->fields.transfer_type = transferType;
    record->fields.endpoint_number = endpoint;
    record->fields.setup_flag = kNoSetup;
    if ((endpoint & URB_TRANSFER_IN) != 0) record->fields.xfer_flags = kDirectionIn;
  }
  transfer.submission.fields.event_type = URB_SUBMIT;
  transfer.submission.fields.status = kUnderWay;
  transfer.completion.fields.event_type = URB_COMPLETE;
  return transfer;
}

// A request with data reads it; one without data has nothing to send either.
Transfer ControlTransfer(const pcap_usb_setup& setup, const std::vector<uint8_t>& data) {
  const bool isRead = (setup.bmRequestType & URB_TRANSFER_IN) != 0;
  Transfer transfer = TransferOfKind(URB_CONTROL, isRead ? URB_TRANSFER_IN : 0);
  auto& [submission, completion] = transfer;
  submission.fields.setup_flag = 0;
  submission.fields.s.setup = setup;
  submission.fields.urb_len = setup.wLength;
  submission.fields.data_flag = isRead ? kDataWillCome : '\0';
  completion.fields.urb_len = static_cast<uint32_t>(data.size());
  completion.fields.data_flag = isRead ? '\0' : kDataWasSent;
  completion.payload = data;
  return transfer;
}

Transfer TransferOf(const DescriptorRead& read) {
  return ControlTransfer({.bmRequestType = kFromDevice,
                          .bRequest = kGetDescriptor,
                          .wValue = kConfigurationDescriptor << 8,
                          .wIndex = 0,
                          .wLength = static_cast<uint16_t>(read.bytes.size())},
                         read.bytes);
}

Transfer TransferOf(const ConfigurationSelected& selected) {
  return ControlTransfer({.bmRequestType = kToDevice,
                          .bRequest = kSetConfiguration,
                          .wValue = selected.value,
                          .wIndex = 0,
                          .wLength = 0},
                         {});
}

Transfer TransferOf(const InterfaceSelected& selected) {
  return ControlTransfer({.bmRequestType = kToInterface,
                          .bRequest = kSetInterface,
                          .wValue = selected.alternateSetting,
                          .wIndex = selected.interfaceNumber,
                          .wLength = 0},
                         {});
}

std::vector<IsochPacket> SlotsOf(const std::vector<IsochPacket>& packets) {
  std::vector<IsochPacket> slots = packets;
  uint32_t longest = 0;
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const bool isFollowed = i + 1 < slots.size() && slots[i + 1].offset >= slots[i].offset;
    if (isFollowed) slots[i].length = slots[i + 1].offset - slots[i].offset;
    longest = std::max(longest, slots[i].length);
    slots[i].status = kPacketUnderWay;
  }
  if (!slots.empty()) slots.back().length = longest;
  return slots;
}

void AppendDescriptors(Record& record, const std::vector<IsochPacket>& packets) {
  for (const IsochPacket& packet : packets) {
    const usb_isodesc descriptor = {
        .status = packet.status, .offset = packet.offset, .len = packet.length, .pad = {}};
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&descriptor);
    record.payload.insert(record.payload.end(), bytes, bytes + sizeof(descriptor));
  }
}

Transfer TransferOf(const IsochCompleted& completed) {
  Transfer transfer = TransferOfKind(URB_ISOCHRONOUS, completed.endpoint);
  auto& [submission, completion] = transfer;
  const auto packetCount = static_cast<uint32_t>(completed.packets.size());
  for (Record* const record : {&submission, &completion}) {
    record->fields.s.iso.numdesc = static_cast<int32_t>(packetCount);
    record->fields.ndesc = packetCount;
    record->fields.interval = 1;
    record->fields.xfer_flags |= kStartAsSoonAsPossible;
  }

  const std::vector<IsochPacket> slots = SlotsOf(completed.packets);
  AppendDescriptors(submission, slots);
  submission.fields.data_flag = kDataWillCome;
  if (!slots.empty()) submission.fields.urb_len = slots.back().offset + slots.back().length;

  AppendDescriptors(completion, completed.packets);
  completion.payload.insert(completion.payload.end(), completed.data.begin(), completed.data.end());
  completion.fields.status = completed.status;
  for (const IsochPacket& packet : completed.packets) {
    completion.fields.urb_len += packet.length;
    completion.fields.s.iso.error_count += packet.status != 0 ? 1 : 0;
  }
  return transfer;
}

}  // namespace

CaptureWriter::CaptureWriter(int descriptor, const std::string& name)
    : dump_(kShape, descriptor, name) {}

void CaptureWriter::Write(const UsbEvent& event, double duration) {
  Transfer transfer = std::visit([](const auto& what) { return TransferOf(what); }, event.what);
  auto& [submission, completion] = transfer;
  for (Record* const record : {&submission, &completion}) {
    record->fields.id = kFirstId + transferCount_ * kIdStep;
    record->fields.bus_id = event.device.bus;
    record->fields.device_address = static_cast<uint8_t>(event.device.device);
  }
  ++transferCount_;
  completion.fields.start_frame = static_cast<int32_t>(frame_);
  frame_ += completion.fields.ndesc;

  WriteRecord(submission.fields, submission.payload, event.seconds - duration);
  WriteRecord(completion.fields, completion.payload, event.seconds);
}

void CaptureWriter::WriteRecord(pcap_usb_header_mmapped fields, std::span<const uint8_t> payload,
                                double seconds) {
  constexpr int64_t kMicroseconds = 1'000'000;
  const int64_t time = std::llround(seconds * kMicroseconds);
  fields.ts_sec = time / kMicroseconds;
  fields.ts_usec = static_cast<int32_t>(time % kMicroseconds);
  fields.data_len = static_cast<uint32_t>(payload.size());

  std::vector<uint8_t> bytes(sizeof(fields) + payload.size());
  std::memcpy(bytes.data(), &fields, sizeof(fields));
  std::ranges::copy(payload, bytes.begin() + sizeof(fields));
  pcap_pkthdr header = {};
  header.ts.tv_sec = fields.ts_sec;
  header.ts.tv_usec = fields.ts_usec * 1000;
  header.caplen = static_cast<bpf_u_int32>(bytes.size());
  header.len = header.caplen;
  dump_.Write(header, bytes);
}

}  // namespace zr::popusb
