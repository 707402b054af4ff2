// The driver binary in the memory of a 32-bit Linux process, so that those of its functions that
// need no kernel can be called. The file is one of our own build: what is wrong in it ends the
// process with a message.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zr::tests {

class DriverImage {
 public:
  /// Lays out the sections of the file, relocates them, and binds each import to the address that
  /// `imports` has for it. Any other import ends the process when it is called.
  DriverImage(const std::string& path, const std::map<std::string, std::uintptr_t>& imports);

  /// Where the function or datum with this symbol lies.
  std::uintptr_t AddressOf(const std::string& symbol) const;

  /// Makes every call of the function go to another with the same parameters.
  void Redirect(const std::string& symbol, std::uintptr_t function);

 private:
  void MapSections();
  void ReadSymbols();
  void Relocate();
  void BindImports(const std::map<std::string, std::uintptr_t>& imports);

  template <typename Value>
  Value FileAt(std::size_t offset) const;
  template <typename Value>
  Value& ImageAt(std::uint32_t address);

  std::vector<char> file_;
  std::size_t header_ = 0;    // Of the file behind the signature.
  std::size_t optional_ = 0;  // Header of the image.
  char* image_ = nullptr;
  std::map<std::string, std::uintptr_t> symbols_;
};

}  // namespace zr::tests
