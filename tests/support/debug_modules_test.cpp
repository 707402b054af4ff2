// Levels of the modules from the registry, and the order of their registration.
#include "support/debug_modules.h"

#include "tests/platform/device_stack.h"
#include "tests/support/support_fixture.h"

using namespace zr::test;
using zr::host::SetRegistryDword;

namespace {

constexpr const char16_t* kMachineKey = u"\\Registry\\Machine\\Software\\Brennick\\ZRPOPFLT\\Debug";

class DebugModules : public SupportFixture {};

ULONG LevelOf(const char* tag, PDEVICE_OBJECT device = nullptr) {
  return ReadModuleDebugLevel("ZRPOPFLT", tag, device);
}

// The rights that a key is opened with: without any one of them its level is not read.
ACCESS_MASK RightsAskedOf(const std::u16string& path, PDEVICE_OBJECT device = nullptr) {
  ACCESS_MASK rights = 0;
  for (ACCESS_MASK right = 1; right != 0; right <<= 1) {
    zr::host::LimitKeyAccess(path, ~right);
    if (LevelOf("Device", device) == 2) rights |= right;
  }
  zr::host::LimitKeyAccess(path, ~ACCESS_MASK{0});
  return rights;
}

TEST_F(DebugModules, LevelsComeFromTheMachineKey) {
  EXPECT_EQ(LevelOf("USBIrps"), 2U) << "no key";
  SetRegistryDword(kMachineKey, u"Other", 7);
  EXPECT_EQ(LevelOf("USBIrps"), 2U) << "a key without values";
  SetRegistryDword(kMachineKey, u"Default", 3);
  SetRegistryDword(kMachineKey, u"USBIrps", 4);
  EXPECT_EQ(LevelOf("USBIrps"), 4U);
  EXPECT_EQ(LevelOf("Device"), 3U);
  EXPECT_EQ(RightsAskedOf(kMachineKey), 0xF003FU);
}

TEST_F(DebugModules, CharactersOfTagsKeepTheirSign) {
  SetRegistryDword(kMachineKey, u"\uFF80\uFFFE", 5);
  EXPECT_EQ(LevelOf("\x80\xFE"), 5U);
  SetRegistryDword(u"\\Registry\\Machine\\Software\\Brennick\\\uFFE4\\Debug", u"Default", 6);
  EXPECT_EQ(ReadModuleDebugLevel("\xE4", "Device", nullptr), 6U);
}

TEST_F(DebugModules, TagsBeyondTheirRoomAreCut) {
  const std::string tag(300, 't');
  SetRegistryDword(kMachineKey, std::u16string(63, u't'), 5);
  EXPECT_EQ(LevelOf(tag.c_str()), 5U);
  EXPECT_EQ(ReadModuleDebugLevel(tag.c_str(), "Device", nullptr), 2U);
}

TEST_F(DebugModules, RegistrationKeepsItsOrderAndLeavesNothingEnabled) {
  SetRegistryDword(kMachineKey, u"Device", 4);
  RegisterDebugModules(nullptr);
  const char* const tags[] = {"DrvMain", "Device", "ZDebug", "Registry", "OSDep", "USBIrps"};
  ASSERT_EQ(ModuleCount, 6);
  for (LONG i = 0; i < 6; ++i)
    EXPECT_STREQ(ModuleTable[i].Name, tags[i]);
  EXPECT_EQ(g_USBIrpsLog.State().Handle, 5);
  EXPECT_EQ(ModuleTable[1].Level, 4U);
  EXPECT_EQ(g_DeviceLog.State().Enable, 0U);

  ModuleTable[1].Callback(1, 1);
  EXPECT_EQ(g_DeviceLog.State().Level, 1U);
  EXPECT_EQ(g_DeviceLog.State().Enable, 1U);
  EXPECT_EQ(g_DrvMainLog.State().Enable, 0U);
  ModuleTable[1].Callback(2, 0);
}

TEST_F(DebugModules, ADeviceHasAKeyOfItsOwn) {
  const Layer bus;
  PDEVICE_OBJECT const device = bus.Device();
  EXPECT_EQ(LevelOf("Device", device), 2U) << "no key of a device";
  zr::host::SetDeviceProperties(device, {u"Camera", {u"USB\\VID_1"}, u"camera"});
  EXPECT_EQ(LevelOf("Device", device), 2U) << "no levels below it";
  const std::u16string driverKey = zr::host::SoftwareKeyPath(device);
  const std::u16string levels = driverKey + u"\\Debug\\ZRPOPFLT";
  SetRegistryDword(levels, u"Default", 1);
  EXPECT_EQ(LevelOf("Device", device), 1U);
  EXPECT_EQ(RightsAskedOf(driverKey, device), 0xF0000U);
  EXPECT_EQ(RightsAskedOf(levels, device), 0xF003FU);
}

}  // namespace
