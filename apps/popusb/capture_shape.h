// What a copy of a capture has in common with it.
#pragma once

namespace zr::popusb {

struct CaptureShape {
  int linkType = 0;             ///< As libpcap's DLT_... names it.
  int snapshotLength = 0;       ///< Bytes that a record holds at most.
  bool hasNanoseconds = false;  ///< Whether time stamps are finer than microseconds.
};

}  // namespace zr::popusb
