#include "apps/popusb/capture_reader.h"

#include <utility>

#include "apps/popclean/failure.h"
#include "apps/popusb/usbmon.h"
#include "apps/popusb/usbpcap.h"

namespace zr::popusb {

using popclean::Failure;
using popclean::Quoted;

struct Recorder {
  int linkType;
  const char* name;
  TransferRecord (*read)(std::span<const uint8_t> bytes);
};

namespace {

constexpr Recorder kRecorders[] = {
    {DLT_USB_LINUX, "usbmon", ReadUsbmonRecord},
    {DLT_USB_LINUX_MMAPPED, "usbmon", ReadMappedUsbmonRecord},
    {DLT_USBPCAP, "USBPcap", ReadUsbpcapRecord},
};

const Recorder& RecorderOf(int linkType, const std::string& name) {
  for (const Recorder& recorder : kRecorders) {
    if (recorder.linkType == linkType) return recorder;
  }
  const char* const description = pcap_datalink_val_to_description(linkType);
  throw Failure(Quoted(name) + " holds records of link type " + std::to_string(linkType) +
                (description != nullptr ? std::string(" (") + description + ")" : "") +
                "; what can be read are USB captures of usbmon (189, 220) and of USBPcap (249)");
}

}  // namespace

CaptureReader::CaptureReader(const std::string& path)
    : file_(path), recorder_(RecorderOf(file_.Shape().linkType, path)) {}

CaptureReader::CaptureReader(std::FILE* stream, const std::string& name)
    : file_(stream, name), recorder_(RecorderOf(file_.Shape().linkType, name)) {}

const char* CaptureReader::RecorderName() const {
  return recorder_.name;
}

std::optional<UsbEvent> CaptureReader::Next() {
  constexpr double kNanosecond = 1e-9;
  while (const auto bytesOfRecord = file_.Next()) {
    const pcap_pkthdr& header = bytesOfRecord->header;
    TransferRecord record = recorder_.read(bytesOfRecord->bytes);
    ++counts_.records;
    if (header.caplen < header.len) ++counts_.snapped;
    if (copy_ != nullptr) {
      const auto* const isoch = std::get_if<IsochReceived>(&record.what);
      copy_->Add(header, bytesOfRecord->bytes,
                 isoch != nullptr ? std::optional(isoch->layout) : std::nullopt);
    }

    const bool isDamaged = record.isCutShort || std::holds_alternative<DamagedRecord>(record.what);
    auto told = Follow(record);
    if (isDamaged) {
      ++counts_.damaged;
    } else if (!told) {
      ++counts_.ignored;
    }
    if (!told) continue;
    return UsbEvent{.device = record.device,
                    .seconds = static_cast<double>(header.ts.tv_sec) +
                               static_cast<double>(header.ts.tv_usec) * kNanosecond,
                    .what = std::move(*told)};
  }
  return std::nullopt;
}

std::optional<ToldEvent> CaptureReader::Follow(TransferRecord& record) {
  if (auto* const isoch = std::get_if<IsochReceived>(&record.what)) {
    return std::move(isoch->transfer);
  }
  if (const auto* const submitted = std::get_if<ControlSubmitted>(&record.what)) {
    transfers_.Submit(record.id, submitted->setup);
  } else if (const auto* const early = std::get_if<ControlData>(&record.what)) {
    transfers_.TakeData(record.id, early->data);
  } else if (const auto* const completed = std::get_if<ControlCompleted>(&record.what)) {
    return transfers_.Complete(record.id, completed->isSuccess, completed->data);
  } else if (std::holds_alternative<OtherRecord>(record.what)) {
    // The name serves another transfer now.
    transfers_.Forget(record.id);
  }
  return std::nullopt;
}

}  // namespace zr::popusb
