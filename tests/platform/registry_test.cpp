// The registry: keys, access, the published buffer rules, the query table, the text file, and the
// properties and keys of devices.
#include "platform/host/registry.h"

#include <cstring>
#include <optional>
#include <string>

#include "platform/host/control/execution_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "platform/host/pool.h"
#include "tests/platform/device_stack.h"

using namespace zr::host;
using namespace zr::test;
using namespace std::string_literals;

namespace {

constexpr const char16_t* kPath = u"\\Registry\\Machine\\Software\\Test";

// Of a text that outlives it.
UNICODE_STRING Counted(PCWSTR text) {
  UNICODE_STRING counted;
  RtlInitUnicodeString(&counted, text);
  return counted;
}

NTSTATUS OpenKey(const std::u16string& path, ACCESS_MASK access, HANDLE* key,
                 HANDLE root = nullptr) {
  UNICODE_STRING name = Counted(path.c_str());
  OBJECT_ATTRIBUTES attributes;
  InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, root, nullptr);
  return ZwOpenKey(key, access, &attributes);
}

NTSTATUS ReadValue(HANDLE key, PCWSTR name, PVOID buffer, ULONG length, ULONG* needed) {
  UNICODE_STRING counted = Counted(name);
  return ZwQueryValueKey(key, &counted, KeyValuePartialInformation, buffer, length, needed);
}

NTSTATUS WriteNumber(HANDLE key, PCWSTR name, ULONG number) {
  UNICODE_STRING counted = Counted(name);
  return ZwSetValueKey(key, &counted, 0, REG_DWORD, &number, sizeof number);
}

// The fixed part of what a value's reading gives: title index, type and length of the data.
constexpr ULONG kFixed = 12;

std::string Wide(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR)};
}

RTL_QUERY_REGISTRY_TABLE Direct(PVOID destination, ULONG defaultType = REG_NONE,
                                PVOID defaultData = nullptr, ULONG defaultLength = 0) {
  auto* const name = const_cast<PWSTR>(u"v");
  return {nullptr,      RTL_QUERY_REGISTRY_DIRECT, name, destination, defaultType, defaultData,
          defaultLength};
}

// A query of one entry.
NTSTATUS Query(HANDLE key, const RTL_QUERY_REGISTRY_TABLE& entry, PVOID context = nullptr) {
  RTL_QUERY_REGISTRY_TABLE table[2] = {entry, {}};
  return RtlQueryRegistryValues(RTL_REGISTRY_HANDLE, static_cast<PCWSTR>(key), table, context,
                                nullptr);
}

class RegistryTest : public testing::Test {
 protected:
  RegistryTest() {
    ClearRegistry();
    CreateRegistryKey(kPath);
    EXPECT_EQ(STATUS_SUCCESS, OpenKey(kPath, KEY_ALL_ACCESS, &key_));
  }
  ~RegistryTest() override {
    EXPECT_EQ(STATUS_SUCCESS, ZwClose(key_));
    EXPECT_EQ(0U, OpenKeyCount());
    EXPECT_EQ("", PoolLeakReport());
  }

  HANDLE key_ = nullptr;
};

TEST_F(RegistryTest, PathsHandlesAndAccess) {
  for (const auto* path :
       {kPath, u"\\Registry\\Machine\\Software\\Test\\Debug", u"\\Registry\\Machine\\Limited"})
    SetRegistryDword(path, u"Default", 3);
  LimitKeyAccess(u"\\REGISTRY\\machine\\Limited", KEY_QUERY_VALUE);
  HANDLE closed = nullptr;
  OpenKey(kPath, KEY_READ, &closed);
  ZwClose(closed);
  const auto limited = u"\\Registry\\Machine\\Limited";
  constexpr NTSTATUS kNotFound = STATUS_OBJECT_NAME_NOT_FOUND;
  constexpr NTSTATUS kInvalid = STATUS_OBJECT_NAME_INVALID;
  const struct {
    std::u16string path;
    HANDLE root;
    ACCESS_MASK access;
    NTSTATUS expected;
  } rows[] = {
      {u"\\registry\\MACHINE\\software\\tEST\\dEBUG", nullptr, KEY_READ, STATUS_SUCCESS},
      {u"Debug", key_, KEY_ALL_ACCESS, STATUS_SUCCESS},
      {u"Debug", key_, KEY_SET_VALUE, STATUS_SUCCESS},
      {u"", key_, KEY_READ, STATUS_SUCCESS},
      {u"Debug\\More", key_, KEY_READ, kNotFound},
      {u"\\Registry\\Machine\\Software\\Tes", nullptr, KEY_READ, kNotFound},
      {u"\\Debug", key_, KEY_READ, kInvalid},
      {u"Registry\\Machine", nullptr, KEY_READ, kInvalid},
      {u"\\Registry\\\\Machine", nullptr, KEY_READ, kInvalid},
      {u"Debug", closed, KEY_READ, STATUS_INVALID_HANDLE},
      {limited, nullptr, KEY_QUERY_VALUE, STATUS_SUCCESS},
      {limited, nullptr, KEY_QUERY_VALUE | KEY_SET_VALUE, STATUS_ACCESS_DENIED},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.path));
    HANDLE key = nullptr;
    EXPECT_EQ(row.expected, OpenKey(row.path, row.access, &key, row.root));
    if (!NT_SUCCESS(row.expected)) continue;
    // A handle carries its access.
    ULONG number = 5;
    ULONG buffer[8];
    const NTSTATUS reading =
        (row.access & KEY_QUERY_VALUE) != 0 ? STATUS_SUCCESS : STATUS_ACCESS_DENIED;
    const NTSTATUS writing =
        (row.access & KEY_SET_VALUE) != 0 ? STATUS_SUCCESS : STATUS_ACCESS_DENIED;
    EXPECT_EQ(reading, ReadValue(key, u"DEFAULT", buffer, sizeof buffer, &number));
    EXPECT_EQ(reading, Query(key, Direct(&number)));
    EXPECT_EQ(writing, WriteNumber(key, u"Default", number));
    EXPECT_EQ(STATUS_SUCCESS, ZwClose(key));
  }
  EXPECT_EQ(STATUS_INVALID_HANDLE, ZwClose(closed));
}

TEST_F(RegistryTest, PartialInformationAtEveryBufferLength) {
  SetRegistryValue(kPath, u"v", REG_BINARY, "abcde");
  const std::string whole = "\0\0\0\0\3\0\0\0\5\0\0\0abcde"s;
  const auto size = static_cast<ULONG>(whole.size());
  ULONG needed = 0;
  for (ULONG length = 0; length <= size + 1; ++length) {
    SCOPED_TRACE(length);
    std::string buffer(32, '#');
    EXPECT_EQ(length < kFixed ? STATUS_BUFFER_TOO_SMALL
              : length < size ? STATUS_BUFFER_OVERFLOW
                              : STATUS_SUCCESS,
              ReadValue(key_, u"v", buffer.data(), length, &needed));
    EXPECT_EQ(size, needed);
    const std::string written = whole.substr(0, length < kFixed ? 0 : length);
    EXPECT_EQ(written + std::string(32 - written.size(), '#'), buffer);
  }
  EXPECT_EQ(STATUS_OBJECT_NAME_NOT_FOUND, ReadValue(key_, u"w", nullptr, 0, &needed));
}

// What a direct entry makes of each kind of value in a destination of one number.
TEST_F(RegistryTest, DirectNumber) {
  constexpr ULONG kOld = 0x5555'5555;
  constexpr ULONG kRequired = RTL_QUERY_REGISTRY_REQUIRED;
  constexpr NTSTATUS kMismatch = STATUS_OBJECT_TYPE_MISMATCH;
  const auto number = "\4\3\2\1"s;
  const struct {
    const char* name;
    ULONG type;
    std::optional<std::string> data;
    ULONG flags;
    ULONG defaultType;
    NTSTATUS status;
    ULONG expected;
  } rows[] = {
      {"value", REG_DWORD, number, 0, REG_DWORD, STATUS_SUCCESS, 0x01020304},
      {"value, no default", REG_DWORD, number, 0, REG_NONE, STATUS_SUCCESS, 0x01020304},
      {"short binary", REG_BINARY, "\4\3", 0, REG_DWORD, STATUS_SUCCESS, 0x5555'0304},
      {"missing", REG_NONE, {}, 0, REG_DWORD, STATUS_SUCCESS, 77},
      {"missing, no default", REG_NONE, {}, 0, REG_NONE, STATUS_SUCCESS, kOld},
      {"required", REG_NONE, {}, kRequired, REG_DWORD, STATUS_OBJECT_NAME_NOT_FOUND, kOld},
      {"string for a number", REG_SZ, "a\0\0\0"s, 0, REG_DWORD, kMismatch, kOld},
      {"long binary for a number", REG_BINARY, "12345678", 0, REG_DWORD, kMismatch, kOld},
      {"unknown flag", REG_DWORD, number, 0x40, REG_DWORD, STATUS_INVALID_PARAMETER, kOld},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WCHAR name[] = {static_cast<WCHAR>(u'a' + (&row - rows)), 0};
    if (row.data) SetRegistryValue(kPath, name, row.type, *row.data);
    ULONG destination = kOld;
    ULONG defaultNumber = 77;
    auto entry = Direct(&destination, row.defaultType, &defaultNumber, sizeof defaultNumber);
    entry.Name = name;
    entry.Flags |= row.flags;
    EXPECT_EQ(row.status, Query(key_, entry));
    EXPECT_EQ(row.expected, destination);
  }
}

TEST_F(RegistryTest, DirectString) {
  // The first default is the destination itself, its length left to the terminator.
  const struct {
    const char16_t* stored;  // Without its terminator.
    NTSTATUS status;
    const char16_t* text;
  } rows[] = {{nullptr, STATUS_SUCCESS, u"self"},
              {u"12345", STATUS_SUCCESS, u"12345"},
              {u"123456", STATUS_BUFFER_TOO_SMALL, u"12345"}};
  WCHAR buffer[6] = u"self";
  UNICODE_STRING string = {8, sizeof buffer, buffer};
  for (const auto& row : rows) {
    if (row.stored != nullptr) SetRegistryValue(kPath, u"v", REG_SZ, Wide(row.stored));
    EXPECT_EQ(row.status, Query(key_, Direct(&string, REG_SZ, buffer)));
    EXPECT_EQ(row.text, std::u16string(buffer, string.Length / sizeof(WCHAR)));
    EXPECT_EQ(u'\0', buffer[string.Length / sizeof(WCHAR)]);
  }
  // Without a buffer the kernel makes one.
  string = {};
  EXPECT_EQ(STATUS_SUCCESS, Query(key_, Direct(&string)));
  EXPECT_EQ(u"123456", std::u16string(string.Buffer, string.Length / sizeof(WCHAR)));
  ExFreePool(string.Buffer);
  string = {};
  const FailNthAllocation fail(1);
  EXPECT_EQ(STATUS_NO_MEMORY, Query(key_, Direct(&string)));
}

TEST_F(RegistryTest, DirectBinaryBeginsWithTheSizeOfItsRoom) {
  SetRegistryValue(kPath, u"v", REG_BINARY, "12345678");
  const struct {
    LONG room;
    NTSTATUS status;
    std::string filled;
  } rows[] = {{-8, STATUS_SUCCESS, "12345678"},
              {-7, STATUS_BUFFER_TOO_SMALL, ""},
              {16, STATUS_SUCCESS, "\10\0\0\0\3\0\0\00012345678"s},
              {15, STATUS_BUFFER_TOO_SMALL, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.room);
    alignas(ULONG) char room[17] = {};
    std::memcpy(room, &row.room, sizeof row.room);
    EXPECT_EQ(row.status, Query(key_, Direct(room)));
    if (NT_SUCCESS(row.status)) {
      EXPECT_EQ(row.filled, std::string(room, row.filled.size()));
    }
  }
}

TEST_F(RegistryTest, CallBackRoutines) {
  struct Seen {
    std::vector<std::u16string> names;
    std::size_t stopAfter = 0;
  };
  PRTL_QUERY_REGISTRY_ROUTINE collect = [](PWSTR name, ULONG type, PVOID data, ULONG length,
                                           PVOID context, PVOID entryContext) -> NTSTATUS {
    auto& seen = *static_cast<Seen*>(context);
    EXPECT_EQ(&seen.stopAfter, entryContext);
    EXPECT_EQ(REG_SZ, type);
    EXPECT_EQ(u"x\0"s, std::u16string(static_cast<WCHAR*>(data), length / sizeof(WCHAR)));
    seen.names.emplace_back(name);
    return seen.names.size() == seen.stopAfter ? STATUS_UNSUCCESSFUL : STATUS_SUCCESS;
  };
  SetRegistryValue(kPath, u"one", REG_SZ, Wide(u"x"));
  SetRegistryValue(kPath, u"Two", REG_SZ, Wide(u"x\0"s));
  Seen seen;
  const auto query = [&](PCWSTR path, PCWSTR name, std::size_t stopAfter) {
    seen = {{}, stopAfter};
    RTL_QUERY_REGISTRY_TABLE table[2] = {
        {collect, 0, const_cast<PWSTR>(name), &seen.stopAfter, REG_SZ, const_cast<WCHAR*>(u"x"), 0},
        {}};
    return RtlQueryRegistryValues(RTL_REGISTRY_ABSOLUTE, path, table, &seen, nullptr);
  };
  EXPECT_EQ(STATUS_SUCCESS, query(kPath, nullptr, 0));
  EXPECT_THAT(seen.names, testing::UnorderedElementsAre(u"one", u"Two"));
  EXPECT_EQ(STATUS_UNSUCCESSFUL, query(kPath, nullptr, 1)) << "no success ends the query";
  EXPECT_EQ(1U, seen.names.size());
  EXPECT_EQ(STATUS_SUCCESS, query(kPath, u"three", 0)) << "a default";
  EXPECT_THAT(seen.names, testing::ElementsAre(u"three"));
  EXPECT_EQ(STATUS_OBJECT_NAME_NOT_FOUND, query(u"\\Registry\\None", nullptr, 0));
}

TEST_F(RegistryTest, TextFile) {
  LoadRegistryText(
      "\xEF\xBB\xBF# levels\r\n"
      "[\\Registry\\Machine\\Software\\Test]\r\n"
      "\"v\" = dword:00000fF3 # a comment\r\n"
      "  \"path \\\"q\\\" #\"=\"c:\\\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA4\"\r\n"
      "\"bytes\" = hex:01, 02,ff\r\n"
      "\"none\" = hex:\r\n"
      "[\\Registry\\Machine\\Empty]");
  EXPECT_EQ(0xFF3U, GetRegistryDword(kPath, u"V"));
  HANDLE key = nullptr;
  EXPECT_EQ(STATUS_SUCCESS, OpenKey(u"\\Registry\\Machine\\Empty", KEY_READ, &key));
  ZwClose(key);
  const std::pair<const char16_t*, std::string> values[] = {
      {u"path \"q\" #", Wide(u"c:\\\u00e4\u20ac\U0001F3A4\0"s)},
      {u"bytes", "\1\2\xff"},
      {u"none", ""}};
  for (const auto& [name, data] : values) {
    char buffer[64];
    ULONG length = 0;
    ASSERT_EQ(STATUS_SUCCESS, ReadValue(key_, name, buffer, sizeof buffer, &length));
    EXPECT_EQ(data, std::string(buffer + kFixed, length - kFixed));
  }
}

TEST_F(RegistryTest, FaultInTheTextChangesNothing) {
  const std::pair<const char*, const char*> faults[] = {
      {"\"v\" dword:1", "= is missing"},
      {"\"v = dword:1", "closing quote"},
      {"v = dword:1", "a line is"},
      {"\"v\" = 1", "a value is"},
      {"\"v\" = dword:", "number is missing"},
      {"\"v\" = dword:123456789", "too many digits"},
      {"\"v\" = dword:1 2", "left behind"},
      {"\"v\" = hex:1,", "number is missing"},
      {"\"v\" = hex:123", "too many digits"},
      {"\"v\" = \"c:\\temp\"", "backslash"},
      {"\"v\" = \"\xC3\"", "UTF-8"},
      {"\"v\" = \"\xC0\x80\"", "UTF-8"},
      {"\"v\" = \"\xED\xA0\x80\"", "UTF-8"},
      {"[\\Registry\\A", "] is missing"},
      {"[\\Software]", "a key is written"},
      {"[\\Registry\\\\A]", "a key is written"},
      {"[\\Registry\\A] x", "left behind"},
  };
  for (const auto& [line, what] : faults) {
    SCOPED_TRACE(line);
    std::string text = "[\\Registry\\Machine\\Software\\Test]\n\"v\" = dword:1\n";
    text.append(line).append("\n");
    try {
      LoadRegistryText(text);
      ADD_FAILURE() << "accepted";
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(),
                  testing::AllOf(testing::HasSubstr("line 3"), testing::HasSubstr(what)));
    }
    EXPECT_EQ(std::nullopt, GetRegistryDword(kPath, u"v"));
  }
  EXPECT_THROW(LoadRegistryText("\"v\" = dword:1"), std::runtime_error);
}

TEST_F(RegistryTest, NeedsPassiveLevel) {
  HANDLE key = nullptr;
  RTL_QUERY_REGISTRY_TABLE end = {};
  const AtIrql dispatch(DISPATCH_LEVEL);
  constexpr BugCheck kCode = BugCheck::kIrqlNotLessOrEqual;
  ExpectBugChecks({
      {"opening", kCode, "ZwOpenKey", [&] { OpenKey(kPath, KEY_READ, &key); }},
      {"reading", kCode, "ZwQueryValueKey", [&] { ReadValue(key_, u"v", nullptr, 0, nullptr); }},
      {"writing", kCode, "ZwSetValueKey", [&] { WriteNumber(key_, u"v", 1); }},
      {"closing", kCode, "ZwClose", [&] { ZwClose(key_); }},
      {"querying", kCode, "RtlQueryRegistryValues", [&] { Query(key_, end); }},
  });
}

TEST_F(RegistryTest, ManyThreads) {
  OnThreads(4, [](int i) {
    const char16_t name[] = {u'v', static_cast<char16_t>(u'0' + i), 0};
    for (ULONG n = 0; n < 300; ++n) {
      HANDLE key = nullptr;
      ASSERT_EQ(STATUS_SUCCESS, OpenKey(kPath, KEY_ALL_ACCESS, &key));
      EXPECT_EQ(STATUS_SUCCESS, WriteNumber(key, name, n));
      EXPECT_EQ(n, GetRegistryDword(kPath, name));
      EXPECT_EQ(STATUS_SUCCESS, ZwClose(key));
    }
  });
}

class DevicePropertiesTest : public RegistryTest {
 protected:
  DevicePropertiesTest() {
    SetDeviceProperties(physical_, {u"MIC1", {u"USB\\A", u"USB\\B"}, u"Microphone"});
  }
  Layer plain_;
  Layer bus_;
  PDEVICE_OBJECT const physical_ = bus_.Device();
};

TEST_F(DevicePropertiesTest, BufferRules) {
  WCHAR buffer[64] = {};
  ULONG length = 0;
  const auto get = [&](DEVICE_REGISTRY_PROPERTY property, ULONG room) {
    return IoGetDeviceProperty(physical_, property, room, buffer, &length);
  };
  const auto text = [&] { return std::u16string(buffer, length / sizeof(WCHAR)); };
  for (const ULONG room : {0U, 25U}) {
    EXPECT_EQ(STATUS_BUFFER_TOO_SMALL, get(DevicePropertyHardwareID, room));
    EXPECT_EQ(26U, length);
    EXPECT_EQ(u'\0', buffer[0]);
  }
  EXPECT_EQ(STATUS_SUCCESS, get(DevicePropertyHardwareID, 26));
  EXPECT_EQ(u"USB\\A\0USB\\B\0\0"s, text());
  GrowHardwareIds(physical_, 4, 1);
  EXPECT_EQ(STATUS_BUFFER_TOO_SMALL, get(DevicePropertyHardwareID, 26));
  EXPECT_EQ(30U, length);
  EXPECT_EQ(STATUS_SUCCESS, get(DevicePropertyDeviceDescription, sizeof buffer));
  EXPECT_EQ(u"Microphone\0"s, text());
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST,
            IoGetDeviceProperty(plain_.Device(), DevicePropertyHardwareID, 0, nullptr, &length));
}

// That each of the two keys is opened where it is asked for, the driver's own tests show.
TEST_F(DevicePropertiesTest, KeysAndRefusals) {
  EXPECT_EQ(u"\\Registry\\Machine\\System\\CurrentControlSet\\Enum\\MIC1\\Device Parameters",
            HardwareKeyPath(physical_));
  HANDLE key = nullptr;
  LimitKeyAccess(SoftwareKeyPath(physical_), KEY_READ);
  EXPECT_EQ(STATUS_ACCESS_DENIED,
            IoOpenDeviceRegistryKey(physical_, PLUGPLAY_REGKEY_DRIVER, 0xF0000, &key));
  EXPECT_EQ(STATUS_INVALID_PARAMETER, IoOpenDeviceRegistryKey(physical_, 3, KEY_READ, &key));
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST,
            IoOpenDeviceRegistryKey(plain_.Device(), PLUGPLAY_REGKEY_DRIVER, KEY_READ, &key));
}

}  // namespace
