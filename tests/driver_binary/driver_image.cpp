#include "tests/driver_binary/driver_image.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace zr::tests {
namespace {

static_assert(sizeof(void*) == 4, "the driver's code runs in a 32-bit process alone");

// Offsets in the headers of a PE32 file, and sizes of its records.
constexpr std::size_t kNewHeader = 0x3c;
constexpr std::size_t kSectionCount = 2, kSymbolTable = 8, kSymbolCount = 12, kOptionalSize = 16;
constexpr std::size_t kFileHeaderSize = 20;
constexpr std::size_t kImageBase = 28, kImageSize = 56, kHeadersSize = 60;
constexpr std::size_t kImportDirectory = 104, kRelocationDirectory = 136;
constexpr std::size_t kSectionHeaderSize = 40, kSymbolSize = 18, kImportSize = 20;
constexpr std::uint16_t kRelocateWord = 3;

[[noreturn]] void Fail(const std::string& reason) {
  std::fprintf(stderr, "driver_image: %s\n", reason.c_str());
  std::exit(1);
}

[[noreturn]] void CalledWithoutKernel() {
  Fail("the driver's code called an operation of the kernel");
}

}  // namespace

template <typename Value>
Value DriverImage::FileAt(std::size_t offset) const {
  if (offset + sizeof(Value) > file_.size()) Fail("the file ends too early");
  Value value;
  std::memcpy(&value, file_.data() + offset, sizeof(value));
  return value;
}

template <typename Value>
Value& DriverImage::ImageAt(std::uint32_t address) {
  return *reinterpret_cast<Value*>(image_ + address);
}

DriverImage::DriverImage(const std::string& path,
                         const std::map<std::string, std::uintptr_t>& imports) {
  std::ifstream stream(path, std::ios::binary);
  file_.assign(std::istreambuf_iterator<char>(stream), {});
  if (file_.empty()) Fail("cannot read " + path);
  header_ = FileAt<std::uint32_t>(kNewHeader) + 4;
  optional_ = header_ + kFileHeaderSize;
  MapSections();
  ReadSymbols();
  Relocate();
  BindImports(imports);
}

void DriverImage::MapSections() {
  const auto size = FileAt<std::uint32_t>(optional_ + kImageSize);
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) Fail("no memory that may be executed");
  image_ = static_cast<char*>(memory);
  std::memcpy(image_, file_.data(), FileAt<std::uint32_t>(optional_ + kHeadersSize));
  std::size_t section = optional_ + FileAt<std::uint16_t>(header_ + kOptionalSize);
  for (int i = FileAt<std::uint16_t>(header_ + kSectionCount); i > 0; --i) {
    const auto address = FileAt<std::uint32_t>(section + 12);
    const auto bytes = FileAt<std::uint32_t>(section + 16);
    const auto offset = FileAt<std::uint32_t>(section + 20);
    if (address + bytes > size || offset + bytes > file_.size()) Fail("a section has no room");
    if (offset != 0) std::memcpy(image_ + address, file_.data() + offset, bytes);
    section += kSectionHeaderSize;
  }
}

void DriverImage::ReadSymbols() {
  const std::size_t table = FileAt<std::uint32_t>(header_ + kSymbolTable);
  const auto count = FileAt<std::uint32_t>(header_ + kSymbolCount);
  const std::size_t sections = optional_ + FileAt<std::uint16_t>(header_ + kOptionalSize);
  const std::size_t strings = table + count * kSymbolSize;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::size_t symbol = table + i * kSymbolSize;
    const auto section = FileAt<std::int16_t>(symbol + 12);
    if (section > 0) {
      // A name of up to 8 characters stands in place, a longer one among the strings.
      const char* const name = file_.data() + symbol;
      const std::string text = FileAt<std::uint32_t>(symbol) != 0
                                   ? std::string(name, strnlen(name, 8))
                                   : file_.data() + strings + FileAt<std::uint32_t>(symbol + 4);
      const std::size_t header = sections + (section - 1U) * kSectionHeaderSize;
      symbols_[text] = reinterpret_cast<std::uintptr_t>(image_) +
                       FileAt<std::uint32_t>(header + 12) + FileAt<std::uint32_t>(symbol + 8);
    }
    i += FileAt<std::uint8_t>(symbol + 17);
  }
}

void DriverImage::Relocate() {
  const auto moved =
      reinterpret_cast<std::uint32_t>(image_) - FileAt<std::uint32_t>(optional_ + kImageBase);
  auto block = FileAt<std::uint32_t>(optional_ + kRelocationDirectory);
  const std::uint32_t end = block + FileAt<std::uint32_t>(optional_ + kRelocationDirectory + 4);
  while (block < end) {
    const auto page = ImageAt<std::uint32_t>(block);
    const auto size = ImageAt<std::uint32_t>(block + 4);
    for (std::uint32_t entry = block + 8; entry < block + size; entry += 2) {
      const auto word = ImageAt<std::uint16_t>(entry);
      if (word >> 12 == kRelocateWord) ImageAt<std::uint32_t>(page + (word & 0xfffU)) += moved;
    }
    block += size;
  }
}

void DriverImage::BindImports(const std::map<std::string, std::uintptr_t>& imports) {
  auto entry = FileAt<std::uint32_t>(optional_ + kImportDirectory);
  for (; ImageAt<std::uint32_t>(entry + 12) != 0; entry += kImportSize) {
    auto name = ImageAt<std::uint32_t>(entry);
    auto slot = ImageAt<std::uint32_t>(entry + 16);
    for (; ImageAt<std::uint32_t>(name) != 0; name += 4, slot += 4) {
      const auto known = imports.find(&ImageAt<char>(ImageAt<std::uint32_t>(name) + 2));
      ImageAt<std::uint32_t>(slot) = known != imports.end()
                                         ? known->second
                                         : reinterpret_cast<std::uintptr_t>(&CalledWithoutKernel);
    }
  }
}

std::uintptr_t DriverImage::AddressOf(const std::string& symbol) const {
  const auto found = symbols_.find(symbol);
  if (found == symbols_.end()) Fail("no symbol " + symbol);
  return found->second;
}

void DriverImage::Redirect(const std::string& symbol, std::uintptr_t function) {
  constexpr unsigned char kJump = 0xe9;
  constexpr std::size_t kJumpSize = 5;
  const std::uintptr_t from = AddressOf(symbol);
  const std::uint32_t distance = function - (from + kJumpSize);
  std::memcpy(reinterpret_cast<void*>(from), &kJump, 1);
  std::memcpy(reinterpret_cast<void*>(from + 1), &distance, sizeof(distance));
}

}  // namespace zr::tests
