// The registry: a tree of keys with typed values, handles that carry the access they were opened
// with, and the published query routines.
#include "platform/host/registry.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/host/control/registry_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/internal_registry.h"
#include "platform/host/pool.h"

namespace zr::host {
namespace {

using Bytes = std::vector<UCHAR>;

WCHAR UpperCase(WCHAR character) {
  const bool isAscii = character >= u'a' && character <= u'z';
  const bool isLatin = character >= 0xE0 && character <= 0xFE && character != 0xF7;
  return isAscii || isLatin ? static_cast<WCHAR>(character - 0x20) : character;
}

struct LessWithoutCase {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](WCHAR x, WCHAR y) { return UpperCase(x) < UpperCase(y); });
  }
};

struct Value {
  ULONG type;
  Bytes data;
};

struct Key {
  std::map<std::u16string, std::shared_ptr<Key>, LessWithoutCase> keys;
  std::map<std::u16string, Value, LessWithoutCase> values;
  ACCESS_MASK withheld = 0;
};

struct OpenKey {
  std::shared_ptr<Key> key;
  ACCESS_MASK granted;
};

struct Registry {
  std::mutex lock;
  std::shared_ptr<Key> root = std::make_shared<Key>();
  std::unordered_map<ULONG_PTR, OpenKey> handles;
  ULONG_PTR lastHandle = 0;  // Never given twice, so that a closed handle stays invalid.
};

// Never destroyed: threads of a test may outlive the static objects.
Registry& TheRegistry() {
  static auto& registry = *new Registry;
  return registry;
}

// The parts of "A\B\C", or nothing if one is empty.
std::vector<std::u16string_view> SplitPath(std::u16string_view path) {
  std::vector<std::u16string_view> parts;
  for (;;) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    if (end == 0) return {};
    parts.push_back(path.substr(0, end));
    if (end == path.size()) return parts;
    path.remove_prefix(end + 1);
  }
}

// All below: under the lock.

std::shared_ptr<Key> FindKey(std::shared_ptr<Key> key, std::u16string_view relativePath) {
  for (const std::u16string_view part : SplitPath(relativePath)) {
    const auto found = key->keys.find(part);
    if (found == key->keys.end()) return nullptr;
    key = found->second;
  }
  return key;
}

Key& MakeKey(std::u16string_view path) {
  if (!IsKeyPath(path)) throw std::invalid_argument("a registry path begins with \\Registry");
  Key* key = TheRegistry().root.get();
  for (const std::u16string_view part : SplitPath(path.substr(1))) {
    std::shared_ptr<Key>& child = key->keys[std::u16string(part)];
    if (child == nullptr) child = std::make_shared<Key>();
    key = child.get();
  }
  return *key;
}

const OpenKey* FindHandle(HANDLE handle) {
  const auto& handles = TheRegistry().handles;
  const auto found = handles.find(reinterpret_cast<ULONG_PTR>(handle));
  return found != handles.end() ? &found->second : nullptr;
}

struct KeyAccess {
  NTSTATUS status;
  std::shared_ptr<Key> key;
};

KeyAccess AccessKey(HANDLE handle, ACCESS_MASK needed) {
  const OpenKey* const open = FindHandle(handle);
  if (open == nullptr) return {STATUS_INVALID_HANDLE, nullptr};
  if ((open->granted & needed) != needed) return {STATUS_ACCESS_DENIED, nullptr};
  return {STATUS_SUCCESS, open->key};
}

KeyAccess OpenPath(HANDLE root, std::u16string_view path, ACCESS_MASK access) {
  std::shared_ptr<Key> start = TheRegistry().root;
  if (root != nullptr) {
    const OpenKey* const open = FindHandle(root);
    if (open == nullptr) return {STATUS_INVALID_HANDLE, nullptr};
    start = open->key;
  } else {
    if (path.empty() || path.front() != u'\\') return {STATUS_OBJECT_NAME_INVALID, nullptr};
    path.remove_prefix(1);
  }
  // An empty relative path is the root key once more.
  if (!path.empty()) {
    if (SplitPath(path).empty()) return {STATUS_OBJECT_NAME_INVALID, nullptr};
    start = FindKey(start, path);
  }
  if (start == nullptr) return {STATUS_OBJECT_NAME_NOT_FOUND, nullptr};
  if ((access & start->withheld) != 0) return {STATUS_ACCESS_DENIED, nullptr};
  return {STATUS_SUCCESS, start};
}

HANDLE AddHandle(std::shared_ptr<Key> key, ACCESS_MASK granted) {
  Registry& registry = TheRegistry();
  registry.lastHandle += 4;
  registry.handles[registry.lastHandle] = {std::move(key), granted};
  return reinterpret_cast<HANDLE>(registry.lastHandle);  // NOLINT(performance-no-int-to-ptr)
}

// Without the lock.

std::u16string_view TextOf(const UNICODE_STRING& string) {
  return {string.Buffer, string.Length / sizeof(WCHAR)};
}

// The string in a value's data with its terminator, which the data may lack.
Bytes TerminatedString(Bytes data) {
  data.resize(data.size() & ~std::size_t{1});
  const std::size_t size = data.size();
  const bool isTerminated = size >= 2 && data[size - 1] == 0 && data[size - 2] == 0;
  if (!isTerminated) data.insert(data.end(), sizeof(WCHAR), 0);
  return data;
}

NTSTATUS StoreString(const Bytes& data, PVOID destination) {
  auto* const string = static_cast<PUNICODE_STRING>(destination);
  const Bytes text = TerminatedString(data);
  if (text.size() > UINT16_MAX) return STATUS_BUFFER_TOO_SMALL;
  if (string->Buffer == nullptr) {
    constexpr ULONG kStringTag = 0x67727453;  // "Strg"
    string->Buffer = static_cast<PWSTR>(ExAllocatePoolWithTag(PagedPool, text.size(), kStringTag));
    if (string->Buffer == nullptr) return STATUS_NO_MEMORY;
    string->MaximumLength = static_cast<USHORT>(text.size());
  }
  if (text.size() > string->MaximumLength) return STATUS_BUFFER_TOO_SMALL;
  std::memcpy(string->Buffer, text.data(), text.size());
  string->Length = static_cast<USHORT>(text.size() - sizeof(WCHAR));
  return STATUS_SUCCESS;
}

// Up to four bytes are stored as they are. More need a destination that begins with its own size:
// negative for the bare data, positive for length and type in front of them.
NTSTATUS StoreBinary(ULONG type, const Bytes& data, PVOID destination) {
  if (data.size() <= sizeof(ULONG)) {
    std::memcpy(destination, data.data(), data.size());
    return STATUS_SUCCESS;
  }
  LONG size = 0;
  std::memcpy(&size, destination, sizeof size);
  const bool isBare = size < 0;
  const ULONG room = isBare ? 0U - static_cast<ULONG>(size) : static_cast<ULONG>(size);
  const std::size_t header = isBare ? 0 : 2 * sizeof(ULONG);
  if (room < header + data.size()) return STATUS_BUFFER_TOO_SMALL;
  auto* out = static_cast<UCHAR*>(destination);
  if (!isBare) {
    const ULONG lengthAndType[] = {static_cast<ULONG>(data.size()), type};
    std::memcpy(out, lengthAndType, sizeof lengthAndType);
  }
  std::memcpy(out + header, data.data(), data.size());
  return STATUS_SUCCESS;
}

// A value of another kind than the destination was made for would be written over whatever lies
// behind it. The entry tells the kind by its default type.
bool SuitsDestination(const RTL_QUERY_REGISTRY_TABLE& entry, const Value& value) {
  if (entry.DefaultType == REG_NONE) return true;
  if ((entry.DefaultType == REG_SZ) != (value.type == REG_SZ)) return false;
  return entry.DefaultType != REG_DWORD || value.data.size() <= sizeof(ULONG);
}

NTSTATUS DeliverValue(const RTL_QUERY_REGISTRY_TABLE& entry, std::u16string name, Value value,
                      PVOID context) {
  if ((entry.Flags & RTL_QUERY_REGISTRY_DIRECT) != 0) {
    if (!SuitsDestination(entry, value)) return STATUS_OBJECT_TYPE_MISMATCH;
    return value.type == REG_SZ ? StoreString(value.data, entry.EntryContext)
                                : StoreBinary(value.type, value.data, entry.EntryContext);
  }
  if (value.type == REG_SZ) value.data = TerminatedString(std::move(value.data));
  return entry.QueryRoutine(name.data(), value.type, value.data.data(),
                            static_cast<ULONG>(value.data.size()), context, entry.EntryContext);
}

// A string default may leave its length to the terminator.
Value DefaultOf(const RTL_QUERY_REGISTRY_TABLE& entry) {
  const auto* const data = static_cast<const UCHAR*>(entry.DefaultData);
  std::size_t length = entry.DefaultLength;
  if (length == 0 && entry.DefaultType == REG_SZ) {
    const auto* text = reinterpret_cast<const WCHAR*>(data);
    length = (std::u16string_view(text).size() + 1) * sizeof(WCHAR);
  }
  return {entry.DefaultType, Bytes(data, data + length)};
}

struct NamedValue {
  std::u16string name;
  Value value;
};

struct ValueQuery {
  NTSTATUS status;
  std::vector<NamedValue> values;
};

// The values that an entry asks for: the one of its name, or all.
ValueQuery ReadValues(HANDLE handle, PCWSTR name) {
  const std::lock_guard guard(TheRegistry().lock);
  const KeyAccess access = AccessKey(handle, KEY_QUERY_VALUE);
  if (!NT_SUCCESS(access.status)) return {access.status, {}};
  ValueQuery query = {STATUS_SUCCESS, {}};
  for (const auto& [valueName, value] : access.key->values) {
    const LessWithoutCase isLess;
    const bool isWanted = name == nullptr || (!isLess(valueName, name) && !isLess(name, valueName));
    if (isWanted) query.values.push_back({valueName, value});
  }
  return query;
}

NTSTATUS QueryEntry(HANDLE handle, const RTL_QUERY_REGISTRY_TABLE& entry, PVOID context) {
  const bool isDirect = (entry.Flags & RTL_QUERY_REGISTRY_DIRECT) != 0;
  const bool isRequired = (entry.Flags & RTL_QUERY_REGISTRY_REQUIRED) != 0;
  const bool hasUnknownFlags =
      (entry.Flags & ~(RTL_QUERY_REGISTRY_DIRECT | RTL_QUERY_REGISTRY_REQUIRED)) != 0;
  const bool hasTarget = isDirect ? entry.Name != nullptr && entry.EntryContext != nullptr
                                  : entry.QueryRoutine != nullptr;
  if (hasUnknownFlags || !hasTarget) return STATUS_INVALID_PARAMETER;

  ValueQuery query = ReadValues(handle, entry.Name);
  if (!NT_SUCCESS(query.status)) return query.status;
  if (query.values.empty() && isRequired) return STATUS_OBJECT_NAME_NOT_FOUND;
  const bool hasDefault = entry.DefaultType != REG_NONE && entry.DefaultData != nullptr;
  if (query.values.empty() && entry.Name != nullptr && hasDefault) {
    query.values.push_back({entry.Name, DefaultOf(entry)});
  }
  for (NamedValue& found : query.values) {
    const NTSTATUS status =
        DeliverValue(entry, std::move(found.name), std::move(found.value), context);
    if (!NT_SUCCESS(status)) return status;
  }
  return STATUS_SUCCESS;
}

NTSTATUS QueryTable(HANDLE handle, const RTL_QUERY_REGISTRY_TABLE* entry, PVOID context) {
  for (; entry->QueryRoutine != nullptr || entry->Name != nullptr; ++entry) {
    const NTSTATUS status = QueryEntry(handle, *entry, context);
    if (!NT_SUCCESS(status)) return status;
  }
  return STATUS_SUCCESS;
}

}  // namespace

bool IsKeyPath(std::u16string_view path) {
  if (path.empty() || path.front() != u'\\') return false;
  const std::vector<std::u16string_view> parts = SplitPath(path.substr(1));
  const LessWithoutCase isLess;
  return !parts.empty() && !isLess(parts.front(), u"Registry") &&
         !isLess(u"Registry", parts.front());
}

// Open handles keep the key that they were opened for, as long as they are open.
void ClearRegistry() {
  const std::lock_guard guard(TheRegistry().lock);
  TheRegistry().root = std::make_shared<Key>();
}

std::size_t OpenKeyCount() {
  const std::lock_guard guard(TheRegistry().lock);
  return TheRegistry().handles.size();
}

void CreateRegistryKey(std::u16string_view keyPath) {
  const std::lock_guard guard(TheRegistry().lock);
  MakeKey(keyPath);
}

void SetRegistryDword(std::u16string_view keyPath, std::u16string_view name, ULONG value) {
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  SetRegistryValue(keyPath, name, REG_DWORD, std::string_view(bytes, sizeof bytes));
}

void SetRegistryValue(std::u16string_view keyPath, std::u16string_view name, ULONG type,
                      std::string_view data) {
  const std::lock_guard guard(TheRegistry().lock);
  MakeKey(keyPath).values[std::u16string(name)] = {type, Bytes(data.begin(), data.end())};
}

std::optional<ULONG> GetRegistryDword(std::u16string_view keyPath, std::u16string_view name) {
  const std::lock_guard guard(TheRegistry().lock);
  const KeyAccess access = OpenPath(nullptr, keyPath, 0);
  if (access.key == nullptr) return std::nullopt;
  const auto found = access.key->values.find(name);
  if (found == access.key->values.end()) return std::nullopt;
  const Value& value = found->second;
  if (value.type != REG_DWORD || value.data.size() != sizeof(ULONG)) return std::nullopt;
  ULONG number = 0;
  std::memcpy(&number, value.data.data(), sizeof number);
  return number;
}

void LimitKeyAccess(std::u16string_view keyPath, ACCESS_MASK granted) {
  const std::lock_guard guard(TheRegistry().lock);
  MakeKey(keyPath).withheld = ~granted;
}

}  // namespace zr::host

using namespace zr::host;

extern "C" VOID RtlInitUnicodeString(PUNICODE_STRING destination, PCWSTR source) {
  *destination = {0, 0, nullptr};
  if (source == nullptr) return;
  constexpr std::size_t kLongest = (UINT16_MAX - 1) / sizeof(WCHAR) - 1;
  const std::size_t length = std::min(std::u16string_view(source).size(), kLongest);
  destination->Length = static_cast<USHORT>(length * sizeof(WCHAR));
  destination->MaximumLength = static_cast<USHORT>((length + 1) * sizeof(WCHAR));
  destination->Buffer = const_cast<PWSTR>(source);
}

extern "C" NTSTATUS ZwOpenKey(PHANDLE key, ACCESS_MASK access, POBJECT_ATTRIBUTES attributes) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "ZwOpenKey");
  if (attributes == nullptr || attributes->Length != sizeof(OBJECT_ATTRIBUTES) ||
      attributes->ObjectName == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  if (attributes->ObjectName->Length % sizeof(WCHAR) != 0) return STATUS_OBJECT_NAME_INVALID;
  const std::lock_guard guard(TheRegistry().lock);
  KeyAccess opened = OpenPath(attributes->RootDirectory, TextOf(*attributes->ObjectName), access);
  if (!NT_SUCCESS(opened.status)) return opened.status;
  *key = AddHandle(std::move(opened.key), access);
  return STATUS_SUCCESS;
}

// Of the classes of information the partial one is served.
extern "C" NTSTATUS ZwQueryValueKey(HANDLE key, PUNICODE_STRING valueName,
                                    KEY_VALUE_INFORMATION_CLASS informationClass, PVOID information,
                                    ULONG length, PULONG resultLength) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "ZwQueryValueKey");
  const std::lock_guard guard(TheRegistry().lock);
  const KeyAccess access = AccessKey(key, KEY_QUERY_VALUE);
  if (!NT_SUCCESS(access.status)) return access.status;
  if (informationClass != KeyValuePartialInformation) return STATUS_NOT_SUPPORTED;
  const auto found = access.key->values.find(TextOf(*valueName));
  if (found == access.key->values.end()) return STATUS_OBJECT_NAME_NOT_FOUND;

  const Value& value = found->second;
  constexpr std::size_t kFixedPart = offsetof(KEY_VALUE_PARTIAL_INFORMATION, Data);
  *resultLength = static_cast<ULONG>(kFixedPart + value.data.size());
  if (length < kFixedPart) return STATUS_BUFFER_TOO_SMALL;
  const ULONG fixedPart[] = {0, value.type, static_cast<ULONG>(value.data.size())};
  static_assert(sizeof fixedPart == kFixedPart);
  auto* const out = static_cast<UCHAR*>(information);
  std::memcpy(out, fixedPart, kFixedPart);
  const std::size_t fitting = std::min(value.data.size(), length - kFixedPart);
  std::copy_n(value.data.begin(), fitting, out + kFixedPart);
  return fitting == value.data.size() ? STATUS_SUCCESS : STATUS_BUFFER_OVERFLOW;
}

extern "C" NTSTATUS ZwSetValueKey(HANDLE key, PUNICODE_STRING valueName, ULONG /*titleIndex*/,
                                  ULONG type, PVOID data, ULONG dataSize) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "ZwSetValueKey");
  const auto* const bytes = static_cast<const UCHAR*>(data);
  const std::lock_guard guard(TheRegistry().lock);
  const KeyAccess access = AccessKey(key, KEY_SET_VALUE);
  if (!NT_SUCCESS(access.status)) return access.status;
  access.key->values[std::u16string(TextOf(*valueName))] = {type, Bytes(bytes, bytes + dataSize)};
  return STATUS_SUCCESS;
}

extern "C" NTSTATUS ZwClose(HANDLE handle) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "ZwClose");
  const std::lock_guard guard(TheRegistry().lock);
  const bool wasOpen = TheRegistry().handles.erase(reinterpret_cast<ULONG_PTR>(handle)) != 0;
  return wasOpen ? STATUS_SUCCESS : STATUS_INVALID_HANDLE;
}

// The call-back routines and the destinations are the driver's: no lock is held around them. With
// RTL_REGISTRY_HANDLE the path is the handle.
extern "C" NTSTATUS RtlQueryRegistryValues(ULONG relativeTo, PCWSTR path,
                                           PRTL_QUERY_REGISTRY_TABLE table, PVOID context,
                                           PVOID /*environment*/) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "RtlQueryRegistryValues");
  if (relativeTo == RTL_REGISTRY_HANDLE) {
    return QueryTable(const_cast<HANDLE>(static_cast<const void*>(path)), table, context);
  }
  if (relativeTo != RTL_REGISTRY_ABSOLUTE) return STATUS_INVALID_PARAMETER;
  UNICODE_STRING name;
  RtlInitUnicodeString(&name, path);
  OBJECT_ATTRIBUTES attributes;
  InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
  HANDLE key = nullptr;
  NTSTATUS status = ZwOpenKey(&key, KEY_READ, &attributes);
  if (!NT_SUCCESS(status)) return status;
  status = QueryTable(key, table, context);
  ZwClose(key);
  return status;
}
