// Values with defaults, and what is told of a key that cannot be opened or read.
#include "support/registry_access.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/support/support_fixture.h"

using namespace zr::test;
using zr::host::SetRegistryDword;

namespace {

constexpr const char16_t* kPath = u"\\Registry\\Machine\\Software\\Test";

using RegistryAccess = SupportFixture;

TEST_F(RegistryAccess, ReadsValuesOrDefaults) {
  SetRegistryDword(kPath, u"Present", 17);
  zr::host::SetRegistryValue(kPath, u"Text", REG_SZ, "a");
  HANDLE key = nullptr;
  ASSERT_EQ(RegistryOpenKey(nullptr, KEY_ALL_ACCESS, kPath, &key), STATUS_SUCCESS);
  ULONG found = 9;
  EXPECT_EQ(RegistryGetDword(key, WIDE_TEXT("Present"), 5), 17U);
  EXPECT_EQ(RegistryGetDword(key, WIDE_TEXT("Missing"), 5), 5U);
  EXPECT_EQ(RegistryGetDwordEx(key, WIDE_TEXT("Present"), 5, &found), 17U);
  EXPECT_EQ(found, 1U);
  EXPECT_EQ(RegistryGetDwordEx(key, WIDE_TEXT("Missing"), 5, &found), 5U);
  EXPECT_EQ(found, 1U) << "the key could be read";
  EXPECT_EQ(RegistrySetDword(key, WIDE_TEXT("Present"), 18), 1U);
  EXPECT_EQ(RegistryGetDword(key, WIDE_TEXT("PRESENT"), 5), 18U);
  EXPECT_EQ(ZwClose(key), STATUS_SUCCESS);

  EXPECT_EQ(RegistryGetDword(key, WIDE_TEXT("Present"), 5), 5U) << "a closed key";
  EXPECT_EQ(RegistryGetDwordEx(key, WIDE_TEXT("Present"), 5, &found), 5U);
  EXPECT_EQ(found, 0U);
  EXPECT_EQ(RegistrySetDword(key, WIDE_TEXT("Present"), 1), 0U);
}

TEST_F(RegistryAccess, OpeningTellsItsStatus) {
  KeepLines();
  SetRegistryDword(kPath, u"Present", 17);
  zr::host::LimitKeyAccess(kPath, KEY_QUERY_VALUE);
  HANDLE key = nullptr;
  ASSERT_EQ(RegistryOpenKey(nullptr, KEY_QUERY_VALUE, kPath, &key), STATUS_SUCCESS);
  EXPECT_EQ(RegistrySetDword(key, WIDE_TEXT("Present"), 1), 0U) << "no right to write";
  ZwClose(key);
  EXPECT_EQ(RegistryOpenKey(nullptr, KEY_ALL_ACCESS, kPath, &key), STATUS_ACCESS_DENIED);
  EXPECT_EQ(RegistryOpenKey(key, KEY_QUERY_VALUE, WIDE_TEXT("Below"), &key), STATUS_INVALID_HANDLE);
  EXPECT_EQ(RegistryOpenKey(nullptr, KEY_QUERY_VALUE, u"\\Registry\\Machine\\None", &key),
            STATUS_OBJECT_NAME_NOT_FOUND);
  const std::pair<ULONG, std::string> expected[] = {
      {3, "ZRPOPFLT.Registry: ZwOpenKey status=0x00000000\n"},
      {3, "ZRPOPFLT.Registry: ZwOpenKey failed status=0xc0000022 (STATUS_ACCESS_DENIED)\n"},
      {3, "ZRPOPFLT.Registry: ZwOpenKey failed status=0xc0000008 (STATUS_INVALID_HANDLE)\n"},
      {3, "ZRPOPFLT.Registry: ZwOpenKey status=0xc0000034\n"}};
  EXPECT_THAT(keptLines, testing::ElementsAreArray(expected));
}

TEST_F(RegistryAccess, TablesKeepWhatIsMissing) {
  SetRegistryDword(kPath, u"Number", 3);
  HANDLE key = nullptr;
  ASSERT_EQ(RegistryOpenKey(nullptr, KEY_QUERY_VALUE, kPath, &key), STATUS_SUCCESS);
  ULONG number = 1;
  ULONG missing = 2;
  ULONG binary = 0;
  ULONG ownDefault = 4;
  WCHAR buffer[8] = u"old";
  UNICODE_STRING text = {0, sizeof(buffer), buffer};
  // What the caller left in the other fields counts for other types alone.
  constexpr ULONG kStaleFlags = 0x40;
  PVOID const stale = &ownDefault;
  const auto entry = [](const WCHAR* name, PVOID destination, ULONG type, PVOID data,
                        ULONG length) -> RTL_QUERY_REGISTRY_TABLE {
    return {nullptr, kStaleFlags, const_cast<PWSTR>(name), destination, type, data, length};
  };
  RTL_QUERY_REGISTRY_TABLE table[] = {
      entry(WIDE_TEXT("Number"), &number, REG_DWORD, stale, 9),
      entry(WIDE_TEXT("Missing"), &missing, REG_DWORD, stale, 9),
      entry(WIDE_TEXT("MissingText"), &text, REG_SZ, stale, 9),
      entry(WIDE_TEXT("MissingBinary"), &binary, REG_BINARY, &ownDefault, sizeof(ownDefault)),
      {}};
  EXPECT_EQ(RegistryQueryTable(key, table), STATUS_SUCCESS);
  EXPECT_EQ(number, 3U);
  EXPECT_EQ(missing, 2U);
  EXPECT_EQ(binary, 4U);
  EXPECT_EQ(text.Length, 3 * sizeof(WCHAR)) << "the default goes up to the terminator";
  EXPECT_EQ(std::u16string(text.Buffer), u"old");
  ZwClose(key);
}

}  // namespace
