#include "apps/popclean/target_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "apps/popclean/failure.h"

namespace zr::popclean {
namespace fs = std::filesystem;

namespace {

// Follows links by hand: the last of them may point to a file that does not exist yet.
fs::path Resolve(fs::path path, const std::string& name) {
  constexpr int kMostLinks = 40;
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return path;
    const fs::path link = fs::read_symlink(path, error);
    if (error) throw SystemFailure("cannot follow the link " + Quoted(name), error.value());
    path = path.parent_path() / link;
  }
  throw SystemFailure("cannot follow the link " + Quoted(name), ELOOP);
}

mode_t DefaultMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

TargetFile::TargetFile(const std::string& path) : name_(path), place_(Resolve(path, path)) {
  struct stat existing = {};
  const bool exists = stat(place_.c_str(), &existing) == 0;
  if (!exists && errno != ENOENT) throw SystemFailure("cannot write " + Quoted(name_), errno);
  if (exists && S_ISDIR(existing.st_mode)) {
    throw Failure("cannot write " + Quoted(name_) + ": it is a folder");
  }
  if (exists && !S_ISREG(existing.st_mode)) {
    throw Failure("cannot write " + Quoted(name_) + ": it is not a regular file");
  }
  // The rename would not ask.
  if (exists && access(place_.c_str(), W_OK) != 0) {
    throw SystemFailure("cannot write " + Quoted(name_), errno);
  }

  temporary_ = (place_.parent_path() / ".popclean-XXXXXX").string();
  descriptor_ = OwnedDescriptor(mkostemp(temporary_.data(), O_CLOEXEC));
  if (descriptor_.Get() < 0) {
    const int error = errno;
    temporary_.clear();
    throw SystemFailure("cannot write " + Quoted(name_), error);
  }
  // Some file systems know no permissions; the file is good all the same.
  [[maybe_unused]] const int ignored =
      fchmod(descriptor_.Get(), exists ? existing.st_mode & 07777 : DefaultMode());
}

TargetFile::~TargetFile() {
  if (!isPublished_ && !temporary_.empty()) unlink(temporary_.c_str());
}

void TargetFile::Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor_.Get(), text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      throw SystemFailure("cannot write " + Quoted(name_), errno);
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void TargetFile::Complete() {
  // EINVAL: a file system without such a notion.
  if (fsync(descriptor_.Get()) != 0 && errno != EINVAL) {
    throw SystemFailure("cannot write " + Quoted(name_), errno);
  }
}

void TargetFile::Publish() {
  if (std::rename(temporary_.c_str(), place_.c_str()) != 0) {
    throw SystemFailure("cannot write " + Quoted(name_), errno);
  }
  isPublished_ = true;
}

}  // namespace zr::popclean
