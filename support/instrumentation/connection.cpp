#include "support/instrumentation/connection.h"

#include "support/device_value.h"
#include "support/instrumentation/rundown_gate.h"
#include "support/instrumentation/stack_interface.h"
#include "support/trace_record.h"

namespace {

constexpr ULONG kModeWithFlags = 1;
constexpr ULONG kStatIds = 10;

struct Owner {
  PDEVICE_OBJECT FDO;
  PDEVICE_OBJECT LowerDevice;
  PDEVICE_OBJECT PDO;
};

KMUTEX connectionMutex;  // Of attach and detach; reporting never takes it.
Owner owner;

// An interface of the service with its operations. A forwarding entry that was fetched from the
// hook table runs its operation only within the gate, so that it can come however late.
template <typename Operations>
struct Connected {
  StackInterface* held = nullptr;
  Operations operations = {};
  RundownGate gate;

  // Whether the operations may be called from here on.
  bool Connect(const GUID& guid) {
    if (StackInterfaceAcquire(owner.LowerDevice, &held, &guid) != kInterfaceOk) return false;
    if (StackInterfaceGetTable(held, &operations, sizeof(operations)) != kInterfaceOk) return false;
    gate.Open();
    return true;
  }
  void Disconnect() {
    gate.Close();
    if (held != nullptr) StackInterfaceRelease(held);
    Forget();
  }
  void Forget() {
    held = nullptr;
    operations = {};
  }
};

constinit Connected<PerfStatsInterface> statistics;
constinit Connected<PerfDebugInterface> debug;
constinit Connected<PerfModeInterface> mode;

// The entry of a hook: puts the owner's device in front of its arguments and calls the operation.
template <auto& connected, auto operation>
struct Forward;

template <auto& connected, typename Operations, typename Result, typename... Arguments,
          Result (*Operations::*operation)(PDEVICE_OBJECT, Arguments...)>
struct Forward<connected, operation> {
  static Result Call(Arguments... arguments) {
    if (!connected.gate.Enter()) return Result();
    if constexpr (std::is_void_v<Result>) {
      (connected.operations.*operation)(owner.PDO, arguments...);
      connected.gate.Leave();
    } else {
      const Result result = (connected.operations.*operation)(owner.PDO, arguments...);
      connected.gate.Leave();
      return result;
    }
  }
};

template <auto operation>
constexpr auto kToStatistics = &Forward<statistics, operation>::Call;
template <auto operation>
constexpr auto kToMode = &Forward<mode, operation>::Call;

// The line's module and place stand in the record of the statement that it came from.
void SendLine(ULONG Level, const char* Line) {
  TraceRecord* const record = TraceRecordFind();
  if (record == nullptr || record->ModuleHandle < 0) return;
  record->Magic1 = 0;
  record->Magic2 = 0;
  if (!debug.gate.Enter()) return;
  debug.operations.TakeLine(owner.PDO, ModuleTable[record->ModuleHandle].ServiceHandle,
                            record->Location, record->Aux1, record->Aux2, 0, 0, 0, 0, Level, Line,
                            &Line + 1);
  debug.gate.Leave();
}

void EnableStat(ULONG id) {
  if (id < kStatIds) PerfHooks.PerfModeCall2(id, 1);
}

void SetStatisticsHooks() {
  using Stats = PerfStatsInterface;
  PerfHooks.PerfTimerStart.Set(kToStatistics<&Stats::TimerStart>);
  PerfHooks.PerfTimerStop.Set(kToStatistics<&Stats::TimerStop>);
  PerfHooks.PerfTimerReset.Set(kToStatistics<&Stats::TimerReset>);
  PerfHooks.PerfCounterAdd.Set(kToStatistics<&Stats::CounterAdd>);
  PerfHooks.PerfCounterSet.Set(kToStatistics<&Stats::CounterSet>);
  PerfHooks.PerfSetName.Set(kToStatistics<&Stats::SetName>);
  PerfHooks.PerfSpanStart.Set(kToStatistics<&Stats::SpanStart>);
  PerfHooks.PerfSpanStop.Set(kToStatistics<&Stats::SpanStop>);
  PerfHooks.PerfSpanReset.Set(kToStatistics<&Stats::SpanReset>);
  PerfHooks.PerfSpanName.Set(kToStatistics<&Stats::SpanName>);
  PerfHooks.PerfSpanAdd.Set(kToStatistics<&Stats::SpanAdd>);
  PerfHooks.PerfSpanSet.Set(kToStatistics<&Stats::SpanSet>);
}

void SetModeHooks() {
  using Mode = PerfModeInterface;
  PerfHooks.PerfModeCall1.Set(kToMode<&Mode::Call1>);
  PerfHooks.PerfModeCall2.Set(kToMode<&Mode::Call2>);
  PerfHooks.PerfRegisterGlobalFlag.Set(kToMode<&Mode::RegisterGlobalFlag>);
  PerfHooks.PerfModeCall4.Set(kToMode<&Mode::Call4>);
  PerfHooks.PerfModeQuery.Set(kToMode<&Mode::Query>);
  PerfHooks.PerfModeEnableStat.Set(&EnableStat);
}

class ConnectionHold {
 public:
  ConnectionHold() {
    KeWaitForSingleObject(&connectionMutex, Executive, KernelMode, FALSE, nullptr);
  }
  ~ConnectionHold() { KeReleaseMutex(&connectionMutex, FALSE); }
  ConnectionHold(const ConnectionHold&) = delete;
  ConnectionHold& operator=(const ConnectionHold&) = delete;
};

}  // namespace

PAGEABLE_CODE void ConnectionInit() {
  KeInitializeMutex(&connectionMutex, 0);
  owner = {};
  statistics.Forget();
  statistics.gate.Init();
  debug.Forget();
  debug.gate.Init();
  mode.Forget();
  mode.gate.Init();
}

PAGEABLE_CODE ULONG ReadPerfMode(PDEVICE_OBJECT PDO) {
  ULONG value = 0;
  ReadDeviceDword(PDO, PLUGPLAY_REGKEY_DEVICE, WIDE_TEXT("ZRPerfMode"), &value);
  return value;
}

PAGEABLE_CODE void AttachToService(PDEVICE_OBJECT FDO, PDEVICE_OBJECT LowerDevice,
                                   PDEVICE_OBJECT PDO) {
  const ConnectionHold hold;
  if (owner.PDO != nullptr) return;
  owner = {FDO, LowerDevice, PDO};
  const ULONG perfMode = ReadPerfMode(PDO);
  if (statistics.Connect(kStatsInterface)) SetStatisticsHooks();
  if (debug.Connect(kDebugInterface)) {
    PerfHooks.PerfDebugSink.Set(&SendLine);
    debug.operations.TakeModules(owner.PDO, ModuleTable, ModuleCount);
  }
  if (perfMode == kModeWithFlags && mode.Connect(kModeInterface)) SetModeHooks();
  const bool isConnected =
      statistics.held != nullptr || debug.held != nullptr || mode.held != nullptr;
  if (!isConnected) owner = {};
}

PAGEABLE_CODE void DetachFromService() {
  const ConnectionHold hold;
  SetServiceHooksIdle();
  debug.Disconnect();
  statistics.Disconnect();
  mode.Disconnect();
  owner = {};
}
