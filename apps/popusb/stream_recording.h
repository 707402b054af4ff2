// One stream of a captured device, from the selection of an alternate setting to the next: its
// audio as files, and what there is to tell of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/popclean/repair_list.h"
#include "apps/popusb/pcm_file.h"
#include "apps/popusb/repair_finder.h"

namespace zr::popusb {

/// Packets one after the other that failed; their audio is missing.
struct StreamGap {
  double seconds;  ///< Of audio before it.
  uint64_t packets;
};

struct StreamReport {
  std::string name;  ///< Its files begin with it.
  unsigned alternateSetting = 0;
  PcmFormat format;
  std::string remark;  ///< Why no files were written, or why the repairs are not listed.
  uint64_t transfers = 0;
  uint64_t failedTransfers = 0;
  uint64_t audioBytes = 0;  ///< In packets that did not fail.
  uint64_t repairs = 0;
  std::vector<StreamGap> gaps;

  /// Of so many bytes of this format.
  double SecondsOf(uint64_t bytes) const;
};

class StreamRecording {
 public:
  /// Files are made in folder, once there is audio; none if it is empty.
  StreamRecording(std::filesystem::path folder, StreamReport report);

  /// What a transfer brought, and what the class driver gets of it.
  void Add(std::span<const uint8_t> sent, std::span<const uint8_t> heard);
  /// The same with the filter disabled: without its delay nothing can be compared from there on.
  void AddUnfiltered(std::span<const uint8_t> bytes);
  void AddFailedTransfer();
  /// A packet of the transfer that is added next; bytesBefore: of that transfer's good packets.
  void AddFailedPacket(std::size_t bytesBefore);
  /// A packet that did not fail ends a gap.
  void EndGap() { isInGap_ = false; }

  /// Completes the files and gives them their names.
  StreamReport Finish();

 private:
  void Write(std::span<const uint8_t> sent, std::span<const uint8_t> heard);
  void OpenFiles();

  const std::filesystem::path folder_;
  StreamReport report_;
  bool isInGap_ = false;
  std::unique_ptr<PcmFile> original_;
  std::unique_ptr<PcmFile> cleaned_;
  std::unique_ptr<popclean::RepairList> list_;
  std::optional<RepairFinder> repairs_;
};

}  // namespace zr::popusb
