// Any text as the registry's: it fills the registry, or is refused by one sentence and changes
// nothing.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "platform/host/control/registry_control.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  constexpr const char16_t* kKey = u"\\Registry\\Machine\\Kept";
  zr::host::ClearRegistry();
  zr::host::SetRegistryDword(kKey, u"Value", 1);
  try {
    zr::host::LoadRegistryText({reinterpret_cast<const char*>(data), size});
  } catch (const std::runtime_error&) {
    if (zr::host::GetRegistryDword(kKey, u"Value") != 1U) std::abort();
  }
  return 0;
}
