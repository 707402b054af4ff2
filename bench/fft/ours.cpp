// Our transforms. The work buffer is given, so that no call allocates.
#include <memory>

#include "bench/fft/transforms.h"
#include "primitives/fft/fft.h"

namespace zr::bench {
namespace {

using Buffer = std::shared_ptr<uint8_t[]>;

Transform ComplexTransform(bool isForward, int32_t order, const Complex32f* source,
                           Complex32f* destination) {
  ComplexFft32f* record = nullptr;
  if (ippsFFTInitAlloc_C_32fc(&record, order, FFT_NODIV_BY_ANY, 0) != 0) return {};
  const std::shared_ptr<ComplexFft32f> specification(record, &ippsFFTFree_C_32fc);
  int32_t size = 0;
  ippsFFTGetBufSize_C_32fc(record, &size);
  const Buffer buffer = std::make_shared<uint8_t[]>(static_cast<std::size_t>(size));
  const auto run = isForward ? &ippsFFTFwd_CToC_32fc : &ippsFFTInv_CToC_32fc;
  return [=] { run(source, destination, specification.get(), buffer.get()); };
}

Transform RealTransform(bool isForward, int32_t order, const float* source, float* destination) {
  RealFft32f* record = nullptr;
  if (ippsFFTInitAlloc_R_32f(&record, order, FFT_NODIV_BY_ANY, 0) != 0) return {};
  const std::shared_ptr<RealFft32f> specification(record, &ippsFFTFree_R_32f);
  int32_t size = 0;
  ippsFFTGetBufSize_R_32f(record, &size);
  const Buffer buffer = std::make_shared<uint8_t[]>(static_cast<std::size_t>(size));
  const auto run = isForward ? &ippsFFTFwd_RToCCS_32f : &ippsFFTInv_CCSToR_32f;
  return [=] { run(source, destination, specification.get(), buffer.get()); };
}

}  // namespace

Transform OurTransform(Form form, int32_t order, const float* source, float* destination) {
  if (IsReal(form)) return RealTransform(IsForward(form), order, source, destination);
  return ComplexTransform(IsForward(form), order, reinterpret_cast<const Complex32f*>(source),
                          reinterpret_cast<Complex32f*>(destination));
}

Transform OurTransform(Form form, int32_t order, const double* source, double* destination) {
  constexpr std::size_t kMostBufferBytes = 32'784;
  if (form != Form::kComplexForward) return {};
  ComplexFft64f* record = nullptr;
  if (ippsFFTInitAlloc_C_64fc(&record, order, FFT_NODIV_BY_ANY, 0) != 0) return {};
  const std::shared_ptr<ComplexFft64f> specification(record, &ippsFFTFree_C_64fc);
  const Buffer buffer = std::make_shared<uint8_t[]>(kMostBufferBytes);
  return [=] {
    ippsFFTFwd_CToC_64fc(reinterpret_cast<const Complex64f*>(source),
                         reinterpret_cast<Complex64f*>(destination), specification.get(),
                         buffer.get());
  };
}

}  // namespace zr::bench
