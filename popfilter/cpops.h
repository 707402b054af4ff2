// The guarded pop filter: one core, and between it and callers in a completion routine the tests of
// IRQL, health and arguments, and the floating-point bracket around every call. Built for the
// kernel, while the core beneath it knows no platform.
#pragma once

#include <cstddef>

#include "platform/kernel.h"

struct POPSState;

/// The filter as its user sees it: statuses and parameter ids are those of pops.h. Any operation
/// answers POPS_ERR_PARAM above DISPATCH_LEVEL, then POPS_ERR_NOTREADY where there is no core, then
/// POPS_ERR_NULLARG for a null or empty argument, then POPS_ERR_NOTREADY if the floating-point
/// state cannot be saved, then what the core answers. No lock: one call at a time is the caller's
/// duty.
class CPOPSBase {
 public:
  CPOPSBase(const CPOPSBase&) = delete;
  CPOPSBase& operator=(const CPOPSBase&) = delete;
  virtual ~CPOPSBase();
  virtual ULONG GetParameterBlock(ULONG id, PVOID value, PULONG size) = 0;
  virtual ULONG SetParameterBlock(ULONG id, const void* value, ULONG size) = 0;
  virtual ULONG GetParameter(ULONG id, PULONG value) = 0;
  virtual ULONG SetParameter(ULONG id, ULONG value) = 0;
  /// Filters 16-bit samples at input in place; pin 1 demands an output besides.
  virtual ULONG SubmitPinData(ULONG pin, PVOID input, ULONG inputBytes, PVOID output,
                              ULONG outputBytes, ULONG reserved) = 0;

  static void* operator new(std::size_t size, POOL_TYPE poolType) noexcept;
  static void operator delete(void* object);
  static void operator delete(void* object, POOL_TYPE poolType);

 protected:
  CPOPSBase() = default;
};

class CPOPS final : public CPOPSBase {
 public:
  /// Always constructs; *status tells whether there is a core. With a device object, which needs
  /// PASSIVE_LEVEL, persisted parameters are read from its driver key here and written there at the
  /// end. The tag's four characters end their value names.
  CPOPS(PDEVICE_OBJECT deviceObject, ULONG tag, PULONG status);
  ~CPOPS() override;

  ULONG GetParameterBlock(ULONG id, PVOID value, PULONG size) override;
  ULONG SetParameterBlock(ULONG id, const void* value, ULONG size) override;
  ULONG GetParameter(ULONG id, PULONG value) override;
  ULONG SetParameter(ULONG id, ULONG value) override;
  ULONG SubmitPinData(ULONG pin, PVOID input, ULONG inputBytes, PVOID output, ULONG outputBytes,
                      ULONG reserved) override;

 private:
  struct PersistedParameter;
  static const PersistedParameter kPersistedParameters[];

  /// POPS_OK, or what an operation answers before it looks at its arguments.
  ULONG Guard() const;
  void BuildSuffix();
  void LoadPersistedParameters();
  void SavePersistedParameters();
  template <typename Visit>
  void ForEachPersistedParameter(Visit visit);

  PDEVICE_OBJECT m_pDeviceObject;
  ULONG m_ulTag;
  WCHAR m_szPrefix[5];
  WCHAR m_szSuffix[5];
  ULONG m_bCoreReady;
  POPSState* m_pState;
};
