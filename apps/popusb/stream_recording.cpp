#include "apps/popusb/stream_recording.h"

#include <utility>

namespace zr::popusb {

double StreamReport::SecondsOf(uint64_t bytes) const {
  if (!format.IsWritable()) return 0.0;
  return static_cast<double>(bytes) / (static_cast<double>(format.FrameSize()) * format.rate);
}

StreamRecording::StreamRecording(std::filesystem::path folder, StreamReport report)
    : folder_(std::move(folder)), report_(std::move(report)) {
  const PcmFormat& format = report_.format;
  if (!format.IsWritable()) {
    report_.remark =
        "the driver has no format for this setting: its audio passes unfiltered, and "
        "is not written";
  } else if (format.bits != 16 || format.channels != 1) {
    report_.remark =
        "the filter serves 16-bit mono alone and takes these bytes for that; repairs "
        "are not listed";
  }
}

void StreamRecording::OpenFiles() {
  const auto pathOf = [this](const char* suffix) {
    return (folder_ / (report_.name + suffix)).string();
  };
  original_ = std::make_unique<PcmFile>(pathOf(".original.wav"), report_.format);
  cleaned_ = std::make_unique<PcmFile>(pathOf(".cleaned.wav"), report_.format);
  if (!report_.remark.empty()) return;
  list_ = std::make_unique<popclean::RepairList>(pathOf(".repairs.csv"), report_.format.rate);
}

void StreamRecording::Write(std::span<const uint8_t> sent, std::span<const uint8_t> heard) {
  ++report_.transfers;
  report_.audioBytes += sent.size();
  if (!report_.format.IsWritable()) return;
  if (!folder_.empty() && !original_ && !sent.empty()) OpenFiles();
  if (!original_) return;
  original_->Write(sent);
  cleaned_->Write(heard);
}

void StreamRecording::AddUnfiltered(std::span<const uint8_t> bytes) {
  Write(bytes, bytes);
  if (report_.remark.empty()) {
    report_.remark = "the filter was off, and the list of repairs ends where that began";
  }
}

void StreamRecording::Add(std::span<const uint8_t> sent, std::span<const uint8_t> heard) {
  Write(sent, heard);
  if (!report_.remark.empty()) return;
  if (!repairs_) {
    repairs_.emplace([this](const popclean::Repair& repair) {
      ++report_.repairs;
      if (list_) list_->Add(repair);
    });
  }
  repairs_->Compare(sent, heard);
}

void StreamRecording::AddFailedTransfer() {
  ++report_.transfers;
  ++report_.failedTransfers;
}

void StreamRecording::AddFailedPacket(std::size_t bytesBefore) {
  if (!std::exchange(isInGap_, true)) {
    report_.gaps.push_back({report_.SecondsOf(report_.audioBytes + bytesBefore), 0});
  }
  ++report_.gaps.back().packets;
}

StreamReport StreamRecording::Finish() {
  if (repairs_ && repairs_->HasLostTrack()) {
    report_.remark = "the driver left out bytes on the way, and the list of repairs ends there";
  }
  if (original_) {
    original_->Publish();
    cleaned_->Publish();
  }
  if (list_) {
    list_->Finish();
    list_->Target().Publish();
  }
  return std::move(report_);
}

}  // namespace zr::popusb
