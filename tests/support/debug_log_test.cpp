// Which lines go where and what they look like, the bounds of the line, and finding the record.
#include "support/debug_log.h"

#include <array>
#include <string>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "support/trace_record.h"
#include "tests/support/support_fixture.h"

using namespace zr::test;

namespace {

// Hooks are plain functions: what they saw is kept here.
std::vector<std::string> debuggerLines;
std::vector<LONG> foundHandles;

class DebugLog : public SupportFixture {
 protected:
  DebugLog() {
    KeepLines();
    debuggerLines.clear();
    foundHandles.clear();
    zr::host::SetDebugSink([](std::string_view text) { debuggerLines.emplace_back(text); });
    SetState(7, 2, 0);
  }

  static void SetState(LONG handle, ULONG level, ULONG enable) {
    g_DeviceLog.State().Handle = handle;
    g_DeviceLog.State().Level = level;
    g_DeviceLog.State().Enable = enable;
  }
};

TEST_F(DebugLog, FlagsDecideWhereALineGoesAndHowItLooks) {
  constexpr const char* kPlain = "ZRPOPFLT.Device: value 5\n";
  constexpr const char* kError = "=>ERR ZRPOPFLT.Device: value 5\n";
  constexpr const char* kWarning = "=>WARN ZRPOPFLT.Device: value 5\n";
  constexpr const char* kRaw = "value 5\n";
  constexpr const char* kMarked = "'=>ERR ZRPOPFLT.Device: value 5\n";
  const struct {
    ULONG flags;
    ULONG level;
    ULONG enable;
    const char* toDebugger;  // Null for no line.
    const char* toSink;
    std::size_t breaks;
    const char* what;
  } rows[] = {
      {1, 2, 0, nullptr, kPlain, 0, "not enabled: the sink alone"},
      {2, 2, 1, kPlain, kPlain, 0, "at the level"},
      {3, 2, 1, nullptr, kPlain, 0, "above the level"},
      {3, 0x13, 1, kPlain, kPlain, 0, "the level counts in its low four bits"},
      {4, 0x13, 1, nullptr, kPlain, 0, "and in no more"},
      {0x8000001, 2, 1, kError, kError, 0, "an error"},
      {0x4000002, 2, 1, kWarning, kWarning, 0, "a warning"},
      {0xC000001, 2, 1, kError, kError, 0, "error wins over warning"},
      {0x48000001, 2, 1, kMarked, kMarked, 0, "the prefix mark"},
      {0x6C000001, 2, 1, kRaw, kRaw, 0, "raw wins over all of the prefix"},
      {0x01000001, 2, 1, kPlain, nullptr, 0, "debugger only"},
      {0x01000003, 2, 1, nullptr, nullptr, 0, "debugger only, but above the level"},
      {0x00800001, 2, 1, nullptr, nullptr, 0, "dropped"},
      {0x80000001, 2, 1, kPlain, kPlain, 1, "a break behind the debugger's line"},
      {0x80000003, 2, 1, nullptr, kPlain, 0, "no line, no break"},
      {0x00700001, 2, 1, kPlain, kPlain, 0, "other bits mean nothing"},
  };
  for (const auto& row : rows) {
    keptLines.clear();
    debuggerLines.clear();
    const std::size_t breaks = zr::host::BreakPointCount();
    SetState(7, row.level, row.enable);
    g_DeviceLog.Log(row.flags, "value %d\n", 5);
    decltype(keptLines) toSink;
    if (row.toSink != nullptr) toSink.emplace_back(row.flags & 0xF, row.toSink);
    EXPECT_EQ(keptLines, toSink) << row.what;
    std::string toDebugger;
    for (const auto& line : debuggerLines) {
      if (line.starts_with("ZRPOP") || line.find("value") != std::string::npos) toDebugger += line;
    }
    EXPECT_EQ(toDebugger, row.toDebugger == nullptr ? "" : row.toDebugger) << row.what;
    EXPECT_EQ(zr::host::BreakPointCount() - breaks, row.breaks) << row.what;
  }
}

TEST_F(DebugLog, ADroppedStatementDoesNotTouchItsArguments) {
  const auto* const nowhere = reinterpret_cast<const char*>(8);
  g_DeviceLog.Log(0x00800001, "%s\n", nowhere);
  g_DeviceLog.Log(0x01000009, "%s\n", nowhere);
  EXPECT_TRUE(keptLines.empty());
}

TEST_F(DebugLog, LinesAreCutAtTheirBuffer) {
  SetState(7, 2, 1);
  const std::string longText(5000, 'x');
  g_DeviceLog.Log(1, "%s\n", longText.c_str());
  g_DeviceLog.Log(1 | kLogRaw, "%s\n", longText.c_str());
  ASSERT_EQ(keptLines.size(), 2U);
  const std::string prefix = "ZRPOPFLT.Device: ";
  EXPECT_EQ(keptLines[0].second, prefix + std::string(511 - prefix.size(), 'x'));
  EXPECT_EQ(keptLines[1].second, std::string(511, 'x'));
  EXPECT_EQ(debuggerLines, (std::vector<std::string>{keptLines[0].second, keptLines[1].second}));
}

TEST_F(DebugLog, TextsAndPointersPrintAtAnyLevel) {
  const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
  SetState(7, 2, 1);
  g_DeviceLog.Log(1, "%s\n", "100%s%n");
  g_DeviceLog.Log(1, "status 0x%lx\n", LogWord(STATUS_UNSUCCESSFUL));
  EXPECT_EQ(debuggerLines, (std::vector<std::string>{"ZRPOPFLT.Device: 100%s%n\n",
                                                     "ZRPOPFLT.Device: status 0xc0000001\n"}));
}

TEST_F(DebugLog, WideTextPrints) {
  g_DeviceLog.LogWide(1, "PDO(0x%lx): ID(%S)\n", LogWord(reinterpret_cast<void*>(0xabc)),
                      WIDE_TEXT("USB\\VID_1"));
  ASSERT_EQ(keptLines.size(), 1U);
  EXPECT_EQ(keptLines[0].second, "ZRPOPFLT.Device: PDO(0xabc): ID(USB\\VID_1)\n");
}

// Statements inside statements, as where a hook's own code logs: each must find its own record.
int nestingDepth = 0;
DebugModule* const kNested[] = {&g_DrvMainLog, &g_DeviceLog, &g_RegistryLog, &g_USBIrpsLog};

void LogDeeper(ULONG /*level*/, const char* /*line*/) {
  const int depth = nestingDepth++;
  if (depth < 3) kNested[depth + 1]->Log(1, "depth %d\n", depth + 1);
  TraceRecord* const record = TraceRecordFind();
  foundHandles.push_back(record == nullptr ? -99 : record->ModuleHandle);
  if (record != nullptr) TraceRecordClear(record);
}

TEST_F(DebugLog, TheRecordFoundIsThatOfTheInnermostStatement) {
  for (LONG i = 0; i < 4; ++i)
    kNested[i]->State().Handle = 10 + i;
  PerfHooks.PerfDebugSink.Set(&LogDeeper);
  nestingDepth = 0;
  kNested[0]->Log(1, "depth %d\n", 0);
  EXPECT_EQ(foundHandles, (std::vector<LONG>{13, 12, 11, 10}));
}

TEST_F(DebugLog, NoRecordOutsideOfAStatement) {
  // A statement has just left its record's place.
  g_DeviceLog.Log(1, "value %d\n", 5);
  EXPECT_EQ(TraceRecordFind(), nullptr);
}

TEST(TraceRecords, OnlyAWholeRecordCounts) {
  TraceRecord record;
  TraceRecordFill(&record, 42);
  EXPECT_EQ(TraceRecordFind(), &record);
  record.Aux1 = 1;
  EXPECT_EQ(TraceRecordFind(), nullptr) << "a checksum that does not agree";
  record.ChecksumLow += 1;
  EXPECT_EQ(TraceRecordFind(), &record);
  TraceRecordFill(&record, -1);
  EXPECT_EQ(TraceRecordFind(), &record) << "a full module table's handle";
  TraceRecordClear(&record);
  EXPECT_EQ(TraceRecordFind(), nullptr);
}

// Words of the stack for records at any place, every position that a compiler might choose.
constexpr std::size_t kWords = 480;
constexpr std::size_t kFarthest = (kWords * sizeof(void*) - sizeof(TraceRecord));

// Where the scan begins: a function without arguments, called like TraceRecordFind.
[[gnu::noinline]] ULONG_PTR FrameOfACall() {
  return reinterpret_cast<ULONG_PTR>(__builtin_frame_address(0));
}

TEST(TraceRecords, TheScanFindsEveryPositionUpToItsEnd) {
  alignas(8) unsigned char words[kWords * sizeof(void*)] = {};
  const ULONG_PTR end = FrameOfACall() + 375 * sizeof(void*);
  for (std::size_t offset = 0; offset <= kFarthest; offset += alignof(TraceRecord)) {
    auto* const record = new (words + offset) TraceRecord;
    TraceRecordFill(record, 42);
    const bool isWithin = reinterpret_cast<ULONG_PTR>(record) < end;
    EXPECT_EQ(TraceRecordFind(), isWithin ? record : nullptr) << offset;
    TraceRecordClear(record);
  }
  EXPECT_GT(reinterpret_cast<ULONG_PTR>(words) + kFarthest, end);
}

}  // namespace
