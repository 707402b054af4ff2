// Any bytes as a capture, through the reader and into a copy. The first byte picks a kind of file;
// the rest makes records for it out of sound ones, cut off and overwritten in places, so that most
// inputs get past the headers.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "apps/popclean/failure.h"
#include "apps/popclean/owned_descriptor.h"
#include "apps/popusb/capture_reader.h"
#include "tests/popusb/capture_bytes.h"

namespace {

using zr::popusb::CaptureCopy;
using zr::popusb::CaptureReader;
using zr::popusb::IsochCompleted;
using zr::test::ByteOrder;
using zr::test::Bytes;
using zr::test::Recorded;
using zr::test::RecorderModel;

const Bytes kSetups[] = {{0x80, 6, 0, 2, 0, 0, 9, 0}, {0x01, 11, 2, 0, 3, 0, 0, 0}};

Bytes SoundRecord(const RecorderModel& recorder, uint8_t choice) {
  const uint64_t id = choice / 8 % 4;
  switch (choice % 8) {
    case 0:
    case 1:
      return recorder.Submit(id, kSetups[choice % 2]);
    case 2:
      return recorder.Complete(id, true, {9, 2, 18, 0}).front();
    case 3:
      return recorder.Complete(id, true, {}).back();
    case 4:
      return recorder.Other(id);
    default:
      return recorder.Receive({.packets = {{0, 4, 0}, {8, 0, -18}}, .data = Bytes(12, choice)});
  }
}

// Each record takes a few bytes of input: what it is, where it ends, and what is other in it.
std::vector<Recorded> RecordsOf(const RecorderModel& recorder, const uint8_t* data,
                                std::size_t size) {
  constexpr std::size_t kStep = 6;
  std::vector<Recorded> records;
  for (; size >= kStep; data += kStep, size -= kStep) {
    Bytes bytes = SoundRecord(recorder, data[0]);
    for (const std::size_t i : {2, 4})
      bytes[data[i] % bytes.size()] = data[i + 1];
    const std::size_t cutOff =
        data[1] % 2 == 0 ? 0 : std::min<std::size_t>(data[1] / 2, bytes.size());
    bytes.resize(bytes.size() - cutOff);
    records.push_back({std::move(bytes), cutOff});
  }
  return records;
}

struct Kind {
  uint32_t linkType;
  ByteOrder order;
  std::unique_ptr<RecorderModel> recorder;
};

Bytes CaptureOf(const uint8_t* data, std::size_t size) {
  static const Kind kKinds[] = {
      {189, ByteOrder::kLittle, zr::test::Usbmon(48)},
      {189, ByteOrder::kBig, zr::test::Usbmon(48, ByteOrder::kBig)},
      {220, ByteOrder::kLittle, zr::test::Usbmon(64)},
      {220, ByteOrder::kBig, zr::test::Usbmon(64, ByteOrder::kBig)},
      {249, ByteOrder::kLittle, zr::test::Usbpcap()},
      {249, ByteOrder::kBig, zr::test::Usbpcap(true)},
  };
  if (size == 0) return {};
  const std::size_t choice = data[0] % (2 * std::size(kKinds) + 1);
  ++data;
  --size;
  if (choice == 2 * std::size(kKinds)) return {data, data + size};
  const Kind& kind = kKinds[choice / 2];
  const auto records = RecordsOf(*kind.recorder, data, size);
  return choice % 2 == 0 ? zr::test::PcapFile(kind.linkType, records, kind.order)
                         : zr::test::PcapngFile(kind.linkType, records, kind.order);
}

uint64_t CountEvents(CaptureReader& reader, CaptureCopy* copy) {
  if (copy != nullptr) reader.CopyTo(*copy);
  uint64_t count = 0;
  while (const auto event = reader.Next()) {
    ++count;
    const auto* const isoch = std::get_if<IsochCompleted>(&event->what);
    if (isoch != nullptr && copy != nullptr) copy->Replace(isoch->packets, isoch->data);
  }
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  Bytes bytes = CaptureOf(data, size);
  try {
    CaptureReader reader(fmemopen(bytes.data(), bytes.size(), "rb"), "input");
    const zr::popclean::OwnedDescriptor file(memfd_create("copy", MFD_CLOEXEC));
    CaptureCopy copy(reader.Shape(), file.Get(), "copy");
    const uint64_t count = CountEvents(reader, &copy);
    copy.Finish();

    // What was laid over every transfer is what stood there: the copy tells as much.
    CaptureReader again(fdopen(dup(file.Get()), "rb"), "copy");
    if (lseek(file.Get(), 0, SEEK_SET) != 0) abort();
    if (CountEvents(again, nullptr) != count) abort();
    if (again.Counts().records != reader.Counts().records) abort();
  } catch (const zr::popclean::Failure&) {
    // A refusal is a good answer.
  }
  return 0;
}
