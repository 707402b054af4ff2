// The levels of the debug modules, from the registry, and their registration.
#include "support/debug_modules.h"

#include "support/perf_hooks.h"
#include "support/registry_access.h"

namespace {

constexpr ULONG kDefaultLevel = 2;
constexpr SIZE_T kTagRoom = 64;
constexpr SIZE_T kPathRoom = 256;

// One character at a time, with the sign of the 8-bit one; what has no room is cut.
class WideTag {
 public:
  explicit WideTag(const char* tag) {
    SIZE_T length = 0;
    for (; tag[length] != '\0' && length < kTagRoom - 1; ++length) {
      text_[length] = static_cast<WCHAR>(static_cast<signed char>(tag[length]));
    }
    text_[length] = 0;
  }
  const WCHAR* Text() const { return text_; }

 private:
  WCHAR text_[kTagRoom];
};

PAGEABLE_CODE ULONG ReadLevel(HANDLE key, const WideTag& moduleTag) {
  const ULONG common = RegistryGetDword(key, WIDE_TEXT("Default"), kDefaultLevel);
  return RegistryGetDword(key, moduleTag.Text(), common);
}

PAGEABLE_CODE ULONG ReadMachineLevel(const WideTag& driverTag, const WideTag& moduleTag) {
  WCHAR path[kPathRoom];
  swprintf(path, WIDE_TEXT("\\Registry\\Machine\\Software\\Brennick\\%s\\Debug"), driverTag.Text());
  HANDLE key = nullptr;
  if (!NT_SUCCESS(RegistryOpenKey(nullptr, KEY_ALL_ACCESS, path, &key))) return kDefaultLevel;
  const ULONG level = ReadLevel(key, moduleTag);
  ZwClose(key);
  return level;
}

PAGEABLE_CODE ULONG ReadDeviceLevel(const WideTag& driverTag, const WideTag& moduleTag,
                                    PDEVICE_OBJECT device) {
  WCHAR path[kPathRoom];
  swprintf(path, WIDE_TEXT("Debug\\%s"), driverTag.Text());
  HANDLE driverKey = nullptr;
  if (!NT_SUCCESS(IoOpenDeviceRegistryKey(device, PLUGPLAY_REGKEY_DRIVER, STANDARD_RIGHTS_REQUIRED,
                                          &driverKey))) {
    return kDefaultLevel;
  }
  ULONG level = kDefaultLevel;
  HANDLE key = nullptr;
  if (NT_SUCCESS(RegistryOpenKey(driverKey, KEY_ALL_ACCESS, path, &key))) {
    level = ReadLevel(key, moduleTag);
    ZwClose(key);
  }
  ZwClose(driverKey);
  return level;
}

// One instance for each module: the service has nothing but the address.
template <DebugModule& module>
void DbgSetModuleState(ULONG level, ULONG enable) {
  module.State().Level.store(level, std::memory_order_relaxed);
  module.State().Enable.store(enable, std::memory_order_relaxed);
}

template <DebugModule& module>
void RegisterDebugModule(PDEVICE_OBJECT device) {
  const ULONG level = ReadModuleDebugLevel(kDriverTag, module.Tag(), device);
  module.State().Level.store(level, std::memory_order_relaxed);
  module.State().Enable.store(0, std::memory_order_relaxed);
  module.State().Handle.store(
      PerfHooks.PerfRegisterModule(module.Tag(), level, &DbgSetModuleState<module>),
      std::memory_order_relaxed);
}

}  // namespace

PAGEABLE_CODE ULONG ReadModuleDebugLevel(const char* driverTag, const char* moduleTag,
                                         PDEVICE_OBJECT device) {
  const WideTag wideDriverTag(driverTag);
  const WideTag wideModuleTag(moduleTag);
  return device == nullptr ? ReadMachineLevel(wideDriverTag, wideModuleTag)
                           : ReadDeviceLevel(wideDriverTag, wideModuleTag, device);
}

PAGEABLE_CODE void RegisterDebugModules(PDEVICE_OBJECT device) {
  RegisterDebugModule<g_DrvMainLog>(device);
  RegisterDebugModule<g_DeviceLog>(device);
  RegisterDebugModule<g_ZDebugLog>(device);
  RegisterDebugModule<g_RegistryLog>(device);
  RegisterDebugModule<g_OSDepLog>(device);
  RegisterDebugModule<g_USBIrpsLog>(device);
}
