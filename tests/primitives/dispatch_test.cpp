// The tables that are made from the list of primitives, and the calls that go through them.
#include <gtest/gtest.h>

#include <cstring>

#include "primitives/dispatch/families.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/dispatch/variant_table.h"
#include "primitives/primitives.h"
#include "primitives/version_records.h"

namespace zr::primitives {
namespace {

struct Listed {
  const char* name;
  PrimitiveEntry entry;
};
const Listed kListed[] = {
#define PRIMITIVE(family, result, name, parameters, summary) \
  {#name, reinterpret_cast<PrimitiveEntry>(&px::name)},
#define SAME_ENTRY(family, result, name, parameters, summary, other) \
  {#name, reinterpret_cast<PrimitiveEntry>(&px::other)},
#include "primitives/primitive_list.def"
};
static_assert(std::size(kListed) == kPrimitiveCount);

PrimitiveEntry Slot(int32_t index) {
  PrimitiveEntry entry = nullptr;
  std::memcpy(&entry, reinterpret_cast<const PrimitiveEntry*>(&PrimitiveSlotTable) + index,
              sizeof(entry));
  return entry;
}

int32_t IndexOf(const char* name) {
  for (int32_t i = 0; i < kPrimitiveCount; ++i)
    if (std::strcmp(kListed[i].name, name) == 0) return i;
  ADD_FAILURE() << "no primitive " << name;
  return 0;
}

// No slot holds the entry that stands for a primitive that was left out.
TEST(Dispatch, EveryRowNamesItsSlotAndThePxEntryInIt) {
  EXPECT_EQ(PrimitiveVariantTable.count, 241);
  const auto* const first = reinterpret_cast<const PrimitiveEntry*>(&PrimitiveSlotTable);
  for (int32_t i = 0; i < kPrimitiveCount; ++i) {
    const VariantRow& row = PrimitiveVariantTable.rows[i];
    EXPECT_EQ(row.slot, first + i) << kListed[i].name;
    for (const PrimitiveEntry entry : {Slot(i), row.px, row.a6, row.w7, row.t7})
      EXPECT_EQ(entry, kListed[i].entry) << kListed[i].name;
  }
}

// The 16 that the filter calls, at the places where they have always been.
TEST(Dispatch, SlotsStandInTheirOrder) {
  const struct {
    int32_t slot;
    const char* name;
  } rows[] = {{0, "ippsGetLibVersion"}, {3, "ippsFree"},
              {6, "ippsCopy_16s"},      {11, "ippsMove_16s"},
              {13, "ippsMulC_32f_I"},   {16, "ippsConvert_32f16s_Sfs"},
              {51, "ippsStdDev_32f"},   {55, "ippsMalloc_16s"},
              {61, "ippsMalloc_32f"},   {80, "ippsAdd_32f_I"},
              {101, "ippsDivC_32f"},    {123, "ippsAbs_32f"},
              {169, "ippsMalloc_8u"},   {170, "ippsConvert_16s32f_Sfs"},
              {171, "ippsSqr_32f"},     {172, "ippsFlip_32f_I"},
              {173, "ippsDotProd_32f"}, {240, "ippsDivCRev_32f_I"}};
  for (const auto& row : rows)
    EXPECT_STREQ(kListed[row.slot].name, row.name);
}

TEST(Dispatch, TwinsShareOneEntry) {
  const char* const twins[][2] = {{"ippsMalloc_8s", "ippsMalloc_8u"},
                                  {"ippsMalloc_32fc", "ippsMalloc_64f"},
                                  {"ippsZero_32fc", "ippsZero_64f"}};
  for (const auto& pair : twins)
    EXPECT_EQ(Slot(IndexOf(pair[0])), Slot(IndexOf(pair[1]))) << pair[0];
}

TEST(Dispatch, AFamilyThatIsLeftOutRefusesAndTouchesNothing) {
  float kept = 9.0F;
  using Function = int32_t (*)(float*, int32_t);
  EXPECT_EQ(LeftOut<Function>::Entry(&kept, 1), -9999);
  EXPECT_EQ(kept, 9.0F);
}

TEST(Library, TellsItsVersion) {
  const LibraryVersionRecord& version = *ippsGetLibVersion();
  EXPECT_EQ(version.major, 4);
  EXPECT_EQ(version.minor, 1);
  EXPECT_EQ(version.majorBuild, 11);
  EXPECT_EQ(version.build, 88);
  EXPECT_EQ(std::memcmp(version.targetCpu, "px\0\0", 4), 0);
  EXPECT_STREQ(version.Name, "ippspxl.lib");
  EXPECT_STREQ(version.Version, "v4.1");
  EXPECT_STREQ(version.BuildDate, "Jul 19 2004");
}

TEST(Library, HasARecordForEachBuild) {
  const struct {
    const LibraryVersionRecord& record;
    const char* cpu;
    const char* name;
  } rows[] = {{kVersionOfA6, "a6", "ippsa6l.lib"},
              {kVersionOfW7, "w7", "ippsw7l.lib"},
              {kVersionOfT7, "t7", "ippst7l.lib"}};
  for (const auto& row : rows) {
    EXPECT_EQ(std::memcmp(row.record.targetCpu, row.cpu, 3), 0);
    EXPECT_STREQ(row.record.Name, row.name);
    EXPECT_STREQ(row.record.BuildDate, "Jul 20 2004");
    EXPECT_EQ(row.record.build, ippsGetLibVersion()->build);
  }
}

TEST(Library, NamesEveryStatusThatWasGivenOut) {
  const struct {
    int32_t status;
    const char* text;
  } rows[] = {{0, "No error, it's OK"},
              {-8, "Null pointer error"},
              {-9999, "The requested mode is currently not supported"},
              {31, "Size of created codebook is less than cdbkSize argument"},
              {-1, "Unknown Status Code"},
              {32, "Unknown Status Code"},
              {-3, "Unknown Status Code"},
              {-2147483647 - 1, "Unknown Status Code"}};
  for (const auto& row : rows)
    EXPECT_STREQ(ippsGetStatusString(row.status), row.text) << row.status;
  int32_t known = 0;
  for (int32_t status = -10000; status < 100; ++status)
    known += std::strcmp(ippsGetStatusString(status), "Unknown Status Code") != 0 ? 1 : 0;
  EXPECT_EQ(known, 203);
  for (const auto& [one, other] : {std::pair{-75, -101}, {-74, -100}, {-73, -99}})
    EXPECT_STREQ(ippsGetStatusString(one), ippsGetStatusString(other));
}

}  // namespace
}  // namespace zr::primitives
