// Foreign bytes through the interception: the first part of the input is a configuration
// descriptor, the rest packet tables with statuses, lengths and offsets that point anywhere.
#include <algorithm>
#include <cstring>

#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

class Input {
 public:
  Input(const uint8_t* data, std::size_t size) : data_(data), left_(size) {}

  std::size_t Left() const { return left_; }
  template <typename T>
  T Take() {
    T value{};
    const std::size_t taken = std::min(sizeof(T), left_);
    if (taken != 0) std::memcpy(&value, data_, taken);
    data_ += taken;
    left_ -= taken;
    return value;
  }
  std::vector<UCHAR> TakeBytes(std::size_t count) {
    count = std::min(count, left_);
    std::vector<UCHAR> bytes(data_, data_ + count);
    data_ += count;
    left_ -= count;
    return bytes;
  }

 private:
  const uint8_t* data_;
  std::size_t left_;
};

void SelectDescriptor(InterceptedDevice& device, Input& input) {
  std::vector<UCHAR> descriptor = input.TakeBytes(input.Take<UCHAR>());
  descriptor.resize(std::max<std::size_t>(descriptor.size(), 4));
  // The class driver vouches for the total length, and for nothing inside.
  const std::size_t claimed = std::min<std::size_t>(descriptor.size(), descriptor[2]);
  descriptor[2] = static_cast<UCHAR>(claimed);
  descriptor[3] = 0;
  device.SelectConfiguration(descriptor);
}

void Transfer(InterceptedDevice& device, Input& input) {
  std::vector<USBD_ISO_PACKET_DESCRIPTOR> packets(input.Take<UCHAR>() % 16);
  for (auto& packet : packets) {
    const bool isWild = input.Take<UCHAR>() % 4 == 0;
    packet = {isWild ? input.Take<ULONG>() : input.Take<UCHAR>(),
              isWild ? input.Take<ULONG>() : input.Take<UCHAR>(),
              input.Take<UCHAR>() % 8 == 0 ? USBD_STATUS_CRC : USBD_STATUS_SUCCESS};
  }
  IsochUrb urb(packets, std::vector<UCHAR>(input.Take<USHORT>() % 1024, 1));
  const auto status = static_cast<NTSTATUS>(input.Take<UCHAR>() % 8 == 0 ? STATUS_UNSUCCESSFUL : 0);
  device.answer = [status](PIRP irp) { return CompleteWith(irp, status); };
  device.SendUrb(urb.Urb());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const LoadedServices services;
  InterceptedDevice device;
  Input input(data, size);
  while (input.Left() > 0) {
    switch (input.Take<UCHAR>() % 4) {
      case 0:
        SelectDescriptor(device, input);
        break;
      case 1:
        device.SelectInterface(input.Take<UCHAR>(), input.Take<UCHAR>() % 3);
        break;
      default:
        Transfer(device, input);
        break;
    }
  }
  return 0;
}
