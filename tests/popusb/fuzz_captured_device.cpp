// Any events as the life of a captured device: foreign descriptors, selections of anything,
// transfers whose packets point anywhere, in any order.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "apps/popusb/captured_device.h"
#include "driver/driver_entry.h"

namespace {

using namespace zr::popusb;

class Input {
 public:
  Input(const uint8_t* data, std::size_t size) : data_(data), left_(size) {}

  std::size_t Left() const { return left_; }
  uint8_t Byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
  }
  std::vector<uint8_t> Bytes(std::size_t count) {
    std::vector<uint8_t> bytes(data_, data_ + std::min(count, left_));
    data_ += bytes.size();
    left_ -= bytes.size();
    return bytes;
  }

 private:
  const uint8_t* data_;
  std::size_t left_;
};

// Most packets lie somewhere near the data, some far outside.
IsochCompleted TransferOf(Input& input) {
  IsochCompleted transfer = {.endpoint = static_cast<uint8_t>(0x80 | input.Byte() % 4),
                             .status = 0,
                             .packets = {},
                             .data = {}};
  transfer.status = input.Byte() % 8 == 0 ? -1 : 0;
  transfer.packets.resize(input.Byte() % 8);
  for (IsochPacket& packet : transfer.packets) {
    const int shift = input.Byte() % 8 == 0 ? 24 : 0;
    packet.offset = uint32_t{input.Byte()} << shift;
    packet.length = uint32_t{input.Byte()} << shift;
    packet.status = input.Byte() % 8 == 0 ? -84 : 0;
  }
  transfer.data = input.Bytes(input.Byte());
  return transfer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  zr::host::LoadedDriver driver(&DriverEntry);
  Input input(data, size);
  CapturedDevice device(driver, {1, 1}, {.folder = {}, .firstSetting = input.Byte()});
  while (input.Left() > 0) {
    switch (input.Byte() % 5) {
      case 0:
        device.Take(DescriptorRead{input.Bytes(input.Byte())});
        break;
      case 1:
        device.Take(ConfigurationSelected{input.Byte()});
        break;
      case 2:
        device.Take(InterfaceSelected{input.Byte(), input.Byte()});
        break;
      default:
        device.Take(TransferOf(input));
        break;
    }
  }
  device.Finish();
  return 0;
}
