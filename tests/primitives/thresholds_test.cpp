// Thresholds: which elements are replaced, and that all others keep their bits and their memory.
#include "primitives/thresholds.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "primitives/element_words.h"

using zr::primitives::LoadWord;

namespace {

// Rows are told in double precision. A signalling NaN would not survive a conversion.
constexpr uint64_t kSignalling64 = 0x7ff0000000000001;
constexpr uint32_t kSignalling32 = 0x7f800001;
constexpr double kSignallingMark = 12345.0;
const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename Real>
std::vector<Real> Elements(const std::vector<double>& values) {
  std::vector<Real> elements(values.begin(), values.end());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] != kSignallingMark) continue;
    const std::conditional_t<sizeof(Real) == 4, uint32_t, uint64_t> word =
        sizeof(Real) == 4 ? kSignalling32 : kSignalling64;
    std::memcpy(&elements[i], &word, sizeof(word));
  }
  return elements;
}

template <typename Real>
void ExpectSameBits(const std::vector<Real>& values, const std::vector<Real>& expected,
                    const char* what) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(LoadWord(&values[i]), LoadWord(&expected[i])) << what << ", element " << i;
  }
}

template <typename Real>
using InPlace = int32_t (*)(Real* s, int32_t n, Real level);
template <typename Real>
using OutOfPlace = int32_t (*)(const Real* a, Real* d, int32_t n, Real level);

struct Row {
  double level;
  std::vector<double> elements;
  std::vector<double> lessThan;
  std::vector<double> greaterThan;
  const char* what;
};

const std::vector<Row> kRows = {
    {1.5,
     {0.5, 1.5, 2.5, -kInf, kInf},
     {1.5, 1.5, 2.5, 1.5, kInf},
     {0.5, 1.5, 1.5, -kInf, 1.5},
     "numbers"},
    {1.5, {kNaN, 2.5, 0.5}, {1.5, 2.5, 1.5}, {kNaN, 1.5, 0.5}, "a NaN counts as low"},
    {1.5, {kSignallingMark}, {1.5}, {kSignallingMark}, "and is kept bit by bit"},
    {0.0, {-0.0, 0.0, -1.0, 1.0}, {0.0, 0.0, 0.0, 1.0}, {0.0, 0.0, -1.0, 0.0}, "zero"},
    {-0.0, {0.0, -0.0, kNaN}, {-0.0, -0.0, -0.0}, {-0.0, -0.0, kNaN}, "negative zero"},
    {kNaN, {1.0, -1.0}, {kNaN, kNaN}, {1.0, -1.0}, "a level that is a NaN"},
};

template <typename Real>
void ExpectRows(std::vector<double> Row::*expected, InPlace<Real> inPlace,
                OutOfPlace<Real> outOfPlace) {
  for (const auto& row : kRows) {
    const auto elements = Elements<Real>(row.elements);
    const auto n = static_cast<int32_t>(elements.size());
    const auto level = static_cast<Real>(row.level);
    auto s = elements;
    EXPECT_EQ(inPlace(s.data(), n, level), 0);
    ExpectSameBits(s, Elements<Real>(row.*expected), row.what);
    if (outOfPlace == nullptr) continue;
    std::vector<Real> d(elements.size(), Real{9});
    EXPECT_EQ(outOfPlace(elements.data(), d.data(), n, level), 0);
    ExpectSameBits(d, Elements<Real>(row.*expected), row.what);
  }
}

TEST(Thresholds, OneLevel) {
  ExpectRows<float>(&Row::lessThan, ippsThreshold_LT_32f_I, ippsThreshold_LT_32f);
  ExpectRows<double>(&Row::lessThan, ippsThreshold_LT_64f_I, ippsThreshold_LT_64f);
  ExpectRows<float>(&Row::greaterThan, ippsThreshold_GT_32f_I, nullptr);
  ExpectRows<double>(&Row::greaterThan, ippsThreshold_GT_64f_I, ippsThreshold_GT_64f);

  std::vector<int32_t> integers = {-2147483647 - 1, -4, -3, -2, 2147483647};
  EXPECT_EQ(ippsThreshold_LT_32s_I(integers.data(), 5, -3), 0);
  EXPECT_EQ(integers, (std::vector<int32_t>{-3, -3, -3, -2, 2147483647}));
}

// Memory that must not be written faults.
constexpr float kReadOnly[] = {1.5F, 0.0F, 0.0F};
constexpr double kReadOnlyWide[] = {1.5, 0.0, 0.0};

TEST(Thresholds, WhatDoesNotChangeIsNotWritten) {
  auto* const single = const_cast<float*>(kReadOnly);
  auto* const dual = const_cast<double*>(kReadOnlyWide);
  EXPECT_EQ(ippsThreshold_LT_32f_I(single, 3, 0.0F), 0);
  EXPECT_EQ(ippsThreshold_LT_64f_I(dual, 3, 0.0), 0);
  EXPECT_EQ(ippsThreshold_GT_32f_I(single, 3, 1.5F), 0);
  EXPECT_EQ(ippsThreshold_GT_64f_I(dual, 3, 1.5), 0);
  EXPECT_EQ(ippsThreshold_LTValGTVal_32f_I(single, 3, 0.0F, 9.0F, 1.5F, 9.0F), 0);
  EXPECT_EQ(ippsThreshold_LTValGTVal_64f_I(dual, 3, 0.0, 9.0, 1.5, 9.0), 0);
}

TEST(Thresholds, TwoLevels) {
  const struct {
    double levelLow, valueLow, levelHigh, valueHigh;
    int32_t status;
    std::vector<double> elements;
    std::vector<double> expected;
    const char* what;
  } rows[] = {
      {1, 0, 2, 3, 0, {0.5, 1, 1.5, 2, 2.5}, {0, 1, 1.5, 2, 3}, "levels belong to the inside"},
      {1, -7, 1, 7, 0, {0.5, 1, 1.5}, {-7, 1, 7}, "equal levels"},
      {1, -7, 2, 7, 0, {kNaN, kSignallingMark, kInf}, {-7, -7, 7}, "a NaN counts as low"},
      {0.0, -7, 2, 7, 0, {-0.0, 0.0}, {-0.0, 0.0}, "zeros keep their sign"},
      {kNaN, -7, 2, 7, 0, {1, 3}, {-7, -7}, "the lower level is tested first"},
      {1, -7, kNaN, 7, 0, {0.5, 3}, {-7, 3}, "nothing is above a NaN"},
      {2, 0, 1, 3, -18, {0.5, 1.5}, {0.5, 1.5}, "crossed levels are refused"},
  };
  for (const auto& row : rows) {
    const auto n = static_cast<int32_t>(row.elements.size());
    auto single = Elements<float>(row.elements);
    auto dual = Elements<double>(row.elements);
    auto separate = row.status == 0 ? std::vector<double>(dual.size(), 9.0) : dual;
    EXPECT_EQ(ippsThreshold_LTValGTVal_64f(dual.data(), separate.data(), n, row.levelLow,
                                           row.valueLow, row.levelHigh, row.valueHigh),
              row.status);
    EXPECT_EQ(ippsThreshold_LTValGTVal_64f_I(dual.data(), n, row.levelLow, row.valueLow,
                                             row.levelHigh, row.valueHigh),
              row.status);
    EXPECT_EQ(ippsThreshold_LTValGTVal_32f_I(single.data(), n, static_cast<float>(row.levelLow),
                                             static_cast<float>(row.valueLow),
                                             static_cast<float>(row.levelHigh),
                                             static_cast<float>(row.valueHigh)),
              row.status);
    ExpectSameBits(separate, Elements<double>(row.expected), row.what);
    ExpectSameBits(dual, Elements<double>(row.expected), row.what);
    ExpectSameBits(single, Elements<float>(row.expected), row.what);
  }
  double kept = 9.0;
  EXPECT_EQ(ippsThreshold_LTValGTVal_64f(nullptr, &kept, 0, 2, 0, 1, 0), -8);
  EXPECT_EQ(ippsThreshold_LTValGTVal_64f_I(&kept, 0, 2, 0, 1, 0), -6);
  EXPECT_EQ(kept, 9.0);
}

}  // namespace
