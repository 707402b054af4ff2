// The transforms: their accuracy, their bits, and what calls may touch.
#include "primitives/fft/fft.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>

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

long double Factor(int32_t flag, bool isForward, std::size_t n) {
  if (flag == FFT_DIV_BY_SQRTN) return 1.0L / std::sqrt(static_cast<long double>(n));
  const bool isScaled = flag == (isForward ? FFT_DIV_FWD_BY_N : FFT_DIV_INV_BY_N);
  return isScaled ? 1.0L / static_cast<long double>(n) : 1.0L;
}

// Root-mean-square errors of a rounding in each pass grow with the root of the number of passes.
template <typename Element>
double Tolerance(int32_t order) {
  return std::numeric_limits<Element>::epsilon() * std::sqrt(std::max(order, 1));
}

template <typename Complex, typename Transform>
void ExpectAccurate(Transform transform, int32_t order, int32_t flag, bool isForward) {
  const std::size_t n = std::size_t{1} << order;
  const auto x = RandomUnitComplex<Complex>(static_cast<uint64_t>(order), n);
  std::vector<Complex> y(n);
  const Record<ComplexFft<Complex>> record(order, flag);
  ASSERT_EQ(transform(x.data(), y.data(), record.Get(), nullptr), 0);
  std::vector<Exact> expected = ExactTransform(ToExact(x), isForward);
  for (Exact& value : expected)
    value *= Factor(flag, isForward, n);
  EXPECT_LE(RelativeError(ToExact(y), expected), Tolerance<decltype(Complex::re)>(order))
      << "order " << order << " flag " << flag << " forward " << isForward;
}

TEST(Fft, ComplexTransformsAreAccurate) {
  for (int32_t order = 0; order <= 16; ++order) {
    for (const int32_t flag : kFlags) {
      if (order > 13 && flag != kFlags[order % 4]) continue;
      ExpectAccurate<Complex32f>(ippsFFTFwd_CToC_32fc, order, flag, true);
      ExpectAccurate<Complex32f>(ippsFFTInv_CToC_32fc, order, flag, false);
    }
  }
}

TEST(Fft, DoubleTransformIsAccurate) {
  if (!IsLongDoubleWide()) GTEST_SKIP() << "nothing here is more exact than a double";
  for (int32_t order = 0; order <= 16; ++order)
    ExpectAccurate<Complex64f>(ippsFFTFwd_CToC_64fc, order, kFlags[order % 4], true);
}

// The spectrum of a real signal as complex numbers 0 to N/2, out of CCS.
std::vector<Exact> HalfSpectrum(const std::vector<float>& ccs) {
  std::vector<Exact> half;
  for (std::size_t i = 0; i + 1 < ccs.size(); i += 2)
    half.emplace_back(ccs[i], ccs[i + 1]);
  return half;
}

TEST(Fft, RealTransformsAreAccurateAndInvertEachOther) {
  for (int32_t order = 0; order <= 16; ++order) {
    const std::size_t n = std::size_t{1} << order;
    const auto x = RandomUnit<float>(static_cast<uint64_t>(order), n);
    const std::vector<Exact> exact(x.begin(), x.end());
    std::vector<Exact> spectrum = ExactTransform(exact, true);
    spectrum.resize(n / 2 + 1);
    for (const int32_t flag : kFlags) {
      const Record<RealFft> record(order, flag);
      std::vector<float> ccs(n == 1 ? 2 : n + 2);
      ASSERT_EQ(ippsFFTFwd_RToCCS_32f(x.data(), ccs.data(), record.Get(), nullptr), 0);
      std::vector<Exact> actual = HalfSpectrum(ccs);
      for (Exact& value : actual)
        value /= Factor(flag, true, n);
      EXPECT_LE(RelativeError(actual, spectrum), Tolerance<float>(order)) << order << " " << flag;
      EXPECT_EQ(ccs[1], 0.0F);
      EXPECT_EQ(ccs.back(), 0.0F);

      // Nobody reads what stands in the place of the zeros.
      if (n > 1) ccs[1] = ccs.back() = std::numeric_limits<float>::quiet_NaN();
      std::vector<float> back(n);
      ASSERT_EQ(ippsFFTInv_CCSToR_32f(ccs.data(), back.data(), record.Get(), nullptr), 0);
      std::vector<Exact> restored(back.begin(), back.end());
      for (Exact& value : restored)
        value /= flag == FFT_NODIV_BY_ANY ? static_cast<long double>(n) : 1.0L;
      EXPECT_LE(RelativeError(restored, exact), 2 * Tolerance<float>(order))
          << order << " " << flag;
    }
  }
}

template <typename Complex, typename Transform>
void ExpectBitsOfPasses(Transform transform, bool isForward, int32_t directLimit,
                        const std::vector<int32_t>& splits) {
  using Element = decltype(Complex::re);
  constexpr int32_t kLargest = 14;
  const px::TemporaryTable<Element> sines(px::MakeSines<Element>(kLargest));
  const px::SineTable<Element> roots = {sines.Get(), kLargest};
  const PassByPass<Complex> reference(roots, directLimit, splits, isForward);
  for (int32_t order = 4; order <= kLargest; ++order) {
    const std::size_t n = std::size_t{1} << order;
    const auto x = RandomUnitComplex<Complex>(100U + static_cast<uint64_t>(order), n);
    std::vector<Complex> y(n);
    const Record<ComplexFft<Complex>> record(order);
    ASSERT_EQ(transform(x.data(), y.data(), record.Get(), nullptr), 0);
    EXPECT_EQ(BytesOf(y), BytesOf(reference.Transform(x))) << order;
  }
}

TEST(Fft, RoundsWhereEachPassStores) {
  const std::vector<int32_t> floatSplits = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6};
  const std::vector<int32_t> doubleSplits = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 5, 6};
  ExpectBitsOfPasses<Complex32f>(ippsFFTFwd_CToC_32fc, true, 10, floatSplits);
  ExpectBitsOfPasses<Complex32f>(ippsFFTInv_CToC_32fc, false, 10, floatSplits);
  ExpectBitsOfPasses<Complex64f>(ippsFFTFwd_CToC_64fc, true, 9, doubleSplits);
}

TEST(Fft, SmallKernelsOnKnownInputs) {
  const float c = 0.70710677F;
  const double c64 = 0.7071067811865476;
  const Record<ComplexFft<Complex32f>> eight(3);
  std::vector<Complex32f> impulse(8);
  impulse[1] = {1.0F, 0.0F};
  std::vector<Complex32f> y(8);
  ippsFFTFwd_CToC_32fc(impulse.data(), y.data(), eight.Get(), nullptr);
  const float expected[8][2] = {{1, 0},  {c, -c}, {0, -1}, {-c, -c},
                                {-1, 0}, {-c, c}, {0, 1},  {c, c}};
  for (std::size_t k = 0; k < 8; ++k)
    EXPECT_TRUE(y[k].re == expected[k][0] && y[k].im == expected[k][1]) << k;

  const Record<ComplexFft<Complex64f>> eightDoubles(3);
  std::vector<Complex64f> impulse64(8);
  impulse64[3] = {0.0, 1.0};
  ippsFFTFwd_CToC_64fc(impulse64.data(), impulse64.data(), eightDoubles.Get(), nullptr);
  EXPECT_TRUE(impulse64[1].re == c64 && impulse64[1].im == -c64);

  const Record<RealFft> two(1);
  std::vector<float> ccs = {3.0F, 5.0F, 9.0F, 9.0F};
  ippsFFTFwd_RToCCS_32f(ccs.data(), ccs.data(), two.Get(), nullptr);
  EXPECT_EQ(ccs, (std::vector<float>{8.0F, 0.0F, -2.0F, 0.0F}));
}

// Paths that only large orders take: rows of combined blocks, rows that are split once more.
// Few impulses, so that each point of the spectrum is a sum of few roots.
template <typename Complex>
void ExpectSumOfRoots(int32_t order) {
  const std::size_t n = std::size_t{1} << order;
  const std::size_t places[] = {1, n / 3, n - 5};
  std::vector<Complex> x(n);
  for (const std::size_t place : places)
    x[place] = {1, -0.5};
  const Record<ComplexFft<Complex>> record(order, FFT_DIV_INV_BY_N);
  ASSERT_EQ(record.Status(), 0);
  ASSERT_EQ(ComplexFft<Complex>::Forward(x.data(), x.data(), record.Get(), nullptr), 0);
  std::vector<Complex> sampled;
  std::vector<Exact> expected;
  constexpr std::size_t kStep = 251;  // Prime: all rows and columns come in turn.
  for (std::size_t k = 0; k < n; k += kStep) {
    sampled.push_back(x[k]);
    Exact sum = 0;
    for (const std::size_t place : places)
      sum += Exact(1, -0.5) *
             RootOfUnity(static_cast<int64_t>(place * k % n), static_cast<int64_t>(n), true);
    expected.push_back(sum);
  }
  using Element = decltype(Complex::re);
  const double precision = IsLongDoubleWide() ? Tolerance<Element>(order) : Tolerance<float>(order);
  EXPECT_LE(RelativeError(ToExact(sampled), expected), precision) << order;
  if constexpr (std::is_same_v<Complex, Complex32f>) {
    ASSERT_EQ(ippsFFTInv_CToC_32fc(x.data(), x.data(), record.Get(), nullptr), 0);
    double energy = 0.0;
    for (const std::size_t place : places)
      x[place] = {x[place].re - 1.0F, x[place].im + 0.5F};
    for (const Complex& value : x)
      energy += double{value.re} * value.re + double{value.im} * value.im;
    EXPECT_LE(std::sqrt(energy / 3.75), 2 * Tolerance<float>(order)) << order;
  }
}

TEST(Fft, LargeOrdersTakeTheirOwnPaths) {
  ExpectSumOfRoots<Complex32f>(21);
  ExpectSumOfRoots<Complex32f>(23);
  ExpectSumOfRoots<Complex64f>(19);
  ExpectSumOfRoots<Complex64f>(21);
}

// Any of the transforms, told by its bytes.
struct Form {
  const char* name;
  int32_t largestOrderWithoutBuffer;
  std::function<std::size_t(std::size_t)> sourceSize;
  std::function<std::size_t(std::size_t)> destinationSize;
  // Status of a call at an order.
  std::function<int32_t(int32_t, const uint8_t*, uint8_t*, uint8_t*)> call;
};

template <typename Kind, typename Element, typename Transform>
auto CallOf(Transform transform) {
  return [transform](int32_t order, const uint8_t* from, uint8_t* to, uint8_t* buffer) {
    const Record<Kind> record(order, FFT_DIV_BY_SQRTN);
    return transform(reinterpret_cast<const Element*>(from), reinterpret_cast<Element*>(to),
                     record.Get(), buffer);
  };
}

std::vector<Form> AllForms() {
  const auto ofComplex = [](std::size_t n) { return n * sizeof(Complex32f); };
  const auto ofDouble = [](std::size_t n) { return n * sizeof(Complex64f); };
  const auto ofReal = [](std::size_t n) { return n * sizeof(float); };
  const auto ofCcs = [](std::size_t n) { return (n == 1 ? 2 : n + 2) * sizeof(float); };
  using ComplexKind = ComplexFft<Complex32f>;
  using DoubleKind = ComplexFft<Complex64f>;
  return {{"complex forward", 10, ofComplex, ofComplex,
           CallOf<ComplexKind, Complex32f>(ippsFFTFwd_CToC_32fc)},
          {"complex inverse", 10, ofComplex, ofComplex,
           CallOf<ComplexKind, Complex32f>(ippsFFTInv_CToC_32fc)},
          {"double forward", 9, ofDouble, ofDouble,
           CallOf<DoubleKind, Complex64f>(ippsFFTFwd_CToC_64fc)},
          {"to CCS", 11, ofReal, ofCcs, CallOf<RealFft, float>(ippsFFTFwd_RToCCS_32f)},
          {"to Perm", 11, ofReal, ofReal, CallOf<RealFft, float>(px::FFTFwdRToPerm)},
          {"to Pack", 11, ofReal, ofReal, CallOf<RealFft, float>(px::FFTFwdRToPack)},
          {"from CCS", 11, ofCcs, ofReal, CallOf<RealFft, float>(ippsFFTInv_CCSToR_32f)},
          {"from Perm", 11, ofReal, ofReal, CallOf<RealFft, float>(px::FFTInvPermToR)},
          {"from Pack", 11, ofReal, ofReal, CallOf<RealFft, float>(px::FFTInvPackToR)}};
}

TEST(Fft, BitsDependOnTheNumbersAlone) {
  // The longest work area, 4 columns of 512 doubled doubles, and what its alignment costs.
  constexpr std::size_t kBufferSize = 32784;
  for (const Form& form : AllForms()) {
    for (int32_t order = 0; order <= 14; ++order) {
      const std::size_t n = std::size_t{1} << order;
      const std::size_t inSize = form.sourceSize(n);
      const std::size_t outSize = form.destinationSize(n);
      GuardedBuffer source(inSize, 0);
      const bool isDouble = std::strcmp(form.name, "double forward") == 0;
      const std::vector<uint8_t> input = isDouble ? BytesOf(RandomUnit<double>(9, inSize / 8))
                                                  : BytesOf(RandomUnit<float>(9, inSize / 4));
      std::memcpy(source.Data(), input.data(), inSize);
      GuardedBuffer apart(outSize, 0);
      ASSERT_EQ(form.call(order, source.Data(), apart.Data(), nullptr), 0);
      EXPECT_TRUE(apart.IsGuardIntact() && source.Content() == input) << form.name << order;

      for (const std::size_t misalignment : {0U, 1U, 4U, 15U}) {
        // The elements behind the points of an inverse in place stay.
        GuardedBuffer inPlace(std::max(inSize, outSize), misalignment);
        GuardedBuffer buffer(kBufferSize, misalignment);
        std::memcpy(inPlace.Data(), input.data(), inSize);
        ASSERT_EQ(form.call(order, inPlace.Data(), inPlace.Data(), buffer.Data()), 0);
        std::vector<uint8_t> expected = apart.Content();
        if (inSize > outSize) {
          expected.insert(expected.end(), input.begin() + static_cast<std::ptrdiff_t>(outSize),
                          input.end());
        }
        EXPECT_EQ(inPlace.Content(), expected) << form.name << " " << order << " " << misalignment;
        EXPECT_TRUE(inPlace.IsGuardIntact() && buffer.IsGuardIntact()) << form.name << order;
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
    const auto end = ccs.begin() + static_cast<std::ptrdiff_t>(n);
    std::vector<float> asPerm(ccs.begin(), end);
    asPerm[1] = ccs[n];
    std::vector<float> asPack(ccs.begin() + 1, end + 1);
    asPack[0] = ccs[0];
    EXPECT_EQ(BytesOf(perm), BytesOf(asPerm)) << order;
    EXPECT_EQ(BytesOf(pack), BytesOf(asPack)) << order;

    std::vector<float> fromCcs(n);
    ippsFFTInv_CCSToR_32f(ccs.data(), fromCcs.data(), record.Get(), nullptr);
    px::FFTInvPermToR(perm.data(), perm.data(), record.Get(), nullptr);
    px::FFTInvPackToR(pack.data(), pack.data(), record.Get(), nullptr);
    EXPECT_EQ(BytesOf(perm), BytesOf(fromCcs)) << order;
    EXPECT_EQ(BytesOf(pack), BytesOf(fromCcs)) << order;
  }
}

TEST(Fft, OnlyLargeOrdersWithoutABufferAllocateIt) {
  for (const Form& form : AllForms()) {
    const int32_t order = form.largestOrderWithoutBuffer;
    const std::vector<uint8_t> source(form.sourceSize(std::size_t{2} << order));
    std::vector<uint8_t> destination(form.destinationSize(std::size_t{2} << order));
    std::vector<uint8_t> buffer(16);
    const auto allocations = [&](int32_t ofOrder, uint8_t* given) {
      const std::size_t before = AllocationCount();
      EXPECT_EQ(form.call(ofOrder, source.data(), destination.data(), given), 0) << form.name;
      return AllocationCount() - before;
    };
    EXPECT_EQ(allocations(order, nullptr), allocations(order, buffer.data())) << form.name;
    const std::size_t count = allocations(order + 1, nullptr);
    EXPECT_EQ(count, allocations(order + 1, buffer.data()) + 1) << form.name;

    const std::vector<uint8_t> before(destination.size(), 0xa5);
    destination = before;
    const std::size_t live = LiveBlockCount();
    const FailingAllocation failing(count);  // The last one; the record takes the others.
    EXPECT_EQ(form.call(order + 1, source.data(), destination.data(), nullptr), -9) << form.name;
    EXPECT_EQ(destination, before) << form.name;
    EXPECT_EQ(LiveBlockCount(), live) << form.name;
  }
}

template <typename Kind, typename Element, typename Transform>
void ExpectRefusals(Transform transform, const void* recordOfAnotherKind) {
  const Record<Kind> record(2);
  const auto* const foreign = static_cast<const typename Kind::Record*>(recordOfAnotherKind);
  std::vector<Element> x(8);
  std::memset(x.data(), 0x3f, x.size() * sizeof(Element));
  const std::vector<uint8_t> before = BytesOf(x);
  EXPECT_EQ(transform(nullptr, nullptr, nullptr, nullptr), -8);
  EXPECT_EQ(transform(nullptr, nullptr, foreign, nullptr), -17);
  EXPECT_EQ(transform(x.data(), x.data(), foreign, nullptr), -17);
  EXPECT_EQ(transform(nullptr, x.data(), record.Get(), nullptr), -8);
  EXPECT_EQ(transform(x.data(), nullptr, record.Get(), nullptr), -8);
  EXPECT_EQ(BytesOf(x), before);
}

TEST(Fft, RefusesInItsOrder) {
  const Record<ComplexFft<Complex32f>> complex(2);
  const Record<ComplexFft<Complex64f>> doubles(2);
  const Record<RealFft> real(2);
  for (const void* const foreign :
       {static_cast<void*>(doubles.Get()), static_cast<void*>(real.Get())}) {
    ExpectRefusals<ComplexFft<Complex32f>, Complex32f>(ippsFFTFwd_CToC_32fc, foreign);
    ExpectRefusals<ComplexFft<Complex32f>, Complex32f>(ippsFFTInv_CToC_32fc, foreign);
  }
  ExpectRefusals<ComplexFft<Complex64f>, Complex64f>(ippsFFTFwd_CToC_64fc, real.Get());
  for (const auto transform : {ippsFFTFwd_RToCCS_32f, ippsFFTInv_CCSToR_32f})
    ExpectRefusals<RealFft, float>(transform, complex.Get());
  for (const auto transform :
       {px::FFTFwdRToPerm, px::FFTFwdRToPack, px::FFTInvPermToR, px::FFTInvPackToR})
    ExpectRefusals<RealFft, float>(transform, doubles.Get());
}

}  // namespace
}  // namespace zr::test
