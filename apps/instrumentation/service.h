// An instrumentation service for the host: a driver on a device's stack, below the filter, that
// answers the queries for its interfaces, keeps the statistics by number, takes debug lines, sets
// levels and enable words, and holds the named flags.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/control/io_control.h"
#include "support/instrumentation/service_interface.h"

namespace zr::instrumentation {

/// A number of the driver's statistics: a counter, a timer or a span, as it is reported.
struct Statistic {
  std::string name;
  int64_t value = 0;       ///< What was counted.
  uint64_t intervals = 0;  ///< That were timed.
  uint64_t nanoseconds = 0;
};

/// Which queries are answered, and how.
struct Answers {
  bool statistics = true;
  bool debug = true;
  bool mode = true;
  bool tablesFail = false;  ///< The interfaces are there, but give no operations.
};

class Service {
 public:
  /// Gets each line with its module and level, on the thread and at the IRQL of the statement.
  using LineSink = std::function<void(const std::string& module, ULONG level, const char* line)>;

  /// Attaches a device to the stack of physicalDevice. Throws std::runtime_error if that fails.
  explicit Service(PDEVICE_OBJECT physicalDevice);
  /// The devices above must be off the stack.
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  /// Holds for the queries that come from here on.
  void SetAnswers(const Answers& answers);
  void SetLineSink(LineSink sink);

  std::map<ULONG, Statistic> Statistics() const;
  /// Which modules the driver has shown, in their order.
  std::vector<std::string> Modules() const;
  /// Sets the module's level and enable word, or every module's where the name is empty.
  void SetModule(const std::string& name, ULONG level, ULONG enable);
  /// Sets a flag that the driver has registered; false if there is none of that name.
  bool SetFlag(const std::string& name, ULONG value);
  /// Interfaces that are out: references that were not given back.
  int References() const;

 private:
  struct Operations;
  enum class Kind { kStatistics, kDebug, kMode };
  struct Interface {
    Service* service;
    Kind kind;
  };
  struct Flag {
    ULONG index;
    GlobalFlagHandler handler;
    PVOID context;
  };
  struct Running {
    Statistic statistic;
    std::vector<uint64_t> startedAt;  // Intervals may overlap: several devices, one number.
  };

  static NTSTATUS NTAPI Enter(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);
  static NTSTATUS NTAPI Dispatch(PDEVICE_OBJECT device, PIRP irp);
  bool AnswerQuery(PIRP irp);

  host::LoadedDriver driver_;
  PDEVICE_OBJECT const physicalDevice_;
  PDEVICE_OBJECT device_ = nullptr;
  PDEVICE_OBJECT lower_ = nullptr;
  Interface interfaces_[3];

  mutable std::mutex lock_;  // Guards what follows.
  Answers answers_;
  int references_ = 0;
  std::map<ULONG, Running> statistics_;
  std::vector<ModuleTableEntry*> modules_;
  std::map<std::string, Flag> flags_;
  LineSink sink_;
};

}  // namespace zr::instrumentation
