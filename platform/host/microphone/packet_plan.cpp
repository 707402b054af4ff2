#include "platform/host/microphone/packet_plan.h"

namespace zr::host {

PacketPlan::PacketPlan(const MicrophoneSetting& setting, const MicrophoneBehaviour& behaviour)
    : hertz_(setting.hertz),
      bytesPerFrame_(setting.BytesPerFrame()),
      behaviour_(behaviour),
      random_(behaviour.seed) {}

bool PacketPlan::Happens(uint32_t thousandths) {
  return random_() % 1000 < thousandths;
}

PlannedPacket PacketPlan::Next() {
  constexpr ULONG kPacketsPerSecond = 1000;
  fraction_ += hertz_ % kPacketsPerSecond;
  int frames = static_cast<int>(hertz_ / kPacketsPerSecond + fraction_ / kPacketsPerSecond);
  fraction_ %= kPacketsPerSecond;
  frames += owedFrames_;
  owedFrames_ = 0;
  if (Happens(behaviour_.jitteredPackets)) {
    // The endpoint has room for one frame more than the usual number, not for two.
    owedFrames_ = 1;
    --frames;
  }
  if (Happens(behaviour_.shortPackets)) {
    frames = static_cast<int>(random_() % static_cast<uint32_t>(frames));
  }
  ULONG bytes = static_cast<ULONG>(frames) * bytesPerFrame_;
  if (bytes > 0 && Happens(behaviour_.oddPackets)) --bytes;
  if (Happens(behaviour_.emptyPackets)) bytes = 0;
  return {.bytes = bytes, .fails = Happens(behaviour_.failedPackets)};
}

}  // namespace zr::host
