#include "apps/popusb/capture_dump.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "apps/popclean/failure.h"

namespace zr::popusb {

using popclean::Failure;
using popclean::Quoted;
using popclean::SystemFailure;

namespace {

constexpr long kNanosecondsPerMicrosecond = 1000;

// The library closes what it writes to, and the descriptor is the caller's.
std::FILE* OpenAnew(int descriptor, const std::string& name) {
  const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (own < 0) throw SystemFailure("cannot write " + Quoted(name), errno);
  std::FILE* const stream = fdopen(own, "wb");
  if (stream == nullptr) {
    const int error = errno;
    close(own);
    throw SystemFailure("cannot write " + Quoted(name), error);
  }
  return stream;
}

}  // namespace

CaptureDump::CaptureDump(const CaptureShape& shape, int descriptor, const std::string& name)
    : name_(name),
      hasNanoseconds_(shape.hasNanoseconds),
      shape_(pcap_open_dead_with_tstamp_precision(
          shape.linkType, shape.snapshotLength,
          hasNanoseconds_ ? PCAP_TSTAMP_PRECISION_NANO : PCAP_TSTAMP_PRECISION_MICRO)) {
  if (shape_ == nullptr) throw Failure("cannot write " + Quoted(name_) + ": no memory is left");
  // It closes the stream itself when it fails.
  dumper_.reset(pcap_dump_fopen(shape_.get(), OpenAnew(descriptor, name)));
  if (dumper_ == nullptr) {
    throw Failure("cannot write " + Quoted(name_) + ": " + pcap_geterr(shape_.get()));
  }
}

void CaptureDump::Write(const pcap_pkthdr& header, std::span<const uint8_t> bytes) {
  pcap_pkthdr stamped = header;
  if (!hasNanoseconds_) stamped.ts.tv_usec /= kNanosecondsPerMicrosecond;
  errno = 0;
  pcap_dump(reinterpret_cast<u_char*>(dumper_.get()), &stamped, bytes.data());
  ThrowOnWriteError();
}

void CaptureDump::Finish() {
  errno = 0;
  pcap_dump_flush(dumper_.get());
  ThrowOnWriteError();
}

void CaptureDump::ThrowOnWriteError() const {
  if (std::ferror(pcap_dump_file(dumper_.get())) == 0) return;
  throw SystemFailure("cannot write " + Quoted(name_), errno != 0 ? errno : EIO);
}

}  // namespace zr::popusb
