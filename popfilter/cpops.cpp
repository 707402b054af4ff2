// The guarded pop filter: guards in their order, brackets, and the table of persisted parameters.
#include "popfilter/cpops.h"

#include "popfilter/floating_point_bracket.h"
#include "popfilter/pops.h"
#include "support/registry_access.h"
#include "support/tracked_allocator.h"

namespace {

constexpr ULONG kAbsentValue = 0xffffffff;
constexpr SIZE_T kValueNameRoom = 100;

}  // namespace

CPOPSBase::~CPOPSBase() = default;

void* CPOPSBase::operator new(std::size_t size, POOL_TYPE poolType) noexcept {
  return PoolAllocTracked(poolType, size);
}

void CPOPSBase::operator delete(void* object) {
  PoolFreeTracked(object);
}

void CPOPSBase::operator delete(void* object, POOL_TYPE /*poolType*/) {
  PoolFreeTracked(object);
}

// A row binds a member of the object to a value of the driver key. A row whose IsLive is 0 ends the
// table; only rows of kind REG_DWORD are kept.
struct CPOPS::PersistedParameter {
  WCHAR Name[82];
  ULONG IsLive;
  ULONG Kind;
  ULONG CPOPS::*Member;
};

// No parameter is kept: every one starts from its default.
const CPOPS::PersistedParameter CPOPS::kPersistedParameters[] = {{{0}, 0, 0, nullptr}};

CPOPS::CPOPS(PDEVICE_OBJECT deviceObject, ULONG tag, PULONG status)
    : m_pDeviceObject(deviceObject),
      m_ulTag(tag),
      m_szPrefix{'P', 'O', 'P', 'S', 0},
      m_szSuffix{},
      m_bCoreReady(0),
      m_pState(nullptr) {
  *status = WithFloatingPoint(POPS_ERR_NOTREADY, [this] { return POPSCreate(&m_pState); });
  if (*status == POPS_OK) {
    m_bCoreReady = 1;
  } else {
    POPSDestroy(m_pState);
    m_pState = nullptr;
  }
  BuildSuffix();
  LoadPersistedParameters();
  // A flush touches no floating point.
  if (m_bCoreReady != 0) *status = POPSSetParameter(m_pState, POPS_ID_FLUSH, 1);
}

CPOPS::~CPOPS() {
  SavePersistedParameters();
  if (m_pState == nullptr) return;
  const auto destroy = [this] { return POPSDestroy(m_pState); };
  // Freeing needs no floating point: a state that cannot be saved must not leak the core.
  if (WithFloatingPoint(POPS_ERR_NOTREADY, destroy) == POPS_ERR_NOTREADY) destroy();
}

ULONG CPOPS::Guard() const {
  if (KeGetCurrentIrql() > DISPATCH_LEVEL) return POPS_ERR_PARAM;
  return m_bCoreReady == 0 || m_pState == nullptr ? POPS_ERR_NOTREADY : POPS_OK;
}

ULONG CPOPS::GetParameterBlock(ULONG id, PVOID value, PULONG size) {
  if (const ULONG status = Guard()) return status;
  if (size == nullptr || *size == 0 || value == nullptr) return POPS_ERR_NULLARG;
  const uint32_t room = *size;
  return WithFloatingPoint(POPS_ERR_NOTREADY,
                           [&] { return POPSGetParameterBlock(m_pState, id, value, &room); });
}

ULONG CPOPS::SetParameterBlock(ULONG id, const void* value, ULONG size) {
  if (const ULONG status = Guard()) return status;
  if (size == 0 || value == nullptr) return POPS_ERR_NULLARG;
  return WithFloatingPoint(POPS_ERR_NOTREADY,
                           [&] { return POPSSetParameterBlock(m_pState, id, value, size); });
}

ULONG CPOPS::GetParameter(ULONG id, PULONG value) {
  if (const ULONG status = Guard()) return status;
  if (value == nullptr) return POPS_ERR_NULLARG;
  uint32_t current = 0;
  const ULONG status = WithFloatingPoint(POPS_ERR_NOTREADY,
                                         [&] { return POPSGetParameter(m_pState, id, &current); });
  if (status == POPS_OK) *value = current;
  return status;
}

ULONG CPOPS::SetParameter(ULONG id, ULONG value) {
  if (const ULONG status = Guard()) return status;
  return WithFloatingPoint(POPS_ERR_NOTREADY,
                           [&] { return POPSSetParameter(m_pState, id, value); });
}

ULONG CPOPS::SubmitPinData(ULONG pin, PVOID input, ULONG inputBytes, PVOID output,
                           ULONG outputBytes, ULONG reserved) {
  if (const ULONG status = Guard()) return status;
  if (inputBytes == 0 || input == nullptr) return POPS_ERR_NULLARG;
  if (pin == 1 && (outputBytes == 0 || output == nullptr)) return POPS_ERR_NULLARG;
  return WithFloatingPoint(POPS_ERR_NOTREADY, [&] {
    return POPSProcessBuffer(m_pState, pin, input, inputBytes, output, outputBytes, reserved);
  });
}

// The tag's bytes in the order of memory, each with the sign of an 8-bit character.
void CPOPS::BuildSuffix() {
  for (int i = 0; i < 4; ++i) {
    m_szSuffix[i] = static_cast<WCHAR>(static_cast<signed char>(m_ulTag >> (8 * i)));
  }
}

// Visits each kept row with the open key of the device and the name of its value.
template <typename Visit>
void CPOPS::ForEachPersistedParameter(Visit visit) {
  if (m_pDeviceObject == nullptr) return;
  HANDLE key = nullptr;
  if (!NT_SUCCESS(IoOpenDeviceRegistryKey(m_pDeviceObject, PLUGPLAY_REGKEY_DRIVER,
                                          STANDARD_RIGHTS_REQUIRED, &key))) {
    return;
  }
  for (const PersistedParameter* row = kPersistedParameters; row->IsLive != 0; ++row) {
    if (row->Kind != REG_DWORD) continue;
    WCHAR valueName[kValueNameRoom] = {};
    wcscpy(valueName, m_szPrefix);
    wcscat(valueName, row->Name);
    wcscat(valueName, m_szSuffix);
    visit(key, valueName, this->*row->Member);
  }
  ZwClose(key);
}

void CPOPS::LoadPersistedParameters() {
  ForEachPersistedParameter([](HANDLE key, PCWSTR name, ULONG& member) {
    const ULONG value = RegistryGetDwordEx(key, name, kAbsentValue, nullptr);
    if (value != kAbsentValue) member = value;
  });
}

void CPOPS::SavePersistedParameters() {
  ForEachPersistedParameter(
      [](HANDLE key, PCWSTR name, const ULONG& member) { RegistrySetDword(key, name, member); });
}
