// The registry: keys, access, the published buffer rules, the query table, the text file, and the
// properties and keys of devices.
#include "platform/host/registry.h"

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <thread>

#include "platform/host/control/debug_control.h"
#include "platform/host/control/execution_control.h"
#include "platform/host/control/io_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "platform/host/pool.h"

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

std::string Wide(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR)};
}

class RegistryTest : public testing::Test {
 protected:
  RegistryTest() {
    zr::host::ClearRegistry();
    zr::host::CreateRegistryKey(kPath);
  }
  ~RegistryTest() override {
    if (key_ != nullptr) {
      EXPECT_EQ(STATUS_SUCCESS, ZwClose(key_));
    }
    EXPECT_EQ(0U, zr::host::OpenKeyCount());
  }

  HANDLE Key(ACCESS_MASK access = KEY_ALL_ACCESS) {
    if (key_ == nullptr) {
      EXPECT_EQ(STATUS_SUCCESS, OpenKey(kPath, access, &key_));
    }
    return key_;
  }

  // One entry for the value "v", and the end of the table.
  NTSTATUS Query(RTL_QUERY_REGISTRY_TABLE entry, PVOID context = nullptr) {
    RTL_QUERY_REGISTRY_TABLE table[2] = {entry, {}};
    return RtlQueryRegistryValues(RTL_REGISTRY_HANDLE, static_cast<PCWSTR>(Key()), table, context,
                                  nullptr);
  }

  static RTL_QUERY_REGISTRY_TABLE Direct(PVOID destination, ULONG defaultType = REG_NONE,
                                         PVOID defaultData = nullptr, ULONG defaultLength = 0) {
    return {nullptr,
            RTL_QUERY_REGISTRY_DIRECT,
            const_cast<PWSTR>(u"v"),
            destination,
            defaultType,
            defaultData,
            defaultLength};
  }

  HANDLE key_ = nullptr;
};

TEST_F(RegistryTest, PathsHandlesAndAccess) {
  zr::host::SetRegistryDword(std::u16string(kPath) + u"\\Debug", u"Default", 3);
  zr::host::LimitKeyAccess(u"\\REGISTRY\\machine\\Limited", KEY_QUERY_VALUE);
  HANDLE closed = [] {
    HANDLE key = nullptr;
    OpenKey(kPath, KEY_READ, &key);
    ZwClose(key);
    return key;
  }();
  struct Row {
    std::u16string path;
    HANDLE root;
    ACCESS_MASK access;
    NTSTATUS expected;
  };
  const Row rows[] = {
      {u"\\registry\\MACHINE\\software\\tEST\\dEBUG", nullptr, KEY_READ, STATUS_SUCCESS},
      {u"Debug", Key(), KEY_ALL_ACCESS, STATUS_SUCCESS},
      {u"", Key(), KEY_READ, STATUS_SUCCESS},
      {u"Debug\\More", Key(), KEY_READ, STATUS_OBJECT_NAME_NOT_FOUND},
      {u"\\Registry\\Machine\\Software\\Tes", nullptr, KEY_READ, STATUS_OBJECT_NAME_NOT_FOUND},
      {u"\\Debug", Key(), KEY_READ, STATUS_OBJECT_NAME_INVALID},
      {u"Registry\\Machine", nullptr, KEY_READ, STATUS_OBJECT_NAME_INVALID},
      {u"\\Registry\\\\Machine", nullptr, KEY_READ, STATUS_OBJECT_NAME_INVALID},
      {u"Debug", closed, KEY_READ, STATUS_INVALID_HANDLE},
      {u"\\Registry\\Machine\\Limited", nullptr, KEY_QUERY_VALUE, STATUS_SUCCESS},
      {u"\\Registry\\Machine\\Limited", nullptr, KEY_QUERY_VALUE | KEY_SET_VALUE,
       STATUS_ACCESS_DENIED},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    HANDLE key = nullptr;
    EXPECT_EQ(row.expected, OpenKey(row.path, row.access, &key, row.root));
    if (NT_SUCCESS(row.expected)) {
      EXPECT_EQ(STATUS_SUCCESS, ZwClose(key));
    }
  }
  EXPECT_EQ(STATUS_INVALID_HANDLE, ZwClose(closed));
}

TEST_F(RegistryTest, HandleCarriesItsAccess) {
  struct Row {
    ACCESS_MASK access;
    NTSTATUS reading;
    NTSTATUS writing;
  };
  const Row rows[] = {
      {KEY_READ, STATUS_SUCCESS, STATUS_ACCESS_DENIED},
      {KEY_SET_VALUE, STATUS_ACCESS_DENIED, STATUS_SUCCESS},
      {STANDARD_RIGHTS_REQUIRED, STATUS_ACCESS_DENIED, STATUS_ACCESS_DENIED},
      {KEY_ALL_ACCESS, STATUS_SUCCESS, STATUS_SUCCESS},
  };
  zr::host::SetRegistryDword(kPath, u"v", 1);
  ULONG number = 5;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.access);
    HANDLE key = nullptr;
    ASSERT_EQ(STATUS_SUCCESS, OpenKey(kPath, row.access, &key));
    KEY_VALUE_PARTIAL_INFORMATION information[2];
    ULONG length = 0;
    UNICODE_STRING name = Counted(u"V");
    EXPECT_EQ(row.reading, ZwQueryValueKey(key, &name, KeyValuePartialInformation, information,
                                           sizeof information, &length));
    RTL_QUERY_REGISTRY_TABLE table[2] = {Direct(&number), {}};
    EXPECT_EQ(row.reading, RtlQueryRegistryValues(RTL_REGISTRY_HANDLE, static_cast<PCWSTR>(key),
                                                  table, nullptr, nullptr));
    EXPECT_EQ(row.writing, ZwSetValueKey(key, &name, 0, REG_DWORD, &number, sizeof number));
    ZwClose(key);
    EXPECT_EQ(STATUS_INVALID_HANDLE, ZwQueryValueKey(key, &name, KeyValuePartialInformation,
                                                     information, sizeof information, &length));
    EXPECT_EQ(STATUS_INVALID_HANDLE,
              ZwSetValueKey(key, &name, 0, REG_DWORD, &number, sizeof number));
    EXPECT_EQ(STATUS_INVALID_HANDLE,
              RtlQueryRegistryValues(RTL_REGISTRY_HANDLE, static_cast<PCWSTR>(key), table, nullptr,
                                     nullptr));
  }
}

TEST_F(RegistryTest, PartialInformationAtEveryBufferLength) {
  const std::string data = "abcde";
  zr::host::SetRegistryValue(kPath, u"v", REG_BINARY, data);
  constexpr ULONG kFixed = 12;
  const ULONG whole = kFixed + static_cast<ULONG>(data.size());
  UNICODE_STRING name = Counted(u"v");
  for (ULONG length = 0; length <= whole + 1; ++length) {
    SCOPED_TRACE(length);
    alignas(ULONG) UCHAR buffer[32];
    std::memset(buffer, 0xEE, sizeof buffer);
    ULONG needed = 0;
    const NTSTATUS status =
        ZwQueryValueKey(Key(), &name, KeyValuePartialInformation, buffer, length, &needed);
    EXPECT_EQ(length < kFixed  ? STATUS_BUFFER_TOO_SMALL
              : length < whole ? STATUS_BUFFER_OVERFLOW
                               : STATUS_SUCCESS,
              status);
    EXPECT_EQ(whole, needed);
    const ULONG written = length < kFixed ? 0 : std::min(length, whole);
    for (ULONG i = written; i < sizeof buffer; ++i)
      EXPECT_EQ(0xEE, buffer[i]) << i;
    if (written == 0) continue;
    const ULONG head[3] = {0, REG_BINARY, static_cast<ULONG>(data.size())};
    EXPECT_EQ(0, std::memcmp(head, buffer, kFixed));
    EXPECT_EQ(0, std::memcmp(data.data(), buffer + kFixed, written - kFixed));
  }
  UNICODE_STRING missing = Counted(u"w");
  ULONG needed = 0;
  EXPECT_EQ(STATUS_OBJECT_NAME_NOT_FOUND,
            ZwQueryValueKey(Key(), &missing, KeyValuePartialInformation, nullptr, 0, &needed));
}

// What a direct entry makes of each kind of value in a destination of one number.
TEST_F(RegistryTest, DirectNumber) {
  struct Row {
    const char* name;
    ULONG type;
    std::optional<std::string> data;
    ULONG flags;
    ULONG defaultType;
    NTSTATUS status;
    ULONG expected;
  };
  using std::string_literals::operator""s;
  const Row rows[] = {
      {"value", REG_DWORD, "\4\3\2\1"s, 0, REG_DWORD, STATUS_SUCCESS, 0x01020304},
      {"value, no default", REG_DWORD, "\4\3\2\1"s, 0, REG_NONE, STATUS_SUCCESS, 0x01020304},
      {"short binary", REG_BINARY, "\4\3"s, 0, REG_DWORD, STATUS_SUCCESS, 0x5555'0304},
      {"missing", REG_NONE, std::nullopt, 0, REG_DWORD, STATUS_SUCCESS, 77},
      {"missing, no default", REG_NONE, std::nullopt, 0, REG_NONE, STATUS_SUCCESS, 0x5555'5555},
      {"missing, required", REG_NONE, std::nullopt, RTL_QUERY_REGISTRY_REQUIRED, REG_DWORD,
       STATUS_OBJECT_NAME_NOT_FOUND, 0x5555'5555},
      {"string where a number belongs", REG_SZ, "a\0\0\0"s, 0, REG_DWORD,
       STATUS_OBJECT_TYPE_MISMATCH, 0x5555'5555},
      {"long binary where a number belongs", REG_BINARY, "12345678"s, 0, REG_DWORD,
       STATUS_OBJECT_TYPE_MISMATCH, 0x5555'5555},
      {"unknown flag", REG_DWORD, "\4\3\2\1"s, 0x40, REG_DWORD, STATUS_INVALID_PARAMETER,
       0x5555'5555},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    zr::host::ClearRegistry();
    zr::host::CreateRegistryKey(kPath);
    if (row.data) zr::host::SetRegistryValue(kPath, u"V", row.type, *row.data);
    if (key_ != nullptr) ZwClose(key_);
    key_ = nullptr;
    ULONG destination = 0x5555'5555;
    ULONG defaultNumber = 77;
    RTL_QUERY_REGISTRY_TABLE entry =
        Direct(&destination, row.defaultType, &defaultNumber, sizeof defaultNumber);
    entry.Flags |= row.flags;
    EXPECT_EQ(row.status, Query(entry));
    EXPECT_EQ(row.expected, destination);
  }
}

TEST_F(RegistryTest, DirectString) {
  WCHAR buffer[6] = u"self";
  UNICODE_STRING string = {8, sizeof buffer, buffer};
  const auto text = [&string] {
    return std::u16string(string.Buffer, string.Length / sizeof(WCHAR));
  };
  // A default that is the destination itself, its length left to the terminator.
  EXPECT_EQ(STATUS_SUCCESS, Query(Direct(&string, REG_SZ, buffer)));
  EXPECT_EQ(u"self", text());

  zr::host::SetRegistryValue(kPath, u"v", REG_SZ, Wide(u"12345"));  // Without its terminator.
  EXPECT_EQ(STATUS_SUCCESS, Query(Direct(&string, REG_SZ, buffer)));
  EXPECT_EQ(u"12345", text());
  EXPECT_EQ(u'\0', buffer[5]);
  zr::host::SetRegistryValue(kPath, u"v", REG_SZ, Wide(u"123456"));
  EXPECT_EQ(STATUS_BUFFER_TOO_SMALL, Query(Direct(&string, REG_SZ, buffer)));
  EXPECT_EQ(u"12345", text());

  const std::size_t blocks = zr::host::PoolInUse().blocks;
  string = {};
  EXPECT_EQ(STATUS_SUCCESS, Query(Direct(&string)));
  EXPECT_EQ(u"123456", text());
  ExFreePool(string.Buffer);
  string = {};
  {
    const zr::host::FailNthAllocation fail(1);
    EXPECT_EQ(STATUS_NO_MEMORY, Query(Direct(&string)));
  }
  EXPECT_EQ(blocks, zr::host::PoolInUse().blocks);
}

TEST_F(RegistryTest, DirectBinaryBeginsWithTheSizeOfItsRoom) {
  const std::string data = "12345678";
  zr::host::SetRegistryValue(kPath, u"v", REG_BINARY, data);
  struct Row {
    LONG room;
    NTSTATUS status;
    std::size_t header;
  };
  const Row rows[] = {{-8, STATUS_SUCCESS, 0},
                      {-7, STATUS_BUFFER_TOO_SMALL, 0},
                      {16, STATUS_SUCCESS, 8},
                      {15, STATUS_BUFFER_TOO_SMALL, 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.room);
    alignas(ULONG) char room[16] = {};
    std::memcpy(room, &row.room, sizeof row.room);
    EXPECT_EQ(row.status, Query(Direct(room)));
    if (!NT_SUCCESS(row.status)) continue;
    EXPECT_EQ(data, std::string(room + row.header, data.size()));
    const ULONG lengthAndType[2] = {8, REG_BINARY};
    if (row.header != 0) {
      EXPECT_EQ(0, std::memcmp(lengthAndType, room, sizeof lengthAndType));
    }
  }
}

TEST_F(RegistryTest, CallBackRoutines) {
  struct Seen {
    std::vector<std::u16string> names;
    std::size_t stopAfter;
  };
  PRTL_QUERY_REGISTRY_ROUTINE collect = [](PWSTR name, ULONG type, PVOID data, ULONG length,
                                           PVOID context, PVOID entryContext) -> NTSTATUS {
    auto& seen = *static_cast<Seen*>(context);
    EXPECT_EQ(&seen.stopAfter, entryContext);
    EXPECT_EQ(REG_SZ, type);
    EXPECT_EQ(std::u16string(u"x\0", 2), std::u16string(static_cast<WCHAR*>(data), length / 2));
    seen.names.emplace_back(name);
    return seen.names.size() == seen.stopAfter ? STATUS_UNSUCCESSFUL : STATUS_SUCCESS;
  };
  zr::host::SetRegistryValue(kPath, u"one", REG_SZ, Wide(u"x"));
  zr::host::SetRegistryValue(kPath, u"Two", REG_SZ, Wide(std::u16string(u"x\0", 2)));
  Seen seen = {{}, 0};
  RTL_QUERY_REGISTRY_TABLE entry = {collect, 0, nullptr, &seen.stopAfter, REG_NONE, nullptr, 0};
  EXPECT_EQ(STATUS_SUCCESS, Query(entry, &seen));
  EXPECT_THAT(seen.names, testing::UnorderedElementsAre(u"one", u"Two"));
  // A status that is no success ends the query.
  seen = {{}, 1};
  EXPECT_EQ(STATUS_UNSUCCESSFUL, Query(entry, &seen));
  EXPECT_EQ(1U, seen.names.size());
  // A default, by the path of the key.
  seen = {{}, 0};
  RTL_QUERY_REGISTRY_TABLE table[2] = {entry, {}};
  table[0].Name = const_cast<PWSTR>(u"three");
  table[0].DefaultType = REG_SZ;
  table[0].DefaultData = const_cast<WCHAR*>(u"x");
  EXPECT_EQ(STATUS_SUCCESS,
            RtlQueryRegistryValues(RTL_REGISTRY_ABSOLUTE, kPath, table, &seen, nullptr));
  EXPECT_THAT(seen.names, testing::ElementsAre(u"three"));
  EXPECT_EQ(
      STATUS_OBJECT_NAME_NOT_FOUND,
      RtlQueryRegistryValues(RTL_REGISTRY_ABSOLUTE, u"\\Registry\\None", table, &seen, nullptr));
}

TEST_F(RegistryTest, TextFile) {
  zr::host::LoadRegistryText(
      "\xEF\xBB\xBF# levels\r\n"
      "[\\Registry\\Machine\\Software\\Test]\r\n"
      "\"v\" = dword:00000fF3 # a comment\r\n"
      "  \"path \\\"q\\\" #\"=\"c:\\\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA4\"\r\n"
      "\"bytes\" = hex:01, 02,ff\r\n"
      "\"none\" = hex:\r\n"
      "[\\Registry\\Machine\\Empty]");
  EXPECT_EQ(0xFF3U, zr::host::GetRegistryDword(kPath, u"V"));
  HANDLE key = nullptr;
  EXPECT_EQ(STATUS_SUCCESS, OpenKey(u"\\Registry\\Machine\\Empty", KEY_READ, &key));
  ZwClose(key);
  const std::pair<std::u16string, std::string> values[] = {
      {u"path \"q\" #", Wide(std::u16string(u"c:\\\u00e4\u20ac\U0001F3A4\0", 8))},
      {u"bytes", "\1\2\xff"},
      {u"none", ""}};
  for (const auto& [name, data] : values) {
    UCHAR buffer[64];
    ULONG length = 0;
    UNICODE_STRING counted = Counted(name.c_str());
    ASSERT_EQ(STATUS_SUCCESS, ZwQueryValueKey(Key(), &counted, KeyValuePartialInformation, buffer,
                                              sizeof buffer, &length));
    EXPECT_EQ(data, std::string(reinterpret_cast<char*>(buffer) + 12, length - 12));
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
      zr::host::LoadRegistryText(text);
      ADD_FAILURE() << "accepted";
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(),
                  testing::AllOf(testing::HasSubstr("line 3"), testing::HasSubstr(what)));
    }
    EXPECT_EQ(std::nullopt, zr::host::GetRegistryDword(kPath, u"v"));
  }
  EXPECT_THROW(zr::host::LoadRegistryText("\"v\" = dword:1"), std::runtime_error);
}

TEST_F(RegistryTest, NeedsPassiveLevel) {
  ULONG length = 0;
  HANDLE key = nullptr;
  RTL_QUERY_REGISTRY_TABLE end = {};
  const std::function<void()> calls[] = {
      [&] { OpenKey(kPath, KEY_READ, &key); },
      [&] { ZwQueryValueKey(key, nullptr, KeyValuePartialInformation, nullptr, 0, &length); },
      [&] { ZwSetValueKey(key, nullptr, 0, REG_DWORD, nullptr, 0); },
      [&] { ZwClose(key); },
      [&] { RtlQueryRegistryValues(RTL_REGISTRY_ABSOLUTE, kPath, &end, nullptr, nullptr); },
  };
  const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
  const zr::host::ExpectedBugCheck expected;
  for (const auto& call : calls)
    EXPECT_THROW(call(), zr::host::BugCheckError);
}

TEST_F(RegistryTest, ManyThreads) {
  std::vector<std::thread> threads;
  for (ULONG i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (ULONG n = 0; n < 300; ++n) {
        HANDLE key = nullptr;
        ASSERT_EQ(STATUS_SUCCESS, OpenKey(kPath, KEY_ALL_ACCESS, &key));
        const std::u16string name = {u'v', static_cast<char16_t>(u'0' + i)};
        UNICODE_STRING counted = Counted(name.c_str());
        EXPECT_EQ(STATUS_SUCCESS, ZwSetValueKey(key, &counted, 0, REG_DWORD, &n, sizeof n));
        EXPECT_EQ(n, zr::host::GetRegistryDword(kPath, name));
        EXPECT_EQ(STATUS_SUCCESS, ZwClose(key));
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
}

// --- Properties and keys of devices ---

NTSTATUS NTAPI EnterPlainDriver(PDRIVER_OBJECT /*driver*/, PUNICODE_STRING /*path*/) {
  return STATUS_SUCCESS;
}

class DevicePropertiesTest : public RegistryTest {
 protected:
  DevicePropertiesTest() : driver_(EnterPlainDriver) {
    IoCreateDevice(driver_.Object(), 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &plain_);
    IoCreateDevice(driver_.Object(), 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &physical_);
    zr::host::SetDeviceProperties(physical_, {u"MIC1", {u"USB\\A", u"USB\\B"}, u"Microphone"});
  }
  ~DevicePropertiesTest() override {
    IoDeleteDevice(physical_);
    IoDeleteDevice(plain_);
  }
  zr::host::LoadedDriver driver_;
  PDEVICE_OBJECT plain_ = nullptr;
  PDEVICE_OBJECT physical_ = nullptr;
};

TEST_F(DevicePropertiesTest, BufferRules) {
  const std::u16string ids(u"USB\\A\0USB\\B\0\0", 13);
  WCHAR buffer[64] = {};
  ULONG length = 0;
  EXPECT_EQ(STATUS_BUFFER_TOO_SMALL,
            IoGetDeviceProperty(physical_, DevicePropertyHardwareID, 0, nullptr, &length));
  EXPECT_EQ(26U, length);
  EXPECT_EQ(STATUS_BUFFER_TOO_SMALL,
            IoGetDeviceProperty(physical_, DevicePropertyHardwareID, 25, buffer, &length));
  EXPECT_EQ(26U, length);
  EXPECT_EQ(u'\0', buffer[0]);
  EXPECT_EQ(STATUS_SUCCESS,
            IoGetDeviceProperty(physical_, DevicePropertyHardwareID, 26, buffer, &length));
  EXPECT_EQ(ids, std::u16string(buffer, length / sizeof(WCHAR)));

  zr::host::GrowHardwareIds(physical_, 4, 2);
  for (const ULONG grown : {30U, 34U, 34U}) {
    EXPECT_EQ(STATUS_BUFFER_TOO_SMALL,
              IoGetDeviceProperty(physical_, DevicePropertyHardwareID, 26, buffer, &length));
    EXPECT_EQ(grown, length);
  }
  EXPECT_EQ(STATUS_SUCCESS, IoGetDeviceProperty(physical_, DevicePropertyDeviceDescription,
                                                sizeof buffer, buffer, &length));
  EXPECT_EQ(std::u16string(u"Microphone\0", 11), std::u16string(buffer, length / sizeof(WCHAR)));
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST,
            IoGetDeviceProperty(plain_, DevicePropertyHardwareID, 0, nullptr, &length));
}

TEST_F(DevicePropertiesTest, Keys) {
  zr::host::SetRegistryDword(zr::host::HardwareKeyPath(physical_), u"Which",
                             PLUGPLAY_REGKEY_DEVICE);
  zr::host::SetRegistryDword(zr::host::SoftwareKeyPath(physical_), u"Which",
                             PLUGPLAY_REGKEY_DRIVER);
  for (const ULONG type : {PLUGPLAY_REGKEY_DEVICE, PLUGPLAY_REGKEY_DRIVER}) {
    HANDLE key = nullptr;
    ASSERT_EQ(STATUS_SUCCESS, IoOpenDeviceRegistryKey(physical_, type, KEY_QUERY_VALUE, &key));
    ULONG which = 0;
    RTL_QUERY_REGISTRY_TABLE table[2] = {Direct(&which), {}};
    table[0].Name = const_cast<PWSTR>(u"which");
    EXPECT_EQ(STATUS_SUCCESS, RtlQueryRegistryValues(RTL_REGISTRY_HANDLE, static_cast<PCWSTR>(key),
                                                     table, nullptr, nullptr));
    EXPECT_EQ(type, which);
    ZwClose(key);
  }
  EXPECT_EQ(u"\\Registry\\Machine\\System\\CurrentControlSet\\Enum\\MIC1\\Device Parameters",
            zr::host::HardwareKeyPath(physical_));
  HANDLE key = nullptr;
  zr::host::LimitKeyAccess(zr::host::SoftwareKeyPath(physical_), KEY_READ);
  EXPECT_EQ(STATUS_ACCESS_DENIED,
            IoOpenDeviceRegistryKey(physical_, PLUGPLAY_REGKEY_DRIVER, 0xF0000, &key));
  EXPECT_EQ(STATUS_INVALID_PARAMETER, IoOpenDeviceRegistryKey(physical_, 3, KEY_READ, &key));
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST,
            IoOpenDeviceRegistryKey(plain_, PLUGPLAY_REGKEY_DRIVER, KEY_READ, &key));
}

}  // namespace
