#include "tests/popusb/read_capture.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <iomanip>
#include <sstream>
#include <variant>

namespace zr::test {
namespace {

std::string Hex(const Bytes& bytes) {
  std::ostringstream text;
  for (const uint8_t byte : bytes)
    text << std::hex << std::setw(2) << std::setfill('0') << int{byte};
  return text.str();
}

struct Describe {
  std::ostream& text;

  void operator()(const popusb::DescriptorRead& read) { text << "descriptor " << Hex(read.bytes); }
  void operator()(const popusb::ConfigurationSelected& selected) {
    text << "configuration " << int{selected.value};
  }
  void operator()(const popusb::InterfaceSelected& selected) {
    text << "interface " << int{selected.interfaceNumber} << ", setting "
         << int{selected.alternateSetting};
  }
  void operator()(const popusb::IsochCompleted& isoch) {
    text << "isoch " << Hex({isoch.endpoint}) << ", status " << isoch.status << ",";
    for (const auto& packet : isoch.packets)
      text << " " << packet.offset << "+" << packet.length << ":" << packet.status;
    text << ", data " << Hex(isoch.data);
  }
};

}  // namespace

std::string TextOf(const popusb::UsbEvent& event) {
  std::ostringstream text;
  text << event.seconds << " " << event.device.bus << "." << event.device.device << " ";
  std::visit(Describe{text}, event.what);
  return text.str();
}

std::unique_ptr<popusb::CaptureReader> OpenCapture(const Bytes& bytes) {
  std::FILE* const stream = fmemopen(const_cast<uint8_t*>(bytes.data()), bytes.size(), "rb");
  return std::make_unique<popusb::CaptureReader>(stream, "a capture");
}

std::vector<std::string> ReadEvents(popusb::CaptureReader& reader) {
  std::vector<std::string> events;
  while (const auto event = reader.Next())
    events.push_back(TextOf(*event));
  return events;
}

popclean::OwnedDescriptor MemoryFile() {
  return popclean::OwnedDescriptor(memfd_create("capture", MFD_CLOEXEC));
}

Bytes ContentOf(const popclean::OwnedDescriptor& file) {
  Bytes bytes(static_cast<std::size_t>(lseek(file.Get(), 0, SEEK_END)));
  EXPECT_EQ(pread(file.Get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  return bytes;
}

}  // namespace zr::test
