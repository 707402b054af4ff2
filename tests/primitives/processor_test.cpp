// The processor's features against what the system tells of them, and its floating-point control
// registers against what computations show of them.
#include <cpuid.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include "primitives/processor/features.h"
#include "primitives/processor/floating_point_control.h"

namespace {

TEST(Processor, FeaturesAreThoseThatTheSystemTells) {
  std::ifstream file("/proc/cpuinfo");
  std::string text(std::istreambuf_iterator<char>(file), {});
  std::ranges::replace(text, '\n', ' ');
  const auto has = [&text](const std::string& word) {
    return text.find(' ' + word + ' ') != std::string::npos ? 1U : 0U;
  };
  CpuInfoRecord info = {};
  info.untouched = 77;
  info.zero = 1;
  CpuReadInfo(&info);
  EXPECT_EQ(CpuHasCpuid(), 1U);
  EXPECT_GE(CpuMaxLeaf(), 2U);
  const struct {
    const char* flag;
    uint32_t told;
    uint32_t recorded;
  } rows[] = {{"mmx", CpuHasMmx(), info.mmx},
              {"sse", CpuHasSse(), info.sse},
              {"sse2", CpuHasSse2(), info.sse2},
              {"pni", CpuHasSse3(), info.sse3},
              {"lm", CpuHasLongMode(), info.longMode}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.told, has(row.flag)) << row.flag;
    EXPECT_EQ(row.recorded, has(row.flag)) << row.flag;
  }
  EXPECT_EQ(CpuHasTsc(), has("tsc"));
  EXPECT_EQ(info.hyperThreading, CpuHasHyperThreading());
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
  ASSERT_NE(__get_cpuid(1, &eax, &ebx, &ecx, &edx), 0);
  EXPECT_EQ(info.family, eax >> 8 & 0xf);
  EXPECT_EQ(info.model, eax >> 4 & 0xf);
  EXPECT_EQ(info.stepping, eax & 0xf);
  EXPECT_EQ(info.features, edx);
  ASSERT_NE(__get_cpuid(2, &eax, &ebx, &ecx, &edx), 0);
  EXPECT_EQ(info.leaf2Eax, eax);
  EXPECT_EQ(info.leaf2Edx, edx);
  EXPECT_EQ(info.zero, 0U);
  EXPECT_EQ(info.untouched, 77U);
  EXPECT_EQ(CpuVendorIsExpected(), has("GenuineIntel"));
  EXPECT_EQ(CpuHasDaz(), 1U);  // On every processor with SSE2 that is in use.
  const uint64_t before = CpuReadTimeStamp();
  EXPECT_LT(before, CpuReadTimeStamp());
}

float Third(bool onX87) {
  const volatile float one = 1.0F;
  const volatile float three = 3.0F;
  float result = 0;
  if (onX87) {
    asm volatile("flds %1\n\tfdivs %2\n\tfstps %0" : "=m"(result) : "m"(one), "m"(three));
  } else {
    result = one / three;
  }
  return result;
}

TEST(FloatingPointControl, TheControlWordRounds) {
  const uint32_t before = FpGetControlWord();
  constexpr uint32_t kRounding = 0xc00;
  constexpr uint32_t kUp = 0x800;
  EXPECT_EQ(FpSetControlWord(kUp, kRounding), before);
  const float up = Third(true);
  FpSetControlBits(0x400, kRounding);
  const float down = Third(true);
  FpRestoreControlWord(before);
  EXPECT_EQ(FpGetControlWord(), before);
  EXPECT_GT(up, down);
}

TEST(FloatingPointControl, TheAbstractLayoutIsTheSameControl) {
  const uint32_t before = FpGetControlWord();
  const struct {
    uint32_t abstract;
    uint32_t mask;
    uint32_t x87;
    uint32_t x87Mask;
  } rows[] = {{0x10000, 0x30000, 0x200, 0x300},   {0x20000, 0x30000, 0, 0x300},
              {0, 0x30000, 0x300, 0x300},         {0x100, 0x300, 0x400, 0xc00},
              {0x200, 0x300, 0x800, 0xc00},       {0x300, 0x300, 0xc00, 0xc00},
              {0x40000, 0x40000, 0x1000, 0x1000}, {0x8001b, 0x8001f, 0x37 & ~0x8, 0x3f & ~0x8}};
  FpGetAndClearStatusWord();  // A flag from before would trap once its mask is gone.
  for (const auto& row : rows) {
    const uint32_t now = FpControlAbstract(row.abstract, row.mask);
    const uint32_t word = FpGetControlWord();
    FpRestoreControlWord(before);
    EXPECT_EQ(now & row.mask, row.abstract) << std::hex << row.abstract;
    EXPECT_EQ(word & row.x87Mask, row.x87) << std::hex << row.abstract;
  }
}

TEST(FloatingPointControl, TheStatusWordTellsWhatHappened) {
  FpGetAndClearStatusWord();
  const volatile float zero = 0.0F;
  const volatile float one = 1.0F;
  float result = 0;
  asm volatile("flds %1\n\tfdivs %2\n\tfstps %0" : "=m"(result) : "m"(one), "m"(zero));
  EXPECT_EQ(FpGetStatusWord() & 0x3f, 0x4U);
  EXPECT_EQ(FpStatusAbstract(), 0x8U);
  EXPECT_EQ(FpClearAbstract(), 0x8U);
  EXPECT_EQ(FpStatusAbstract(), 0U);
}

TEST(FloatingPointControl, MxcsrRoundsAndComesBack) {
  const uint32_t before = FpResetMxcsr();
  EXPECT_EQ(FpGetMxcsr(), 0x1f80U);
  EXPECT_EQ(FpSetMxcsr(0x4000, 0x6000) & 0x6000, 0U);
  EXPECT_EQ(FpSetMxcsr(0x8000, 0x6000) & 0xe000, 0x4000U);
  EXPECT_EQ(FpGetMxcsr() & 0xe000, 0U) << "outside of the mask nothing changes";
  FpSetMxcsrRounding(0x2000);
  EXPECT_EQ(FpGetMxcsr() & 0x6000, 0x2000U);
  FpRestoreMxcsr(before);
  EXPECT_EQ(FpGetMxcsr(), before);
}

TEST(FloatingPointControl, TellsNumbersFromTheRest) {
  using Limits = std::numeric_limits<double>;
  for (const double number : {0.0, -1.0, Limits::max(), Limits::denorm_min()}) {
    EXPECT_EQ(FpIsFinite(number), 1U);
    EXPECT_EQ(FpIsNan(number), 0U);
  }
  EXPECT_EQ(FpIsFinite(-Limits::infinity()), 0U);
  EXPECT_EQ(FpIsNan(Limits::infinity()), 0U);
  EXPECT_EQ(FpIsFinite(Limits::quiet_NaN()), 0U);
  EXPECT_EQ(FpIsNan(-Limits::quiet_NaN()), 1U);
}

}  // namespace
