// Any events as the life of a captured device: foreign descriptors, selections of anything,
// transfers whose packets point anywhere, in any order.
#include <cstdint>

#include "apps/popusb/captured_device.h"
#include "driver/driver_entry.h"
#include "tests/common/fuzz_input.h"

namespace {

using namespace zr::popusb;
using zr::test::FuzzInput;

// Most packets lie somewhere near the data, some far outside.
IsochCompleted TransferOf(FuzzInput& input) {
  IsochCompleted transfer = {.endpoint = static_cast<uint8_t>(0x80 | input.TakeByte() % 4),
                             .status = 0,
                             .packets = {},
                             .data = {}};
  transfer.status = input.TakeByte() % 8 == 0 ? -1 : 0;
  transfer.packets.resize(input.TakeByte() % 8);
  for (IsochPacket& packet : transfer.packets) {
    const int shift = input.TakeByte() % 8 == 0 ? 24 : 0;
    packet.offset = uint32_t{input.TakeByte()} << shift;
    packet.length = uint32_t{input.TakeByte()} << shift;
    packet.status = input.TakeByte() % 8 == 0 ? -84 : 0;
  }
  transfer.data = input.TakeBytes(input.TakeByte());
  return transfer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  zr::host::LoadedDriver driver(&DriverEntry);
  FuzzInput input(data, size);
  CapturedDevice device(driver, {1, 1}, {.folder = {}, .firstSetting = input.TakeByte()});
  while (!input.IsEmpty()) {
    switch (input.TakeByte() % 5) {
      case 0:
        device.Take(DescriptorRead{input.TakeBytes(input.TakeByte())});
        break;
      case 1:
        device.Take(ConfigurationSelected{input.TakeByte()});
        break;
      case 2:
        device.Take(InterfaceSelected{input.TakeByte(), input.TakeByte()});
        break;
      default:
        device.Take(TransferOf(input));
        break;
    }
  }
  device.Finish();
  return 0;
}
