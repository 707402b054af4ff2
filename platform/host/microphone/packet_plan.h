// How a microphone cuts its audio into packets: a millisecond each, so that 44.1 kHz comes as 44
// and 45 frames, and what devices do beside that.
#pragma once

#include <cstdint>
#include <random>

#include "platform/host/microphone/camera_descriptors.h"

namespace zr::host {

/// What happens how often, in thousandths of the packets or of the transfers.
struct MicrophoneBehaviour {
  uint32_t seed = 1;
  uint32_t jitteredPackets = 0;   ///< A frame less, and one more in the next packet.
  uint32_t shortPackets = 0;      ///< Any number of frames below the usual.
  uint32_t oddPackets = 0;        ///< One byte less: frames are cut between packets.
  uint32_t emptyPackets = 0;      ///< No bytes, and success.
  uint32_t failedPackets = 0;     ///< An error; the audio in it is lost.
  uint32_t refusedTransfers = 0;  ///< Fail in the dispatch.
  uint32_t failedTransfers = 0;   ///< Come back with an error, without audio.
  uint32_t promptTransfers = 0;   ///< Complete in the dispatch, if none is waiting.
};

struct PlannedPacket {
  ULONG bytes;
  bool fails;
};

class PacketPlan {
 public:
  PacketPlan(const MicrophoneSetting& setting, const MicrophoneBehaviour& behaviour);

  /// The next packet, at most the endpoint's packet size.
  PlannedPacket Next();

 private:
  bool Happens(uint32_t thousandths);

  const ULONG hertz_;
  const ULONG bytesPerFrame_;
  const MicrophoneBehaviour behaviour_;
  std::mt19937 random_;
  ULONG fraction_ = 0;  // Of a frame, in thousandths.
  int owedFrames_ = 0;  // By the last packet's jitter.
};

}  // namespace zr::host
