// What plug and play knows about a physical device: its hardware IDs, its description and where its
// registry keys are.
#include <cstring>

#include "platform/host/control/registry_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/internal_devices.h"

namespace zr::host {
namespace {

constexpr const char16_t* kEnumerationPath =
    u"\\Registry\\Machine\\System\\CurrentControlSet\\Enum\\";
constexpr const char16_t* kClassPath =
    u"\\Registry\\Machine\\System\\CurrentControlSet\\Control\\Class\\";

std::u16string HardwareKeyPathOf(const DeviceProperties& properties) {
  return kEnumerationPath + properties.name + u"\\Device Parameters";
}

std::u16string SoftwareKeyPathOf(const DeviceProperties& properties) {
  return kClassPath + properties.name;
}

std::optional<DeviceProperties> PropertiesOf(const char* routine, PDEVICE_OBJECT device) {
  const std::lock_guard guard(DeviceLock());
  return RequireDevice(routine, device).properties;
}

DeviceProperties RequireProperties(const char* routine, PDEVICE_OBJECT device) {
  std::optional<DeviceProperties> properties = PropertiesOf(routine, device);
  if (!properties) StopForDevice(routine, device, "it is no physical device object");
  return *std::move(properties);
}

// Each string with its terminator, and one terminator more behind the last.
std::u16string MultiString(const std::vector<std::u16string>& strings) {
  std::u16string joined;
  for (const std::u16string& string : strings)
    joined.append(string).push_back(u'\0');
  joined.push_back(u'\0');
  return joined;
}

// The growth is more terminators: that leaves the strings as they are.
std::u16string HardwareIds(DeviceState& state) {
  if (state.growthsLeft != 0) {
    --state.growthsLeft;
    state.grownBytes += state.growthBytes;
  }
  std::u16string ids = MultiString(state.properties->hardwareIds);
  ids.append((state.grownBytes + sizeof(WCHAR) - 1) / sizeof(WCHAR), u'\0');
  return ids;
}

}  // namespace

void SetDeviceProperties(PDEVICE_OBJECT physicalDevice, DeviceProperties properties) {
  CreateRegistryKey(HardwareKeyPathOf(properties));
  CreateRegistryKey(SoftwareKeyPathOf(properties));
  const std::lock_guard guard(DeviceLock());
  RequireDevice("SetDeviceProperties", physicalDevice).properties = std::move(properties);
}

std::u16string HardwareKeyPath(PDEVICE_OBJECT physicalDevice) {
  return HardwareKeyPathOf(RequireProperties("HardwareKeyPath", physicalDevice));
}

std::u16string SoftwareKeyPath(PDEVICE_OBJECT physicalDevice) {
  return SoftwareKeyPathOf(RequireProperties("SoftwareKeyPath", physicalDevice));
}

void GrowHardwareIds(PDEVICE_OBJECT physicalDevice, ULONG bytes, ULONG times) {
  const std::lock_guard guard(DeviceLock());
  DeviceState& state = RequireDevice("GrowHardwareIds", physicalDevice);
  state.growthBytes = bytes;
  state.growthsLeft = times;
}

}  // namespace zr::host

using namespace zr::host;

extern "C" NTSTATUS IoGetDeviceProperty(PDEVICE_OBJECT physicalDevice,
                                        DEVICE_REGISTRY_PROPERTY property, ULONG bufferLength,
                                        PVOID buffer, PULONG resultLength) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "IoGetDeviceProperty");
  const std::lock_guard guard(DeviceLock());
  DeviceState& state = RequireDevice("IoGetDeviceProperty", physicalDevice);
  *resultLength = 0;
  if (!state.properties) return STATUS_INVALID_DEVICE_REQUEST;

  std::u16string text;
  if (property == DevicePropertyHardwareID) {
    if (state.properties->hardwareIds.empty()) return STATUS_OBJECT_NAME_NOT_FOUND;
    text = HardwareIds(state);
  } else if (property == DevicePropertyDeviceDescription) {
    if (state.properties->description.empty()) return STATUS_OBJECT_NAME_NOT_FOUND;
    text = state.properties->description + u'\0';
  } else {
    return STATUS_INVALID_PARAMETER;
  }
  const std::size_t bytes = text.size() * sizeof(WCHAR);
  *resultLength = static_cast<ULONG>(bytes);
  if (bufferLength < bytes) return STATUS_BUFFER_TOO_SMALL;
  std::memcpy(buffer, text.data(), bytes);
  return STATUS_SUCCESS;
}

// The device lock is not held while the key is opened: the registry has a lock of its own.
extern "C" NTSTATUS IoOpenDeviceRegistryKey(DEVICE_OBJECT* physicalDevice, ULONG keyType,
                                            ACCESS_MASK access, PHANDLE key) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "IoOpenDeviceRegistryKey");
  const std::optional<DeviceProperties> properties =
      PropertiesOf("IoOpenDeviceRegistryKey", physicalDevice);
  if (!properties) return STATUS_INVALID_DEVICE_REQUEST;
  if (keyType != PLUGPLAY_REGKEY_DEVICE && keyType != PLUGPLAY_REGKEY_DRIVER) {
    return STATUS_INVALID_PARAMETER;
  }
  std::u16string path = keyType == PLUGPLAY_REGKEY_DEVICE ? HardwareKeyPathOf(*properties)
                                                          : SoftwareKeyPathOf(*properties);
  const auto length = static_cast<USHORT>(path.size() * sizeof(WCHAR));
  UNICODE_STRING name = {length, length, path.data()};
  OBJECT_ATTRIBUTES attributes;
  InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
  return ZwOpenKey(key, access, &attributes);
}
