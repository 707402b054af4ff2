// Foreign bytes through the interception: the first part of the input is a configuration
// descriptor, the rest packet tables with statuses, lengths and offsets that point anywhere.
#include <algorithm>

#include "tests/common/fuzz_input.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

void SelectDescriptor(InterceptedDevice& device, FuzzInput& input) {
  std::vector<UCHAR> descriptor = input.TakeBytes(input.TakeByte());
  descriptor.resize(std::max<std::size_t>(descriptor.size(), 4));
  // The class driver vouches for the total length, and for nothing inside.
  const std::size_t claimed = std::min<std::size_t>(descriptor.size(), descriptor[2]);
  descriptor[2] = static_cast<UCHAR>(claimed);
  descriptor[3] = 0;
  device.SelectConfiguration(descriptor);
}

void Transfer(InterceptedDevice& device, FuzzInput& input) {
  std::vector<USBD_ISO_PACKET_DESCRIPTOR> packets(input.TakeByte() % 16);
  for (auto& packet : packets) {
    const bool isWild = input.TakeByte() % 4 == 0;
    packet = {isWild ? input.Take<ULONG>() : input.TakeByte(),
              isWild ? input.Take<ULONG>() : input.TakeByte(),
              input.TakeByte() % 8 == 0 ? USBD_STATUS_CRC : USBD_STATUS_SUCCESS};
  }
  IsochUrb urb(packets, std::vector<UCHAR>(input.Take<USHORT>() % 1024, 1));
  const auto status = static_cast<NTSTATUS>(input.TakeByte() % 8 == 0 ? STATUS_UNSUCCESSFUL : 0);
  device.answer = [status](PIRP irp) { return Complete(irp, status); };
  device.SendUrb(urb.Urb());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const LoadedServices services;
  InterceptedDevice device;
  FuzzInput input(data, size);
  while (!input.IsEmpty()) {
    switch (input.TakeByte() % 4) {
      case 0:
        SelectDescriptor(device, input);
        break;
      case 1:
        device.SelectInterface(input.TakeByte(), input.TakeByte() % 3);
        break;
      default:
        Transfer(device, input);
        break;
    }
  }
  return 0;
}
