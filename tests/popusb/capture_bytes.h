// Captures put together byte by byte: what each recorder writes for a transfer, and the files that
// it stands in. Nothing here comes from the programs or from libpcap.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/popusb/usb_event.h"

namespace zr::test {

using Bytes = std::vector<uint8_t>;

enum class ByteOrder { kLittle, kBig };

struct ByteWriter {
  ByteOrder order = ByteOrder::kLittle;
  Bytes bytes = {};

  template <std::integral T>
  ByteWriter& Put(T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      const std::size_t place = order == ByteOrder::kLittle ? i : sizeof(T) - 1 - i;
      bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * place)));
    }
    return *this;
  }
  ByteWriter& Put(const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
};

struct Isoch {
  uint8_t endpoint = 0x81;
  int32_t status = 0;
  std::vector<popusb::IsochPacket> packets;
  Bytes data;
  bool isSubmission = false;
};

/// A request for interface 3's setting 2, and a transfer of three packets whose second failed.
inline const Bytes kSetInterface = {0x01, 11, 2, 0, 3, 0, 0, 0};
inline const Isoch kHeard = {.packets = {{0, 4, 0}, {8, 0, -18}, {16, 2, 0}},
                             .data = {1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6}};

/// A recorder of transfers; every transfer is of device 5 on bus 2.
class RecorderModel {
 public:
  RecorderModel() = default;
  RecorderModel(const RecorderModel&) = delete;
  RecorderModel& operator=(const RecorderModel&) = delete;
  virtual ~RecorderModel() = default;

  virtual Bytes Submit(uint64_t id, const Bytes& setup) const = 0;
  virtual std::vector<Bytes> Complete(uint64_t id, bool isSuccess, const Bytes& data) const = 0;
  virtual Bytes Receive(const Isoch& isoch) const = 0;
  virtual Bytes Other(uint64_t id) const = 0;
};

/// headerSize: 48 or 64.
std::unique_ptr<RecorderModel> Usbmon(std::size_t headerSize, ByteOrder order = ByteOrder::kLittle);

/// hasStatusStage: as older versions, which record the end of a control transfer in two records.
std::unique_ptr<RecorderModel> Usbpcap(bool hasStatusStage = false);

struct Recorded {
  Bytes bytes = {};
  std::size_t bytesCutOff = 0;
};

/// The n-th record, from 0, is of second 100.5 + n.
Bytes PcapFile(uint32_t linkType, const std::vector<Recorded>& records,
               ByteOrder order = ByteOrder::kLittle, bool hasNanoseconds = false);
Bytes PcapngFile(uint32_t linkType, const std::vector<Recorded>& records,
                 ByteOrder order = ByteOrder::kLittle);

}  // namespace zr::test
