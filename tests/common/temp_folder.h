// A folder for a test's files.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

namespace zr::test {

/// It vanishes with its contents.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "zr-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) abort();
    path_ = name;
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  const std::filesystem::path& Path() const { return path_; }
  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      names.insert(entry.path().filename());
    return names;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace zr::test
