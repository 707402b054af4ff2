// Statuses and results of the transforms: every path, random and special numbers, every scaling.
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/fft_reference.h"

namespace zr::test {
namespace {

constexpr int32_t kFlags[] = {FFT_DIV_FWD_BY_N, FFT_DIV_INV_BY_N, FFT_DIV_BY_SQRTN,
                              FFT_NODIV_BY_ANY};
constexpr int32_t kLargestOrder = 16;

template <typename Kind, typename Element, typename Transform>
void PrintTransform(const char* name, Transform transform) {
  Digest digest;
  for (int32_t order = 0; order <= kLargestOrder; ++order) {
    for (const int32_t flag : kFlags) {
      for (const bool withSpecials : {false, true}) {
        const Record<Kind> record(order, flag);
        RandomElements random(static_cast<uint64_t>(order * 16 + flag), withSpecials && order < 8);
        std::vector<Element> source((std::size_t{1} << order) + 2);
        for (Element& element : source)
          element = random.Next<Element>();
        std::vector<Element> destination(source.size());
        digest.Add(transform(source.data(), destination.data(), record.Get(), nullptr));
        digest.Add(destination);
      }
    }
  }
  digest.Print(name);
}

template <typename Kind>
void PrintSetUp(const char* makeName, const char* freeName) {
  Digest made;
  Digest freed;
  for (int32_t order = -1; order <= kLargestOrder; ++order) {
    for (const int32_t flag : {1, 2, 3, 4, 8}) {
      typename Kind::Record* record = nullptr;
      made.Add(Kind::Make(&record, order, flag, 0));
      freed.Add(Kind::Free(record));
    }
  }
  made.Print(makeName);
  freed.Print(freeName);
}

template <typename Kind, typename Query>
void PrintSizes(const char* name, Query query) {
  Digest digest;
  for (int32_t order = 0; order <= kLargestOrder; ++order) {
    const Record<Kind> record(order);
    int32_t size = -1;
    digest.Add(query(record.Get(), &size));
    digest.Add(size);
  }
  digest.Print(name);
}

}  // namespace

void PrintFftDigests() {
  using ComplexKind = ComplexFft<Complex32f>;
  using DoubleKind = ComplexFft<Complex64f>;
  PrintSetUp<RealFft>("ippsFFTInitAlloc_R_32f", "ippsFFTFree_R_32f");
  PrintSetUp<ComplexKind>("ippsFFTInitAlloc_C_32fc", "ippsFFTFree_C_32fc");
  PrintSetUp<DoubleKind>("ippsFFTInitAlloc_C_64fc", "ippsFFTFree_C_64fc");
  PrintSizes<ComplexKind>("ippsFFTGetBufSize_C_32fc", ippsFFTGetBufSize_C_32fc);
  PrintSizes<RealFft>("ippsFFTGetBufSize_R_32f", ippsFFTGetBufSize_R_32f);
  PrintTransform<ComplexKind, Complex32f>("ippsFFTFwd_CToC_32fc", ippsFFTFwd_CToC_32fc);
  PrintTransform<ComplexKind, Complex32f>("ippsFFTInv_CToC_32fc", ippsFFTInv_CToC_32fc);
  PrintTransform<RealFft, float>("ippsFFTFwd_RToCCS_32f", ippsFFTFwd_RToCCS_32f);
  PrintTransform<RealFft, float>("ippsFFTInv_CCSToR_32f", ippsFFTInv_CCSToR_32f);
  PrintTransform<DoubleKind, Complex64f>("ippsFFTFwd_CToC_64fc", ippsFFTFwd_CToC_64fc);
}

}  // namespace zr::test
