// A capture in memory, read to its end, and what came of it as text that tests can compare.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/popclean/owned_descriptor.h"
#include "apps/popusb/capture_reader.h"
#include "tests/popusb/capture_bytes.h"

namespace zr::test {

std::string TextOf(const popusb::UsbEvent& event);

/// A reader of bytes, which must outlive it.
std::unique_ptr<popusb::CaptureReader> OpenCapture(const Bytes& bytes);

std::vector<std::string> ReadEvents(popusb::CaptureReader& reader);

/// A file without a name.
popclean::OwnedDescriptor MemoryFile();
Bytes ContentOf(const popclean::OwnedDescriptor& file);

}  // namespace zr::test
