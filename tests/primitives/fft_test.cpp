// The transforms: their accuracy, their bits, and what calls may touch.
#include "primitives/fft/fft.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "primitives/fft/packed_forms.h"
#include "primitives/fft/table_memory.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/fft_passes.h"
#include "tests/primitives/fft_reference.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

namespace px = primitives::px;

constexpr int32_t kFlags[] = {FFT_DIV_FWD_BY_N, FFT_DIV_INV_BY_N, FFT_DIV_BY_SQRTN,
                              FFT_NODIV_BY_ANY};

template <typename Value>
std::vector<uint8_t> BytesOf(const std::vector<Value>& values) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(values.data());
  return {bytes, bytes + values.size() * sizeof(Value)};
}

double Factor(int32_t flag, bool isForward, std::size_t n) {
  if (flag == FFT_DIV_BY_SQRTN) return 1.0 / std::sqrt(static_cast<double>(n));
  const bool isScaled = flag == (isForward ? FFT_DIV_FWD_BY_N : FFT_DIV_INV_BY_N);
  return isScaled ? 1.0 / static_cast<double>(n) : 1.0;
}

// Root-mean-square errors of a rounding in each pass grow with the root of the number of passes.
template <typename Element>
double Tolerance(int32_t order) {
  return std::numeric_limits<Element>::epsilon() * std::sqrt(std::max(order, 1));
}

// Larger ones take seconds; they are measured by a program of its own.
constexpr int32_t kLargestMeasured = 18;

// All flags; at large orders one of them.
std::vector<int32_t> FlagsAt(int32_t order) {
  if (order > 13) return {kFlags[order % 4]};
  return {std::begin(kFlags), std::end(kFlags)};
}

template <typename Complex, typename Transform>
void ExpectAccurate(Transform transform, bool isForward, int32_t order) {
  const std::size_t n = std::size_t{1} << order;
  const auto x = RandomUnitComplex<Complex>(static_cast<uint64_t>(order), n);
  const std::vector<Exact> expected = ExactTransform(ToExact(x), isForward);
  for (const int32_t flag : FlagsAt(order)) {
    const Record<ComplexFft<Complex>> record(order, flag);
    std::vector<Complex> y(n);
    ASSERT_EQ(transform(x.data(), y.data(), record.Get(), nullptr), 0);
    EXPECT_LE(RelativeError(ToExact(y), expected, Factor(flag, isForward, n)),
              Tolerance<decltype(Complex::re)>(order))
        << "order " << order << " flag " << flag << " forward " << isForward;
  }
}

TEST(Fft, ComplexTransformsAreAccurate) {
  for (int32_t order = 0; order <= kLargestMeasured; ++order) {
    ExpectAccurate<Complex32f>(ippsFFTFwd_CToC_32fc, true, order);
    ExpectAccurate<Complex32f>(ippsFFTInv_CToC_32fc, false, order);
    ExpectAccurate<Complex64f>(ippsFFTFwd_CToC_64fc, true, order);
  }
}

TEST(Fft, RealTransformsAreAccurateAndInvertEachOther) {
  for (int32_t order = 0; order <= kLargestMeasured; ++order) {
    const std::size_t n = std::size_t{1} << order;
    const auto x = RandomUnit<float>(static_cast<uint64_t>(order), n);
    const std::vector<Exact> exact(x.begin(), x.end());
    std::vector<Exact> spectrum = ExactTransform(exact, true);
    spectrum.resize(n / 2 + 1);
    for (const int32_t flag : FlagsAt(order)) {
      SCOPED_TRACE(testing::Message() << order << " flag " << flag);
      const Record<RealFft> record(order, flag);
      std::vector<Complex32f> ccs(n / 2 + 1);
      ASSERT_EQ(ippsFFTFwd_RToCCS_32f(x.data(), &ccs[0].re, record.Get(), nullptr), 0);
      const double forward = Factor(flag, true, n);
      EXPECT_LE(RelativeError(ToExact(ccs), spectrum, forward), Tolerance<float>(order));
      EXPECT_TRUE(ccs.front().im == 0.0F && ccs.back().im == 0.0F);

      // Nobody reads what stands in the place of the zeros.
      if (n > 1) ccs.front().im = ccs.back().im = std::numeric_limits<float>::quiet_NaN();
      std::vector<float> y(n);
      ASSERT_EQ(ippsFFTInv_CCSToR_32f(&ccs[0].re, y.data(), record.Get(), nullptr), 0);
      const double both = forward * Factor(flag, false, n) * static_cast<double>(n);
      EXPECT_LE(RelativeError({y.begin(), y.end()}, exact, both), 2 * Tolerance<float>(order));
    }
  }
}

// Up to 8 points nothing is rounded on the way, and the root of an eighth is a float.
std::vector<Complex32f> SmallTransform(const std::vector<Complex32f>& x, bool isForward,
                                       int32_t flag) {
  constexpr double c = 0.70710677F;
  constexpr double kCosines[] = {1, c, 0, -c, -1, -c, 0, c};
  const std::size_t n = x.size();
  const auto scale = static_cast<float>(Factor(flag, isForward, n));
  std::vector<Complex32f> y(n);
  for (std::size_t k = 0; k < n; ++k) {
    std::complex<double> sum;
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t eighths = (isForward ? i : 8 - i) * k * (8 / n) % 8;
      const std::complex<double> root(kCosines[eighths], kCosines[(eighths + 2) % 8]);
      sum += std::complex<double>(x[i].re, x[i].im) * root;
    }
    y[k] = {static_cast<float>(sum.real() * scale), static_cast<float>(sum.imag() * scale)};
  }
  return y;
}

TEST(Fft, SmallKernelsRoundTheDefinitionOnce) {
  const auto expectEqual = [](const auto& actual, const auto& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i)
      EXPECT_TRUE(actual[i].re == expected[i].re && actual[i].im == expected[i].im) << i;
  };
  for (int32_t i = 0; i < 16; ++i) {
    const int32_t order = i / 4;
    const int32_t flag = kFlags[i % 4];
    SCOPED_TRACE(testing::Message() << order << " flag " << flag);
    const std::size_t n = std::size_t{1} << order;
    const Record<ComplexFft<Complex32f>> record(order, flag);
    auto x = RandomUnitComplex<Complex32f>(7, n);
    std::vector<Complex32f> y(n);
    ippsFFTFwd_CToC_32fc(x.data(), y.data(), record.Get(), nullptr);
    expectEqual(y, SmallTransform(x, true, flag));
    ippsFFTInv_CToC_32fc(x.data(), y.data(), record.Get(), nullptr);
    expectEqual(y, SmallTransform(x, false, flag));

    // Real points are complex ones that lack a part, and so is half their spectrum.
    const Record<RealFft> real(order, flag);
    std::vector<float> points(n);
    for (std::size_t k = 0; k < n; ++k) {
      x[k].im = 0.0F;
      points[k] = x[k].re;
    }
    std::vector<Complex32f> ccs(n / 2 + 1);
    ippsFFTFwd_RToCCS_32f(points.data(), &ccs[0].re, real.Get(), nullptr);
    expectEqual(ccs, SmallTransform(x, true, flag));
    for (std::size_t k = 0; k <= n / 2; ++k) {
      x[(n - k) % n] = {ccs[k].re, -ccs[k].im};
      x[k] = ccs[k];
    }
    ippsFFTInv_CCSToR_32f(&ccs[0].re, points.data(), real.Get(), nullptr);
    y = SmallTransform(x, false, flag);
    for (std::size_t k = 0; k < n; ++k)
      EXPECT_EQ(points[k], y[k].re) << k;
  }
}

template <typename Complex, typename Transform>
void ExpectBitsOfPasses(Transform transform, bool isForward, int32_t directLimit,
                        const std::vector<int32_t>& splits, const std::vector<int32_t>& orders) {
  using Element = decltype(Complex::re);
  const int32_t largest = orders.back();
  const px::TemporaryTable<Element> sines(px::MakeSines<Element>(largest));
  const PassByPass<Complex> reference = {{sines.Get(), largest}, directLimit, splits, isForward};
  for (const int32_t order : orders) {
    const std::size_t n = std::size_t{1} << order;
    const auto x = RandomUnitComplex<Complex>(100U + static_cast<uint64_t>(order), n);
    std::vector<Complex> y(n);
    const Record<ComplexFft<Complex>> record(order);
    ASSERT_EQ(transform(x.data(), y.data(), record.Get(), nullptr), 0);
    std::vector<Complex> expected(n);
    reference.Transform(x.data(), 1, expected.data(), n);
    EXPECT_EQ(std::memcmp(y.data(), expected.data(), n * sizeof(Complex)), 0) << order;
  }
}

// The last of the orders split rows of combined blocks, and rows once more.
TEST(Fft, RoundsWhereEachPassStores) {
  const std::vector<int32_t> floatSplits = {0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,  0,
                                            0, 5, 6, 7, 8, 8, 8, 10, 10, 10, 10, 8};
  const std::vector<int32_t> doubleSplits = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                             0, 4, 5, 6, 7, 7, 8, 9, 9, 9, 8};
  std::vector<int32_t> orders = {4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 19, 21};
  ExpectBitsOfPasses<Complex32f>(ippsFFTInv_CToC_32fc, false, 10, floatSplits, orders);
  ExpectBitsOfPasses<Complex64f>(ippsFFTFwd_CToC_64fc, true, 9, doubleSplits, orders);
  orders.push_back(23);
  ExpectBitsOfPasses<Complex32f>(ippsFFTFwd_CToC_32fc, true, 10, floatSplits, orders);
}

using Bytes = std::vector<uint8_t>;

// Any of the transforms, told by its bytes.
struct Form {
  const char* name;
  int32_t largestOrderWithoutBuffer;
  std::size_t elementSize;
  bool isFromCcs;
  bool isToCcs;
  std::function<std::shared_ptr<void>(int32_t order)> make;
  std::function<int32_t(const void* record, const uint8_t*, uint8_t*, uint8_t* buffer)> call;

  [[nodiscard]] std::size_t SourceSize(int32_t order) const { return Size(order, isFromCcs); }
  [[nodiscard]] std::size_t DestinationSize(int32_t order) const { return Size(order, isToCcs); }
  [[nodiscard]] std::size_t Size(int32_t order, bool isCcs) const {
    const std::size_t behind = order == 0 ? 1 : 2;
    return ((std::size_t{1} << order) + (isCcs ? behind : 0)) * elementSize;
  }
};

template <typename Kind, typename Element, typename Transform>
Form FormOf(const char* name, int32_t largestOrderWithoutBuffer, Transform transform,
            bool isFromCcs = false, bool isToCcs = false) {
  using Opaque = typename Kind::Record;
  const auto make = [](int32_t order) {
    Opaque* record = nullptr;
    EXPECT_EQ(Kind::Make(&record, order, FFT_DIV_BY_SQRTN, 0), 0);
    return std::shared_ptr<void>(record,
                                 [](void* made) { Kind::Free(static_cast<Opaque*>(made)); });
  };
  const auto call = [transform](const void* record, const uint8_t* from, uint8_t* to,
                                uint8_t* buffer) {
    return transform(reinterpret_cast<const Element*>(from), reinterpret_cast<Element*>(to),
                     static_cast<const Opaque*>(record), buffer);
  };
  return {name, largestOrderWithoutBuffer, sizeof(Element), isFromCcs, isToCcs, make, call};
}

std::vector<Form> AllForms() {
  using Floats = ComplexFft<Complex32f>;
  using Doubles = ComplexFft<Complex64f>;
  return {FormOf<Floats, Complex32f>("complex forward", 10, ippsFFTFwd_CToC_32fc),
          FormOf<Floats, Complex32f>("complex inverse", 10, ippsFFTInv_CToC_32fc),
          FormOf<Doubles, Complex64f>("double forward", 9, ippsFFTFwd_CToC_64fc),
          FormOf<RealFft, float>("to CCS", 11, ippsFFTFwd_RToCCS_32f, false, true),
          FormOf<RealFft, float>("to Perm", 11, px::FFTFwdRToPerm),
          FormOf<RealFft, float>("to Pack", 11, px::FFTFwdRToPack),
          FormOf<RealFft, float>("from CCS", 11, ippsFFTInv_CCSToR_32f, true),
          FormOf<RealFft, float>("from Perm", 11, px::FFTInvPermToR),
          FormOf<RealFft, float>("from Pack", 11, px::FFTInvPackToR)};
}

TEST(Fft, BitsDependOnTheNumbersAlone) {
  // The longest work area, 4 columns of 512 doubled doubles, and what its alignment costs.
  constexpr std::size_t kBufferSize = 32784;
  for (const Form& form : AllForms()) {
    for (int32_t order = 0; order <= 14; ++order) {
      SCOPED_TRACE(testing::Message() << form.name << ' ' << order);
      const std::shared_ptr<void> record = form.make(order);
      const std::size_t inSize = form.SourceSize(order);
      const std::size_t outSize = form.DestinationSize(order);
      const bool isDouble = form.elementSize == sizeof(Complex64f);
      const Bytes input = isDouble ? BytesOf(RandomUnit<double>(9, inSize / 8))
                                   : BytesOf(RandomUnit<float>(9, inSize / 4));
      GuardedBuffer source = Misplaced(input, 0);
      GuardedBuffer apart(outSize, 0);
      ASSERT_EQ(form.call(record.get(), source.Data(), apart.Data(), nullptr), 0);
      EXPECT_TRUE(apart.IsGuardIntact() && source.Content() == input);
      // The elements behind the points of an inverse in place stay.
      Bytes expected = input;
      expected.resize(std::max(inSize, outSize));
      std::memcpy(expected.data(), apart.Data(), outSize);

      for (const std::size_t misalignment : {0U, 1U, 4U, 15U}) {
        GuardedBuffer inPlace(expected.size(), misalignment);
        GuardedBuffer buffer(kBufferSize, misalignment);
        std::memcpy(inPlace.Data(), input.data(), inSize);
        ASSERT_EQ(form.call(record.get(), inPlace.Data(), inPlace.Data(), buffer.Data()), 0);
        EXPECT_EQ(inPlace.Content(), expected) << misalignment;
        EXPECT_TRUE(inPlace.IsGuardIntact() && buffer.IsGuardIntact()) << misalignment;
      }
    }
  }
}

TEST(Fft, PackedFormsHoldTheSameNumbers) {
  for (int32_t order = 1; order <= 13; ++order) {
    const std::size_t n = std::size_t{1} << order;
    const auto x = RandomUnit<float>(5, n);
    const Record<RealFft> record(order);
    std::vector<float> ccs(n + 2);
    std::vector<float> perm(n);
    std::vector<float> pack(n);
    ippsFFTFwd_RToCCS_32f(x.data(), ccs.data(), record.Get(), nullptr);
    px::FFTFwdRToPerm(x.data(), perm.data(), record.Get(), nullptr);
    px::FFTFwdRToPack(x.data(), pack.data(), record.Get(), nullptr);
    std::vector<float> expected = ccs;
    expected[1] = ccs[n];
    expected.resize(n);
    EXPECT_EQ(perm, expected) << order;
    expected.erase(expected.begin() + 1);
    expected.push_back(ccs[n]);
    EXPECT_EQ(pack, expected) << order;

    ippsFFTInv_CCSToR_32f(ccs.data(), expected.data(), record.Get(), nullptr);
    px::FFTInvPermToR(perm.data(), perm.data(), record.Get(), nullptr);
    px::FFTInvPackToR(pack.data(), pack.data(), record.Get(), nullptr);
    EXPECT_TRUE(perm == expected && pack == expected) << order;
  }
}

TEST(Fft, OnlyLargeOrdersWithoutABufferAllocateIt) {
  for (const Form& form : AllForms()) {
    const int32_t order = form.largestOrderWithoutBuffer;
    const Bytes source(form.SourceSize(order + 1));
    Bytes destination(form.DestinationSize(order + 1), 0xa5);
    Bytes buffer(16);
    const auto expectCall = [&](const void* record, uint8_t* given, int32_t status,
                                std::size_t allocations) {
      const std::size_t count = AllocationCount();
      EXPECT_EQ(form.call(record, source.data(), destination.data(), given), status) << form.name;
      EXPECT_EQ(AllocationCount() - count, allocations) << form.name;
    };
    const std::shared_ptr<void> small = form.make(order);
    const std::shared_ptr<void> large = form.make(order + 1);
    const std::size_t live = LiveBlockCount();
    {
      const FailingAllocation failing(1);
      expectCall(large.get(), nullptr, -9, 1);
      EXPECT_EQ(destination, Bytes(destination.size(), 0xa5)) << form.name;
    }
    expectCall(small.get(), nullptr, 0, 0);
    expectCall(large.get(), nullptr, 0, 1);
    expectCall(large.get(), buffer.data(), 0, 0);
    EXPECT_EQ(LiveBlockCount(), live) << form.name;
  }
}

TEST(Fft, RefusesInItsOrder) {
  const std::vector<Form> forms = AllForms();
  Bytes bytes(64, 0x3f);
  uint8_t* const x = bytes.data();
  for (const Form& form : forms) {
    const std::shared_ptr<void> own = form.make(2);
    EXPECT_EQ(form.call(nullptr, nullptr, nullptr, nullptr), -8) << form.name;
    EXPECT_EQ(form.call(own.get(), nullptr, x, nullptr), -8) << form.name;
    EXPECT_EQ(form.call(own.get(), x, nullptr, nullptr), -8) << form.name;
    for (const Form& other : forms) {
      if (other.elementSize == form.elementSize) continue;
      const std::shared_ptr<void> foreign = other.make(2);
      EXPECT_EQ(form.call(foreign.get(), nullptr, nullptr, nullptr), -17) << form.name;
      EXPECT_EQ(form.call(foreign.get(), x, x, nullptr), -17) << form.name << other.name;
    }
  }
  EXPECT_EQ(bytes, Bytes(64, 0x3f));
}

}  // namespace
}  // namespace zr::test
