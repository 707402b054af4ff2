#include "apps/instrumentation/service.h"

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace zr::instrumentation {
namespace {

uint64_t Now() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

int64_t ValueOf(ULONG low, ULONG high) {
  return static_cast<int64_t>(uint64_t{high} << 32 | low);
}

bool IsSame(const GUID& one, const GUID& other) {
  return std::memcmp(&one, &other, sizeof(GUID)) == 0;
}

// The operations get the physical device of the connection and nothing of the service's.
struct Directory {
  std::mutex lock;
  std::map<PDEVICE_OBJECT, Service*> services;
};
Directory& AllServices() {
  static Directory directory;
  return directory;
}
Service& ServiceOf(PDEVICE_OBJECT pdo) {
  const std::lock_guard guard(AllServices().lock);
  return *AllServices().services.at(pdo);
}

}  // namespace

// What the interfaces hand out; members of the service in all but their calling.
struct Service::Operations {
  template <typename Change>
  static void ChangeStatistic(PDEVICE_OBJECT pdo, ULONG id, Change change) {
    Service& self = ServiceOf(pdo);
    const std::lock_guard guard(self.lock_);
    change(self.statistics_[id]);
  }

  static void Start(PDEVICE_OBJECT pdo, ULONG id) {
    ChangeStatistic(pdo, id, [](Running& running) { running.startedAt.push_back(Now()); });
  }
  static void Stop(PDEVICE_OBJECT pdo, ULONG id) {
    ChangeStatistic(pdo, id, [](Running& running) {
      if (running.startedAt.empty()) return;
      ++running.statistic.intervals;
      running.statistic.nanoseconds += Now() - running.startedAt.back();
      running.startedAt.pop_back();
    });
  }
  static void Reset(PDEVICE_OBJECT pdo, ULONG id) {
    ChangeStatistic(pdo, id, [](Running& running) {
      running.startedAt.clear();
      running.statistic = {.name = std::move(running.statistic.name)};
    });
  }
  static void Add(PDEVICE_OBJECT pdo, ULONG id, ULONG low, ULONG high) {
    ChangeStatistic(pdo, id,
                    [=](Running& running) { running.statistic.value += ValueOf(low, high); });
  }
  static void Set(PDEVICE_OBJECT pdo, ULONG id, ULONG low, ULONG high) {
    ChangeStatistic(pdo, id,
                    [=](Running& running) { running.statistic.value = ValueOf(low, high); });
  }
  static void Name(PDEVICE_OBJECT pdo, ULONG id, const char* name) {
    ChangeStatistic(pdo, id, [=](Running& running) { running.statistic.name = name; });
  }

  static void TakeModules(PDEVICE_OBJECT pdo, ModuleTableEntry* modules, LONG count) {
    Service& self = ServiceOf(pdo);
    const std::lock_guard guard(self.lock_);
    self.modules_.clear();
    for (LONG i = 0; i < count; ++i) {
      modules[i].ServiceHandle = reinterpret_cast<ULONG_PTR>(&modules[i]);
      self.modules_.push_back(&modules[i]);
    }
  }
  static void TakeLine(PDEVICE_OBJECT pdo, ULONG_PTR serviceHandle, const char* /*location*/,
                       ULONG /*aux1*/, ULONG /*aux2*/, ULONG /*zero1*/, ULONG /*zero2*/,
                       ULONG /*zero3*/, ULONG /*zero4*/, ULONG level, const char* line,
                       const void* /*behindLine*/) {
    Service& self = ServiceOf(pdo);
    const auto* const module = reinterpret_cast<const ModuleTableEntry*>(serviceHandle);
    LineSink sink;
    {
      const std::lock_guard guard(self.lock_);
      sink = self.sink_;
    }
    if (sink && module != nullptr) sink(module->Name, level, line);
  }

  static void Ignore(PDEVICE_OBJECT /*pdo*/, ULONG_PTR /*first*/, ULONG_PTR /*second*/) {}
  static ULONG Query(PDEVICE_OBJECT /*pdo*/, ULONG_PTR /*word*/) { return 0; }
  static void RegisterFlag(PDEVICE_OBJECT pdo, ULONG index, const char* name,
                           GlobalFlagHandler handler, PVOID context) {
    Service& self = ServiceOf(pdo);
    const std::lock_guard guard(self.lock_);
    self.flags_[name] = {.index = index, .handler = handler, .context = context};
  }

  static void Reference(PVOID context) {
    Service& self = *static_cast<Interface*>(context)->service;
    const std::lock_guard guard(self.lock_);
    ++self.references_;
  }
  static ULONG Dereference(PVOID context) {
    Service& self = *static_cast<Interface*>(context)->service;
    const std::lock_guard guard(self.lock_);
    if (--self.references_ == 0) {
      // The driver may be gone from here on.
      self.modules_.clear();
      self.flags_.clear();
    }
    return 0;
  }
  static ULONG GetTable(PVOID context, PVOID table, ULONG size) {
    constexpr PerfStatsInterface kStatistics = {&Start, &Stop, &Reset, &Add,  &Set, &Name,
                                                &Start, &Stop, &Reset, &Name, &Add, &Set};
    constexpr PerfDebugInterface kDebug = {&TakeModules, &TakeLine};
    constexpr PerfModeInterface kMode = {&Ignore, &Ignore, &RegisterFlag, &Ignore, &Query};
    const auto copy = [table, size](const auto& operations) -> ULONG {
      if (size != sizeof(operations)) return 1;
      std::memcpy(table, &operations, size);
      return 0;
    };
    const auto& interface = *static_cast<const Interface*>(context);
    {
      const std::lock_guard guard(interface.service->lock_);
      if (interface.service->answers_.tablesFail) return 1;
    }
    switch (interface.kind) {
      case Kind::kStatistics:
        return copy(kStatistics);
      case Kind::kDebug:
        return copy(kDebug);
      case Kind::kMode:
        return copy(kMode);
    }
    return 1;
  }
};

NTSTATUS NTAPI Service::Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &Dispatch;
  return STATUS_SUCCESS;
}

Service::Service(PDEVICE_OBJECT physicalDevice)
    : driver_(&Enter),
      physicalDevice_(physicalDevice),
      interfaces_{{this, Kind::kStatistics}, {this, Kind::kDebug}, {this, Kind::kMode}} {
  if (!NT_SUCCESS(IoCreateDevice(driver_.Object(), sizeof(PVOID), nullptr, FILE_DEVICE_UNKNOWN, 0,
                                 FALSE, &device_))) {
    throw std::runtime_error("the instrumentation service's device cannot be created");
  }
  *static_cast<Service**>(device_->DeviceExtension) = this;
  {
    const std::lock_guard guard(AllServices().lock);
    AllServices().services[physicalDevice] = this;
  }
  lower_ = IoAttachDeviceToDeviceStack(device_, physicalDevice);
  device_->Flags |= lower_->Flags & DO_POWER_PAGABLE;
  device_->Flags &= ~DO_DEVICE_INITIALIZING;
}

Service::~Service() {
  IoDetachDevice(lower_);
  IoDeleteDevice(device_);
  const std::lock_guard guard(AllServices().lock);
  AllServices().services.erase(physicalDevice_);
}

NTSTATUS NTAPI Service::Dispatch(PDEVICE_OBJECT device, PIRP irp) {
  Service& self = **static_cast<Service**>(device->DeviceExtension);
  const IO_STACK_LOCATION& location = *IoGetCurrentIrpStackLocation(irp);
  if (location.MajorFunction == IRP_MJ_PNP && location.MinorFunction == IRP_MN_QUERY_INTERFACE &&
      self.AnswerQuery(irp)) {
    irp->IoStatus.Status = STATUS_SUCCESS;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return STATUS_SUCCESS;
  }
  const bool isPower = location.MajorFunction == IRP_MJ_POWER;
  if (isPower) PoStartNextPowerIrp(irp);
  IoSkipCurrentIrpStackLocation(irp);
  return isPower ? PoCallDriver(self.lower_, irp) : IoCallDriver(self.lower_, irp);
}

bool Service::AnswerQuery(PIRP irp) {
  const auto& query = IoGetCurrentIrpStackLocation(irp)->Parameters.QueryInterface;
  if (query.Size != sizeof(StackInterface)) return false;
  const std::lock_guard guard(lock_);
  const struct {
    const GUID& guid;
    bool isAnswered;
  } rows[] = {{kStatsInterface, answers_.statistics},
              {kDebugInterface, answers_.debug},
              {kModeInterface, answers_.mode}};
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    if (!rows[i].isAnswered || !IsSame(*query.InterfaceType, rows[i].guid)) continue;
    *reinterpret_cast<StackInterface*>(query.Interface) = {.Size = sizeof(StackInterface),
                                                           .Version = 0,
                                                           .Context = &interfaces_[i],
                                                           .Unread1 = nullptr,
                                                           .Reference = &Operations::Reference,
                                                           .Dereference = &Operations::Dereference,
                                                           .Unread2 = {},
                                                           .GetTable = &Operations::GetTable};
    return true;
  }
  return false;
}

void Service::SetAnswers(const Answers& answers) {
  const std::lock_guard guard(lock_);
  answers_ = answers;
}

void Service::SetLineSink(LineSink sink) {
  const std::lock_guard guard(lock_);
  sink_ = std::move(sink);
}

std::map<ULONG, Statistic> Service::Statistics() const {
  const std::lock_guard guard(lock_);
  std::map<ULONG, Statistic> statistics;
  for (const auto& [id, running] : statistics_)
    statistics[id] = running.statistic;
  return statistics;
}

std::vector<std::string> Service::Modules() const {
  const std::lock_guard guard(lock_);
  std::vector<std::string> names;
  for (const ModuleTableEntry* module : modules_)
    names.emplace_back(module->Name);
  return names;
}

void Service::SetModule(const std::string& name, ULONG level, ULONG enable) {
  const std::lock_guard guard(lock_);
  for (const ModuleTableEntry* module : modules_) {
    if (name.empty() || name == module->Name) module->Callback(level, enable);
  }
}

bool Service::SetFlag(const std::string& name, ULONG value) {
  Flag flag = {};
  {
    const std::lock_guard guard(lock_);
    const auto found = flags_.find(name);
    if (found == flags_.end()) return false;
    flag = found->second;
  }
  flag.handler(flag.context, flag.index, value);
  return true;
}

int Service::References() const {
  const std::lock_guard guard(lock_);
  return references_;
}

}  // namespace zr::instrumentation
