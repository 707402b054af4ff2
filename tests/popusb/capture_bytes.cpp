#include "tests/popusb/capture_bytes.h"

namespace zr::test {
namespace {

constexpr uint8_t kBus = 2;
constexpr uint8_t kDevice = 5;
constexpr uint32_t kLongestRecord = 65536;
constexpr uint32_t kFirstSecond = 100;

class UsbmonRecorder : public RecorderModel {
 public:
  UsbmonRecorder(std::size_t headerSize, ByteOrder order)
      : headerSize_(headerSize), order_(order) {}

  Bytes Submit(uint64_t id, const Bytes& setup) const override {
    return Record({id, 'S', 2, setup[0], 0, '\0', setup, 0}, {});
  }

  std::vector<Bytes> Complete(uint64_t id, bool isSuccess, const Bytes& data) const override {
    return {Record({id, 'C', 2, 0x80, isSuccess ? 0 : -32, '-', Bytes(8), 0}, data)};
  }

  Bytes Receive(const Isoch& isoch) const override {
    const auto count = static_cast<uint32_t>(isoch.packets.size());
    ByteWriter payload{order_};
    for (const auto& packet : isoch.packets)
      payload.Put(packet.status).Put(packet.offset).Put(packet.length).Put(uint32_t{0});
    payload.Put(isoch.data);
    const Bytes counts = ByteWriter{order_}.Put(uint32_t{0}).Put(count).bytes;
    const char event = isoch.isSubmission ? 'S' : 'C';
    return Record({9, event, 0, isoch.endpoint, isoch.status, '-', counts, count}, payload.bytes);
  }

  Bytes Other(uint64_t id) const override {
    return Record({id, 'C', 3, 0x82, 0, '-', Bytes(8), 0}, {1, 2, 3});
  }

 private:
  struct Header {
    uint64_t id;
    char event;
    uint8_t transferType;
    uint8_t endpoint;
    int32_t status;
    char setupFlag;
    Bytes setupOrCounts;
    uint32_t descriptorCount;
  };

  Bytes Record(const Header& header, const Bytes& payload) const {
    const auto length = static_cast<uint32_t>(payload.size());
    ByteWriter record{order_};
    record.Put(header.id).Put(header.event).Put(header.transferType).Put(header.endpoint);
    record.Put(kDevice).Put(uint16_t{kBus}).Put(header.setupFlag).Put(uint8_t{0});
    record.Put(uint64_t{1}).Put(uint32_t{2}).Put(header.status).Put(length).Put(length);
    record.Put(header.setupOrCounts);
    if (headerSize_ == 64) {
      record.Put(uint32_t{1}).Put(uint32_t{77}).Put(uint32_t{0x202}).Put(header.descriptorCount);
    }
    return record.Put(payload).bytes;
  }

  std::size_t headerSize_;
  ByteOrder order_;
};

class UsbpcapRecorder : public RecorderModel {
 public:
  explicit UsbpcapRecorder(bool hasStatusStage) : hasStatusStage_(hasStatusStage) {}

  Bytes Submit(uint64_t id, const Bytes& setup) const override {
    return Record({id, 0, 0, 0x80, 2}, {0}, setup);
  }

  std::vector<Bytes> Complete(uint64_t id, bool isSuccess, const Bytes& data) const override {
    const Header header = {id, isSuccess ? 0 : kStalled, 1, 0x80, 2};
    if (hasStatusStage_) return {Record(header, {1}, data), Record(header, {2}, {})};
    return {Record(header, {3}, data)};
  }

  Bytes Receive(const Isoch& isoch) const override {
    ByteWriter extra;
    extra.Put(uint32_t{77}).Put(static_cast<uint32_t>(isoch.packets.size())).Put(uint32_t{0});
    for (const auto& packet : isoch.packets)
      extra.Put(packet.offset).Put(packet.length).Put(packet.status);
    const uint8_t info = isoch.isSubmission ? 0 : 1;
    return Record({9, isoch.status, info, isoch.endpoint, 0}, extra.bytes, isoch.data);
  }

  Bytes Other(uint64_t id) const override { return Record({id, 0, 1, 0x82, 3}, {}, {1, 2, 3}); }

 private:
  struct Header {
    uint64_t id;
    int32_t status;
    uint8_t info;
    uint8_t endpoint;
    uint8_t transferType;
  };

  static constexpr int32_t kStalled = -1073741820;

  static Bytes Record(const Header& header, const Bytes& extra, const Bytes& data) {
    ByteWriter record;
    record.Put(static_cast<uint16_t>(27 + extra.size())).Put(header.id).Put(header.status);
    record.Put(uint16_t{8}).Put(header.info).Put(uint16_t{kBus}).Put(uint16_t{kDevice});
    record.Put(header.endpoint).Put(header.transferType);
    return record.Put(static_cast<uint32_t>(data.size())).Put(extra).Put(data).bytes;
  }

  bool hasStatusStage_;
};

}  // namespace

std::unique_ptr<RecorderModel> Usbmon(std::size_t headerSize, ByteOrder order) {
  return std::make_unique<UsbmonRecorder>(headerSize, order);
}

std::unique_ptr<RecorderModel> Usbpcap(bool hasStatusStage) {
  return std::make_unique<UsbpcapRecorder>(hasStatusStage);
}

Bytes PcapFile(uint32_t linkType, const std::vector<Recorded>& records, ByteOrder order,
               bool hasNanoseconds) {
  ByteWriter file{order};
  file.Put(hasNanoseconds ? 0xA1B23C4DU : 0xA1B2C3D4U).Put(uint16_t{2}).Put(uint16_t{4});
  file.Put(uint64_t{0}).Put(kLongestRecord).Put(linkType);
  for (uint32_t i = 0; i < records.size(); ++i) {
    const auto& [bytes, bytesCutOff] = records[i];
    file.Put(kFirstSecond + i).Put(hasNanoseconds ? 500'000'000U : 500'000U);
    file.Put(static_cast<uint32_t>(bytes.size()));
    file.Put(static_cast<uint32_t>(bytes.size() + bytesCutOff)).Put(bytes);
  }
  return file.bytes;
}

Bytes PcapngFile(uint32_t linkType, const std::vector<Recorded>& records, ByteOrder order) {
  ByteWriter file{order};
  file.Put(0x0A0D0D0AU).Put(28U).Put(0x1A2B3C4DU).Put(uint16_t{1}).Put(uint16_t{0});
  file.Put(~uint64_t{0}).Put(28U);
  file.Put(1U).Put(20U).Put(static_cast<uint16_t>(linkType)).Put(uint16_t{0});
  file.Put(kLongestRecord).Put(20U);
  for (uint32_t i = 0; i < records.size(); ++i) {
    const auto& [bytes, bytesCutOff] = records[i];
    const std::size_t padding = (4 - bytes.size() % 4) % 4;
    const auto blockSize = static_cast<uint32_t>(32 + bytes.size() + padding);
    const uint64_t time = (uint64_t{kFirstSecond} + i) * 1'000'000 + 500'000;
    file.Put(6U).Put(blockSize).Put(0U);
    file.Put(static_cast<uint32_t>(time >> 32)).Put(static_cast<uint32_t>(time));
    file.Put(static_cast<uint32_t>(bytes.size()));
    file.Put(static_cast<uint32_t>(bytes.size() + bytesCutOff)).Put(bytes).Put(Bytes(padding));
    file.Put(blockSize);
  }
  return file.bytes;
}

}  // namespace zr::test
