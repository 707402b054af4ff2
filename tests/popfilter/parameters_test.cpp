// Numbered parameters and the byte-level entry.
#include <array>
#include <bit>
#include <cstring>

#include "popfilter/pops.h"
#include "tests/popfilter/filter_fixture.h"

using namespace zr::test;

namespace {

uint32_t Read(const POPSState* state, uint32_t id) {
  uint32_t value = 0xdeadbeef;
  EXPECT_EQ(POPSGetParameter(state, id, &value), POPS_OK) << "id " << id;
  return value;
}

TEST(Parameters, AFreshRecordReadsItsDefaults) {
  const Filter filter = MakeFilter();
  const std::array<uint32_t, 15> defaults = {1,    1,  16, 8000, 0,  1, 0, 200,
                                             1000, 75, 0,  8,    16, 8, 3};
  for (uint32_t id = 0; id < defaults.size(); ++id) {
    EXPECT_EQ(Read(filter.get(), id), defaults[id]) << "id " << id;
  }
  EXPECT_EQ(filter->ulCount, 24U);
  EXPECT_EQ(filter->ulPhase, POPS_PHASE_REFILL);
}

TEST(Parameters, WritesAreTakenOrLeaveEverything) {
  const struct {
    uint32_t id;
    int32_t value;
    int32_t status;
    int32_t readBack;
  } rows[] = {
      {POPS_ID_BITS, 16, POPS_OK, 16},
      {POPS_ID_BITS, 24, POPS_ERR_PARAM, 16},
      {POPS_ID_RATE, 8000, POPS_OK, 8000},
      {POPS_ID_RATE, 11025, POPS_OK, 11025},
      {POPS_ID_RATE, 16000, POPS_OK, 16000},
      {POPS_ID_RATE, 22050, POPS_OK, 22050},
      {POPS_ID_RATE, 44100, POPS_OK, 44100},
      {POPS_ID_RATE, 48000, POPS_OK, 48000},
      {POPS_ID_RATE, 32000, POPS_ERR_PARAM, 8000},
      {POPS_ID_OPTION, 0, POPS_OK, 0},
      {POPS_ID_OPTION, 1, POPS_ERR_PARAM, 0},
      {POPS_ID_CHANNELS, 1, POPS_OK, 1},
      {POPS_ID_CHANNELS, 2, POPS_ERR_PARAM, 1},
      {POPS_ID_FLUSH, 0, POPS_ERR_PARAM, 0},
      {POPS_ID_STEP, 200, POPS_OK, 200},
      {POPS_ID_FLOOR, 33, POPS_OK, 32},  // Stored just below, and a read truncates.
      {POPS_ID_FLOOR, 66, POPS_OK, 65},
      {POPS_ID_SLOPE, -100, POPS_OK, -100},
      {POPS_ID_CEILING, 2147483647, POPS_OK, -2147483647 - 1},  // 2^31 / 1000 rounds upward.
      {POPS_ID_CEILING, -2147483647 - 1, POPS_OK, -2147483647 - 1},
      {POPS_ID_ORDER, 1, POPS_ERR_PARAM, 8},
      {POPS_ID_ORDER, 2, POPS_OK, 2},
      {POPS_ID_SETTLE, 0, POPS_ERR_PARAM, 16},
      {POPS_ID_SETTLE, -1, POPS_OK, -1},
      {POPS_ID_DELAY, 1, POPS_ERR_PARAM, 8},
      {POPS_ID_DELAY, 2, POPS_OK, 2},
      {POPS_ID_MODE, 77, POPS_OK, 77},
      {POPS_ID_CONST0, 1, POPS_ERR_PARAM, 1},
      {POPS_ID_CONST1, 1, POPS_ERR_PARAM, 1},
  };
  for (const auto& row : rows) {
    const Filter filter = MakeFilter();
    const auto value = std::bit_cast<uint32_t>(row.value);
    EXPECT_EQ(POPSSetParameter(filter.get(), row.id, value), row.status)
        << row.id << ' ' << row.value;
    EXPECT_EQ(std::bit_cast<int32_t>(Read(filter.get(), row.id)), row.readBack) << row.id;
  }
}

TEST(Parameters, ThousandthsUseTheSinglePrecisionConstant) {
  // 5 times the double 0.001 rounds to the float one above.
  const Filter filter = MakeFilter();
  for (const uint32_t value : {5U, 10U, 4999U}) {
    EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_STEP, value), POPS_OK);
    EXPECT_EQ(filter->fStep, static_cast<float>(value * static_cast<double>(0.001F))) << value;
  }
}

TEST(Parameters, RefusalsAreTestedInOrder) {
  const Filter filter = MakeFilter();
  uint32_t value = 5;
  const uint32_t rightSize = 4;
  const uint32_t wrongSize = 2;
  EXPECT_EQ(POPSCreate(nullptr), POPS_ERR_PARAM);
  EXPECT_EQ(POPSDestroy(nullptr), POPS_ERR_NOSTATE);
  EXPECT_EQ(POPSGetParameter(nullptr, 99, &value), POPS_ERR_NOSTATE);
  EXPECT_EQ(POPSGetParameter(filter.get(), 15, &value), POPS_ERR_PARAM);
  EXPECT_EQ(POPSSetParameter(nullptr, 99, 0), POPS_ERR_NOSTATE);
  EXPECT_EQ(POPSSetParameter(filter.get(), 15, 0), POPS_ERR_PARAM);
  EXPECT_EQ(POPSGetParameterBlock(nullptr, 99, nullptr, nullptr), POPS_ERR_NOSTATE);
  EXPECT_EQ(POPSGetParameterBlock(filter.get(), 3, nullptr, &rightSize), POPS_ERR_PARAM);
  EXPECT_EQ(POPSGetParameterBlock(filter.get(), 3, &value, nullptr), POPS_ERR_PARAM);
  EXPECT_EQ(POPSGetParameterBlock(filter.get(), 3, &value, &wrongSize), POPS_ERR_PARAM);
  EXPECT_EQ(POPSGetParameterBlock(filter.get(), 99, &value, &rightSize), POPS_ERR_PARAM);
  EXPECT_EQ(value, 5U);
  EXPECT_EQ(POPSSetParameterBlock(nullptr, 99, nullptr, 4), POPS_ERR_NOSTATE);
  EXPECT_EQ(POPSSetParameterBlock(filter.get(), POPS_ID_MODE, nullptr, 4), POPS_ERR_PARAM);
  EXPECT_EQ(POPSSetParameterBlock(filter.get(), POPS_ID_MODE, &value, 2), POPS_ERR_PARAM);
  EXPECT_EQ(Read(filter.get(), POPS_ID_MODE), 3U);

  EXPECT_EQ(POPSSetParameterBlock(filter.get(), POPS_ID_MODE, &value, 4), POPS_OK);
  EXPECT_EQ(POPSGetParameterBlock(filter.get(), POPS_ID_RATE, &value, &rightSize), POPS_OK);
  EXPECT_EQ(Read(filter.get(), POPS_ID_MODE), 5U);
  EXPECT_EQ(value, 8000U);
}

TEST(ProcessBuffer, FiltersInPlaceAndCopiesWhatFits) {
  const Samples stream = TwoTones(100);
  const Samples filtered = Filtered(MakeFilter().get(), stream);
  constexpr uint32_t kBytes = 2 * 100;

  Samples input = stream;
  Samples output(100, 77);
  EXPECT_EQ(POPSProcessBuffer(MakeFilter().get(), 9, input.data(), kBytes, output.data(), 100, 9),
            POPS_OK);
  EXPECT_EQ(input, filtered);
  EXPECT_EQ(Samples(output.begin(), output.begin() + 50),
            Samples(filtered.begin(), filtered.begin() + 50));
  EXPECT_EQ(output[50], 77);

  input = stream;
  EXPECT_EQ(POPSProcessBuffer(MakeFilter().get(), 0, input.data(), kBytes, nullptr, 0, 0), POPS_OK);
  EXPECT_EQ(POPSProcessBuffer(MakeFilter().get(), 0, nullptr, kBytes, input.data(), kBytes, 0),
            POPS_ERR_PARAM);
  EXPECT_EQ(POPSProcessBuffer(nullptr, 0, nullptr, 0, nullptr, 0, 0), POPS_ERR_NOSTATE);
  EXPECT_EQ(POPSProcessBuffer(MakeFilter().get(), 0, input.data(), 0, input.data(), 0, 0), POPS_OK);
  EXPECT_EQ(POPSProcessBuffer(MakeFilter().get(), 0, input.data(), 1, input.data(), 1, 0), POPS_OK);
  EXPECT_EQ(input, stream);
}

// The output overlaps the input, and there is an odd byte, which is copied but not filtered.
TEST(ProcessBuffer, AnOutputThatOverlapsGetsTheWholeResult) {
  Samples shared = TwoTones(60);
  const Samples filtered = Filtered(MakeFilter().get(), Samples(shared.begin(), shared.end() - 2));
  const int16_t odd = shared[58];
  constexpr uint32_t kBytes = 2 * 58 + 1;
  EXPECT_EQ(
      POPSProcessBuffer(MakeFilter().get(), 0, shared.data(), kBytes, shared.data() + 1, kBytes, 0),
      POPS_OK);
  EXPECT_EQ(Samples(shared.begin() + 1, shared.end() - 1), filtered);
  EXPECT_EQ(shared.back() & 0xff, odd & 0xff);
}

}  // namespace
