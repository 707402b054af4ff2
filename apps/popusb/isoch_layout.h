// Where the packets and the data of an isochronous transfer stand in a record, so that they can be
// written over without knowing who recorded them.
#pragma once

#include <cstddef>

namespace zr::popusb {

struct IsochLayout {
  std::size_t table = 0;        ///< First packet descriptor, from the start of the record.
  std::size_t entrySize = 0;    ///< From one packet descriptor to the next.
  std::size_t offsetField = 0;  ///< In a packet descriptor: 32 bits in the host's byte order.
  std::size_t lengthField = 0;  ///< Likewise.
  std::size_t packetCount = 0;  ///< Descriptors that stand in the record wholly.
  std::size_t data = 0;         ///< From the start of the record.
  std::size_t dataLength = 0;
};

}  // namespace zr::popusb
