#include "apps/popusb/capture_file.h"

#include <array>
#include <cerrno>
#include <cstring>

#include "apps/popclean/failure.h"
#include "apps/popusb/usbmon.h"

namespace zr::popusb {

using popclean::Failure;
using popclean::Quoted;
using popclean::SystemFailure;

namespace {

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

using Magic = std::array<uint8_t, 4>;

// What opens a pcap file with microseconds: both byte orders, and those of the variant with longer
// record headers. All the other kinds of file can hold finer time stamps.
constexpr Magic kMicrosecondMagics[] = {{0xA1, 0xB2, 0xC3, 0xD4},
                                        {0xD4, 0xC3, 0xB2, 0xA1},
                                        {0xA1, 0xB2, 0xCD, 0x34},
                                        {0x34, 0xCD, 0xB2, 0xA1}};

std::FILE* Open(const std::string& path) {
  std::FILE* const stream = std::fopen(path.c_str(), "rbe");
  if (stream == nullptr) throw SystemFailure("cannot read " + Quoted(path), errno);
  return stream;
}

// The library scales all time stamps to one precision and does not tell which the file had.
bool HasNanoseconds(std::FILE* stream, const std::string& name) {
  Magic magic = {};
  errno = 0;
  const std::size_t count = std::fread(magic.data(), 1, magic.size(), stream);
  if (std::ferror(stream) != 0) throw SystemFailure("cannot read " + Quoted(name), errno);
  if (count == 0) throw Failure(Quoted(name) + " is empty");
  if (std::fseek(stream, 0, SEEK_SET) != 0) {
    throw SystemFailure("cannot read " + Quoted(name), errno);
  }
  for (const Magic& known : kMicrosecondMagics) {
    if (magic == known) return false;
  }
  return true;
}

}  // namespace

CaptureFile::CaptureFile(const std::string& path) : CaptureFile(Open(path), path) {}

CaptureFile::CaptureFile(std::FILE* stream, const std::string& name) {
  Stream owned(stream);
  shape_.hasNanoseconds = HasNanoseconds(stream, name);
  char message[PCAP_ERRBUF_SIZE] = "";
  capture_.reset(
      pcap_fopen_offline_with_tstamp_precision(stream, PCAP_TSTAMP_PRECISION_NANO, message));
  if (capture_ == nullptr) {
    throw Failure(Quoted(name) + " is no capture in pcap or pcapng format: " + message);
  }
  // From here on the handle closes it.
  static_cast<void>(owned.release());
  shape_.linkType = pcap_datalink(capture_.get());
  shape_.snapshotLength = pcap_snapshot(capture_.get());
  isHalfTurned_ = shape_.linkType == DLT_USB_LINUX && pcap_is_swapped(capture_.get()) != 0;
}

std::optional<CaptureRecord> CaptureFile::Next() {
  if (!truncation_.empty()) return std::nullopt;
  pcap_pkthdr* header = nullptr;
  const u_char* bytes = nullptr;
  const int result = pcap_next_ex(capture_.get(), &header, &bytes);
  if (result == PCAP_ERROR) truncation_ = pcap_geterr(capture_.get());
  if (result != 1) return std::nullopt;
  const std::span<const uint8_t> recorded(bytes, header->caplen);
  if (!isHalfTurned_) return CaptureRecord{*header, recorded};
  turned_.assign(recorded.begin(), recorded.end());
  TurnPacketDescriptors(turned_);
  return CaptureRecord{*header, turned_};
}

}  // namespace zr::popusb
