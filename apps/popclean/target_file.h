// A file that appears under its name only when it is complete: it is written beside its place, then
// renamed over it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "apps/popclean/owned_descriptor.h"

namespace zr::popclean {

class TargetFile {
 public:
  /// Opens a file of an unpredictable name in the folder of path, or of what path links to. Throws
  /// a Failure if that cannot be, or if path is something else than a file.
  explicit TargetFile(const std::string& path);
  TargetFile(const TargetFile&) = delete;
  TargetFile& operator=(const TargetFile&) = delete;

  /// Removes the file unless it was published.
  ~TargetFile();

  int Descriptor() const { return descriptor_.Get(); }
  const std::string& Name() const { return name_; }

  /// Appends text. Throws a Failure on any error.
  void Write(std::string_view text);

  /// Brings what was written to the disk. Throws a Failure on any error.
  void Complete();

  /// Gives a completed file its name.
  void Publish();

 private:
  std::string name_;
  std::filesystem::path place_;
  std::string temporary_;
  OwnedDescriptor descriptor_;
  bool isPublished_ = false;
};

}  // namespace zr::popclean
