// The output belongs to the stream: however it is cut, whoever runs beside it, and equal to an
// independent computation.
#include <random>
#include <utility>

#include "popfilter/pops.h"
#include "tests/popfilter/filter_fixture.h"
#include "tests/popfilter/reference_filter.h"

using namespace zr::test;

namespace {

Filter Configured(const ReferenceSettings& settings) {
  Filter filter = MakeFilter();
  const std::pair<uint32_t, uint32_t> numbers[] = {
      {POPS_ID_ORDER, static_cast<uint32_t>(settings.order)},
      {POPS_ID_SETTLE, static_cast<uint32_t>(settings.settle)},
      {POPS_ID_DELAY, static_cast<uint32_t>(settings.delay)},
      {POPS_ID_MODE, settings.mode}};
  for (const auto& [id, value] : numbers) {
    EXPECT_EQ(POPSSetParameter(filter.get(), id, value), POPS_OK);
  }
  filter->fStep = settings.step;
  filter->fCeiling = settings.ceiling;
  filter->fFloor = settings.floor;
  filter->fSlope = settings.slope;
  return filter;
}

ReferenceSettings RandomSettings(std::mt19937& random) {
  const auto thousandths = [&](uint32_t limit) {
    return static_cast<float>(random() % limit) * 0.001F;
  };
  return {.order = static_cast<int32_t>(2 + random() % 20),
          .settle = static_cast<int32_t>(1 + random() % 40),
          .delay = static_cast<int32_t>(2 + random() % 12),
          .mode = static_cast<uint32_t>(random() % 5),
          .step = thousandths(600),
          .ceiling = thousandths(1000),
          .floor = thousandths(200),
          .slope = thousandths(3000) - 0.3F};
}

TEST(Stream, EqualsAnIndependentComputationUnderAnySettings) {
  std::mt19937 random(11);
  for (int32_t round = 0; round < 60; ++round) {
    const ReferenceSettings settings = round == 0 ? ReferenceSettings{} : RandomSettings(random);
    const Samples stream = ClickedTones(random, 4000);
    const auto [expected, coefs] = ReferenceFiltered(settings, stream);
    const Filter filter = Configured(settings);
    ASSERT_EQ(Filtered(filter.get(), stream), expected) << "round " << round;
    ASSERT_EQ(std::vector<float>(filter->pfCoefs, filter->pfCoefs + filter->ulOrder), coefs)
        << "round " << round;
    const auto randomLength = [&] { return 1 + random() % 40; };
    ASSERT_EQ(Filtered(Configured(settings).get(), stream, randomLength), expected)
        << "random cuts, round " << round;
  }
}

TEST(Stream, TwoRecordsInterleavedDoNotMeet) {
  std::mt19937 random(14);
  Samples first = ClickedTones(random, 6000);
  Samples second = ClickedTones(random, 6000);
  const Samples expectedFirst = Filtered(MakeFilter().get(), first);
  const Samples expectedSecond = Filtered(MakeFilter().get(), second);
  const Filter firstFilter = MakeFilter();
  const Filter secondFilter = MakeFilter();
  for (std::size_t start = 0; start < first.size(); start += 60) {
    POPSProcess(firstFilter.get(), 60, first.data() + start);
    POPSProcess(secondFilter.get(), 60, second.data() + start);
  }
  EXPECT_EQ(first, expectedFirst);
  EXPECT_EQ(second, expectedSecond);
}

TEST(Stream, AFlushClearsTheFourOldestSamplesOnly) {
  const Filter filter = MakeFilter();
  Filtered(filter.get(), TwoTones(100));
  Samples expected(filter->psHistory, filter->psHistory + 16);
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_FLUSH, 2), POPS_ERR_PARAM);
  EXPECT_EQ(Samples(filter->psHistory, filter->psHistory + 16), expected);
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_FLUSH, 1), POPS_OK);
  std::fill_n(expected.begin(), 4, int16_t{0});
  EXPECT_EQ(Samples(filter->psHistory, filter->psHistory + 16), expected);
}

}  // namespace
