// Arithmetic to the bit, with the constants that take a way of their own.
#include "primitives/arithmetic.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/primitives/bits.h"

using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;

namespace {

using Values = std::vector<float>;

struct ConstantRow {
  float constant;
  Values expected;
  const char* what;
};

const Values kOperand = {3.0F, -0.0F, kNaN, kInfinity, 0.1F};

TEST(Arithmetic, MultiplicationByConstantsInPlaceAndOut) {
  const std::vector<ConstantRow> rows = {
      {1.0F, kOperand, "one keeps every bit"},
      {kNaN, kOperand, "a NaN acts as one"},
      {0.0F, Values(5, 0.0F), "zero wins over a NaN and an infinity"},
      {-0.0F, Values(5, 0.0F), "so does negative zero"},
      {0.3F, {0.90000004F, -0.0F, kNaN, kInfinity, 0.030000001F}, "an ordinary product"},
  };
  const auto n = static_cast<int32_t>(kOperand.size());
  for (const auto& row : rows) {
    Values out(kOperand.size(), 9.0F);
    EXPECT_EQ(ippsMulC_32f(kOperand.data(), row.constant, out.data(), n), 0);
    EXPECT_EQ(Bits(out), Bits(row.expected)) << row.what;
    Values inPlace = kOperand;
    EXPECT_EQ(ippsMulC_32f_I(row.constant, inPlace.data(), n), 0);
    EXPECT_EQ(Bits(inPlace), Bits(row.expected)) << row.what;
  }
}

TEST(Arithmetic, DivisionByConstantGoesThroughTheRoundedReciprocal) {
  // 5 / 49 is 0.10204082 when it is rounded once; 1 / 49 rounds first.
  const std::vector<ConstantRow> rows = {
      {3.0F, {5.0F * 0.333333343F}, "reciprocal of three"},
      {49.0F, {5.0F * 0.0204081628F}, "reciprocal of forty-nine"},
      {kInfinity, {0.0F}, "a reciprocal of zero zeroes"},
      {1.0F, {5.0F}, "a reciprocal of one copies"},
  };
  const float dividend = 5.0F;
  for (const auto& row : rows) {
    float quotient = 9.0F;
    EXPECT_EQ(ippsDivC_32f(&dividend, row.constant, &quotient, 1), 0) << row.what;
    EXPECT_EQ(Bits(quotient), Bits(row.expected[0])) << row.what;
  }
  for (const float refused : {0.0F, -0.0F, kNaN}) {
    float kept = 9.0F;
    EXPECT_EQ(ippsDivC_32f(&dividend, refused, &kept, 1), -10);
    EXPECT_EQ(kept, 9.0F);
  }
}

TEST(Arithmetic, ElementwiseOperationsInPlace) {
  Values doubled = {1.5F, -2.0F, 3.0e38F};
  EXPECT_EQ(ippsAdd_32f_I(doubled.data(), doubled.data(), 3), 0);
  EXPECT_EQ(Bits(doubled), Bits(Values{3.0F, -4.0F, kInfinity}));

  Values magnitudes = {-0.0F, -kInfinity, -1.5F, 2.0F};
  EXPECT_EQ(ippsAbs_32f(magnitudes.data(), magnitudes.data(), 4), 0);
  EXPECT_EQ(Bits(magnitudes), Bits(Values{0.0F, kInfinity, 1.5F, 2.0F}));

  // 0.1f squared needs 48 bits; the float nearest to that product ends in ...0.
  Values squares = {0.1F, -3.0F, 1.0e30F};
  const Values expected = {static_cast<float>(static_cast<double>(0.1F) * 0.1F), 9.0F, kInfinity};
  EXPECT_EQ(ippsSqr_32f(squares.data(), squares.data(), 3), 0);
  EXPECT_EQ(Bits(squares), Bits(expected));
}

TEST(Arithmetic, PointersAreTestedBeforeLengthsBeforeConstants) {
  float kept = 9.0F;
  EXPECT_EQ(ippsAdd_32f_I(nullptr, &kept, 0), -8);
  EXPECT_EQ(ippsAdd_32f_I(&kept, &kept, 0), -6);
  EXPECT_EQ(ippsMulC_32f(&kept, 1.0F, nullptr, 1), -8);
  EXPECT_EQ(ippsMulC_32f(&kept, 0.0F, &kept, 0), -6);
  EXPECT_EQ(ippsMulC_32f_I(1.0F, nullptr, 1), -8);
  EXPECT_EQ(ippsMulC_32f_I(1.0F, &kept, 0), -6);
  EXPECT_EQ(ippsDivC_32f(nullptr, 0.0F, &kept, 0), -8);
  EXPECT_EQ(ippsDivC_32f(&kept, 0.0F, &kept, 0), -6);
  EXPECT_EQ(ippsAbs_32f(&kept, nullptr, 1), -8);
  EXPECT_EQ(ippsAbs_32f(&kept, &kept, -1), -6);
  EXPECT_EQ(ippsSqr_32f(nullptr, &kept, 1), -8);
  EXPECT_EQ(ippsSqr_32f(&kept, &kept, 0), -6);
  EXPECT_EQ(kept, 9.0F);
}

}  // namespace
