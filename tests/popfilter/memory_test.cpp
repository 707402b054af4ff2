// Allocation: none on the data path, every failure survived, an unfit record refused.
#include <limits>

#include "popfilter/pops.h"
#include "tests/common/test_memory.h"
#include "tests/popfilter/filter_fixture.h"

using namespace zr::test;

namespace {

constexpr std::size_t kBuffers = 4;
constexpr uint32_t kHuge = std::numeric_limits<uint32_t>::max();

TEST(FilterMemory, ProcessingAllocatesNothing) {
  const Filter filter = MakeFilter();
  Samples stream = TwoTones(2000);
  stream[1000] = 32767;
  Samples output(stream.size());
  const std::size_t before = AllocationCount();
  POPSProcess(filter.get(), static_cast<int32_t>(stream.size()), stream.data());
  const auto bytes = static_cast<uint32_t>(stream.size() * sizeof(int16_t));
  EXPECT_EQ(POPSProcessBuffer(filter.get(), 0, stream.data(), bytes, output.data(), bytes, 0),
            POPS_OK);
  EXPECT_EQ(AllocationCount(), before);
}

TEST(FilterMemory, EveryFailureInCreationIsCleanedUpByDestroy) {
  const std::size_t live = LiveBlockCount();
  for (std::size_t failing = 1; failing <= kBuffers + 1; ++failing) {
    const FailingAllocation failure(failing);
    POPSState* state = nullptr;
    EXPECT_EQ(POPSCreate(&state), POPS_ERR_NOMEM) << "allocation " << failing;
    EXPECT_EQ(state == nullptr, failing == 1);
    EXPECT_EQ(POPSDestroy(state), failing == 1 ? POPS_ERR_NOSTATE : POPS_OK);
    EXPECT_EQ(LiveBlockCount(), live);
  }
}

void ExpectUnfit(POPSState* state) {
  Samples stream = TwoTones(64);
  const Samples untouched = stream;
  POPSProcess(state, 64, stream.data());
  EXPECT_EQ(POPSProcessBuffer(state, 0, stream.data(), 128, stream.data(), 128, 0),
            POPS_ERR_NOTREADY);
  EXPECT_EQ(POPSSetParameter(state, POPS_ID_FLUSH, 1), POPS_OK);
  EXPECT_EQ(stream, untouched);
}

TEST(FilterMemory, AFailedLengthLeavesTheRecordUnfitUntilOneSucceeds) {
  const std::size_t live = LiveBlockCount();
  {
    const Filter filter = MakeFilter();
    for (std::size_t failing = 1; failing <= kBuffers; ++failing) {
      {
        const FailingAllocation failure(failing);
        EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_ORDER, 12), POPS_ERR_NOMEM);
      }
      uint32_t order = 0;
      EXPECT_EQ(POPSGetParameter(filter.get(), POPS_ID_ORDER, &order), POPS_OK);
      EXPECT_EQ(order, 12U) << "the new value stands";
      ExpectUnfit(filter.get());
      EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_DELAY, 5), POPS_OK);
      Filtered(filter.get(), TwoTones(64));
    }
  }
  EXPECT_EQ(LiveBlockCount(), live);
}

TEST(FilterMemory, LengthsThatNoMemoryServesFailLikeAllocations) {
  for (const uint32_t id : {POPS_ID_ORDER, POPS_ID_DELAY}) {
    // 0xfffffff8 and 8 would add up to 0, 0xffffffff and 8 to 7.
    for (const uint32_t value : {0U, 0xfffffff8U, kHuge, 0x7fffffffU, 0x7ffffff7U}) {
      const Filter filter = MakeFilter();
      EXPECT_EQ(POPSSetParameter(filter.get(), id, value), POPS_ERR_NOMEM) << value;
      ExpectUnfit(filter.get());
      EXPECT_EQ(POPSSetParameter(filter.get(), id, 8), POPS_OK) << value;
      Filtered(filter.get(), TwoTones(64));
    }
  }
}

TEST(FilterMemory, AFlushNeverReachesBeyondAShortHistory) {
  const Filter filter = MakeFilter();
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_DELAY, 2), POPS_OK);
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_ORDER, 0), POPS_ERR_NOMEM);
  ASSERT_NE(filter->psHistory, nullptr);
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_FLUSH, 1), POPS_OK);
}

}  // namespace
